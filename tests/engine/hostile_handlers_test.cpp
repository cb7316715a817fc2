// Handlers and expressions that take away what the engine has just begun to work with, or that
// raise in the middle: the rest is done, and nothing is touched after its end.

#include <limits>
#include <new>
#include <stdexcept>

#include "reasoner/match/ReteNetwork.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Integrity.h"

namespace reasoner {
namespace {

class HostileHandlersTest : public EngineTest {
 protected:
  HostileHandlersTest() { Load("(deftemplate a (slot x)) (deftemplate go)"); }

  void AssertMany(int count) {
    for (int i = 0; i < count; ++i) engine.Assert("(a (x " + std::to_string(i) + "))");
  }
};

TEST_F(HostileHandlersTest, ASalienceMayTakeItsRuleOrItsFactAway) {
  Load("(deffunction f () (undefrule r) 0) (defrule r (declare (salience (f))) (a (x ?v)) => )");
  AssertMany(1);
  EXPECT_EQ(engine.GetAgendaCount(), 0);
  EXPECT_EQ(engine.Run(), 0);
  engine.Reset();
  Load("(deffunction f () 0) (defrule r (declare (salience (f))) (a (x ?v)) => (printout t ?v))");
  AssertMany(2);
  Load("(deffunction f () (retract 1) 0)");
  engine.SetStrategy(ssBreadthFirst);
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  EXPECT_EQ(engine.Run(), 1);
  EXPECT_EQ(TakeOutput(), "1");
}

TEST_F(HostileHandlersTest, TheNetworksOwnEventsHearOnlyOfWhatStands) {
  Load("(defrule r (a (x ?v)) => )");
  engine.OnAddActivation = [](TReasoner& sender, std::int32_t, TActivation&) {
    sender.GetRules().Remove("r");
  };
  int heard = 0;
  engine.GetReteNetwork().OnActivation = [&](TReteNetwork&, TActivation&) { ++heard; };
  AssertMany(1);
  EXPECT_EQ(heard, 0);
  EXPECT_EQ(engine.GetRules().GetCount(), 0);
}

TEST_F(HostileHandlersTest, TheNetworksOwnEventsMayRaise) {
  Load("(defrule r1 (a (x ?v)) => ) (defrule r2 (a (x ?v)) => )");
  TReteNetwork& network = engine.GetReteNetwork();
  network.OnActivation = [](TReteNetwork&, TActivation&) { throw std::runtime_error("no"); };
  EXPECT_THROW(engine.Assert("(a (x 1))"), std::runtime_error);
  EXPECT_EQ(engine.GetAgendaCount(), 2);
  network.OnDeactivation = network.OnActivation;
  EXPECT_THROW(engine.Retract("(a (x 1))"), std::runtime_error);
  EXPECT_EQ(engine.GetAgendaCount(), 0);
}

TEST_F(HostileHandlersTest, AHandlerMayFreeTheRuleThatIsReported) {
  const auto free_rule = [](TReasoner& sender, auto&&...) { delete sender.GetRules().Find("r"); };
  const auto free_reported = [](TReasoner&, TRule& rule) {
    if (!rule.IsDestroying()) delete &rule;
  };
  const auto load = [this] { Load("(defrule r (a (x ?v)) => )"); };
  const Subscription behind =
      engine.OnRemoveRule.Subscribe([](TReasoner&, TRule& rule) { rule.GetRuleName(); });
  AssertMany(2);
  load();
  engine.OnRemoveRule = free_reported;
  Load("(undefrule r)");
  load();
  load();  // takes the place of the first, which ends on the way
  EXPECT_EQ(engine.GetAgendaCount(), 2);
  engine.OnRemoveRule = nullptr;
  engine.OnRemoveActivation = free_rule;
  engine.GetRules().Find("r")->SetSalience(5);
  EXPECT_EQ(engine.GetRules().GetCount(), 0);
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), 0u);
}

TEST_F(HostileHandlersTest, PackagesAreChangedOnceAtATime) {
  engine.OnRemoveUserFunction = [](TReasoner& sender, const Ref<IUserFunction>&) {
    sender.OnRemoveUserFunction = nullptr;
    sender.SetPackages({pStandard, pMath});
    throw std::runtime_error("no");
  };
  engine.OnAddUserFunction = [](TReasoner&, const Ref<IUserFunction>&) {
    throw std::runtime_error("no");
  };
  EXPECT_THROW(engine.SetPackages({pStandard}), std::runtime_error);
  EXPECT_EQ(Show("(+ (sqrt 4) 1)"), "3.0000");
  EXPECT_FALSE(engine.ContainsUserFunction("str-cat"));
}

TEST_F(HostileHandlersTest, ABuiltInFunctionComesBackWhenAHostsFunctionGoes) {
  {
    const auto function = HostFunction("abs", [] {});
    EXPECT_EQ(Show("(abs)"), "");
  }
  EXPECT_EQ(Show("(abs -3)"), "3");
}

TEST_F(HostileHandlersTest, ATypeIsListedUnderTheNameThatItHas) {
  Load(
      "(deftype one extends (type INTEGER) (range 0 1)) (deftype two extends (type INTEGER) (range "
      "0 2))");
  const Ref<IKBDefinedType> type = engine.FindDefinedType("one");
  EXPECT_THROW(type->SetName("two"), EKBException);
  type->SetName("three");
  EXPECT_EQ(engine.FindDefinedType("three"), type);
  Load("(deftype three extends (type INTEGER) (range 0 3))");
  EXPECT_FALSE(engine.FindDefinedType("one"));
}

TEST_F(HostileHandlersTest, EachEngineCountsItsOwnDepth) {
  TReasoner inner;
  inner.SetMaxDepth(20);
  const auto function = HostFunction("inner", [&inner] { inner.Parse("(+ 1 (+ 2 3))", true); });
  Load("(deffunction f (?n) (if (= ?n 0) then (inner) else (f (- ?n 1))))");
  EXPECT_NO_THROW(Show("(f 30)"));
  engine.SetMaxDepth(20);
  EXPECT_THROW(Show("(f 30)"), EKBException);
}

TEST_F(HostileHandlersTest, AHostsScopeNeedBeNoFrame) {
  struct Scope final : IScope {
    Ref<IKBValue> FindValue(const Text& name) override {
      return name == "x" ? Ref<IKBValue>(NewInteger(4)) : nullptr;
    }
    Ref<IKBValue> ReadMatch(const TBindingInfo&) override { return nullptr; }
  } scope;
  const Ref<IKBValue> call =
      NewFunCallValue(engine.ParseFunCall("(+ ?x (if (> ?x 3) then (bind ?y 2) else 0))"));
  EXPECT_EQ(call->Resolve(&scope)->ToString(), "6");
  EXPECT_THROW(NewFunCallValue(engine.ParseFunCall("(+ ?z 1)"))->Resolve(&scope), EKBException);
}

TEST_F(HostileHandlersTest, SwitchingTheNetworkOffTakesARuleThatGoesMeanwhile) {
  Load("(defrule r (a (x ?v)) => )");
  AssertMany(3);
  engine.OnRemoveActivation = [](TReasoner& sender, std::int32_t, TActivation&) {
    sender.GetRules().Remove("r");
  };
  engine.GetReteNetwork().SetEnabled(false);
  EXPECT_EQ(engine.GetAgendaCount(), 0);
  EXPECT_EQ(engine.GetRules().GetCount(), 0);
}

TEST_F(HostileHandlersTest, ARuleThatIsPutBackWhileItMovesOutStays) {
  const std::unique_ptr<TRule> rule = engine.ParseRule("(defrule r (a (x ?v)) => )");
  engine.GetRules().Add(*rule);
  engine.OnRemoveRule = [&](TReasoner& sender, TRule&) {
    sender.OnRemoveRule = nullptr;
    sender.GetRules().Put("again", rule.get());
  };
  rule->SetEngine(nullptr);
  EXPECT_EQ(rule->GetEngine(), &engine);
  EXPECT_EQ(engine.GetRules().Find("again"), rule.get());
}

TEST_F(HostileHandlersTest, ARuleMayEndWhileItsActivationsGoToBeMadeAnew) {
  Load("(defrule r (a (x ?v)) => )");
  AssertMany(3);
  engine.Watch = {cwActivation};
  engine.OnRemoveActivation = [](TReasoner& sender, std::int32_t, TActivation& activation) {
    sender.OnRemoveActivation = nullptr;
    delete &activation.GetRule();
  };
  engine.GetRules().Find("r")->Change();
  EXPECT_EQ(engine.GetAgendaCount(), 0);
  EXPECT_EQ(engine.GetRules().GetCount(), 0);
}

// The retraction goes on behind the handler, and is not to take the new fact for the old one.
TEST_F(HostileHandlersTest, AFactComesBackInsideOfItsOwnRetraction) {
  for (const bool is_watched : {false, true}) {
    engine.Clear();
    Load("(deftemplate a (slot x)) (defrule r (a (x ?v)) (not (b)) => )");
    const Ref<IFact> fact = engine.ParseFact("(a (x 1))");
    engine.Assert(fact);
    const auto come_back = [&] {
      engine.OnPrintOut = nullptr;
      engine.OnRetraction = nullptr;
      engine.BeginFactModify(fact);
      fact->SetValue("x", NewInteger(2));
      engine.EndFactModify(fact);
    };
    if (is_watched) {
      engine.Watch = {cwFact};
      engine.OnPrintOut = [&](auto&&...) { come_back(); };
    } else {
      engine.OnRetraction = [&](auto&&...) { come_back(); };
    }
    engine.RetractFact(fact);
    EXPECT_TRUE(engine.GetFacts().Lists(*fact)) << is_watched;
    EXPECT_EQ(engine.GetAgendaCount(), 1) << is_watched;
    CheckIntegrity(engine, is_watched ? "watched" : "heard");
    engine.RetractFact(fact);
    EXPECT_EQ(engine.GetAgendaCount(), 0) << is_watched;
  }
}

TEST_F(HostileHandlersTest, ARuleMayGoWhileAFeedOfItFails) {
  Load(
      "(deftemplate b (slot x)) (defrule r (b (x ?w)) (a (x ?v&:(< (+ ?w 0) (/ 10 ?v)))) => )"
      "(assert (b (x 1)) (a (x 1)))");
  EXPECT_THROW(engine.Assert("(a (x 0))"), EKBException);
  engine.OnAddActivation = [](TReasoner& sender, std::int32_t, TActivation&) {
    sender.GetRules().Remove("r");
  };
  EXPECT_THROW(engine.GetRules().Find("r")->SetSalience(5), EKBException);
  engine.OnAddActivation = nullptr;
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), 0u);
  Load("(defrule q (b (x ?w)) (a (x ?v)) => )");
  EXPECT_EQ(engine.GetAgendaCount(), 2);
}

TEST_F(HostileHandlersTest, AHostsRuleMayEndInItsFeedAndInItsOwnEvent) {
  Load("(defrule z (go) => )");
  AssertMany(2);
  TRule* rule = nullptr;
  engine.OnAddActivation = [&](TReasoner& sender, std::int32_t, TActivation& activation) {
    if (activation.GetRule().GetRuleName() == "z") {
      const std::unique_ptr<TRule> parsed = sender.ParseRule("(defrule host (a (x ?v)) => )");
      rule = new TRule(nullptr);
      rule->SetEngine(&sender);
      rule->Assign(*parsed);
    } else if (&activation.GetRule() == rule) {
      delete std::exchange(rule, nullptr);
    }
  };
  engine.Assert("(go)");
  EXPECT_EQ(rule, nullptr);
  EXPECT_EQ(engine.GetRules().GetCount(), 1);
  engine.OnAddActivation = nullptr;
  Load("(defrule r (a (x 0)) => )");
  std::string seen;
  engine.GetRules().Find("r")->OnFire = [&seen, text = std::string(100, 'x')](TRule& fired,
                                                                              TKBContext&) {
    delete &fired;
    seen = text;
  };
  engine.Run();
  EXPECT_EQ(seen, std::string(100, 'x'));
}

// What waits costs no depth.
TEST_F(HostileHandlersTest, ManyRetractionsAndPendingFactsWait) {
  constexpr int kMany = 60'000;
  Load("(defrule r (go) => )");
  AssertMany(kMany);
  engine.OnAddActivation = [](TReasoner& sender, std::int32_t, TActivation&) {
    for (int i = 1; i <= kMany; ++i) sender.Retract(i);
  };
  engine.Assert("(go)");
  EXPECT_EQ(engine.GetFacts().GetCount(), 2);
  for (int i = 0; i < kMany; ++i)
    engine.AddPendingFact(engine.ParseFact("(a (x " + std::to_string(i) + "))"), true);
  engine.ProcessPendingFacts();
  EXPECT_EQ(engine.GetFacts().GetCount(), kMany + 2);
}

TEST_F(HostileHandlersTest, AFactIsHeardOfWhenThosePendingBehindItHaveBeen) {
  std::string heard;
  engine.OnAssertion = [&](TReasoner&, const Ref<IFact>& fact) {
    heard += std::to_string(fact->GetID()) + " ";
  };
  for (int i = 1; i <= 3; ++i)
    engine.AddPendingFact(engine.ParseFact("(a (x " + std::to_string(i) + "))"), true);
  engine.ProcessPendingFacts();
  EXPECT_EQ(heard, "3 2 1 ");
}

TEST_F(HostileHandlersTest, AHandlerThatNeverEndsMeetsTheDepthLimit) {
  AssertMany(1);
  engine.OnRetraction = [](TReasoner& sender, const Ref<IFact>& fact) {
    sender.Retract(fact->GetID());
  };
  EXPECT_THROW(engine.Retract(1), EKBException);
  engine.OnRetraction = nullptr;
  int number = 0;
  engine.OnAssertion = [&](TReasoner& sender, const Ref<IFact>&) {
    sender.Assert("(a (x " + std::to_string(++number + 10) + "))");
  };
  EXPECT_THROW(engine.Assert("(a (x 5))"), EKBException);
  engine.OnAssertion = nullptr;
  engine.Reset();
  EXPECT_EQ(engine.GetFacts().GetCount(), 1);
}

TEST_F(HostileHandlersTest, FunctionsEndWhenTheirRemovalsHandlerRaises) {
  engine.OnRemoveUserFunction = [](TReasoner&, const Ref<IUserFunction>&) {
    throw std::runtime_error("no");
  };
  {
    TUserFunction function;
    function.SetFunctionName("zz");
    function.SetEngine(&engine);
  }
  EXPECT_FALSE(engine.ContainsUserFunction("zz"));
  Load("(deffunction f () 1)");
  EXPECT_ANY_THROW(Load("(deffunction f () 2)"));
  EXPECT_ANY_THROW(engine.SetPackages(TFunctionPackages()));
  engine.OnRemoveUserFunction = nullptr;
  EXPECT_EQ(Show("(f)"), "2");
}

TEST_F(HostileHandlersTest, ARefusedFunctionCanBeOfferedAgain) {
  engine.DuplicateConstructs = dcError;
  TUserFunction first;
  TUserFunction second;
  first.SetFunctionName("zz");
  second.SetFunctionName("zz");
  first.SetEngine(&engine);
  EXPECT_THROW(second.SetEngine(&engine), EKBException);
  first.SetEngine(nullptr);
  second.GetFunction()->AddReasoner(engine);
  EXPECT_TRUE(engine.ContainsUserFunction("zz"));
}

TEST_F(HostileHandlersTest, ARedefinitionIsCarriedThrough) {
  const auto redefine = [this] {
    engine.Reset();
    Load("(deftemplate a (slot x)) (defrule r (a (x ?v)) => )");
    AssertMany(5);
  };
  const auto expect_all = [this](const char* what) {
    SCOPED_TRACE(what);
    EXPECT_EQ(engine.GetFacts().GetCount(), 6);
    EXPECT_EQ(engine.GetAgendaCount(), 5);
    const Ref<IFactTemplate> current = engine.FindFactTemplate("a");
    EXPECT_TRUE(current->ContainsSlot("y"));
    for (std::int32_t i = 1; i < engine.GetFacts().GetCount(); ++i)
      EXPECT_EQ(engine.GetFacts().Get(i)->GetTemplate(), current);
  };
  const std::string text = "(deftemplate a (slot x) (slot y))";
  redefine();
  engine.OnAssertion = [](TReasoner&, const Ref<IFact>&) { throw EAbort(); };
  Load(text);
  engine.OnAssertion = nullptr;
  expect_all("OnAssertion");
  redefine();
  engine.OnRetraction = [](TReasoner&, const Ref<IFact>&) { throw std::runtime_error("no"); };
  EXPECT_ANY_THROW(Load(text));
  engine.OnRetraction = nullptr;
  expect_all("OnRetraction");
  redefine();
  engine.OnNewFactTemplate = [](TReasoner&, const Ref<IFactTemplate>&) {
    throw std::runtime_error("no");
  };
  EXPECT_ANY_THROW(Load(text));
  engine.OnNewFactTemplate = nullptr;
  expect_all("OnNewFactTemplate");
}

TEST_F(HostileHandlersTest, AKeptIdIsTheOneFactsAlone) {
  engine.GetFacts().PreserveIDs = true;
  AssertMany(5);
  engine.Retract(2);
  TFactId nested = 0;
  engine.OnAssertion = [&](TReasoner& sender, const Ref<IFact>&) {
    engine.OnAssertion = nullptr;
    nested = sender.Assert("(a (x nested))");
  };
  const Ref<IFact> fact = engine.ParseFact("(a (x back))");
  fact->SetID(2);
  engine.GetFacts().Add(fact);
  EXPECT_EQ(fact->GetID(), 2);
  EXPECT_EQ(nested, 6);
}

TEST_F(HostileHandlersTest, TheLastFactIdIsTheLastFact) {
  engine.GetFacts().PreserveIDs = true;
  const Ref<IFact> fact = engine.ParseFact("(a (x last))");
  fact->SetID(std::numeric_limits<TFactId>::max());
  engine.GetFacts().Add(fact);
  EXPECT_EQ(engine.GetFacts().GetFactByID(fact->GetID()), fact);
  EXPECT_THROW(engine.Assert("(a (x more))"), EKBException);
  EXPECT_EQ(engine.GetFacts().GetCount(), 2);
  // What would come back as another fact stays as it is.
  Load("(defrule change ?f <- (a (x last)) => (modify ?f (x other)))");
  EXPECT_THROW(engine.Run(), EKBException);
  EXPECT_EQ(engine.GetFacts().GetFactByID(fact->GetID()), fact);
  EXPECT_EQ(fact->ToString(), "(a (x last))");
  engine.Reset();
  AssertMany(1);
  EXPECT_EQ(engine.GetFacts().GetCount(), 2);
}

TEST_F(HostileHandlersTest, MemoryThatIsSpentAndRefusalsPassThroughTry) {
  bool refuse = false;
  const auto function = HostFunction("spend", [&] {
    if (refuse) throw EAbort();
    throw std::bad_alloc();
  });
  const std::string text = "(try (spend) except (printout t caught) finally (printout t left))";
  EXPECT_THROW(Load(text), std::bad_alloc);
  refuse = true;
  EXPECT_THROW(Load(text), EAbort);
  EXPECT_EQ(TakeOutput(), "leftleft");
}

TEST_F(HostileHandlersTest, ASalienceThatCannotBeEvaluatedIsNotTaken) {
  Load("(defrule r (declare (salience 7)) (a) => )");
  TRule& rule = *engine.GetRules().Find("r");
  EXPECT_THROW(rule.SetSalience(NewAtom("abc")), EKBException);
  AssertMany(1);
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  EXPECT_EQ(rule.GetSalience(), 7);
}

TEST_F(HostileHandlersTest, ARuleThatIsPutTakesItsKeyAsItsName) {
  TRule& rule = *engine.ParseRule("(defrule r => )").release();
  engine.GetRules().Put("k", &rule);
  EXPECT_EQ(engine.GetRules().Find("k"), &rule);
  EXPECT_EQ(rule.GetRuleName(), "k");
  EXPECT_FALSE(engine.GetRules().ContainsKey("r"));
  delete &rule;
  EXPECT_FALSE(engine.GetRules().ContainsKey("k"));
}

}  // namespace
}  // namespace reasoner
