// Fuzzy facts in the network: strengths of matches, weakening by rules, combination of assertions.

#include "reasoner/engine/FuzzyValues.h"
#include "reasoner/match/Activation.h"
#include "reasoner/support/Numbers.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class FuzzyReasoningTest : public EngineTest {
 protected:
  FuzzyReasoningTest() {
    // Memberships that are easy to see: heat x is x/10 hot and 1 - x/10 cold.
    Load(
        "(deftype heat extends (type FUZZY) (range 0 10)"
        "  (values (term cold ((0 1) (10 0))) (term hot ((0 0) (10 1))) (term mild (tri 0 5 10))))"
        "(deftemplate room (slot name) (slot heat (type heat)))"
        "(deftemplate wish (slot heat (type heat)))"
        "(deftemplate alarm (slot level (type heat)))");
  }

  // "rule strength" of each activation, in the order of the agenda.
  std::string Agenda() {
    std::string text;
    for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i) {
      const TActivation& activation = engine.GetActivation(i);
      text += (i > 0 ? ", " : "") + activation.GetRule().GetRuleName() + " " +
              FloatToText(double{activation.GetStrength()});
    }
    return text;
  }
  std::int32_t Count(const std::string& name) {
    std::int32_t count = 0;
    for (const Ref<IFact>& fact : engine.GetFacts().Snapshot()) {
      count += fact->GetTemplate()->GetTemplateName() == name ? 1 : 0;
    }
    return count;
  }
  // A saved knowledge base without its heading, which tells the time.
  static std::string Definitions(TReasoner& saved) {
    const std::string text = saved.GetExpertSystem();
    return text.substr(text.find("(set-fact-duplication"));
  }
  // The set of the only fact of a template.
  Ref<IFuzzySet> SetOf(const std::string& name) {
    Ref<IFuzzySet> set;
    EXPECT_EQ(Count(name), 1) << name;
    for (const Ref<IFact>& fact : engine.GetFacts().Snapshot()) {
      if (fact->GetTemplate()->GetTemplateName() == name) GetFuzzySlot(*fact, set);
    }
    return set;
  }
};

TEST_F(FuzzyReasoningTest, AnActivationIsAsStrongAsItsWeakestMatch) {
  Load(
      "(defrule one (room (heat hot)) => )"
      "(defrule two (room (heat hot)) (wish (heat cold)) => )"
      "(defrule three (wish (heat cold)) (room (heat hot)) => )"
      "(defrule both (room (heat hot&mild)) => )"
      "(defrule neither (room (heat ~hot)) => )"
      "(defrule either (room (heat hot or cold)) => )"
      "(defrule very (room (heat very hot)) => )");
  engine.Assert("(room (name a) (heat 7.5))");
  EXPECT_EQ(Agenda(), "very 0.5625, either 0.7500, both 0.5000, one 0.7500");
  engine.Assert("(wish (heat 8))");
  EXPECT_EQ(Agenda(),
            "three 0.2000, two 0.2000, very 0.5625, either 0.7500, both 0.5000, one 0.7500");
  // Two overlapping sets match by the height of what they share.
  engine.GetFacts().Clear();
  EXPECT_EQ(Agenda(), "");
  engine.Assert("(room (name b) (heat cold))");
  EXPECT_NE(Agenda().find("one 0.5000"), std::string::npos) << Agenda();
  EXPECT_NE(Agenda().find("either 1.0000"), std::string::npos) << Agenda();
}

TEST_F(FuzzyReasoningTest, ANegatedTestIsAsTrueAsThePlainOneIsNot) {
  Load("(defrule not-hot (room (heat ~hot)) => )");
  engine.Assert("(room (name a) (heat 0.05))");  // within the threshold
  EXPECT_EQ(Agenda(), "not-hot 0.9950");
  engine.Assert("(room (name b) (heat 0.2))");
  EXPECT_EQ(Agenda(), "not-hot 0.9950");
}

TEST_F(FuzzyReasoningTest, WhatExistsIsAsTrueAsTheBestOfItsFacts) {
  engine.SetTextbookSemantics(true);
  Load(
      "(defrule some (wish (heat hot)) (exists (room (heat hot))) => )"
      "(defrule on (wish (heat hot)) (exists (room (heat hot))) (room (name ?n) (heat cold)) => )"
      "(defrule four (wish (heat hot)) (not (not (not (not (room (heat hot)))))) => )"
      "(defrule none (wish (heat hot)) (not (room (heat hot))) => )"
      "(defrule three (wish (heat hot)) (not (exists (room (heat hot)))) => )"
      "(defrule whole (exists (room (name a))) => )");
  // wish 8 is 0.8 hot; a room of x is x/10 hot and 1 - x/10 cold.
  engine.Assert("(wish (heat 8))");
  EXPECT_EQ(Agenda(), "three 0.8000, none 0.8000");
  engine.Assert("(room (name b) (heat 3))");
  EXPECT_EQ(Agenda(), "on 0.3000, four 0.3000, some 0.3000");
  const TFactId six = engine.Assert("(room (name c) (heat 6))");
  EXPECT_EQ(Agenda(), "on 0.4000, on 0.6000, four 0.6000, some 0.6000")
      << "a better fact raises what waits, in its place";
  const TFactId nine = engine.Assert("(room (name d) (heat 9))");
  EXPECT_EQ(Agenda(), "on 0.1000, on 0.4000, on 0.7000, four 0.8000, some 0.8000");
  EXPECT_TRUE(engine.GetAgenda().GetActivation(3).GetEntryText().ends_with(" (0.8000)"));
  engine.Retract(six);
  engine.Retract(nine);
  EXPECT_EQ(Agenda(), "on 0.3000, four 0.3000, some 0.3000");
  engine.Run();
  engine.Assert("(room (name e) (heat 7))");
  EXPECT_EQ(Agenda(), "on 0.3000") << "what has fired does not come back";
  engine.GetFacts().Clear();
  engine.Assert("(wish (heat 8))");
  const TFactId last = engine.Assert("(room (name f) (heat 3))");
  engine.Retract(last);
  EXPECT_EQ(Agenda(), "three 0.8000, none 0.8000")
      << "a negation does not mind which fact went last";
}

TEST_F(FuzzyReasoningTest, TheMinimumKeepsWeakMatchesOut) {
  Load("(defrule r (room (heat hot)) => )");
  engine.SetMinActivationStrength(0.5F);
  engine.Assert("(room (name a) (heat 4))");
  EXPECT_EQ(Agenda(), "");
  engine.Assert("(room (name b) (heat 5))");
  EXPECT_EQ(Agenda(), "r 0.5000") << "a degree of just that much passes";
  // What waits stays, and what is taken away goes, whatever the minimum is by now.
  engine.SetMinActivationStrength(1);
  EXPECT_EQ(Agenda(), "r 0.5000");
  engine.SetFuzzyEqualsThreshold(1);
  engine.GetFacts().Clear();
  engine.SetMinActivationStrength(0);
  engine.Assert("(room (name c) (heat 10))");
  EXPECT_EQ(Agenda(), "") << "strictly above the threshold";
}

TEST_F(FuzzyReasoningTest, RetractionFindsEveryMatch) {
  Load(
      "(defrule pair (room (name ?n) (heat hot)) (room (name ?m&~?n) (heat ~cold)) => )"
      "(defrule same (room (name ?n) (heat ?h)) (wish (heat ?h)) => )"
      "(defrule none (wish (heat hot)) (not (room (heat hot))) => )"
      "(deftemplate span (slot from (type heat)) (slot to (type heat)))"
      "(defrule inside (span (from ?x) (to ?x)) => )"
      "(defrule outside (span (from ?x) (to ~?x)) => )");
  std::vector<TFactId> ids;
  for (int i = 0; i <= 10; ++i) {
    ids.push_back(
        engine.Assert("(room (name n" + IntegerToText(i) + ") (heat " + IntegerToText(i) + "))"));
  }
  const TFactId wish = engine.Assert("(wish (heat mild))");
  ids.push_back(engine.Assert("(span (from cold) (to 4))"));
  EXPECT_NE(Agenda().find("inside 0.6000"), std::string::npos) << Agenda();
  EXPECT_GT(engine.GetAgendaCount(), 0);
  // The thresholds change under way: what is taken away is found all the same.
  engine.SetFuzzyEqualsThreshold(0.9F);
  engine.SetMinActivationStrength(0.95F);
  for (const TFactId id : ids) engine.Retract(id);
  EXPECT_EQ(Agenda(), "none 0.6667");
  engine.Retract(wish);
  EXPECT_EQ(Agenda(), "");
}

TEST_F(FuzzyReasoningTest, AJoinComparesFuzzyValuesByOverlap) {
  Load(
      "(defrule same (room (name ?n) (heat ?h)) (wish (heat ?h)) => )"
      "(defrule other (room (name ?n) (heat ?h)) (wish (heat ~?h)) => )");
  engine.Assert("(room (name a) (heat 2))");
  engine.Assert("(room (name b) (heat (tri 6 8 10)))");
  engine.Assert("(wish (heat (tri 4 5 7)))");
  EXPECT_EQ(Agenda(), "other 1.0000, same 1.0000");
}

TEST_F(FuzzyReasoningTest, TestsOfDifferentSetsDoNotShareANode) {
  Load(
      "(deftype twin extends (type heat))"
      "(deftemplate lamp (slot heat (type twin)))"
      "(defrule a (room (heat hot)) => ) (defrule b (room (heat mild)) => )"
      "(defrule c (room (heat hot)) => ) (defrule d (lamp (heat hot)) => )");
  engine.Assert("(room (name x) (heat 9))");
  EXPECT_EQ(Agenda(), "b 0.2000, c 0.9000, a 0.9000");
  const auto trace = [this](const char* rule) {
    return engine.GetRules().Find(rule)->CompileTrace;
  };
  EXPECT_EQ(trace("b"), "b: +1+t");
  EXPECT_EQ(trace("c"), "c: =1+t");
}

TEST_F(FuzzyReasoningTest, WhatARuleAssertsIsNoTruerThanItsPremise) {
  Load("(defrule r (room (heat hot)) => (assert (alarm (level hot)) (plain x)))");
  std::vector<float> told;
  engine.OnFuzzyCorrelation = [&told](TReasoner&, const Ref<IFact>&, float strength, bool&) {
    told.push_back(strength);
  };
  engine.Assert("(room (name a) (heat 6))");
  engine.Run();
  EXPECT_EQ(told, std::vector<float>{0.6F}) << "facts without fuzzy slots are asserted as ever";
  const Ref<IFuzzySet> level = SetOf("alarm");
  EXPECT_NEAR(level->DegreeOfMembership(10), 0.6, 1e-6);
  EXPECT_NEAR(level->DegreeOfMembership(3), 0.3, 1e-6);
  EXPECT_EQ(
      engine.FindDefinedType("heat")->GetFuzzyType()->FindFuzzySet("hot")->DegreeOfMembership(10),
      1);

  engine.FuzzyCorrelationMethod = fcmProduct;
  engine.GetFacts().Clear();
  engine.Assert("(room (name a) (heat 6))");
  engine.Run();
  EXPECT_NEAR(SetOf("alarm")->DegreeOfMembership(5), 0.3, 1e-6);

  // Whole strength: no event, no change. And a handler may do it all.
  engine.GetFacts().Clear();
  told.clear();
  engine.Assert("(room (name a) (heat 10))");
  engine.Run();
  EXPECT_TRUE(told.empty());
  EXPECT_EQ(SetOf("alarm")->GetGivenName(), "hot");
  engine.OnFuzzyCorrelation = [](TReasoner&, const Ref<IFact>&, float, bool& done) { done = true; };
  engine.GetFacts().Clear();
  engine.Assert("(room (name a) (heat 6))");
  engine.Run();
  EXPECT_EQ(SetOf("alarm")->GetGivenName(), "hot");
}

TEST_F(FuzzyReasoningTest, AnAssertionOverAnEqualFactIsCombinedWithIt) {
  const TFactId first = engine.Assert("(room (name a) (heat (tri 0 2 4)))");
  const TFactId second = engine.Assert("(room (name a) (heat (tri 6 8 10)))");
  engine.Assert("(room (name b) (heat hot))");
  EXPECT_GT(second, first);
  EXPECT_EQ(Count("room"), 2);
  Ref<IFuzzySet> set;
  GetFuzzySlot(*engine.GetFacts().GetFactByID(second), set);
  EXPECT_EQ(set->DegreeOfMembership(2), 1);
  EXPECT_EQ(set->DegreeOfMembership(8), 1);
  EXPECT_EQ(set->DegreeOfMembership(5), 0);

  engine.Assert(engine.ParseFact("(alarm (level hot))"));
  engine.Assert(engine.ParseFact("(alarm (level hot))"));
  EXPECT_EQ(SetOf("alarm")->GetGivenName(), "hot") << "united with itself";
  engine.Assert(engine.ParseFact("(alarm (level cold))"), true);
  EXPECT_NEAR(SetOf("alarm")->DegreeOfMembership(5), 0.5, 1e-9);
  EXPECT_EQ(SetOf("alarm")->DegreeOfMembership(0), 0);
  // Another method for one assertion alone.
  engine.Assert(engine.ParseFact("(alarm (level mild))"), fimBoundedSum);
  EXPECT_EQ(SetOf("alarm")->DegreeOfMembership(5), 1);
  EXPECT_EQ(engine.FuzzyInferenceMethod, fimMinMax);
  // The listed fact itself, asserted again, gets a new id and stands in the list once.
  const Ref<IFact> listed = engine.GetFacts().GetFactByID(second);
  EXPECT_GT(engine.Assert(listed), second);
  EXPECT_EQ(Count("room"), 2);
}

TEST_F(FuzzyReasoningTest, AHandlerThatRefusesARetractionLeavesTheOldFact) {
  engine.Assert("(alarm (level hot))");
  engine.OnRetraction = [](TReasoner&, const Ref<IFact>&) { throw EKBException("no"); };
  EXPECT_EQ(FailureOf([&] { engine.Assert("(alarm (level cold))"); }), "no");
  EXPECT_EQ(SetOf("alarm")->GetGivenName(), "hot");
}

TEST_F(FuzzyReasoningTest, HostsMayCombineFactsThemselves) {
  const Ref<IFact> a = engine.ParseFact("(alarm (level hot))");
  const Ref<IFact> b = engine.ParseFact("(alarm (level cold))");
  const Ref<IFact> c = engine.ParseFact("(plain x)");
  int calls = 0;
  engine.OnFuzzyInference = [&calls](TReasoner&, const Ref<IFact>&, const Ref<IFact>&, bool& done) {
    done = ++calls == 1;
  };
  engine.FuzzyInference(a, b);
  EXPECT_EQ(a->GetValue("level")->ToString(), "hot");
  engine.FuzzyInference(a, b);
  EXPECT_EQ(a->GetValue("level")->GetAsFuzzy()->DegreeOfMembership(0), 1);
  EXPECT_EQ(b->GetValue("level")->ToString(), "cold");
  EXPECT_EQ(FailureOf([&] { engine.FuzzyOperation(a, c, true); }),
            "Cannot union two facts with different fact templates: alarm and plain");
  EXPECT_EQ(FailureOf([&] { engine.FuzzyOperation(c, c, true); }), "Fact is not a fuzzy fact");
  EXPECT_EQ(FailureOf([&] { engine.FuzzyCorrelation(c, 0.5F); }), "Fact is not a fuzzy fact");
}

TEST_F(FuzzyReasoningTest, ModifyAndDuplicateReadFuzzyValues) {
  Load("(bind ?f (assert (room (name a) (heat hot)))) (bind ?w cold)");
  Load("(bind ?f (modify ?f (heat very ?w)))");
  EXPECT_EQ(FactToText(*engine.GetFacts().Snapshot().back()), "(room (heat very cold) (name a))");
  Load("(duplicate ?f (name b) (heat cold or hot))");
  EXPECT_EQ(FactToText(*engine.GetFacts().Snapshot().back()), "(room (heat cold or hot) (name b))");
  // What cannot be read leaves the fact where it is.
  ExpectError("(modify ?f (heat tepid))", "Invalid item in fuzzy expression: tepid");
  ExpectError("(modify ?f (heat cold hot))", "Invalid Fuzzy Expression: ");
  EXPECT_EQ(Count("room"), 2);
  EXPECT_EQ(Show("(get-slot-value ?f heat)"), "very cold");
}

TEST_F(FuzzyReasoningTest, ThresholdsAndTermsReachEveryVariable) {
  Load("(deftemplate list (multislot heats (type heat) (cardinality 1 2)))");
  const auto threshold = [this](const char* type) {
    return engine.FindDefinedType(type)->GetFuzzyType()->GetThreshold();
  };
  engine.SetFuzzyEqualsThreshold(2);
  EXPECT_EQ(engine.GetFuzzyEqualsThreshold(), 1);
  EXPECT_EQ(threshold("heat"), 1);
  const Ref<IFactSlot> own = engine.FindFactTemplate("list")->GetSlot("heats");
  EXPECT_TRUE(own->GetExtendedTypeInfo()->IsImplicit());
  EXPECT_EQ(own->GetFuzzyVariable()->GetThreshold(), 1);
  engine.FuzzyAutoTerms = false;
  engine.SetFuzzyEqualsThreshold(0.5F);
  Load(
      "(deftype bare extends (type FUZZY) (range 0 1))"
      "(deftemplate pair (multislot heats (type heat) (cardinality 2 2)))");
  EXPECT_EQ(threshold("bare"), 0.5);
  EXPECT_EQ(engine.FindFactTemplate("pair")->GetSlot("heats")->GetFuzzyVariable()->GetThreshold(),
            0.5);
  EXPECT_EQ(engine.FindDefinedType("bare")->GetFuzzyType()->GetSetCount(), 0);
  EXPECT_NE(engine.FindDefinedType("heat")->GetFuzzyType()->FindFuzzySet("high"), nullptr);
}

TEST_F(FuzzyReasoningTest, ManyFuzzyFactsAreFoundWithoutAWalk) {
  // Ten thousand facts that differ in their names alone: a walk would compare 50 million pairs.
  engine.SetFactDuplication(true);
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 10000; ++i) {
      const Ref<IFact> fact = engine.FindFactTemplate("room")->NewFact();
      fact->SetValue("name", NewInteger(i));
      engine.Assert(fact);
    }
    EXPECT_EQ(Count("room"), 10000);
    engine.SetFactDuplication(false);
  }
}

TEST_F(FuzzyReasoningTest, ACopyOfAnEngineHasItsOwnVariables) {
  Load(
      "(deftemplate house (slot name) (multislot heats (type heat) (cardinality 1 3)"
      "   (default cold hot)))"
      "(defrule r (room (name ?n) (heat hot or cold)) (house (heats ? very hot)) => )"
      "(assert (room (name a) (heat (tri 1 2.123456789 3))))"
      "(assert (house (name b) (heats cold (tri 8 9 10))))");
  engine.FuzzyAutoTerms = false;
  engine.SetFuzzyEqualsThreshold(0.25F);
  engine.FuzzyInferenceMethod = fimSum;
  engine.FuzzyCorrelationMethod = fcmProduct;
  TReasoner copy;
  copy.Assign(engine);
  EXPECT_EQ(Definitions(copy), Definitions(engine));
  EXPECT_EQ(copy.FuzzyAutoTerms, false);
  EXPECT_EQ(copy.GetFuzzyEqualsThreshold(), 0.25F);
  EXPECT_EQ(copy.FuzzyInferenceMethod, fimSum);
  EXPECT_EQ(copy.FuzzyCorrelationMethod, fcmProduct);
  EXPECT_EQ(copy.GetAgendaCount(), engine.GetAgendaCount());
  const Ref<IFuzzyVariable>& variable = copy.FindDefinedType("heat")->GetFuzzyType();
  EXPECT_NE(variable, engine.FindDefinedType("heat")->GetFuzzyType());
  EXPECT_TRUE(variable->Equals(*engine.FindDefinedType("heat")->GetFuzzyType()));
  EXPECT_EQ(variable->GetThreshold(), 0.25);
  std::int32_t sets = 0;
  for (const Ref<IFact>& fact : copy.GetFacts().Snapshot()) {
    Ref<IFuzzySet> set;
    GetFuzzySlot(*fact, set);
    if (!set) continue;
    ++sets;
    EXPECT_EQ(set->GetVariable(), fact->GetTemplate()->GetSlots().back()->GetFuzzyVariable())
        << fact->ToString();
    EXPECT_EQ(set->GetParser(), static_cast<IFuzzyParser*>(&copy));
  }
  EXPECT_EQ(sets, 2);
  // And a knowledge base that is saved and loaded is the same again.
  TReasoner loaded;
  loaded.FuzzyAutoTerms = false;
  loaded.Parse(engine.GetExpertSystem(), true);
  EXPECT_EQ(Definitions(loaded), Definitions(engine));
}

TEST_F(FuzzyReasoningTest, AValueOfAnotherTypeIsKeptByItsPoints) {
  // What the words mean hangs on the slot: there they are unknown, or say something else.
  Load(
      "(deftype load extends (type FUZZY) (range 0 10) (values (term cold (tri 5 6 7))))"
      "(deftemplate pump (slot id) (slot load (type load)))"
      "(deftemplate pumps (multislot loads (type load)))"
      "(defrule r (pump (load (create-fuzzy-value heat cold))) =>)"
      "(bind ?cold (create-fuzzy-value heat cold)) (bind ?old (create-fuzzy-value heat hot))"
      "(assert (pump (id 1) (load ?cold)) (pump (id 2) (load low or very ?cold))"
      "  (pumps (loads ?cold low (tri 1 2 3))))");
  TReasoner copy;
  copy.Assign(engine);
  TReasoner loaded;
  loaded.Clear();
  loaded.Parse(engine.GetExpertSystem(), true);
  ASSERT_EQ(loaded.GetFacts().GetCount(), 4);
  EXPECT_EQ(engine.GetAgendaCount(), 2);
  for (TReasoner* other : {&copy, &loaded}) {
    EXPECT_EQ(other->GetAgendaCount(), 2);
    for (int i = 1; i < 4; ++i) {
      Ref<IFuzzySet> here;
      Ref<IFuzzySet> there;
      GetFuzzySlot(*engine.GetFacts().Get(i), here);
      GetFuzzySlot(*other->GetFacts().Get(i), there);
      EXPECT_TRUE(there->SamePoints(*here)) << i << ": " << there->ToString();
    }
  }
  // The same of a value whose type is gone.
  Load("(undeftype heat) (assert (pump (id 3) (load ?cold)) (pump (id 4) (load low or ?old)))");
  TReasoner again;
  again.Clear();
  again.Parse(engine.GetExpertSystem(), true);
  for (int i = 4; i < 6; ++i) {
    Ref<IFuzzySet> here;
    Ref<IFuzzySet> there;
    GetFuzzySlot(*engine.GetFacts().Get(i), here);
    GetFuzzySlot(*again.GetFacts().Get(i), there);
    EXPECT_TRUE(there->SamePoints(*here)) << there->ToString();
  }
}

TEST_F(FuzzyReasoningTest, ValuesOutliveTheirTypeAndTheirEngine) {
  Ref<IFuzzySet> set;
  {
    TReasoner other;
    other.Parse("(deftype t extends (type FUZZY) (range 0 10))", true);
    set = other.ParseFuzzyExpression(other.FindDefinedType("t")->GetFuzzyType().get(), "not low");
    EXPECT_EQ(set->GetParser(), &other);
  }
  EXPECT_EQ(set->GetVariable(), nullptr);
  EXPECT_EQ(set->GetParser(), nullptr);
  EXPECT_EQ(set->ToString(), "not low");
}

}  // namespace
}  // namespace reasoner
