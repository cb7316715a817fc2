// Each told operation does something: those that no other test calls, with what shows that they
// did.

#include "reasoner/facts/FactSet.h"
#include "reasoner/facts/FactSlot.h"
#include "reasoner/functions/InterpretedFunction.h"
#include "reasoner/language/ClipsParser.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/values/SingletonsVector.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

constexpr const char* kBase = R"(
    (deftype t extends (type NUMBER SYMBOL) (range 0 9) (allowed-values 1 2 a 2.5))
    (deftype heat extends (type FUZZY) (range 0 10) (values (term hot ((0 0) (10 1)))))
    (deftemplate p (slot x) (slot y (type t)) (multislot m (default a b)))
    (deffacts s (p (x 1)) (p (x 2)))
    (defglobal ?*g* = "v")
    (defrule r (p (x ?v&1|2)) (q ?v) => (d) (e))
    (assert (p (x 1)) (p (x 2)) (q 1) (q 2) (q 3)))";

class ToldOperationsTest : public EngineTest {
 protected:
  void SetUp() override { Load("(clear)" + std::string(kBase)); }
  TRule& Rule() { return *engine.GetRules().Find("r"); }
  TKBPattern& Pattern() { return Rule().GetPattern(1); }
  TKBPatternMatchTest& SlotTest() { return Pattern().GetSlotTest(0, 0); }
  IFactTemplate& P() { return *engine.FindFactTemplate("p"); }
  IFuzzyVariable* Heat() { return engine.FindDefinedType("heat")->GetFuzzyType().get(); }
  // Both sides of the rule and the number of its matches.
  std::string Shown() {
    return engine.PrettyPrint(Rule(), rcPattern) + "=>" + engine.PrettyPrint(Rule(), rcAction) +
           std::to_string(engine.GetAgendaCount());
  }
  // The constructs that are there when a text has been loaded.
  std::string Loaded(void (TReasoner::*load)(TStream&, const TEncoding*), const char* text) {
    SetUp();
    TKitStringStream stream{std::string(text)};
    (engine.*load)(stream, nullptr);
    return std::to_string(engine.GetDefinedTypes().GetCount()) + " types " +
           std::to_string(engine.GetFactTemplates().GetCount()) + " templates " +
           std::to_string(engine.GetRules().GetCount()) + " rules " +
           std::to_string(engine.GetFacts().GetCount()) + " facts";
  }
};

TEST_F(ToldOperationsTest, RulesAndPatternsAreEdited) {
  const std::string first = "   (p (x ?v&1|2) )\n";
  const struct {
    std::function<void()> edit;
    std::string shown;
  } rows[] = {
      {[] {}, first + "   (q ?v)=>   (d)\n   (e)\n2"},
      {[&] { Rule().RemovePattern(1); }, "   (p (x ?v&1|2) )=>   (d)\n   (e)\n2"},
      {[&] { Rule().ClearPatterns(); }, "   (Initial-Fact )=>   (d)\n   (e)\n0"},
      {[&] { Rule().RemoveAction(0); }, first + "   (q ?v)=>   (e)\n2"},
      {[&] { Rule().ClearActions(); }, first + "   (q ?v)=>2"},
      {[&] { Pattern().SetNegatedCount(1); }, first + "   (not (q ?v))=>   (d)\n   (e)\n0"},
      {[&] { Pattern().SetUnique(true); }, first + "   (unique (q ?v))=>   (d)\n   (e)\n2"},
      {[&] { Pattern().RemoveTest(0, 0); }, first + "   (q ?)=>   (d)\n   (e)\n6"},
      {[&] { SlotTest().SetSlotTestType(sttNotEquals); }, first + "   (q ~?v)=>   (d)\n   (e)\n4"},
      {[&] { SlotTest().SetSlotValue(NewInteger(3)); }, first + "   (q 3)=>   (d)\n   (e)\n2"},
  };
  for (const auto& row : rows) {
    SetUp();
    row.edit();
    EXPECT_EQ(Shown(), row.shown);
  }
  EXPECT_TRUE(SlotTest().Equals(*SlotTest().Clone()));
  EXPECT_TRUE(engine.GetRules().Remove("r", Rule()));
}

// A copy prints as its source does, alternatives, goals and all, and has no pattern more.
TEST_F(ToldOperationsTest, ACopiedRuleIsTheSameRule) {
  Load("(do-backward-chaining q)");
  for (const char* text :
       {"(defrule c (p (x ?v&1|2) (m $? 3|?v&~4)) => )", "(defrule c (need-q ?v) (p (x ?v)) => )",
        "(defrule c (unique (p (y ~1|2))) (not (q =(+ 1 1))) => )"}) {
    const std::unique_ptr<TRule> source = engine.ParseRule(text);
    TRule copy(&engine);
    copy.SetRuleName("c");
    copy.SetPatterns(*source);
    EXPECT_EQ(engine.PrettyPrint(copy), engine.PrettyPrint(*source));
    EXPECT_EQ(copy.GetPatternCount(), source->GetPatternCount()) << text;
  }
}

TEST_F(ToldOperationsTest, PiecesAreParsed) {
  const Ref<IFact> fact = engine.ParseFact("(p (x 7))");
  EXPECT_EQ(engine.ParseFactSlot(*fact, "(m 1 2)"), "m");
  EXPECT_EQ(fact->ToString(), "(p (m 1 2 ) (x 7) (y a))");
  EXPECT_TRUE(engine.ParseGlobalVariables("(defglobal ?*h* = 5)"));
  EXPECT_EQ(Show("(+ ?*h* 1)"), "6");
  std::string name;
  EXPECT_EQ(engine.ParseVariable("?*h* = 5", name)->ToString() + name, "5*h*");
  EXPECT_EQ(engine.ParseList("1 a \"b\")")->ToString(), "1 a \"b\" ");
  EXPECT_EQ(engine.ParseFuzzyVariable("(range 0 5)")->ToString().substr(0, 24),
            "   (range 0.0000 5.0000)");
  EXPECT_EQ(engine.ParseFuzzySet(Heat(), "(term w hot)")->ToString(), "w");
  Ref<IFuzzySet> set;
  EXPECT_EQ(engine.EvalFuzzyExpression(Heat(), "5", set), 5);
  EXPECT_EQ(set->ToString(), "5");
  EXPECT_EQ(engine.EvalFuzzyExpression(Heat(), "not hot")->ToString(), "not hot");
  EXPECT_EQ(Loaded(&TReasoner::LoadFromStream, "(deftemplate n) (assert (n))"),
            "2 types 5 templates 1 rules 6 facts");
  EXPECT_EQ(Loaded(&TReasoner::LoadFacts, "(q 8) (q 9)"), "2 types 4 templates 1 rules 7 facts");
  EXPECT_EQ(Loaded(&TReasoner::LoadRules, "(defrule n (q ?) => ) (defrule o => )"),
            "2 types 4 templates 2 rules 5 facts");
  EXPECT_EQ(Loaded(&TReasoner::LoadFactTemplates, "(deftemplate n)"),
            "2 types 3 templates 0 rules 0 facts");
  EXPECT_EQ(Loaded(&TReasoner::LoadDefinedTypes, "(deftype n extends (type FLOAT))"),
            "1 types 2 templates 0 rules 0 facts");
  auto& parser = dynamic_cast<TKBClipsParser&>(engine.GetParser());
  parser.AddSlotFunction("g", 2, 3);
  parser.SetSlotFunctionEnd("g", 1);
  TKBClipsParser copy(engine);
  copy.Assign(parser);
  copy.SetSlotFunctionStart("g", 4);
  EXPECT_EQ(parser.GetSlotFunctionStart("g"), 1);
  EXPECT_EQ(copy.GetSlotFunctionEnd("g"), 4);
  EXPECT_EQ(copy.GetSlotFunctionEnd("none"), -1);
  EXPECT_EQ(parser.GetSyntaxStatement(*engine.GetUserFunction("abs")),
            "(abs <numeric-expression>)");
  const TKBStreamToken token('(', "(");
  EXPECT_TRUE(token.Equals(*token.Clone()));
}

TEST_F(ToldOperationsTest, EveryPieceIsPrinted) {
  const Ref<IFact> fact = engine.ParseFact("(p (x \"a\"))");
  EXPECT_EQ(engine.PrettyPrint(*P().GetSlot("m")), "(multislot m (default a b ) )");
  EXPECT_EQ(P().GetSlot("m")->Clone()->ToString(), "(multislot m (default a b ) )");
  EXPECT_EQ(engine.PrettyPrint(*engine.ParseSingletons("((1 0) (2 1))")), "((1 0) (2 1) )");
  EXPECT_EQ(engine.PrettyPrint(*fact, "x"), "(x \"a\")");
  EXPECT_EQ(engine.PrettyPrint(*fact, "x", *NewInteger(5)), "(x 5)");
  EXPECT_EQ(engine.PrettyPrint(*fact, "x", std::string_view("5")), "(x 5)");
  EXPECT_EQ(engine.PrettyPrint("?*g*", *NewInteger(5)), "?*g* = 5");
  EXPECT_EQ(engine.PrettyPrintGlobalVariables(), "(defglobal ?*g* = \"v\")");
  EXPECT_EQ(engine.PrettyPrint(*Heat()->FindFuzzySet("hot"), true),
            "(term hot ((0.0000 0.0000) (10.0000 1.0000) ))");
  EXPECT_EQ(engine.PrettyPrint(*Heat()).substr(0, 24), "   (range 0.0000 10.0000");
  EXPECT_EQ(engine.GetUserFunction("abs")->ToString(engine).substr(0, 15), ";; abs function");
  Load("(store k 5)");
  EXPECT_EQ(engine.GetEngineVariables().ToString(), "?k = 5\n");
  TCaptionNode node;
  TFactTemplates::FillNodeSlot(node, *P().GetSlot("m"));
  EXPECT_EQ(node.children[0].caption, "m");
}

TEST_F(ToldOperationsTest, ListsAreChanged) {
  IKBDefinedType& type = *engine.FindDefinedType("t");
  type.DeleteConstraint(0, vcInteger);
  EXPECT_NE(type.ToString().find("(allowed-values a 2 2.5000 )"), std::string::npos);
  type.DeleteConstraint(0, vcFloat);
  EXPECT_NE(type.ToString().find("(allowed-values a 2 )"), std::string::npos);
  type.ClearConstraints();
  EXPECT_EQ(type.ToString().find("allowed"), std::string::npos);
  TFactSet& fact_set = engine.GetFactSets().GetItem(0);
  EXPECT_EQ(fact_set.Remove(*fact_set.GetFact(1)), 1);
  EXPECT_EQ(fact_set.GetCount(), 1);
  EXPECT_EQ(P().FindSlotOfType(*P().GetSlot("y")->GetExtendedTypeInfo())->GetName(), "y");
  const Ref<IFunCall> call = engine.ParseFunCall("(f 1 2)");
  call->Clear();
  EXPECT_EQ(call->ToString(), "(f)");
  const Ref<IUserFunction> own = Make<TInterpretedFunction>("own");
  own->AddReasoner(engine);
  EXPECT_TRUE(engine.ContainsUserFunction("own"));
  own->ClearReasoners();
  EXPECT_FALSE(engine.ContainsUserFunction("own"));
  const TClassReference window{"TWindow"};
  const Ref<IKBValue> cell = NewInteger(1);
  cell->SetAsClass(&window);
  EXPECT_EQ(cell->ToString(), "TWindow");
  const Ref<ISingletonsVector> points = engine.ParseSingletons("((1 0))");
  EXPECT_EQ(points->GetHashCode(), points->Clone()->GetHashCode());
  EXPECT_NE(points->GetHashCode(), engine.ParseSingletons("((2 0))")->GetHashCode());
  TActivation& activation = engine.GetActivation(0);
  activation.Assign(engine.GetActivation(1));
  EXPECT_EQ(activation.GetToken(), engine.GetActivation(1).GetToken());
}

}  // namespace
}  // namespace reasoner
