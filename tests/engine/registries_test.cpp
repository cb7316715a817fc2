#include "reasoner/engine/Registries.h"

#include <functional>

#include "reasoner/functions/HostFunction.h"
#include "reasoner/functions/InterpretedFunction.h"
#include "reasoner/values/Constants.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

class RegistriesTest : public EngineTest {
 protected:
  std::string Facts() { return engine.GetFacts().GetToIDString(); }
};

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
  Load("(defglobal ?*g* = 1) (defglobal ?*g* = 2) (deffacts s (a)) (deffacts s (b))");
  EXPECT_EQ(Show("(create$ ?*g*)"), "2 ") << "globals and fact sets know no such policy";
  EXPECT_EQ(engine.GetFactSets().GetCount(), 1);
}

TEST_F(RegistriesTest, TheVerySameObjectIsNoDuplicate) {
  Load(
      "(deftemplate item (slot n)) (deftype t extends (type ATOM)) (defrule r (item) =>)"
      "(deffunction f () 1) (assert (item (n 1)))");
  engine.DuplicateConstructs = dcError;
  int events = 0;
  engine.OnNewFactTemplate = [&](TReasoner&, const Ref<IFactTemplate>&) { ++events; };
  engine.OnAddRule = [&](TReasoner&, TRule&) { ++events; };
  engine.GetFactTemplates().Add(engine.FindFactTemplate("item"));
  engine.GetDefinedTypes().Add(engine.FindDefinedType("t"));
  engine.GetRules().Add(*engine.GetRules().Find("r"));
  engine.GetUserFunctions().Add(engine.GetUserFunction("f"));
  EXPECT_EQ(events, 0);
  EXPECT_EQ(engine.GetAgendaCount(), 1);
  const Ref<IUserFunction> f = engine.GetUserFunction("f");
  EXPECT_EQ(FailureOf([&] { engine.SetUserFunction("g", f); }),
            "Function names do not match: g and f");
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
  engine.GetFactTemplates().Remove("unknown");
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-2 (other (x 1))");
  EXPECT_EQ(engine.GetRules().GetNames(), std::vector<std::string>{"s"});
  EXPECT_EQ(engine.GetReteNetwork().GetNodeCount(), 2u);
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (other (x 1))");
  EXPECT_EQ(engine.FindFactTemplate("item").get(), nullptr);
}

TEST_F(RegistriesTest, ATypeGoesWithTheTemplatesThatUseIt) {
  Load(R"((deftype small extends (type INTEGER) (range 0 9)) (deftype big extends (type INTEGER))
          (deftemplate s (slot n (type small))) (deftemplate b (slot n (type big)))
          (defrule rs (s) =>) (defrule rb (b) =>) (assert (s (n 1)) (b (n 1))))");
  const Ref<IKBDefinedType> small = engine.FindDefinedType("small");
  if (engine.FindFactTemplate("s")->GetSlot("n")->GetExtendedTypeInfo() != small) {
    engine.FindFactTemplate("s")->GetSlot("n")->SetExtendedTypeInfo(small);
  }
  engine.GetDefinedTypes().Remove("small");
  EXPECT_EQ(small->GetReasoner(), nullptr);
  EXPECT_EQ(engine.FindFactTemplate("s").get(), nullptr);
  EXPECT_EQ(engine.GetRules().GetNames(), std::vector<std::string>{"rb"});
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-2 (b (n 1))");
  EXPECT_TRUE(engine.FindDefinedType("big"));
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
  EXPECT_EQ(engine.GetRules().GetCount(), 2);
  EXPECT_EQ(&engine.GetActivation(0), activation);
  EXPECT_EQ(engine.Run(), 1);
  EXPECT_TRUE(engine.GetRules().Remove("renamed"));
  EXPECT_FALSE(engine.GetRules().Remove("renamed"));
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

TEST_F(RegistriesTest, InterpretedFunctionsAreCountedAndKeepTheOrderOfTheirDefinition) {
  Load("(deffunction a () 1) (deffunction b () (a)) (deffunction a () 2)");
  EXPECT_EQ(engine.GetUserFunctions().GetInterpretedCount(), 2);
  const auto order = [this](const char* name) {
    return dynamic_cast<IInterpretedFunction&>(*engine.GetUserFunction(name)).GetOrder();
  };
  EXPECT_GT(order("a"), order("b"));
  engine.GetUserFunctions().Remove("b");
  engine.GetUserFunctions().Remove("b");
  EXPECT_EQ(engine.GetUserFunctions().GetInterpretedCount(), 1);
  EXPECT_EQ(engine.GetUserFunctions().ToString().substr(0, 14), "(deffunction a");
  EXPECT_EQ(FailureOf([&] { engine.AddUserFunction(nullptr); }),
            "Cannot add nil to user functions");
}

TEST_F(RegistriesTest, AGlobalIsBoundAsSoonAsItIsDefined) {
  Load("(defglobal ?*g* = (+ 1 2))");
  EXPECT_EQ(Show("(create$ ?*g*)"), "3 ");
  EXPECT_EQ(engine.GetGlobalVariables().Get("*g*")->ToString(), "(+ 1 2)");
  engine.GetGlobalVariables().Clear();
  EXPECT_EQ(engine.GetContext().FindBinding("*g*"), nullptr);
}

TEST_F(RegistriesTest, AStreamNameInUseFollowsThePolicyToo) {
  const auto open = [this] {
    engine.GetIOStreams().Add(
        "s", std::make_unique<TGTextStream>(std::make_unique<TKitStringStream>("")));
    return engine.GetIOStreams().Find("s").get();
  };
  const TGTextStream* first = open();
  engine.DuplicateConstructs = dcIgnore;
  EXPECT_EQ(open(), first);
  engine.DuplicateConstructs = dcError;
  EXPECT_EQ(FailureOf(open), "Duplicate streams defined with same name: \"s\"");
  EXPECT_EQ(engine.GetIOStreams().GetCount(), 1);
  EXPECT_EQ(FailureOf([&] { engine.GetIOStreams().Remove("t2"); }), "Invalid stream name: t2");
}

}  // namespace
}  // namespace reasoner
