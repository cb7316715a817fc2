#include "reasoner/engine/Registries.h"

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class RegistriesTest : public EngineTest {};

TEST_F(RegistriesTest, ASecondDefinitionOverwritesIsIgnoredOrRaises) {
  struct Row {
    std::string first, second;
    std::function<std::string()> held;  // "1" for the first definition, "2" for the second
    std::string error;
  };
  const Row rows[] = {
      {"(deftemplate item (slot a1))", "(deftemplate item (slot a2))",
       [&] { return engine.FindFactTemplate("item")->GetSlotNames()[0].str().substr(1); },
       "Fact Template Name already exists: \"item\""},
      {"(deftype size extends (type INTEGER) (range 0 1))",
       "(deftype size extends (type INTEGER) (range 0 2))",
       [&] {
         return std::to_string(static_cast<int>(engine.FindDefinedType("size")->GetMaxRange()));
       },
       "Defined Type Name already exists: \"size\""},
      {"(deffunction f () 1)", "(deffunction f () 2)", [&] { return Show("(f)"); },
       "Function Name already exists: \"f\""},
      {"(defrule r \"1\" (a) =>)", "(defrule r \"2\" (a) =>)",
       [&] { return engine.GetRules().Find("r")->Comment; },
       "Duplicate Rules defined with same name: \"r\""},
      {"(deffacts s \"1\" (a))", "(deffacts s \"2\" (a))",
       [&] { return engine.GetFactSets().GetItem(0).Comment; },
       "Fact Set Name already exists: \"s\""},
  };
  for (const Row& row : rows) {
    Load(row.first);
    ASSERT_EQ(row.held(), "1");
    engine.DuplicateConstructs = dcIgnore;
    Load(row.second);
    EXPECT_EQ(row.held(), "1") << row.second;
    engine.DuplicateConstructs = dcError;
    EXPECT_NE(FailureOf([&] { Load(row.second); }).find(row.error), std::string::npos)
        << FailureOf([&] { Load(row.second); });
    EXPECT_EQ(row.held(), "1") << row.second;
    engine.DuplicateConstructs = dcOverwrite;
    Load(row.second);
    EXPECT_EQ(row.held(), "2");
  }
  engine.DuplicateConstructs = dcError;
  Load("(defglobal ?*g* = 1) (defglobal ?*g* = 2)");
  EXPECT_EQ(Show("(create$ ?*g*)"), "2 ") << "globals know no such policy";
}

TEST_F(RegistriesTest, ARedefinedTemplateTakesItsFactsAndRulesAlongWhereTheyFit) {
  Load(R"((deftemplate item (slot a) (slot b)) (deftemplate other (slot x))
          (defrule uses-a (item (a ?x)) =>) (defrule uses-b (item (b ?x)) =>)
          (defrule acts (other (x ?x)) => (assert (item (a ?x) (b 1))))
          (defrule aside (other (x ?x)) =>)
          (deffacts start (item (a 7)))
          (assert (item (a 1)) (other (x 1)) (item (a 2)) (item (a 3) (b 3))))");
  const TRule* aside = engine.GetRules().Find("aside");
  const Ref<IFactTemplate> old = engine.FindFactTemplate("item");
  Load("(deftemplate item (slot a) (slot c (default 5)))");
  EXPECT_NE(engine.FindFactTemplate("item").get(), old.get());
  EXPECT_EQ(Facts(),
            "f-0 (Initial-Fact)\nf-2 (other (x 1))\nf-5 (item (a 2) (c 5))\nf-6 (item (a 1) (c 5))")
      << "the last fact first; the one with a value in the slot that has gone is dropped";
  EXPECT_NE(engine.GetRules().Find("uses-a"), nullptr);
  EXPECT_EQ(engine.GetRules().Find("uses-b"), nullptr);
  EXPECT_EQ(engine.GetRules().Find("acts"), nullptr);
  EXPECT_EQ(engine.GetRules().Find("aside"), aside);
  EXPECT_EQ(engine.GetAgendaCount(), 3);
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (item (a 7) (c 5))");
}

TEST_F(RegistriesTest, ARemovedTemplateTakesItsDependentsAway) {
  Load(R"((deftemplate item (slot a)) (deftemplate other (slot x))
          (defrule r (item (a ?x)) =>) (defrule s (other) =>)
          (deffacts start (item (a 7)) (other (x 1))) (assert (item (a 1)) (other (x 1))))");
  engine.GetFactTemplates().Remove("item");
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-2 (other (x 1))");
  EXPECT_EQ(engine.GetRules().GetNames(), std::vector<std::string>{"s"});
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), 2u);
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (other (x 1))");
  EXPECT_EQ(engine.FindFactTemplate("item").get(), nullptr);
}

TEST_F(RegistriesTest, ARedefinedTypeReachesTheTemplatesThatUseIt) {
  Load("(deftype small extends (type INTEGER) (range 0 9)) (deftemplate s (slot n (type small)))");
  engine.FindFactTemplate("s")->GetSlot("n")->SetExtendedTypeInfo(engine.FindDefinedType("small"));
  Load("(assert (s (n 3)) (s (n 7)))");
  const Ref<IKBDefinedType> old = engine.FindDefinedType("small");
  Load("(deftype small extends (type INTEGER) (range 0 5))");
  EXPECT_EQ(old->GetReasoner(), nullptr);
  EXPECT_EQ(engine.FindFactTemplate("s")->GetSlot("n")->GetExtendedTypeInfo().get(),
            engine.FindDefinedType("small").get());
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-3 (s (n 3))");
}

TEST_F(RegistriesTest, ARenamedRuleKeepsItsActivations) {
  Load("(defrule r (a) => (printout t fired)) (defrule taken (z) =>) (assert (a))");
  TRule& rule = *engine.GetRules().Find("r");
  const TActivation* activation = &engine.GetActivation(0);
  EXPECT_EQ(FailureOf([&] { rule.SetRuleName("taken"); }),
            "Duplicate Rules defined with same name: \"taken\"");
  EXPECT_EQ(engine.GetRules().Find("r"), &rule) << "a refused name leaves the registry as it was";
  rule.SetRuleName("r");
  EXPECT_EQ(FailureOf([&] { rule.SetRuleName("a b"); }),
            "a b contains unexpected character: \" \"");
  rule.SetRuleName("renamed");
  EXPECT_EQ(engine.GetRules().Find("renamed"), &rule);
  EXPECT_FALSE(engine.GetRules().ContainsKey("r"));
  EXPECT_EQ(&engine.GetActivation(0), activation);
  EXPECT_EQ(engine.Run(), 1);
  EXPECT_TRUE(engine.GetRules().Remove("renamed"));
}

TEST_F(RegistriesTest, AHostsRuleIsRegisteredAndLeavesAlive) {
  std::unique_ptr<TRule> rule = engine.ParseRule("(defrule hosts (a ?x) => (printout t ?x))");
  engine.RemoveComponent(*rule);
  engine.GetRules().Add(*rule);
  engine.Assert("(a 1)");
  EXPECT_EQ(engine.Run(), 1);
  EXPECT_EQ(TakeOutput(), "1");
  engine.GetRules().Clear();
  EXPECT_EQ(rule->GetRuleName(), "hosts");
  engine.GetRules().Add(*rule);
  EXPECT_EQ(engine.GetAgendaCount(), 1) << "the facts that are there are matched";
  rule.reset();
  EXPECT_EQ(engine.GetRules().GetCount(), 0);
  EXPECT_EQ(engine.GetAgendaCount(), 0);
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), 0u);
}

TEST_F(RegistriesTest, ARedefinedTemplateTakesItsChildrenAlong) {
  Load(R"((deftemplate parent (slot a)) (deftemplate child extends parent (slot b))
          (deftemplate grandchild extends child)
          (assert (child (a 1) (b 2)) (grandchild (a 3))))");
  Load("(deftemplate parent (slot a) (slot c (default 9)))");
  const Ref<IFactTemplate> child = engine.FindFactTemplate("child");
  EXPECT_EQ(child->GetParent().get(), engine.FindFactTemplate("parent").get());
  EXPECT_EQ(engine.FindFactTemplate("grandchild")->GetParent().get(), child.get());
  EXPECT_EQ(Facts(),
            "f-0 (Initial-Fact)\nf-3 (child (a 1) (b 2) (c 9))\nf-4 (grandchild (a 3) (c 9))");
  EXPECT_EQ(FailureOf([&] { Load("(deftemplate parent extends grandchild)"); }),
            "Fact templates inheritance structure corrupted");
  EXPECT_TRUE(engine.FindFactTemplate("parent")->ContainsSlot("c")) << "as it was";
  engine.GetFactTemplates().Remove("parent");
  EXPECT_FALSE(child->GetParent()) << "what it extended has gone";
  EXPECT_EQ(Facts(),
            "f-0 (Initial-Fact)\nf-3 (child (a 1) (b 2) (c 9))\nf-4 (grandchild (a 3) (c 9))");
}

TEST_F(RegistriesTest, ATypeKeepsItsFacetsWhenItsAncestorIsRedefinedOrGoes) {
  Load(R"((deftype base extends (type INTEGER) (range 0 9))
          (deftype low extends (type base)) (deftype high extends (type base) (range 5 9)))");
  Load("(deftype base extends (type INTEGER) (range 0 3) (units mm))");
  const Ref<IKBDefinedType> low = engine.FindDefinedType("low");
  EXPECT_EQ(low->GetAncestor().get(), engine.FindDefinedType("base").get());
  TReasoner other;
  other.Parse(engine.GetExpertSystem(), true);
  for (const char* name : {"low", "high"}) {
    EXPECT_EQ(other.FindDefinedType(name)->GetMaxRange(), 9) << name;
    EXPECT_EQ(other.FindDefinedType(name)->GetUnits(), "") << name;
  }
  EXPECT_NE(FailureOf([&] {
              Load("(deftype base extends (type low))");
            }).find("Type inheritance loop detected"),
            std::string::npos);
  engine.GetDefinedTypes().Remove("base");
  EXPECT_FALSE(low->GetAncestor());
  EXPECT_EQ(low->GetMaxRange(), 9);
}

TEST_F(RegistriesTest, WhatFitsComesOverUnharmedAndWhatDoesNotIsReported) {
  Load(
      "(deftemplate item (slot a) (slot b)) (defrule r (declare (oneshot TRUE) (salience 9)) (item "
      "(a ?x)) =>)");
  const Ref<IFact> fact = engine.FindFactTemplate("item")->NewFact();
  fact->SetValue("a", NewFloat(1.0 / 3));
  fact->SetValue("b", NewFactId(0));
  engine.Assert(fact);
  Load("(assert (item (a x)) (item (a 4)))");
  std::unique_ptr<TRule> hosts =
      engine.ParseRule("(defrule hosts (item (a ?x)) => (printout t ?x))");
  engine.GetRules().Add(*hosts);
  int fired = 0;
  engine.GetRules().Find("r")->OnFire = [&fired](TRule&, TKBContext&) { ++fired; };
  EXPECT_EQ(engine.Run(1), 1);
  engine.Watch = {cwCompilation};
  TakeOutput();
  engine.Parse("(deftemplate item (slot a (type NUMBER)) (slot b))", true);
  EXPECT_NE(output.find("Dropped: (item (a x))\n   Parsing Error"), std::string::npos) << output;
  engine.Watch = {};
  const Ref<IFact> kept = engine.GetFacts().Get(2);
  EXPECT_EQ(kept->GetValue("a")->GetAsFloat(), 1.0 / 3);
  EXPECT_EQ(kept->GetValue("b")->GetDType(), dtFactId);
  EXPECT_EQ(engine.GetFacts().GetCount(), 3);
  EXPECT_EQ(engine.GetRules().Find("hosts"), hosts.get());
  EXPECT_TRUE(engine.GetRules().Find("r")->HasFired());
  EXPECT_EQ(engine.GetAgendaCount(), 2) << "the one-shot rule has fired";
  engine.GetRules().Find("r")->Reset();
  engine.Assert("(item (a 7))");
  engine.Run();
  EXPECT_EQ(fired, 2) << "the handler has come over";
}

TEST_F(RegistriesTest, WhatIsDroppedIsToldByNameAndReason) {
  Load(R"((deftype age extends (type INTEGER) (range 0 10))
          (deftemplate item (slot a (type age) (default 7)) (slot b))
          (deffacts s (item (b 2)))
          (defrule r (item (b ?)) =>) (defrule q ?f <- (item (a ?)) => (modify ?f (b 1)))
          (assert (item (a 9)) (item (b 3))))");
  std::string told;
  engine.OnDropped = [&told](TReasoner&, const std::string& what, const std::string& reason) {
    told += what + ": " + reason.substr(0, reason.find(" in Parse")) + "\n";
  };
  Load("(deftype age extends (type INTEGER) (range 0 8))");
  EXPECT_EQ(told,
            "fact (item (a 9)): Parsing Error, Value \"9\" is not valid, Range must be between "
            "0.0000 and 8.0000\n");
  told.clear();
  Load("(deftype age extends (type INTEGER) (range 0 5))");
  EXPECT_EQ(told.substr(0, told.find('\n')),
            "default 7 of slot a in template item: it does not fit the new type age");
  told.clear();
  Load("(assert (item (b 3))) (deftemplate item (slot a (type age)))");
  EXPECT_EQ(told,
            "line of fact set s: (item (b 2)): No such slot name: \"b\"\n"
            "fact (item (a 0) (b 3)): No such slot name: \"b\"\n"
            "rule r: No such slot name: \"b\"\n");
  told.clear();
  Load("(assert (item)) (undeftype age)");
  EXPECT_EQ(told,
            "template item: type age is gone\nfact (item (a 0)): template item is gone\n"
            "line of fact set s: (item (b 2)): template item is gone\n"
            "rule q: template item is gone\n");
}

TEST_F(RegistriesTest, AFailingRenamingLeavesTheOldName) {
  Load("(defrule r =>) (defrule taken =>) (deffacts s (a)) (deffacts t (b))");
  TRule& rule = *engine.GetRules().Find("r");
  EXPECT_NE(FailureOf([&] { rule.SetRuleName("taken"); }), "");
  EXPECT_EQ(rule.GetRuleName(), "r");
  EXPECT_EQ(engine.GetRules().Find("r"), &rule);
  TFactSet& fact_set = engine.GetFactSets().GetItem(0);
  EXPECT_EQ(FailureOf([&] { fact_set.SetFactSetName("t"); }),
            "Fact Set Name already exists: \"t\"");
  EXPECT_EQ(fact_set.GetFactSetName(), "s");
  fact_set.SetFactSetName("free");
  EXPECT_EQ(engine.GetFactSets().IndexOf("free"), 0);
}

TEST_F(RegistriesTest, NamesThatWouldReadBackAsSomethingElseAreRefused) {
  for (const std::string name : {"g", "", "*g", "*\xFF*"}) {
    EXPECT_NE(FailureOf([&] { engine.GetGlobalVariables().Put(name, NewInteger(1)); }), "") << name;
  }
  engine.GetGlobalVariables().Put("*a b*", NewInteger(1));
  TReasoner other;
  other.Parse(engine.GetExpertSystem(), true);
  EXPECT_TRUE(other.GetGlobalVariables().ContainsKey("*a b*"));
  EXPECT_NE(FailureOf([&] { Load("(deftemplate t (slot __PATTERN))"); }), "");
  EXPECT_NE(FailureOf([&] { Load("(deftype INTEGER extends (type STRING))"); }), "");
}

TEST_F(RegistriesTest, ABuiltInFunctionComesBackWhenItsStandInGoes) {
  Load("(deffunction abs (?x) mine) (deffunction abs (?x) mine-again)");
  EXPECT_EQ(Show("(abs -1)"), "mine-again");
  engine.GetUserFunctions().Remove("abs");
  EXPECT_EQ(Show("(abs -1)"), "1");
  Load("(deffunction abs (?x) mine)");
  engine.Clear();
  EXPECT_EQ(Show("(abs -1)"), "1");
  engine.GetUserFunctions().Remove("abs");
  EXPECT_FALSE(engine.ContainsUserFunction("abs"));
}

TEST_F(RegistriesTest, AFactWrittenBeforeItsTemplateWasRedefinedMovesThere) {
  Load(R"((deftemplate item (slot a) (slot b (default 5)))
          (deffunction make () (assert (item (a 1)))))");
  engine.GetFactTemplates().Add([this] {
    engine.GetFactTemplates().Remove("item");
    return engine.ParseFactTemplate("(deftemplate item (slot a) (slot c (default 6)))");
  }());
  Show("(make)");
  EXPECT_EQ(engine.GetFacts().Get(1)->ToString(), "(item (a 1) (c 6))");
  engine.GetFactTemplates().Remove("item");
  ExpectError("(make)", "Unknown fact template: item");
}

TEST_F(RegistriesTest, AChangedRuleStaysThoughAFactCannotBeTested) {
  Load("(defrule r (a ?x) =>) (assert (a 1) (a x) (a 3))");
  TRule& rule = *engine.GetRules().Find("r");
  const std::unique_ptr<TRule> other = engine.ParseRule("(defrule other (a ?x&:(> ?x 0)) =>)");
  EXPECT_NE(FailureOf([&] { rule.SetPatterns(*other); }), "");
  EXPECT_EQ(engine.GetAgendaCount(), 2) << "the facts that can be tested";
  Load("(assert (a 4))");
  EXPECT_EQ(engine.GetAgendaCount(), 3);
  EXPECT_NE(FailureOf([&] { Load("(defrule new (a ?x&:(> ?x 0)) =>)"); }), "");
  EXPECT_EQ(engine.GetRules().Find("new")->GetEngine(), &engine) << "so does a new rule";
  EXPECT_EQ(engine.GetAgendaCount(), 6);
}

TEST_F(RegistriesTest, FactSetsStandInAnOrderThatAHostChooses) {
  Load("(deffacts one (a 1)) (deffacts two (a 2))");
  TFactSet first;
  first.SetFactSetName("first");
  first.SetFacts({"(a 0)"});
  EXPECT_EQ(engine.GetFactSets().Insert(0, first), 0);
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a 0 )\nf-2 (a 1 )\nf-3 (a 2 )");
  TFactSet other;
  other.SetFactSetName("other");
  EXPECT_EQ(engine.GetFactSets().SetItem(1, other), 1);
  EXPECT_EQ(&engine.GetFactSets().GetItem(1), &other);
  EXPECT_EQ(FailureOf([&] { engine.GetFactSets().Insert(7, first); }),
            "List index out of bounds (7)");
}

TEST_F(RegistriesTest, ParentsPrintBeforeTheirChildren) {
  Load("(deftype base extends (type INTEGER)) (deftype middle extends (type base))");
  Load("(deftype last extends (type middle))");
  Load("(deftype base extends (type INTEGER) (range 1 2))");
  Load("(deftemplate parent (slot a))");
  const Ref<IFactTemplate> child =
      Make<TFactTemplate>(&engine, "child", "", engine.FindFactTemplate("parent"));
  const Ref<IFactTemplate> parent = engine.FindFactTemplate("parent");
  engine.GetFactTemplates().Remove("parent");
  engine.GetFactTemplates().Add(child);
  engine.GetFactTemplates().Add(parent);
  const std::string templates = engine.GetFactTemplates().ToString();
  EXPECT_LT(templates.find("(deftemplate parent"), templates.find("(deftemplate child"));
  const std::string types = engine.GetDefinedTypes().ToString();
  EXPECT_LT(types.find("(deftype middle"), types.find("(deftype last")) << types;
  EXPECT_NE(types.find("(deftype base"), std::string::npos);
}

}  // namespace
}  // namespace reasoner
