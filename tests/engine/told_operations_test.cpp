// Each told operation does something: those that no other test calls, a row each, with what shows
// that it did.

#include <sstream>

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
  void SetUp() override {
    engine.Clear();
    Load(kBase);
  }
  TRule& Rule() { return *engine.GetRules().Find("r"); }
  TKBPattern& Pattern(std::int32_t index = 1) { return Rule().GetPattern(index); }
  TKBPatternMatchTest& SlotTest() { return Pattern().GetSlotTest(0, 0); }
  IFactTemplate& P() { return *engine.FindFactTemplate("p"); }
  IKBDefinedType& Type() { return *engine.FindDefinedType("t"); }
  TKBClipsParser& Parser() { return dynamic_cast<TKBClipsParser&>(engine.GetParser()); }
  IFuzzyVariable* Heat() { return engine.FindDefinedType("heat")->GetFuzzyType().get(); }
  Ref<IFact> Fact() { return engine.GetFacts().Get(1); }
  // The left and the right side as they are written, and what matches.
  std::string Shown() {
    std::istringstream text(engine.PrettyPrint(Rule()));
    std::string shown;
    for (std::string word; text >> word;) shown += word + " ";
    return shown.substr(11) + std::to_string(engine.GetAgendaCount());
  }
  std::string Loaded(void (TReasoner::*load)(TStream&, const TEncoding*), const char* text) {
    TKitStringStream stream{std::string(text)};
    (engine.*load)(stream, nullptr);
    return std::to_string(engine.GetDefinedTypes().GetCount()) + " types " +
           std::to_string(engine.GetFactTemplates().GetCount()) + " templates " +
           std::to_string(engine.GetRules().GetCount()) + " rules " +
           std::to_string(engine.GetFacts().GetCount()) + " facts";
  }

  struct TRow {
    const char* name;
    std::function<std::string()> operation;
    const char* shown;
  };
  void ExpectRows(const std::vector<TRow>& rows) {
    for (const TRow& row : rows) {
      SetUp();
      EXPECT_EQ(row.operation(), row.shown) << row.name;
    }
  }
};

TEST_F(ToldOperationsTest, RulesAndPatternsAreEdited) {
  ExpectRows({
      {"as it is", [&] { return Shown(); }, "(p (x ?v&1|2) ) (q ?v) => (d) (e) ) 2"},
      {"RemovePattern", [&] { return Rule().RemovePattern(1), Shown(); },
       "(p (x ?v&1|2) ) => (d) (e) ) 2"},
      {"ClearPatterns", [&] { return Rule().ClearActions(), Rule().ClearPatterns(), Shown(); },
       "(Initial-Fact ) => ) 0"},
      {"RemoveAction", [&] { return Rule().RemoveAction(0), Shown(); },
       "(p (x ?v&1|2) ) (q ?v) => (e) ) 2"},
      {"ClearActions", [&] { return Rule().ClearActions(), Shown(); },
       "(p (x ?v&1|2) ) (q ?v) => ) 2"},
      {"SetNegatedCount", [&] { return Pattern().SetNegatedCount(1), Shown(); },
       "(p (x ?v&1|2) ) (not (q ?v)) => (d) (e) ) 0"},
      {"SetUnique", [&] { return Pattern().SetUnique(true), Shown(); },
       "(p (x ?v&1|2) ) (unique (q ?v)) => (d) (e) ) 2"},
      {"RemoveTest", [&] { return Pattern().RemoveTest(0, 0), Shown(); },
       "(p (x ?v&1|2) ) (q $?) => (d) (e) ) 6"},
      {"SetSlotTestType", [&] { return SlotTest().SetSlotTestType(sttNotEquals), Shown(); },
       "(p (x ?v&1|2) ) (q ~?v) => (d) (e) ) 4"},
      {"SetSlotValue", [&] { return SlotTest().SetSlotValue(NewInteger(3)), Shown(); },
       "(p (x ?v&1|2) ) (q 3) => (d) (e) ) 2"},
      {"SlotTest.Equals", [&] { return std::to_string(SlotTest().Equals(*SlotTest().Clone())); },
       "1"},
      {"Remove the rule", [&] { return std::to_string(engine.GetRules().Remove("r", Rule())); },
       "1"},
  });
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
  std::string name;
  Ref<IFuzzySet> set;
  const Ref<IFact> fact = engine.ParseFact("(p (x 7))");
  ExpectRows({
      {"ParseFactSlot", [&] { return engine.ParseFactSlot(*fact, "(m 1 2)") + fact->ToString(); },
       "m(p (m 1 2 ) (x 7) (y a))"},
      {"ParseGlobalVariables",
       [&] {
         engine.ParseGlobalVariables("(defglobal ?*h* = 5)");
         return Show("(+ ?*h* 1)");
       },
       "6"},
      {"ParseVariable", [&] { return engine.ParseVariable("?*h* = 5", name)->ToString() + name; },
       "5*h*"},
      {"ParseList", [&] { return engine.ParseList("1 a \"b\")")->ToString(); }, "1 a \"b\" "},
      {"ParseFuzzyVariable",
       [&] { return engine.ParseFuzzyVariable("(range 0 5)")->ToString().substr(0, 24); },
       "   (range 0.0000 5.0000)"},
      {"ParseFuzzySet", [&] { return engine.ParseFuzzySet(Heat(), "(term w hot)")->ToString(); },
       "w"},
      {"EvalFuzzyExpression",
       [&] {
         return std::to_string(engine.EvalFuzzyExpression(Heat(), "5", set)) + set->ToString();
       },
       "5.0000005"},
      {"a fuzzy value", [&] { return engine.EvalFuzzyExpression(Heat(), "not hot")->ToString(); },
       "not hot"},
      {"LoadFromStream",
       [&] { return Loaded(&TReasoner::LoadFromStream, "(deftemplate n) (assert (n))"); },
       "2 types 5 templates 1 rules 6 facts"},
      {"LoadFacts", [&] { return Loaded(&TReasoner::LoadFacts, "(q 8) (q 9)"); },
       "2 types 4 templates 1 rules 7 facts"},
      {"LoadRules", [&] { return Loaded(&TReasoner::LoadRules, "(defrule n (q ?) => )"); },
       "2 types 4 templates 1 rules 5 facts"},
      {"LoadFactTemplates",
       [&] { return Loaded(&TReasoner::LoadFactTemplates, "(deftemplate n)"); },
       "2 types 3 templates 0 rules 0 facts"},
      {"LoadDefinedTypes",
       [&] { return Loaded(&TReasoner::LoadDefinedTypes, "(deftype n extends (type FLOAT))"); },
       "1 types 2 templates 0 rules 0 facts"},
      {"slot functions",
       [&] {
         TKBClipsParser copy(engine);
         Parser().AddSlotFunction("g", 2, 3);
         Parser().SetSlotFunctionEnd("g", 1);
         copy.Assign(Parser());
         copy.SetSlotFunctionStart("g", 4);
         return std::to_string(Parser().GetSlotFunctionStart("g")) +
                std::to_string(Parser().GetSlotFunctionEnd("g")) +
                std::to_string(copy.GetSlotFunctionStart("g")) +
                std::to_string(copy.GetSlotFunctionEnd("g")) +
                std::to_string(copy.GetSlotFunctionEnd("none"));
       },
       "1144-1"},
      {"GetSyntaxStatement",
       [&] { return Parser().GetSyntaxStatement(*engine.GetUserFunction("abs")); },
       "(abs <numeric-expression>)"},
      {"StreamToken.Assign",
       [&] {
         const TKBStreamToken token(dtInteger, "5");
         return token.Clone()->ToString() + std::to_string(token.Equals(*token.Clone()));
       },
       "01"},
  });
}

TEST_F(ToldOperationsTest, EveryPieceIsPrinted) {
  const Ref<IFact> fact = engine.ParseFact("(p (x \"a\"))");
  const Ref<IKBValue> five = NewInteger(5);
  ExpectRows({
      {"a slot", [&] { return engine.PrettyPrint(*P().GetSlot("m")); },
       "(multislot m (default a b ) )"},
      {"a slot by itself", [&] { return P().GetSlot("m")->Clone()->ToString(); },
       "(multislot m (default a b ) )"},
      {"points", [&] { return engine.PrettyPrint(*engine.ParseSingletons("((1 0) (2 1))")); },
       "((1 0) (2 1) )"},
      {"a slot of a fact", [&] { return engine.PrettyPrint(*fact, "x"); }, "(x \"a\")"},
      {"a slot with a value", [&] { return engine.PrettyPrint(*fact, "x", *five); }, "(x 5)"},
      {"a slot with a text", [&] { return engine.PrettyPrint(*fact, "x", std::string_view("5")); },
       "(x 5)"},
      {"a left side", [&] { return engine.PrettyPrint(Rule(), rcPattern); },
       "   (p (x ?v&1|2) )\n   (q ?v)"},
      {"a right side", [&] { return engine.PrettyPrint(Rule(), rcAction); }, "   (d)\n   (e)\n"},
      {"a variable", [&] { return engine.PrettyPrint("?*g*", *five); }, "?*g* = 5"},
      {"the globals", [&] { return engine.PrettyPrintGlobalVariables(); },
       "(defglobal ?*g* = \"v\")"},
      {"a fuzzy set", [&] { return engine.PrettyPrint(*Heat()->FindFuzzySet("hot"), true); },
       "(term hot ((0.0000 0.0000) (10.0000 1.0000) ))"},
      {"a fuzzy variable", [&] { return engine.PrettyPrint(*Heat()).substr(0, 24); },
       "   (range 0.0000 10.0000"},
      {"storage",
       [&] {
         Load("(store k 5)");
         return engine.GetEngineVariables().ToString();
       },
       "?k = 5\n"},
      {"a function", [&] { return engine.GetUserFunction("abs")->ToString(engine).substr(0, 15); },
       ";; abs function"},
      {"a tree of a slot",
       [&] {
         TCaptionNode node;
         TFactTemplates::FillNodeSlot(node, *P().GetSlot("m"));
         return node.children[0].caption;
       },
       "m"},
  });
}

TEST_F(ToldOperationsTest, ListsAreChanged) {
  ExpectRows({
      {"DeleteConstraint", [&] { return Type().DeleteConstraint(0, vcInteger), Type().ToString(); },
       "(deftype t extends (type ATOM INTEGER FLOAT)\n   (range 0 9) \n   (allowed-values a 2 "
       "2.5000 )\n)"},
      {"a float", [&] { return Type().DeleteConstraint(0, vcFloat), Type().ToString(); },
       "(deftype t extends (type ATOM INTEGER FLOAT)\n   (range 0 9) \n   (allowed-values a 1 2 "
       ")\n)"},
      {"ClearConstraints", [&] { return Type().ClearConstraints(), Type().ToString(); },
       "(deftype t extends (type ATOM INTEGER FLOAT)\n   (range 0 9) \n)"},
      {"FactSet.Remove",
       [&] {
         TFactSet& set = engine.GetFactSets().GetItem(0);
         const std::int32_t index = set.Remove(*set.GetFact(1));
         return std::to_string(index) + std::to_string(set.GetCount());
       },
       "11"},
      {"FindSlotOfType",
       [&] {
         return P().FindSlotOfType(*P().GetSlot("y")->GetExtendedTypeInfo())->GetName().str();
       },
       "y"},
      {"FunCall.Clear",
       [&] {
         const Ref<IFunCall> call = engine.ParseFunCall("(f 1 2)");
         call->Clear();
         return call->ToString();
       },
       "(f)"},
      {"ClearReasoners",
       [&] {
         const Ref<IUserFunction> own = Make<TInterpretedFunction>("own");
         own->AddReasoner(engine);
         const bool was_there = engine.ContainsUserFunction("own");
         own->ClearReasoners();
         return std::to_string(was_there) + std::to_string(engine.ContainsUserFunction("own"));
       },
       "10"},
      {"SetAsClass",
       [&] {
         const TClassReference here{"TWindow"};
         const Ref<IKBValue> cell = NewInteger(1);
         cell->SetAsClass(&here);
         return cell->ToString();
       },
       "TWindow"},
      {"hash codes",
       [&] {
         const auto hash = [&](const char* text) {
           return engine.ParseSingletons(text)->GetHashCode();
         };
         return std::to_string(hash("((1 0))") == hash("((1 0))")) +
                std::to_string(hash("((1 0))") == hash("((2 0))"));
       },
       "10"},
      {"Activation.Assign",
       [&] {
         TActivation& first = engine.GetActivation(0);
         first.Assign(engine.GetActivation(1));
         return std::to_string(first.GetToken() == engine.GetActivation(1).GetToken());
       },
       "1"},
  });
}

}  // namespace
}  // namespace reasoner
