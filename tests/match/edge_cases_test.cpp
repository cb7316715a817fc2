// Matches at the borders of what rules and facts can say.

#include "reasoner/match/ReteNetwork.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class MatchEdgeCasesTest : public EngineTest {
 protected:
  // What the rules print for the text, in the order of firing.
  std::string Fired(const std::string& text) {
    engine.Clear();
    Load(text);
    engine.Run();
    return TakeOutput();
  }

  struct TRow {
    std::string text;
    std::string fired;
  };
};

TEST_F(MatchEdgeCasesTest, SeveralVariablesInOneField) {
  const TRow rows[] = {
      // One span, compared with the one before.
      {"(defrule r (n $?y) (a $?x&~$?y) => (printout t ?x)) (assert (n 1 2) (a 1 2) (a 2 1))",
       "(2 1 )"},
      {"(defrule r (a x $?y y $?x&~$?y) => (printout t ?x)) (assert (a x 1 y 1) (a x 1 y 2))",
       "(2 )"},
      // A single one that stands in front of a bar is the field's own only where it is bound there.
      {"(defrule r (a ?x) (b ?x|3) => (printout t b)) (assert (a 1) (b 1) (b 2) (b 3))", "bb"},
      {"(defrule r (a ?x) (b ~?x|3) => (printout t b)) (assert (a 3) (b 1) (b 3))", "bb"},
      {"(defrule r (a ?x) (b ~?x&~3|4&?y) => (printout t ?y)) (assert (a 1) (b 5) (b 3))", "5"},
      // One that is bound among alternatives is compared wherever else it stands.
      {"(defrule r (a b|?x ?x) => (printout t ?x)) (assert (a 1 2) (a 3 3) (a b b))", "b3"},
      // A predicate among alternatives holds unless it is FALSE, as one that stands alone does.
      {"(defrule r (a ?x&1|:(create$ ?x)) => (printout t ?x)) (assert (a 1) (a 2))", "21"},
      // Equal joins are shared, joins that only begin alike are not.
      {"(defrule one (a ?x ?y) (b ?x&?x) => (printout t one))"
       "(defrule two (a ?x ?y) (b ?x&?y) => (printout t two)) (assert (a 1 2) (b 1))",
       "one"},
      {"(defrule one (a ?x ?y) (b ~?x&~?x) => (printout t one))"
       "(defrule two (a ?x ?y) (b ~?x&~?y) => (printout t two)) (assert (a 1 2) (b 2))",
       "one"},
      {"(defrule two (a ?x ?y) (b ?x&?y) => (printout t two))"
       "(defrule one (a ?x ?y) (b ?x&?x) => (printout t one)) (assert (a 1 2) (b 1))",
       "one"},
  };
  for (const TRow& row : rows) EXPECT_EQ(Fired(row.text), row.fired) << row.text;
}

TEST_F(MatchEdgeCasesTest, NegatedPatternsOfManyFields) {
  const TRow rows[] = {
      {"(defrule r (go) (not (a ? ? ?x&:(> ?x 1))) => (printout t free)) (assert (go) (a 1 2 3))",
       ""},
      {"(defrule r (go) (not (a ?x ?x)) => (printout t free)) (assert (go) (a 1 2))", "free"},
      {"(defrule r (go) (not (a ?x ?x)) => (printout t free)) (assert (go) (a 2 2))", ""},
      {"(defrule r (go) (not (a ?x&b|c)) => (printout t free)) (assert (go) (a c))", ""},
      {"(defrule r (go ?v) (not (a ?x&~?v|=(+ ?v 1))) => (printout t free)) (assert (go 3) (a 3))",
       "free"},
      {"(defrule r (go $? ?x $?) (not (a $? ?x $?)) => (printout t ?x))"
       "(assert (go 1 2 3) (a 2 3))",
       "1"},
      // What a negated pattern bound is bound anew behind it.
      {"(defrule r (go) (not (b ?x)) (not (a ?x|1)) => (printout t free)) (assert (go) (a 2))",
       "free"},
      {"(defrule r (not (a ?x)) (b ?x) => (printout t ?x)) (reset) (assert (b 3))", "3"},
  };
  for (const TRow& row : rows) EXPECT_EQ(Fired(row.text), row.fired) << row.text;
}

// What is retracted is looked up by its facts: a call that would answer otherwise by now holds
// nothing back.
TEST_F(MatchEdgeCasesTest, CallsThatChangeTheirMindKeepNothing) {
  Load(
      "(defglobal ?*limit* = 0)"
      "(defrule single (a ?x&:(> ?x ?*limit*)) => )"
      "(defrule joined (b ?x) (c ?y&:(> (+ ?x ?y) ?*limit*)) => )"
      "(defrule blocked (d ?x) (not (e ?y&:(> (+ ?x ?y) ?*limit*))) => )"
      "(defrule tested (f ?x) (test (> ?x ?*limit*)) (g ?y) => )"
      "(assert (a 1) (b 1) (c 1) (d 1) (e 1) (f 1) (g 1))");
  ASSERT_EQ(OnAgenda(), "tested joined single ");
  Load("(bind ?*limit* 50)");
  for (const auto& [fact, left] :
       {std::pair("(e 1)", "blocked tested joined single "),
        std::pair("(g 1)", "blocked joined single "), std::pair("(b 1)", "blocked single "),
        std::pair("(a 1)", "blocked "), std::pair("(d 1)", "")}) {
    engine.Retract(fact);
    EXPECT_EQ(OnAgenda(), left) << fact;
  }
}

// A rule that comes later must not hang on memories that never held what it was fed.
TEST_F(MatchEdgeCasesTest, AMemoryWithAHistoryIsNotShared) {
  Load(
      "(defglobal ?*limit* = 0) (defrule one (a :(> ?*limit* 2)) (b) => )"
      "(assert (a 3) (b)) (bind ?*limit* 5)"
      "(defrule two (a :(> ?*limit* 2)) (b) => )");
  ASSERT_EQ(OnAgenda(), "two ");
  engine.Retract("(a 3)");
  EXPECT_EQ(OnAgenda(), "");
  engine.Clear();
  engine.SetTextbookSemantics(false);
  Load(
      "(defrule one (a) (unique (b ?)) (c) => ) (assert (b 1) (b 2) (a) (c))"
      "(retract 0) (defrule two (a) (unique (b ?)) (c) => )");
  ASSERT_EQ(OnAgenda(), "two ");
  engine.Retract("(a)");
  EXPECT_EQ(OnAgenda(), "");
}

TEST_F(MatchEdgeCasesTest, AFailingRedefinitionLeavesTheOldRule) {
  Load("(defrule r (a ?x) => (printout t \"old\" ?x \" \")) (assert (a 1) (a z))");
  // The first cannot be compiled, the second fails when it meets the facts.
  EXPECT_THROW(Load("(defrule r (a ?x) (b ?y&:(> ?y ?q)) => )"), EKBException);
  EXPECT_EQ(OnAgenda(), "r r ");
  EXPECT_THROW(Load("(defrule r (a ?x&:(> ?x 0)) => )"), EKBException);
  EXPECT_EQ(OnAgenda(), "r r ");
  Load("(assert (a 2))");
  engine.Run();
  EXPECT_EQ(TakeOutput(), "old2 oldz old1 ");
}

// Every host failure finds the node's work done: what a retraction has to take away is gone.
TEST_F(MatchEdgeCasesTest, AFailingHandlerOfOneActivationSparesTheOthers) {
  for (const char* rules : {"(defrule r (a) (b ?x) => ) (defrule n (c ?x) (not (a)) => )",
                            "(defrule r (b ?x) (a) => ) (defrule n (c ?x) (not (a)) => )",
                            "(defrule r (a) (b $? ?x $?) => ) (defrule n (c ?x) (not (a)) => )"}) {
    engine.Clear();
    Load(rules);
    Load("(assert (a) (b 1) (b 2) (c 1) (c 2))");
    ASSERT_EQ(OnAgenda(), "r r ") << rules;
    engine.OnAddActivation = [](TReasoner&, std::int32_t, TActivation&) {
      throw std::runtime_error("host");
    };
    engine.OnRemoveActivation = engine.OnAddActivation;
    EXPECT_THROW(engine.Retract("(a)"), std::runtime_error) << rules;
    EXPECT_EQ(OnAgenda(), "n n ") << rules;
    EXPECT_THROW(Load("(assert (a))"), std::runtime_error) << rules;
    EXPECT_EQ(OnAgenda(), "r r ") << rules;
    engine.OnAddActivation = engine.OnRemoveActivation = nullptr;
  }
}

// A test element takes no place in a match: the call behind it is the pattern's own all the same.
TEST_F(MatchEdgeCasesTest, ACallBehindATestElementDecidesBeforeTheLongestSpan) {
  Load(R"((deffunction pick () b)
          (defrule r (test (eq b b)) (w $? ~=(pick) $?) =>)
          (assert (w a b)))");
  EXPECT_EQ(engine.GetAgendaCount(), 1);
}

}  // namespace
}  // namespace reasoner
