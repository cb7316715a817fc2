// What a rule may do to the engine that is firing it: everything, and nothing is lost or freed too
// early.

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class InsideFiringTest : public EngineTest {
 protected:
  // A function `host` that parses its text argument in the engine, from inside a firing.
  InsideFiringTest() {
    host.SetFunctionName("host");
    host.OnCall = [this](TObject&, const IFunCall& call, TKBContext& context,
                         Ref<IKBValue>& result) {
      engine.Parse(call.GetArgument(0)->Resolve(&context)->GetAsString(), true);
      result = FCTrue;
    };
    host.SetEngine(&engine);
  }

  TUserFunction host;
};

TEST_F(InsideFiringTest, ARuleRedefinesItself) {
  Load(
      "(defrule r (a ?x) => (host \"(defrule r (a ?x) => (printout t new ?x))\") (printout t old "
      "?x))"
      "(assert (a 1))");
  EXPECT_EQ(engine.Run(), 2);
  EXPECT_EQ(TakeOutput(), "old1new1");
}

TEST_F(InsideFiringTest, ClearEndsTheKnowledgeBaseButNotTheActions) {
  Load(
      "(deffunction f (?x) (clear) (printout t in ?x)) (defrule r (a ?x) (b ?x) => (f ?x) "
      "(printout t behind ?x))"
      "(defrule other (a ?x) => ) (assert (a 1) (b 1))");
  engine.Run();
  EXPECT_EQ(TakeOutput().substr(0, 10), "in1behind1");
  EXPECT_EQ(engine.GetRules().GetCount(), 0);
  EXPECT_EQ(engine.GetFacts().GetCount(), 0);
  EXPECT_EQ(engine.GetFactTemplates().GetCount(), 2);
  Load("(defrule fresh (a ?x) => (printout t fresh ?x)) (assert (a 7))");
  engine.Run();
  EXPECT_EQ(TakeOutput(), "fresh7");
}

TEST_F(InsideFiringTest, ResetStartsAgainAndTheActionsGoOn) {
  Load(
      "(defglobal ?*n* = 0) (deffacts f (a 1))"
      "(defrule r (a ?x) => (if (< ?*n* 2) then (bind ?*n* (+ ?*n* 1)) (reset)) (printout t "
      "?*n*))");
  engine.ResetGlobals = false;
  engine.Reset();
  engine.Run();
  EXPECT_EQ(TakeOutput(), "122");
}

TEST_F(InsideFiringTest, TheTemplateOfTheMatchIsRedefinedAndItsFactsComeOver) {
  Load(
      "(deftemplate p (slot x)) (defrule r (declare (oneshot TRUE)) (p (x ?v)) =>"
      "  (host \"(deftemplate p (slot x) (slot y (default 9)))\") (printout t done ?v))"
      "(assert (p (x 4)) (p (x 5)))");
  engine.Run(1);
  EXPECT_EQ(TakeOutput(), "done5");
  EXPECT_EQ(engine.GetFacts().ToString(), "(Initial-Fact)\n(p (x 5) (y 9))\n(p (x 4) (y 9))");
  EXPECT_EQ(engine.GetRules().GetCount(), 1);
}

// A handler that asserts and retracts while a token is inside the network: the facts wait for their
// turn.
TEST_F(InsideFiringTest, HandlersChangeFactsWhileATokenIsInside) {
  Load("(defrule one (a ?x) => ) (defrule two (b ?x) => ) (defrule three (a ?x) (b ?x) => )");
  engine.OnAddActivation = [&](TReasoner&, std::int32_t, TActivation& activation) {
    if (activation.GetRule().GetRuleName() != "one") return;
    const TFactId id = engine.Assert("(b 1)");
    EXPECT_GT(id, 0) << "the id is there at once";
    EXPECT_EQ(engine.Run(), 0);
    EXPECT_THROW(engine.Reset(), EKBException);
    engine.Retract("(a 1)");
    EXPECT_EQ(engine.Assert("(a 1)"), id + 1) << "a leaving fact is no duplicate";
    engine.OnAddActivation = nullptr;
  };
  Load("(assert (a 1))");
  EXPECT_EQ(engine.GetFacts().ToString(), "(Initial-Fact)\n(b 1 )\n(a 1 )");
  EXPECT_EQ(engine.GetAgendaCount(), 3);
}

}  // namespace
}  // namespace reasoner
