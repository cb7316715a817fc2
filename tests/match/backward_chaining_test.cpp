// Goals: what a join asks for when a left token finds no partner, and what becomes of it.

#include "reasoner/match/JoinNode.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Integrity.h"

namespace reasoner {
namespace {

class BackwardChainingTest : public EngineTest {
 protected:
  // The fact without its id and the blank behind the last field.
  static std::string Text(const IFact& fact) {
    std::string text = fact.ToString();
    for (std::size_t at = 0; (at = text.find(" )")) != std::string::npos;) text.erase(at, 1);
    return text;
  }

  // The goals on the fact list.
  std::string Goals() {
    std::string goals;
    for (std::int32_t i = 0; i < engine.GetFacts().GetCount(); ++i) {
      const Ref<IFact>& fact = engine.GetFacts().Get(i);
      if (fact->GetTemplate()->GetTemplateName().starts_with("need-")) goals += Text(*fact);
    }
    return goals;
  }

  std::string GoalsAfter(const std::string& text) {
    engine.Clear();
    Load(text);
    CheckIntegrity(engine, text);
    return Goals();
  }
};

TEST_F(BackwardChainingTest, AGoalCarriesWhatIsKnown) {
  const std::string pair =
      "(deftemplate w (slot x) (slot y (default 7)) (multislot l)) (do-backward-chaining w)";
  const struct {
    std::string text;
    std::string goals;
  } rows[] = {
      {"(do-backward-chaining b) (defrule r (a ?x) (b ?x) => ) (assert (a 1))", "(need-b 1)"},
      {"(do-backward-chaining b) (defrule r (a ?x) (b k ?x ~z ?y) => ) (assert (a 1))",
       "(need-b k 1 nil nil)"},
      // What is not known is nil.
      {"(do-backward-chaining b) (defrule r (a ?x) (b ~z ?x) => ) (assert (a 1))",
       "(need-b nil 1)"},
      {"(do-backward-chaining b) (defrule r (a ?x $?y) (b s $?y e) => ) (assert (a 1 2 3))",
       "(need-b s 2 3 e)"},
      {"(do-backward-chaining b) (defrule r ?f <- (a ?x) (b ?f) => ) (assert (a 1))",
       "(need-b <Fact-0>)"},
      {pair + "(defrule r (a ?v) (w (x ?v) (l q ?v)) => ) (assert (a 1))",
       "(need-w (l q 1) (x 1))"},
      {pair + "(defrule r (a ?v) (w (x ~?v) (y ?z)) => ) (assert (a 1))", "(need-w)"},
      // A partner that is there, a pattern that wants none, a goal and a marked one that comes
      // late.
      {"(do-backward-chaining b) (defrule r (a ?x) (b ?x) => ) (assert (b 1) (a 1))", ""},
      {"(do-backward-chaining b) (defrule r (a ?x) (explicit (b ?x)) => ) (assert (a 1))", ""},
      {"(do-backward-chaining b) (defrule r (a ?x) (need-b ?x) => ) (assert (a 1))", ""},
      {"(do-backward-chaining b) (defrule r (a ?x) (not (b ?x)) => ) (assert (b 1) (a 1))",
       "(need-b 1)"},
      // The first pattern gets the initial fact before it.
      {"(do-backward-chaining b) (defrule r (b 3) => ) (reset)", "(need-b 3)"},
      // Asked for while the rule is added, and by a goal that has been asked for.
      {"(do-backward-chaining b) (assert (a 1) (a 2)) (defrule r (a ?x) (b ?x) => )",
       "(need-b 1)(need-b 2)"},
      {"(do-backward-chaining b c) (defrule r (a ?x) (b ?x) => )"
       "(defrule s (need-b ?x) (c ?x) => ) (reset) (assert (a 1))",
       "(need-b 1)(need-c 1)"},
  };
  for (const auto& row : rows) EXPECT_EQ(GoalsAfter(row.text), row.goals) << row.text;
}

TEST_F(BackwardChainingTest, ASharedJoinAsksForTheRulesThatAreLeft) {
  Load(
      "(do-backward-chaining b)"
      "(defrule one (a ?x) (b ?x) => ) (defrule two (a ?y) (b ?y) => )"
      "(defrule three (a ?y) (explicit (b ?y)) => )");
  EXPECT_EQ(engine.GetRules().Find("two")->CompileTrace, "two: =1=1=2+t");
  EXPECT_EQ(engine.GetRules().Find("three")->CompileTrace, "three: =1=1+2+t")
      << "a join that does not ask is another one";
  const TJoinNode* join = nullptr;
  for (const TReteNode* node : engine.GetReteNetwork().GetNodes()) {
    const auto* item = dynamic_cast<const TJoinNode*>(node);
    if (item != nullptr && item->GetGoalRule() != nullptr) join = item;
  }
  ASSERT_NE(join, nullptr);
  EXPECT_EQ(join->GetGoalRule()->GetRuleName(), "one");
  Load("(undefrule one)");
  EXPECT_EQ(join->GetGoalRule()->GetRuleName(), "two");
  Load("(assert (a 1))");
  EXPECT_EQ(Goals(), "(need-b 1)");
  Load("(undefrule two) (assert (a 2))");
  EXPECT_EQ(Goals(), "(need-b 1)");
}

TEST_F(BackwardChainingTest, EqualGoalsComeOnceUnlessEqualFactsAreAllowed) {
  const std::string rules =
      "(do-backward-chaining b) (defrule one (a ?x) (b ?x) => ) (defrule two (c ?x) (b ?x) => )"
      "(defrule gives (need-b ?x) => ) (assert (b 5) (a 1) (c 1) (need-b 5))";
  EXPECT_EQ(GoalsAfter(rules), "(need-b 1)(need-b 5)");
  engine.SetFactDuplication(true);
  EXPECT_EQ(GoalsAfter(rules), "(need-b 1)(need-b 1)(need-b 5)");
}

TEST_F(BackwardChainingTest, GoalsAreHeardOfInnermostFirstAndAResetDropsThem) {
  Load(
      "(do-backward-chaining b c) (defrule r (a ?x) (b ?x) => )"
      "(defrule s (need-b ?x) (c ?x) => )");
  std::string heard;
  engine.OnAssertion = [&](TReasoner&, const Ref<IFact>& fact) { heard += Text(*fact); };
  Load("(assert (a 1))");
  EXPECT_EQ(heard, "(need-c 1)(need-b 1)(a 1)");
  engine.OnAssertion = nullptr;
  engine.AddPendingFact(engine.ParseFact("(late)"), true);
  engine.Reset();
  EXPECT_EQ(engine.GetFacts().GetCount(), 1) << engine.GetFacts().ToString();
}

TEST_F(BackwardChainingTest, WhatCannotBeAskedForIsRefused) {
  for (const char* name : {"test", "not"}) {
    EXPECT_NE(FailureOf([&] {
                Load("(do-backward-chaining d " + std::string(name) + ")");
              }).find("Cannot backchain on special CEs: " + std::string(name)),
              std::string::npos);
  }
  EXPECT_TRUE(engine.FindFactTemplate("d")->IsBackwardChaining()) << "what came before holds";
  EXPECT_EQ(engine.FindFactTemplate("need-d")->GetComment(), "Goal seeker for d");
  for (const char* field : {"?x&:(> ?x 1)", "=(+ 1 2)", "1|2"}) {
    EXPECT_NE(FailureOf([&] {
                Load("(defrule r (a) (d " + std::string(field) + ") => )");
              }).find("Cannot use Function calls in backchained patterns: d"),
              std::string::npos)
        << field;
  }
  // A template that was marked by hand has no companion with its slots.
  Load("(deftemplate m (slot x)) (defrule keep (go) => )");
  engine.FindFactTemplate("m")->SetBackwardChaining(true);
  Load("(defrule r (go) (m (x 1)) => )");
  EXPECT_NE(FailureOf([&] { Load("(assert (go))"); }).find("No such slot name: \"x\""),
            std::string::npos);
  EXPECT_EQ(engine.GetAgendaCount(), 1) << "the other rule has its match";
  CheckIntegrity(engine, "after a goal that failed");
}

// A goal tells what is known, and is no fact of its template: nil and short lists are checked by
// nobody.
TEST_F(BackwardChainingTest, TypedSlotsAndHeirsAskForGoals) {
  engine.SetTypeChecks({tcStatic, tcDynamic});
  Load(
      "(deftemplate a (slot n (type INTEGER)) (multislot xs (type INTEGER) (cardinality 2 9)))"
      "(do-backward-chaining a) (deftemplate b extends a (slot z))"
      "(defrule r (go ?x) (b (xs ?x ?y 3) (n 4)) => )"
      "(defrule make (need-b (n ?n)) => (assert (b (n ?n) (xs 1 2 3))))");
  EXPECT_EQ(engine.FindFactTemplate("need-b")->GetComment(), "Goal seeker for b");
  Load("(assert (go 1))");
  EXPECT_EQ(OnAgenda(), "make ");
  EXPECT_EQ(engine.GetFacts().Get(2)->ToString(), "(need-b (n 4) (xs 1 nil 3 ))");
  EXPECT_EQ(engine.Run(1), 1);
  EXPECT_EQ(OnAgenda(), "r ");
  // A slot that the marked template has got since is one that goals have, too.
  Load("(deftemplate a (slot n) (slot more))");
  for (const char* name : {"need-a", "need-b"})
    EXPECT_TRUE(engine.FindFactTemplate(name)->ContainsSlot("more")) << name;
}

TEST_F(BackwardChainingTest, ALongChainOfGoalsNeedsNoDepth) {
  std::string names;
  std::string rules;
  for (int i = 0; i < 3000; ++i) {
    const std::string number = std::to_string(i);
    names += " t" + number;
    rules += "(defrule r" + number + " (" + (i == 0 ? "go" : "need-t" + std::to_string(i - 1)) +
             ") (t" + number + ") => )";
  }
  Load("(do-backward-chaining" + names + ")" + rules + "(assert (go))");
  EXPECT_NE(engine.GetFacts().FindFact(3000), -1);
}

}  // namespace
}  // namespace reasoner
