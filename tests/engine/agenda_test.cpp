#include "reasoner/engine/Agenda.h"

#include "reasoner/library/Packages.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class AgendaTest : public EngineTest {
 protected:
  // The names and facts of the entries, first to fire first.
  std::string Agenda() {
    std::string text;
    for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i) {
      TActivation& activation = engine.GetActivation(i);
      text += activation.GetRule().GetRuleName() + activation.GetToken()->GetToFactsString() + " ";
    }
    return text;
  }
  // Six rules of saliences 10, 5, 5, 5, 5, 0, all with an activation in this order.
  void FillAgenda() {
    for (const char* rule :
         {"(defrule s10 (declare (salience 10)) (go) =>)",
          "(defrule s5a (declare (salience 5)) (a) =>)",
          "(defrule s5b (declare (salience 5)) (b) =>)",
          "(defrule s5c (declare (salience 5)) (c) =>)",
          "(defrule s5d (declare (salience 5)) (d) =>)", "(defrule s0 (z) =>)"}) {
      Load(rule);
    }
    engine.SetStrategy(ssBreadthFirst);
    for (const char* fact : {"(a)", "(b)", "(c)", "(d)", "(go)", "(z)"}) engine.Assert(fact);
  }
};

TEST_F(AgendaTest, TheSearchStopsAtTheFirstEqualSalienceThatItMeets) {
  FillAgenda();
  ASSERT_EQ(engine.GetAgendaCount(), 6) << Agenda();
  for (const TSearchStrategy strategy : {ssBreadthFirst, ssDepthFirst}) {
    engine.SetStrategy(strategy);
    ASSERT_EQ(engine.GetAgendaCount(), 6);
    const std::vector<std::pair<std::int32_t, std::int32_t>> rows = {
        {5, 2}, {11, 0}, {7, 1}, {3, 5}, {-1, -1}, {10, 0}, {0, strategy == ssDepthFirst ? 5 : -1}};
    for (const auto& [salience, index] : rows) {
      EXPECT_EQ(engine.SearchSalience(salience), index) << salience << " on " << Agenda();
    }
  }
  engine.SetStrategy(ssDepthFirst);
  Load("(defrule new (declare (salience 5)) (late) =>)");
  engine.Assert("(late)");
  EXPECT_EQ(engine.GetActivation(2).GetRule().GetRuleName(), "new") << Agenda();
}

TEST_F(AgendaTest, AChangeOfStrategyPlacesEveryEntryAnewAndRemovesNone) {
  Load("(defrule r (a ?x) =>) (assert (a 1) (a 2) (a 3))");
  EXPECT_EQ(Agenda(), "rf-3 rf-2 rf-1 ");
  std::vector<const TActivation*> before;
  for (std::int32_t i = 0; i < 3; ++i) before.push_back(&engine.GetActivation(i));
  engine.GetActivation(1).SetStrength(0.25F);
  std::vector<const TActivation*> added;
  int removed = 0;
  engine.OnAddActivation = [&](TReasoner&, std::int32_t index, TActivation& activation) {
    EXPECT_EQ(&engine.GetActivation(index), &activation);
    added.push_back(&activation);
  };
  engine.OnRemoveActivation = [&](TReasoner&, std::int32_t, TActivation&) { ++removed; };
  engine.Watch = {cwActivation};
  engine.SetStrategy(ssDepthFirst);
  EXPECT_TRUE(added.empty());
  engine.SetStrategy(ssBreadthFirst);
  EXPECT_EQ(added, before) << "the activation objects stay";
  EXPECT_EQ(removed, 0);
  EXPECT_EQ(TakeOutput(),
            "==> Activation: 0 r : f-3 (1.0000)\n==> Activation: 0 r : f-2 (0.2500)\n"
            "==> Activation: 0 r : f-1 (1.0000)\n");
  EXPECT_EQ(Agenda(), "rf-3 rf-2 rf-1 ");
  engine.Retract(2);
  EXPECT_EQ(Agenda(), "rf-3 rf-1 ") << "a withdrawal still reaches its entry";
  EXPECT_EQ(removed, 1);
}

TEST_F(AgendaTest, LiterallyOnlyASalienceThatWasZeroIsEvaluatedAtEveryActivation) {
  engine.SetTextbookSemantics(false);
  Load(
      "(defglobal ?*s* = 0) (defrule r (declare (salience ?*s*)) (a ?x) =>)"
      "(defrule other (declare (salience 3)) (b) =>) (assert (b) (a 1))");
  EXPECT_EQ(Agenda(), "otherf-1 rf-2 ");
  Load("(bind ?*s* 9)");
  engine.Assert("(a 2)");
  EXPECT_EQ(Agenda(), "rf-3 otherf-1 rf-2 ");
  EXPECT_EQ(engine.GetAgenda().ToString(),
            "9 r : f-3 (1.0000)\n3 other : f-1 (1.0000)\n0 r : f-2 (1.0000)\n")
      << "an entry's text is the one of its placing";
  EXPECT_EQ(engine.GetActivation(2).ToString(), "9 r : f-2 (1.0000)");
  Load("(defglobal ?*t* = 4) (defrule fixed (declare (salience ?*t*)) (c) =>) (bind ?*t* 20)");
  engine.Assert("(c)");
  EXPECT_EQ(engine.GetRules().Find("fixed")->GetSalience(), 4) << "any other number stays";
}

TEST_F(AgendaTest, AnActivationKeepsTheSalienceThatItsExpressionGaveIt) {
  new TExtensionPackage(&engine);
  ExpectShown({{"(set-strategy breadth)", "depth"},
               {"(get-strategy)", "breadth"},
               {"(set-strategy depth)", "breadth"},
               {"(get-salience-evaluation)", "when-activated"}});
  ExpectError("(set-strategy sideways)", "Unknown setting: sideways, expected depth or breadth");
  ExpectError("(set-salience-evaluation never)", "expected when-activated or every-cycle");
  Load(
      "(defglobal ?*s* = 1) (defrule r (declare (salience ?*s*)) (a ?) =>)"
      "(defrule five (declare (salience 5)) (b ?) =>)");
  for (const int salience : {9, 2, 7, 5, 1}) {
    const std::string number = std::to_string(salience);
    Load("(bind ?*s* " + number + ") (assert (a " + number + ") (b " + number + "))");
  }
  std::string saliences;
  for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i)
    saliences += engine.GetActivation(i).GetEntryText().substr(0, 2);
  EXPECT_EQ(saliences, "9 7 5 5 5 5 5 5 2 1 ");
  ExpectShown({{"(set-salience-evaluation every-cycle)", "when-activated"}});
  engine.Run(1);
  EXPECT_EQ(engine.GetAgenda().ToString().substr(0, 6), "5 five") << "all are 1 or 5 now";
}

TEST_F(AgendaTest, WithEvaluationEveryTimeWaitingEntriesFollowTheirRules) {
  Load(
      "(defglobal ?*low* = 0)"
      "(defrule first (declare (salience 10)) (a) => (bind ?*low* 5) (printout t first \" \"))"
      "(defrule low (declare (salience ?*low*)) (a) => (printout t low \" \"))"
      "(defrule high (declare (salience 3)) (a) => (printout t high \" \"))");
  engine.Assert("(a)");
  engine.Run();
  EXPECT_EQ(TakeOutput(), "first high low ");
  engine.Reset();
  engine.SalienceEvaluation = sEveryTime;
  engine.Assert("(a)");
  engine.Run();
  EXPECT_EQ(TakeOutput(), "first low high ");
}

TEST_F(AgendaTest, AStrategyThatChangesInsideAFiringWithAFailingSalienceLeavesASoundEngine) {
  const auto breadth = HostFunction("breadth", [this] { engine.SetStrategy(ssBreadthFirst); });
  Load(
      "(defglobal ?*s* = 0)"
      "(defrule r (declare (salience ?*s*)) (a ?x) =>"
      "  (bind ?*s* oops) (breadth) (printout t not reached))"
      "(assert (a 1) (a 2))");
  EXPECT_NE(FailureOf([&] { engine.Run(); }).find("Not a integer type"), std::string::npos);
  EXPECT_EQ(TakeOutput(), "");
  EXPECT_EQ(engine.GetCurrentActivation(), nullptr);
  EXPECT_EQ(engine.GetStrategy(), ssBreadthFirst);
  engine.Reset();
  engine.Assert("(a 3)");
  EXPECT_EQ(engine.GetAgendaCount(), 1);
}

TEST_F(AgendaTest, TheFiringMatchMayGoWhileAChangeOfStrategyReportsTheEntries) {
  const auto breadth = HostFunction("breadth", [this] {
    engine.OnAddActivation = [this](TReasoner&, std::int32_t, TActivation&) {
      engine.GetFacts().Clear();
    };
    engine.SetStrategy(ssBreadthFirst);
    engine.OnAddActivation = nullptr;
  });
  Load(
      "(defrule waits (declare (salience 9)) (late) =>)"
      "(defrule r (a ?x) => (assert (late)) (breadth) (printout t done ?x))"
      "(assert (a 1) (a 2))");
  EXPECT_EQ(engine.Run(), 1);
  EXPECT_EQ(TakeOutput(), "done2");
  EXPECT_EQ(engine.GetAgendaCount(), 0);
}

TEST_F(AgendaTest, AHostsSilentRefusalDoesNotReachTheCaller) {
  Load("(defrule one (a) =>) (defrule two (a) =>)");
  engine.OnAddActivation = [](TReasoner&, std::int32_t, TActivation&) { throw EAbort(); };
  EXPECT_EQ(engine.Assert("(a)"), 1);
  EXPECT_EQ(engine.GetAgendaCount(), 2) << "the rest of the network is served";
  engine.OnAddActivation = nullptr;
  engine.Retract(1);
  EXPECT_EQ(engine.GetAgendaCount(), 0);
}

TEST_F(AgendaTest, WhatWaitsCanBeKeptAsideAndPutBack) {
  Load("(defrule r (declare (salience 5)) (a ?x) => (printout t ?x)) (defrule s (b) =>)");
  Load("(assert (a 1) (b) (a 2) (a 3))");
  TActivationAgenda kept;
  kept.Assign(engine.GetAgenda());
  const std::string before = engine.GetAgenda().ToString();
  EXPECT_EQ(kept.ToString(), before);
  EXPECT_EQ(engine.Run(2), 2);
  engine.Retract("(a 1)");
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  engine.SetAgenda(kept);
  EXPECT_EQ(engine.GetAgendaCount(), 3) << "the fact of one of them is gone";
  engine.Retract("(a 2)");
  EXPECT_EQ(engine.GetAgendaCount(), 2) << "what was put back is withdrawn with its match";
  engine.GetRules().Remove("r");
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  EXPECT_FALSE(kept.GetActivation(0).HasRule()) << "a copy forgets its rule";
  engine.SetAgenda(kept);
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  EXPECT_EQ(FailureOf([&] { engine.SetActivation(0, nullptr); }),
            "Invalid object, agenda can only accept TActivation objects");
  const TActivation* const old = &engine.GetActivation(0);
  engine.SetActivation(0, old->Clone());
  EXPECT_EQ(engine.Run(), 1);
}

}  // namespace
}  // namespace reasoner
