// What a host gives to an engine by mistake: nothing, or an object of another engine. Nothing
// raises with a sentence; what belongs to another engine comes over as a copy, or raises.

#include "reasoner/engine/FuzzyValues.h"
#include "reasoner/engine/HostObjects.h"
#include "reasoner/functions/InterpretedFunction.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/library/Packages.h"
#include "reasoner/values/SingletonsVector.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class HostMisuseTest : public EngineTest {
 protected:
  HostMisuseTest() {
    static constexpr char kBase[] =
        "(deftype warmth extends (type FUZZY) (range 0 100) (values (term cold (z 10 40))))"
        "(deftemplate a (slot x)) (deftemplate l (multislot m)) (deftemplate w (slot t (type "
        "warmth)))"
        "(deffunction twice (?n) (* 2 ?n)) (defrule r (a (x ?v)) => (printout t (twice ?v)))";
    engine.Parse(kBase, true);
    other->Parse(kBase, true);
  }

  // The other engine ends before the first.
  std::unique_ptr<TReasoner> other = std::make_unique<TReasoner>();
};

TEST_F(HostMisuseTest, ANullReferenceRaisesWithASentence) {
  const Ref<IFact> no_fact;
  const Ref<IKBValue> no_value;
  const Ref<IFactTemplate> no_template;
  const Ref<IKBDefinedType> no_type;
  const Ref<IFact> fact = engine.ParseFact("(a (x 1))");
  const Ref<IFactTemplate> a = fact->GetTemplate();
  TRule& rule = *engine.GetRules().Find("r");
  TKBPattern& pattern = rule.GetPattern(0);
  TFactSet set;
  TUserPackage package;
  TKBContext& context = engine.GetContext();
  Ref<IFuzzySet> fuzzy;
  Ref<IKBValue> result;
  Ref<IFunCall> call = engine.ParseFunCall("(twice 2)");
  const Ref<TInterpretedFunction> function = Make<TInterpretedFunction>("f");
  TFacts plain(nullptr);
  engine.Assert("(a (x 0))");
  const std::vector<std::pair<const char*, std::function<void()>>> misuses = {
      {"Assert", [&] { engine.Assert(no_fact); }},
      {"Assert by method", [&] { engine.Assert(no_fact, fimProduct); }},
      {"Retract", [&] { engine.Retract(no_fact); }},
      {"RetractFact", [&] { engine.RetractFact(no_fact); }},
      {"BeginFactModify", [&] { engine.BeginFactModify(no_fact); }},
      {"EndFactModify", [&] { engine.EndFactModify(no_fact); }},
      {"AddPendingFact", [&] { engine.AddPendingFact(no_fact, true); }},
      {"UpdateDependentFact", [&] { engine.UpdateDependentFact(no_fact, no_fact); }},
      {"FuzzyCorrelation", [&] { engine.FuzzyCorrelation(no_fact, 0.5F); }},
      {"FuzzyInference", [&] { engine.FuzzyInference(fact, no_fact); }},
      {"FuzzyOperation", [&] { engine.FuzzyOperation(no_fact, fact, true); }},
      {"FuzzyUnion", [&] { engine.FuzzyUnion(result, no_value, foZadeh); }},
      {"FuzzyIntersection", [&] { engine.FuzzyIntersection(result, no_value, foZadeh); }},
      {"EvalFuzzyExpression", [&] { engine.EvalFuzzyExpression(nullptr, no_value, &context); }},
      {"ParseFuzzySet", [&] { engine.ParseFuzzySet(nullptr, "cold"); }},
      {"GetFuzzySetFromValue", [&] { GetFuzzySetFromValue(no_value, context, fuzzy); }},
      {"ResolveInContext", [&] { engine.ResolveInContext(no_value); }},
      {"ReplaceTemplate", [&] { engine.ReplaceTemplate(no_template, a); }},
      {"ReplaceTemplate by nothing", [&] { engine.ReplaceTemplate(a, no_template); }},
      {"ReplaceDefinedType", [&] { engine.ReplaceDefinedType(no_type, no_type); }},
      {"SetActivation", [&] { engine.SetActivation(0, nullptr); }},
      {"Facts.Add", [&] { engine.GetFacts().Add(no_fact); }},
      {"Facts.Insert", [&] { engine.GetFacts().Insert(0, no_fact); }},
      {"Facts.Put", [&] { engine.GetFacts().Put(0, no_fact); }},
      {"Add to a plain list", [&] { plain.Add(no_fact); }},
      {"FactTemplates.Add", [&] { engine.GetFactTemplates().Add(no_template); }},
      {"FactTemplates.Put", [&] { engine.GetFactTemplates().Put("a", no_template); }},
      {"FactTemplates.Replace", [&] { engine.GetFactTemplates().Replace(a, no_template); }},
      {"DefinedTypes.Add", [&] { engine.GetDefinedTypes().Add(no_type); }},
      {"DefinedTypes.Put", [&] { engine.GetDefinedTypes().Put("a", no_type); }},
      {"DefinedTypes.Replace", [&] { engine.GetDefinedTypes().Replace(no_type, no_type); }},
      {"UserFunctions.Add", [&] { engine.GetUserFunctions().Add(nullptr); }},
      {"UserFunctions.Put", [&] { engine.GetUserFunctions().Put("f", nullptr); }},
      {"AddUserFunction", [&] { engine.AddUserFunction(nullptr); }},
      {"SetUserFunction", [&] { engine.SetUserFunction("f", nullptr); }},
      {"Rules.Add", [&] { engine.GetRules().Add(std::unique_ptr<TRule>()); }},
      {"Agenda.Add", [&] { engine.GetAgenda().Add(nullptr); }},
      {"Agenda.SetActivations", [&] { engine.GetAgenda().SetActivations(0, nullptr); }},
      {"IOStreams.Add", [&] { engine.GetIOStreams().Add("s", std::unique_ptr<TGTextStream>()); }},
      {"TGTextStream", [] { TGTextStream(static_cast<TStream*>(nullptr)); }},
      {"TKBClipsStream", [] { TKBClipsStream(static_cast<TStream*>(nullptr)); }},
      {"PutBackToken",
       [] {
         TKitStringStream text("x");
         TKBClipsStream(&text).PutBackToken(nullptr);
       }},
      {"ProcessToken", [&] { engine.GetReteNetwork().ProcessToken(nullptr); }},
      {"ProcessToken without a fact",
       [&] { engine.GetReteNetwork().ProcessToken(Make<TKBToken>(taAdd, nullptr)); }},
      {"Create", [&] { engine.GetObjects().Create(nullptr); }},
      {"CreateComponent", [&] { engine.GetObjects().CreateComponent(nullptr, nullptr); }},
      {"FactSet.AddFact", [&] { set.AddFact(no_fact); }},
      {"a fact's template", [&] { Make<TFact>(nullptr)->GetValue("x"); }},
      {"SetSlot", [&] { a->SetSlot("x", nullptr); }},
      {"AddSlot", [&] { a->AddSlot("y", no_value); }},
      {"AddMultiSlot", [&] { a->AddMultiSlot("y", no_value); }},
      {"EvalFuzzyValue", [&] { a->GetSlot("x")->EvalFuzzyValue(engine, no_value, context); }},
      {"AddConstraint", [&] { engine.FindDefinedType("warmth")->AddConstraint(no_value); }},
      {"Rule.Fire", [&] { rule.Fire(nullptr); }},
      {"Rule.AddPattern", [&] { rule.AddPattern(nullptr); }},
      {"Rule.AddAction", [&] { rule.AddAction(nullptr); }},
      {"Rule.SetSalience", [&] { rule.SetSalience(no_value); }},
      {"Pattern.AddTest", [&] { pattern.AddTest("x", no_value, NoSubIndex, false, true); }},
      {"Pattern.AddTest of a test", [&] { pattern.AddTest("x", nullptr); }},
      {"Pattern.SetSlotTest", [&] { pattern.SetSlotTest(0, 0, nullptr); }},
      {"SetSlotValue", [&] { pattern.GetSlotTest(0, 0).SetSlotValue(no_value); }},
      {"a pattern without a template",
       [&] { rule.AddPattern(std::make_unique<TKBPattern>(nullptr, "a", no_template)); }},
      {"AddArgument", [&] { call->AddArgument(no_value); }},
      {"AddArgument of a call", [&] { call->AddArgument(Ref<IFunCall>()); }},
      {"AddArgument of a fact", [&] { call->AddArgument(no_fact); }},
      {"SetArgument", [&] { call->SetArgument(0, no_value); }},
      {"AddStatement", [&] { function->AddStatement(Ref<IFunCall>()); }},
      {"AddStatement of a value", [&] { function->AddStatement(no_value); }},
      {"Package.Add", [&] { package.GetFunctions().Add(nullptr); }},
      {"Package.Insert", [&] { package.GetFunctions().Insert(0, nullptr); }},
      {"SetAsFuzzy", [] { NewInteger(1)->SetAsFuzzy(nullptr); }},
      {"FuzzyVariable.Add",
       [&] { engine.FindDefinedType("warmth")->GetFuzzyType()->Add(nullptr); }},
  };
  for (const auto& [name, misuse] : misuses) {
    EXPECT_NE(FailureOf(misuse), "") << name << " took nothing";
  }
  EXPECT_EQ(engine.Run(), 1) << "nothing has changed";
}

// Where nothing may stand, it may be evaluated, printed and compared as well.
TEST_F(HostMisuseTest, WhereNothingMayStandItMeansNil) {
  const Ref<IKBValue> no_value;
  const Ref<IFact> fact = engine.ParseFact("(a (x 1))");
  fact->SetValue("x", no_value);
  EXPECT_EQ(fact->GetValue("x").get(), FCNil.get());
  const Ref<IValueVector> list = NewVector();
  list->Add(nullptr);
  engine.GetContext().AddGlobalBinding("*none*", no_value);
  engine.GetContext().AddGlobalBinding("*list*", NewList(list));
  for (const char* call : {"(twice ?*none*)", "(printout t ?*none* ?*list*)", "(length$ ?*list*)",
                           "(foreach ?x ?*list* (printout t ?x))", "(twice (nth$ 1 ?*list*))",
                           "(assert (l (m ?*list*)))", "(assert (a (x ?*none*)))"}) {
    FailureOf([&] { engine.ParseNExecuteFunCall(call); });
  }
  engine.GetFactSets();
  engine.GetExpertSystem();
}

TEST_F(HostMisuseTest, WhatIsNotFoundIsNotRetracted) {
  engine.Assert("(a (x 1))");
  engine.RetractFact(engine.ParseFact("(a (x 2))"));
  engine.RetractFact(engine.GetFacts().FindFact(99));
  engine.Retract(99);
  engine.Retract(engine.ParseFact("(a (x 2))"));
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a (x 1))");
  EXPECT_EQ(FailureOf([&] { engine.RetractFact(7); }), "List index out of bounds (7)");
}

TEST_F(HostMisuseTest, AFactOfAnotherEngineComesOverAsACopy) {
  other->Parse(
      "(deftemplate base (slot k)) (deftemplate far extends base (slot t (type warmth)))"
      "(deftype chill extends (type FUZZY) (range 0 9) (values (term icy (z 2 5))))"
      "(deftemplate ice (slot c (type chill)))",
      true);
  std::vector<Ref<IFact>> facts;
  for (const char* text : {"(a (x 7))", "(l (m 1 b \"c\"))", "(w (t cold))", "(far (k 1) (t cold))",
                           "(ice (c icy))"}) {
    other->Assert(text);
    facts.push_back(other->GetFacts().Get(other->GetFacts().GetCount() - 1));
  }
  engine.Assert(facts[0]);
  engine.GetFacts().Add(facts[1]);
  engine.GetFacts().Insert(0, facts[2]);
  engine.EndFactModify(facts[3]);
  TFactSet set;
  set.SetFactSetName("s");
  set.SetEngine(&engine);
  set.AddFact(facts[4]);
  set.Reset();
  facts.push_back(facts[0]->Clone());
  facts.back()->SetValue("x", NewFactValue(facts[1]));
  engine.Assert(facts.back());
  engine.GetFacts().Put(1, facts[0]);
  EXPECT_EQ(Facts(),
            "f-3 (w (t cold))\nf-0 (a (x 7))\nf-1 (a (x 7))\nf-2 (l (m 1 b \"c\" ))\n"
            "f-4 (far (k 1) (t cold))\nf-5 (ice (c icy))\nf-6 (a (x (l (m 1 b \"c\"))))");
  for (const Ref<IFact>& fact : engine.GetFacts().Snapshot())
    EXPECT_EQ(fact->GetTemplate()->GetReasoner(), &engine);
  EXPECT_EQ(other->GetFacts().GetCount(), 6);
  // What another engine's fact says about ids is nothing here.
  engine.RetractFact(facts[1]);
  EXPECT_EQ(engine.GetFacts().GetCount(), 7);
  other.reset();
  facts.clear();
  engine.GetFacts().Assign(TFacts(nullptr));
  engine.Reset();
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (ice (c icy))");
  const std::string saved = engine.GetExpertSystem();
  TReasoner again;
  again.SetExpertSystem(saved);
  EXPECT_EQ(again.GetExpertSystem(), saved);
}

TEST_F(HostMisuseTest, ATemplateOfOneNameThatDiffersIsRefused) {
  other->Parse("(deftemplate a (slot x) (slot y))", true);
  other->Assert("(a (y 1))");
  const Ref<IFact> fact = other->GetFacts().Get(1);
  EXPECT_NE(FailureOf([&] { engine.Assert(fact); }), "");
  engine.GetFactTemplates().Remove("a");
  TFacts list(nullptr);
  list.Add(fact);
  engine.GetFacts().Assign(list);
  EXPECT_EQ(Facts(), "f-1 (a (y 1))");
  EXPECT_NE(engine.GetFacts().Get(0), fact);
}

TEST_F(HostMisuseTest, ConstructsOfAnotherEngineComeOverAsCopies) {
  other->Parse(
      "(deftype odd extends (type INTEGER)) (deftype odder extends (type odd) (range 0 5))"
      "(deftemplate p (slot q)) (deftemplate c extends p (slot z (type odder)))"
      "(deffunction half (?n) (/ (twice ?n) 4))"
      "(defrule s \"of p\" (declare (salience 3)) (p (q ?v&1|2)) (not (c)) => (printout t (half "
      "?v)))",
      true);
  engine.GetDefinedTypes().Add(other->FindDefinedType("odd"));
  engine.GetDefinedTypes().Add(other->FindDefinedType("odder"));
  engine.GetFactTemplates().Add(other->FindFactTemplate("p"));
  engine.GetFactTemplates().Add(other->FindFactTemplate("c"));
  engine.GetUserFunctions().Add(other->GetUserFunction("half"));
  engine.GetRules().Add(*other->GetRules().Find("s"));
  TRule& moved = *new TRule(other.get());
  moved.Assign(*other->ParseRule("(defrule moved (p (q ?v)) => (printout t (half ?v)))"));
  moved.SetEngine(&engine);
  engine.InsertComponent(moved);  // or it ends with the other engine, which owns it
  std::unique_ptr<TRule> given =
      other->ParseRule("(defrule given (p (q 2)) => (printout t given))");
  engine.GetRules().Add(std::move(given));
  TRule taken(&engine);
  taken.SetPatterns(*other->GetRules().Find("s"));
  EXPECT_NE(FailureOf([&] { taken.AddAction(other->GetRules().Find("s")->GetAction(0)); }), "");
  EXPECT_NE(
      FailureOf([&] {
        taken.AddPattern(std::make_unique<TKBPattern>(nullptr, "p", other->FindFactTemplate("p")));
      }),
      "");
  EXPECT_NE(
      FailureOf([&] { engine.FindFactTemplate("a")->SetParent(other->FindFactTemplate("p")); }),
      "");
  EXPECT_NE(FailureOf([&] {
              engine.FindDefinedType("odd")->SetAncestor(other->FindDefinedType("odder"));
            }),
            "");
  other->Parse("(deffunction twice (?n) (* 100 ?n))", true);
  EXPECT_EQ(other->GetRules().GetCount(), 2);
  other.reset();
  engine.Assert("(p (q 2))");
  EXPECT_EQ(OnAgenda(), "s given moved ");
  engine.Run();
  EXPECT_EQ(TakeOutput(), "1.0000given1.0000");
  EXPECT_EQ(engine.FindFactTemplate("c")->GetParent(), engine.FindFactTemplate("p"));
  EXPECT_EQ(engine.FindDefinedType("odder")->GetAncestor(), engine.FindDefinedType("odd"));
}

TEST_F(HostMisuseTest, AFactThatIsListedDoesNotChange) {
  engine.SetFactDuplication(true);
  const Ref<IFact> fact = engine.ParseFact("(l (m 1 (b 2) c))");
  engine.Assert(fact);
  const auto unchanged = [&](const std::function<void()>& operation) {
    EXPECT_NE(FailureOf(operation), "");
    EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 " + fact->ToString());
  };
  unchanged([&] { fact->SetID(5); });
  unchanged([&] { fact->SetValue("m", FCNilList); });
  unchanged([&] { fact->PutValueAt(0, FCNilList); });
  unchanged([&] { fact->SetTemplate(engine.FindFactTemplate("a")); });
  unchanged([&] { fact->Assign(*engine.ParseFact("(a (x 1))")); });
  unchanged([&] { fact->AssignValues(*engine.ParseFact("(l (m 9))")); });
  unchanged([&] { fact->GetValue("m")->SetAsInteger(5); });
  unchanged([&] { fact->GetValue("m")->Reset(); });
  unchanged([&] { fact->GetValue("m")->GetAsList()->Add(NewInteger(5)); });
  unchanged([&] { fact->GetValue("m")->GetAsList()->GetItem(0)->SetAsInteger(5); });
  // A clone may, and so may the fact itself as soon as it has left the list.
  fact->Clone()->GetValue("m")->GetAsList()->GetItem(0)->SetAsInteger(5);
  fact->GetValue("m")->Clone()->SetAsInteger(5);
  engine.BeginFactModify(fact);
  fact->GetValue("m")->GetAsList()->GetItem(0)->SetAsInteger(5);
  fact->SetID(77);
  engine.EndFactModify(fact);
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-2 (l (m 5 (b 2) c ))");
  engine.GetFacts().Clear();
  fact->SetID(1);
}

TEST_F(HostMisuseTest, ATextIsTakenWholeOrNotAtAll) {
  EXPECT_EQ(engine.Assert("(a (x 1)) (a (x (+ 1 1)))  ; and a comment"), 2);
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)\nf-1 (a (x 1))\nf-2 (a (x 2))");
  EXPECT_NE(FailureOf([&] { engine.Assert("(a (x 3)) junk"); }), "");
  EXPECT_EQ(engine.GetFacts().GetCount(), 3);
  engine.Retract("(a (x 2)) (a (x 1))");
  EXPECT_EQ(Facts(), "f-0 (Initial-Fact)");
  ExpectShown({{"(bind ?*g* 2) (+ ?*g* 3)", "5"}});
  for (const char* text : {"(bind ?*g* 9) 5", "(bind ?*g* 9))"})
    EXPECT_NE(FailureOf([&] { engine.ParseNExecuteFunCall(text); }), "") << text;
  ExpectShown({{"(+ ?*g* 0)", "2"}});
  EXPECT_NE(FailureOf([&] { engine.ParseFact("(a (x 1)) (a (x 2))"); }), "");
  EXPECT_NE(FailureOf([&] { engine.ParseRule("(defrule q =>) (defrule z =>)"); }), "");
  EXPECT_NE(FailureOf([&] { engine.ParseFunCall("(f) (g)"); }), "");
  EXPECT_NE(FailureOf([&] { engine.ParseFunction("(deffunction f ()) x"); }), "");
  EXPECT_NE(FailureOf([&] { engine.ParseFactTemplate("(deftemplate z) x"); }), "");
}

TEST_F(HostMisuseTest, ANumberThatDoesNotFitIsNotCut) {
  const Ref<IKBValue> address = Make<TKBValue>();
  address->SetAsExternalAddress(this);
  EXPECT_NE(FailureOf([&] { address->GetAsInteger(); }), "");
  TKBStreamToken token(dtInteger, Text());
  token.SetNumber(1e12);
  EXPECT_NE(FailureOf([&] { token.Value(); }), "");
  struct Host {
    float small = 0;
  } host;
  engine.GetObjects().Register<Host>("Host").Field("small", &Host::small);
  const Ref<IKBValue> cell = engine.GetObjects().Lend(host);
  EXPECT_NE(FailureOf([&] { engine.GetObjects().SetProperty(*cell, "small", *NewFloat(1e300)); }),
            "");
  EXPECT_EQ(host.small, 0);
}

// A conversion does not write to a cell that another fact holds.
TEST_F(HostMisuseTest, AConversionTakesACellOfItsOwn) {
  engine.SetTypeChecks({tcStatic, tcDynamic});
  Load("(deftemplate f (slot y (type FLOAT))) (defrule q (a (x ?v)) => (assert (f (y ?v))))");
  engine.Assert("(a (x 3))");
  engine.Run();
  const Ref<IFact> copy = Make<TFact>(engine.FindFactTemplate("f"));
  copy->SetValue("y", engine.GetFacts().Get(1)->GetValue("x"));
  EXPECT_EQ(Facts() + copy->ToString(),
            "f-0 (Initial-Fact)\nf-1 (a (x 3))\nf-2 (f (y 3.0000))(f (y 3.0000))");
}

}  // namespace
}  // namespace reasoner
