// The plain meaning and the literal one: how one becomes the other, and what the manual's programs
// do not show.

#include "tests/support/EngineFixture.h"
#include "tests/support/Integrity.h"

namespace reasoner {
namespace {

class TextbookTest : public EngineTest {
 protected:
  void SwitchTo(bool textbook) {
    engine.SetTextbookSemantics(textbook);
    CheckIntegrity(engine, textbook ? "plain" : "literal");
  }
};

TEST_F(TextbookTest, SwitchingCompilesAllRulesAnewInTheOrderOfTheirIds) {
  engine.SetTextbookSemantics(false);
  Load(
      "(defrule second (a) => ) (defrule first (a) (l $?x $?y) => ) (defrule fired (a) => )"
      "(defrule some (a) (n ?x) (exists (m ?x)) => )"
      "(assert (a) (l 1 2) (n 1) (n 2) (m 1))");
  ASSERT_EQ(OnAgenda(), "first fired second ");
  engine.Run(2);
  SwitchTo(true);
  EXPECT_EQ(OnAgenda(), "some fired first first first second ") << "as of rules newly added";
  int changes = 0;
  engine.OnAddActivation = [&](TReasoner&, std::int32_t, TActivation&) { ++changes; };
  SwitchTo(true);
  EXPECT_EQ(changes, 0);
  SwitchTo(false);
  EXPECT_EQ(OnAgenda(), "fired first second ");
  engine.OnAddActivation = nullptr;
  while (engine.GetFacts().GetCount() > 0) engine.RetractFact(0);
  EXPECT_EQ(OnAgenda(), "");
}

TEST_F(TextbookTest, SwitchingIsRefusedWhileTheNetworkIsBusy) {
  Load("(defrule r (a) => )");
  std::string refused;
  engine.OnAddActivation = [&](TReasoner&, std::int32_t, TActivation&) {
    refused = FailureOf([this] { engine.SetTextbookSemantics(false); });
  };
  Load("(assert (a))");
  EXPECT_EQ(refused, "Network is busy: changing the semantics");
  EXPECT_TRUE(engine.GetTextbookSemantics());
  EXPECT_EQ(OnAgenda(), "r ");
}

TEST_F(TextbookTest, ARuleThatTakesAnotherAwayMeanwhileHurtsNobody) {
  Load("(defrule one (a) => ) (defrule two (a) => ) (defrule three (a) => ) (assert (a))");
  engine.OnRemoveActivation = [&](TReasoner&, std::int32_t, TActivation& activation) {
    if (activation.GetRule().GetRuleName() != "one") return;
    engine.GetRules().Remove("two");
    throw std::runtime_error("host");
  };
  EXPECT_THROW(SwitchTo(false), std::runtime_error);
  engine.OnRemoveActivation = nullptr;
  EXPECT_EQ(OnAgenda(), "three one ");
  CheckIntegrity(engine, "after a handler that failed");
}

TEST_F(TextbookTest, DeepNegationsHoldByParityForEachMatch) {
  std::string open;
  std::string close;
  for (int i = 0; i < 60; ++i) {
    open += "(not ";
    close += ")";
  }
  const std::string even = "(defrule even (a ?x) " + open + "(b ?x)" + close + " => )";
  const std::string odd = "(defrule odd (a ?x) " + open + "(not (b ?x))" + close + " => )";
  Load(even + odd + "(assert (a 1) (a 2) (b 1))");
  ASSERT_EQ(engine.GetAgendaCount(), 2);
  for (std::int32_t i = 0; i < 2; ++i) {
    const TActivation& activation = engine.GetActivation(i);
    EXPECT_EQ(activation.GetToken()->GetFacts(0)->GetID(),
              activation.GetRule().GetRuleName() == "even" ? 1 : 2);
  }
  CheckIntegrity(engine, "deep");
  // In the literal meaning one match that a level lets through blocks all at the next.
  SwitchTo(false);
  EXPECT_EQ(OnAgenda(), "odd odd ");
  engine.Retract("(b 1)");
  EXPECT_EQ(OnAgenda(), "odd odd ");
  Load("(assert (b 1) (b 2))");
  EXPECT_EQ(OnAgenda(), "even even ");
}

TEST_F(TextbookTest, ARebuiltAgendaKeepsStrengths) {
  Load("(defrule r (a) => ) (assert (a))");
  for (const bool textbook : {false, true}) {
    SwitchTo(textbook);
    engine.GetActivation(0).SetStrength(0.5F);
    engine.SetStrategy(engine.GetStrategy() == ssDepthFirst ? ssBreadthFirst : ssDepthFirst);
    EXPECT_EQ(engine.GetActivation(0).GetStrength(), textbook ? 0.5F : 1.0F);
  }
}

}  // namespace
}  // namespace reasoner
