#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

// All events of an engine, written down one after the other.
class EventsTest : public EngineTest {
 protected:
  EventsTest() {
    engine.OnAddActivation = [this](TReasoner&, std::int32_t, TActivation& activation) {
      Note("+act " + activation.GetRule().GetRuleName());
    };
    engine.OnRemoveActivation = [this](TReasoner&, std::int32_t, TActivation& activation) {
      Note("-act " + activation.GetRule().GetRuleName());
    };
    engine.OnAssertion = [this](TReasoner&, const Ref<IFact>& fact) {
      Note("+fact " + fact->ToString());
    };
    engine.OnRetraction = [this](TReasoner&, const Ref<IFact>& fact) {
      Note("-fact " + fact->ToString());
    };
    engine.OnRuleFired = [this](TReasoner&, TRule& rule) { Note("fired " + rule.GetRuleName()); };
    engine.OnAddRule = [this](TReasoner&, TRule& rule) { Note("+rule " + rule.GetRuleName()); };
    engine.OnRemoveRule = [this](TReasoner&, TRule& rule) { Note("-rule " + rule.GetRuleName()); };
    engine.OnNewFactTemplate = [this](TReasoner&, const Ref<IFactTemplate>& item) {
      Note("+template " + item->GetTemplateName());
    };
    engine.OnRemoveFactTemplate = [this](TReasoner&, const Ref<IFactTemplate>& item) {
      Note("-template " + item->GetTemplateName());
    };
    engine.OnAddDefinedType = [this](TReasoner&, const Ref<IKBDefinedType>& type) {
      Note("+type " + type->GetName());
    };
    engine.OnRemoveDefinedType = [this](TReasoner&, const Ref<IKBDefinedType>& type) {
      Note("-type " + type->GetName());
    };
    engine.OnAddUserFunction = [this](TReasoner&, const Ref<IUserFunction>& function) {
      Note("+function " + function->GetFunctionName().str());
    };
    engine.OnRemoveUserFunction = [this](TReasoner&, const Ref<IUserFunction>& function) {
      Note("-function " + function->GetFunctionName().str());
    };
    engine.OnClear = [this](TReasoner&) { Note("clear"); };
    engine.OnClearDefinedTypes = [this](TReasoner&) { Note("clear types"); };
    engine.OnClearFactTemplates = [this](TReasoner&) { Note("clear templates"); };
    engine.OnClearRules = [this](TReasoner&) { Note("clear rules"); };
    engine.OnClearFacts = [this](TReasoner&) { Note("clear facts"); };
    engine.OnReset = [this](TReasoner&) { Note("reset"); };
    engine.OnStartInference = [this](TReasoner&) { Note("start"); };
    engine.OnEndInference = [this](TReasoner&, std::int32_t fired) {
      Note("end " + std::to_string(fired));
    };
  }

  void Note(const std::string& event) { events += event + "; "; }
  std::string Take() { return std::exchange(events, ""); }

  std::string events;
};

TEST_F(EventsTest, AnAssertionIsReportedAfterTheMatchAndARetractionBeforeIt) {
  Load("(defrule r (a ?x) (not (b ?x)) =>)");
  EXPECT_EQ(Take(), "+template a; +template b; +rule r; ");
  engine.OnRetraction = [this](TReasoner&, const Ref<IFact>& fact) {
    EXPECT_TRUE(engine.GetFacts().Lists(*fact));
    EXPECT_EQ(engine.GetAgendaCount(), 1) << "the network still knows it";
    Note("-fact " + fact->ToString());
  };
  engine.Assert("(a 1)");
  engine.Assert("(a 1)");
  EXPECT_EQ(Take(), "+act r; +fact (a 1 ); ");
  engine.Retract("(a 1)");
  EXPECT_EQ(Take(), "-fact (a 1 ); -act r; ");
}

TEST_F(EventsTest, ARunReportsEachFiringBetweenItsStartAndItsEnd) {
  Load("(defrule chain (a ?x) => (assert (b ?x)) (retract 1)) (defrule next (b ?x) =>)");
  engine.Assert("(a 1)");
  Take();
  engine.Run();
  EXPECT_EQ(Take(),
            "start; +act next; +fact (b 1 ); -fact (a 1 ); -act chain; fired chain; "
            "fired next; -act next; end 2; ");
  Load("(defrule bad (c) => (sqrt no)) (assert (c))");
  Take();
  EXPECT_NE(FailureOf([this] { engine.Run(); }), "");
  EXPECT_EQ(Take(), "start; -act bad; ") << "a failed firing is withdrawn and nothing more";
}

TEST_F(EventsTest, ConstructsReportTheirComingAndGoing) {
  Load("(deftype t extends (type INTEGER)) (deftemplate item (slot n)) (deffunction f () 1)");
  EXPECT_EQ(Take(), "+type t; +template item; +function f; ");
  Load("(deffunction f () 2) (deftype t extends (type FLOAT))");
  EXPECT_EQ(Take(), "-function f; +function f; -type t; +type t; ");
  Load("(defrule r (item (n ?x)) =>) (assert (item (n 1)))");
  Take();
  Load("(deftemplate item (slot n) (slot m))");
  EXPECT_EQ(Take(),
            "-template item; +template item; -fact (item (n 1)); -act r; -rule r; "
            "+fact (item (n 1)); +act r; +rule r; ");
  Load("(defrule r (item (m ?x)) =>)");
  EXPECT_EQ(Take(), "-rule r; -act r; +act r; +rule r; ");
  engine.GetFactTemplates().Remove("item");
  EXPECT_EQ(Take(), "-template item; -fact (item (n 1)); -act r; -rule r; ");
  engine.GetUserFunctions().Remove("f");
  engine.GetUserFunctions().Remove("f");
  engine.GetDefinedTypes().Remove("t");
  EXPECT_EQ(Take(), "-function f; -type t; ");
}

TEST_F(EventsTest, ResetAndClearEndWithTheirOwnEvent) {
  Load("(deffacts s (a)) (defrule r (a) =>) (deffunction f () 1)");
  engine.Reset();
  Take();
  engine.Reset();
  EXPECT_EQ(Take(), "-act r; clear facts; +fact (Initial-Fact); +act r; +fact (a); reset; ");
  engine.Clear();
  const std::string cleared = Take();
  EXPECT_EQ(cleared.substr(0, 7), "-act r;") << cleared;
  const std::size_t end = cleared.size() - 7;
  EXPECT_EQ(cleared.substr(end), "clear; ") << cleared;
  for (const char* event : {"clear rules; ", "clear templates; ", "clear types; ", "clear facts; ",
                            "-function f; ", "+template Initial-Fact; "}) {
    EXPECT_NE(cleared.find(event), std::string::npos) << event << " in " << cleared;
  }
  EXPECT_LT(cleared.find("clear rules; "), cleared.find("clear types; "));
}

TEST_F(EventsTest, AHandlerThatThrowsLeavesListNetworkAndAgendaInStep) {
  Load("(defrule r (a ?x) =>)");
  const auto fail = [](TReasoner&, const Ref<IFact>&) { throw EKBException("refused"); };
  engine.OnAssertion = fail;
  EXPECT_EQ(FailureOf([&] { engine.Assert("(a 1)"); }), "refused");
  EXPECT_EQ(engine.GetAgendaCount(), 1) << "the fact is in";
  engine.OnAssertion = nullptr;
  engine.OnRetraction = fail;
  EXPECT_EQ(FailureOf([&] { engine.Retract("(a 1)"); }), "refused");
  EXPECT_EQ(engine.GetFacts().GetCount(), 2) << "and stays";
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  engine.OnRetraction = nullptr;
  engine.OnRemoveActivation = [](TReasoner&, std::int32_t, TActivation&) {
    throw EKBException("refused");
  };
  EXPECT_EQ(FailureOf([&] { engine.Retract("(a 1)"); }), "refused");
  EXPECT_EQ(engine.GetAgendaCount(), 0);
  engine.OnRemoveActivation = nullptr;
  engine.Reset();
  engine.Assert("(a 1)");
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  EXPECT_EQ(engine.Run(), 1);
}

}  // namespace
}  // namespace reasoner
