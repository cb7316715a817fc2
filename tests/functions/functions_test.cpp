// Calls and what they call: frames, functions of the language and of hosts, packages.

#include <algorithm>

#include "reasoner/functions/Context.h"
#include "reasoner/functions/FunctionCall.h"
#include "reasoner/functions/InterpretedFunction.h"
#include "reasoner/functions/UserPackage.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class ContextTest : public EngineTest {
 protected:
  static Ref<IKBValue> Variable(const char* name, TKBType type = dtVariable) {
    return Make<TKBValue>(Text(name), type);
  }
  static std::string Value(const TKBContext& frame, const char* name) {
    return frame.GetVariable(name)->ToString();
  }

  TKBContext bottom{nullptr, &engine};
};

TEST_F(ContextTest, FramesShadowAndSetAsToldForEachOperation) {
  bottom.AddLocalBinding("x", NewInteger(1));
  {
    const std::unique_ptr<TKBContext> frame = bottom.Push();
    frame->AddBinding("x", NewInteger(2));
    EXPECT_EQ(Value(bottom, "x"), "2") << "an outer binding is changed";
    frame->AddBinding("new", NewInteger(0));
    EXPECT_EQ(bottom.FindBinding("new"), nullptr);
    frame->SetVariable("x", NewInteger(3));
    EXPECT_EQ(Value(*frame, "x"), "3");
    EXPECT_EQ(Value(bottom, "x"), "2") << "and a local one hides it";
    frame->AddBinding("x", NewInteger(4));
    EXPECT_EQ(Value(bottom, "x"), "2") << "the nearest binding is the one that changes";
    const std::unique_ptr<TKBContext> inner = frame->Push();
    inner->AddLocalBinding("x", NewInteger(5));
    inner->AddGlobalBinding("x", NewInteger(6));
    EXPECT_EQ(Value(*inner, "x"), "5");
    EXPECT_EQ(Value(*frame, "x"), "4");
    EXPECT_EQ(inner->FindGlobalBinding("x"), bottom.FindOwnBinding("x"));
    EXPECT_TRUE(inner->RemoveBinding("x"));
    EXPECT_FALSE(inner->RemoveBinding("x"));
    EXPECT_EQ(Value(*inner, "x"), "4");
  }
  EXPECT_EQ(Value(bottom, "x"), "6");
  EXPECT_EQ(FailureOf([&] { bottom.GetVariable("X"); }), "Unknown variable name: X");
}

TEST_F(ContextTest, AFrameOfManyNamesFindsEachOfThem) {
  for (int i = 0; i < 100; ++i) bottom.SetVariable("v" + std::to_string(i), NewInteger(i));
  for (int i = 0; i < 100; i += 3) EXPECT_TRUE(bottom.RemoveBinding("v" + std::to_string(i)));
  for (int i = 0; i < 100; i += 2) {
    bottom.AddLocalBinding("v" + std::to_string(i), NewInteger(-i));
  }
  for (int i = 0; i < 100; ++i) {
    const TBinding* binding = bottom.FindBinding("v" + std::to_string(i));
    if (i % 2 == 1 && i % 3 == 0) {
      EXPECT_EQ(binding, nullptr) << i;
    } else {
      ASSERT_NE(binding, nullptr) << i;
      EXPECT_EQ(binding->Value->GetAsInteger(), i % 2 == 0 ? -i : i);
    }
  }
  bottom.Clear();
  EXPECT_EQ(bottom.FindBinding("v1"), nullptr);
}

TEST_F(ContextTest, ReturnValuesAreHandedDownByPop) {
  const std::unique_ptr<TKBContext> frame = bottom.Push();
  frame->SetReturnValue(NewInteger(1));
  EXPECT_FALSE(bottom.HasReturnValue());
  EXPECT_EQ(&frame->Pop(), &bottom);
  EXPECT_TRUE(bottom.HasReturnValue());
  EXPECT_EQ(&bottom.Pop(), &bottom);
  bottom.Clear();
  EXPECT_FALSE(bottom.HasReturnValue());
}

TEST_F(ContextTest, ExpandingEvaluatesAndSplicesAtEveryLevelAndFlatteningSplicesOnly) {
  const Ref<IValueVector> deep = NewVector();
  deep->Add(Variable("x"));
  deep->Add(NewFunCallValue(engine.ParseFunCall("(create$ p (create$ q))")));
  const Ref<IValueVector> list = NewVector();
  list->Add(Variable("many", dtMultiVariable));
  list->Add(NewAtom("a"));
  list->Add(NewList(deep));
  bottom.AddLocalBinding("x", NewInteger(1));
  const Ref<IValueVector> many = NewVector();
  many->Add(Variable("x"));
  many->Add(NewList(NewVector()));
  bottom.AddLocalBinding("many", NewList(many));
  EXPECT_EQ(bottom.ExpandList(*list)->ToString(), "1 a 1 p q ");
  EXPECT_EQ(TKBContext::FlattenList(*list)->ToString(), "$?many a ?x (create$ p (create$ q)) ");
  EXPECT_EQ(many->ToString(), "?x  ") << "the lists themselves are left alone";
}

TEST_F(ContextTest, ResolvingAFactGivesItCellsThatNobodyElseHas) {
  Load(
      "(deftemplate box (slot one) (multislot items)) (assert (box (one a) (items x y)))"
      "(deffunction change (?f ?i) (modify ?f (items $?i done)))");
  const Ref<IKBValue> shared = NewList(NewVector());
  shared->GetAsList()->Add(NewAtom("m"));
  const Ref<IKBValue> atom = NewAtom("n");
  bottom.AddLocalBinding("many", shared);
  bottom.AddLocalBinding("one", atom);
  const Ref<IFact> fact = engine.FindFactTemplate("box")->NewFact();
  fact->SetValue("items", Variable("many", dtMultiVariable));
  fact->SetValue("one", Variable("one"));
  bottom.Resolve(*fact);
  EXPECT_EQ(fact->ToString(), "(box (items m ) (one n))");
  fact->GetValue("items")->GetAsList()->Add(NewAtom("more"));
  fact->GetValue("one")->SetAsAtom("changed");
  EXPECT_EQ(shared->ToString(), "m ");
  EXPECT_EQ(atom->ToString(), "n");

  const Ref<IFact> old = engine.GetFacts().GetFactByID(1);
  const Ref<IFact> before = old->Clone();
  EXPECT_EQ(Show("(bind ?i (create$ p q))"), "p q ");
  EXPECT_EQ(Show("(change 1 ?i)"), "<Fact-2>");
  EXPECT_EQ(engine.GetFacts().GetFactByID(2)->ToString(), "(box (items p q done ) (one a))");
  EXPECT_EQ(Show("(length$ ?i)"), "2") << "the variable's list is not the slot's";
}

TEST_F(ContextTest, BindingsPrintTheirPlace) {
  const TBinding part("x", 2, "color", 4);
  const TBinding local("y", NewInteger(7));
  EXPECT_EQ(part.ToString(), "name=x FactIdx=2 SlotIdx=color SubIdx=4");
  EXPECT_EQ(local.ToString(), "name=y value=7 FactIdx=-2 SlotIdx=__LOCAL");
  EXPECT_TRUE(local.Equals(TBinding("y", NewInteger(7))));
  EXPECT_FALSE(local.Equals(TBinding("y", NewFloat(7))));
}

// Answers what it was made with.
class Answer final : public TKBUserFunction {
 public:
  Answer(std::string_view name, std::int32_t answer) : TKBUserFunction(name), answer_(answer) {}
  void Call(const IFunCall&, TKBContext&, Ref<IKBValue>& result) override {
    result = NewInteger(answer_);
  }

 private:
  std::int32_t answer_;
};

class FunctionCallTest : public EngineTest {
 protected:
  std::string Run(IFunCall& call) {
    Ref<IKBValue> result;
    call.Execute(&engine.GetContext(), result);
    return result ? result->ToString() : "null";
  }
};

TEST_F(FunctionCallTest, TheFunctionIsFoundAnewWheneverTheEnginesFunctionsChange) {
  const Ref<IFunCall> call = engine.ParseFunCall("(f 1)");
  const std::string unknown = "Function is unimplemented or unassigned: f";
  EXPECT_EQ(FailureOf([&] { Run(*call); }), unknown);
  Load("(deffunction f (?x) (+ ?x 1))");
  EXPECT_EQ(Run(*call), "2");
  Load("(deffunction f (?x) (+ ?x 2))");
  EXPECT_EQ(Run(*call), "3");
  engine.GetUserFunctions().Remove("f");
  EXPECT_EQ(FailureOf([&] { Run(*call); }), unknown);
  EXPECT_EQ(call->GetUserFunction().get(), nullptr);
  const Ref<IUserFunction> other = Make<Answer>("g", 7);
  engine.AddUserFunction(other);
  other->SetFunctionName("f");
  EXPECT_EQ(Run(*call), "7") << "renamed into place";
  engine.GetUserFunctions().Clear();
  EXPECT_EQ(FailureOf([&] { Run(*call); }), unknown);
}

TEST_F(FunctionCallTest, ACallMayOutliveItsEngine) {
  Ref<IFunCall> call;
  Ref<IFunCall> built_in;
  {
    TReasoner other;
    other.Parse("(deffunction f () 1)", true);
    call = other.ParseFunCall("(f)");
    built_in = other.ParseFunCall("(+ 1 2)");
    EXPECT_EQ(Run(*built_in), "3");
  }
  EXPECT_EQ(FailureOf([&] { Run(*call); }), "Function is unimplemented or unassigned: f");
  EXPECT_EQ(FailureOf([&] { Run(*built_in); }), "Function is unimplemented or unassigned: +");
}

TEST_F(FunctionCallTest, ABoundFunctionIsCalledWhateverTheTableSays) {
  Load("(deffunction f () table)");
  const Ref<IFunCall> call = engine.ParseFunCall("(f)");
  const Ref<IUserFunction> bound = Make<Answer>("g", 7);
  call->SetUserFunction(bound);
  EXPECT_EQ(call->GetName().view(), "g");
  EXPECT_EQ(Run(*call), "7");
  const Ref<IFunCall> clone = call->Clone();
  EXPECT_EQ(FailureOf([&] { Run(*clone); }), "Function is unimplemented or unassigned: g")
      << "a clone looks its function up";
  call->SetUserFunction(nullptr);
  EXPECT_EQ(call->GetName().view(), "");
  const Ref<IFunCall> free = Make<TFunctionCall>(nullptr, "f");
  EXPECT_EQ(FailureOf([&] { Run(*free); }), "Function is unimplemented or unassigned: f");
}

TEST_F(FunctionCallTest, SimpleExecuteNeedsABoundFunctionAndNamesItInFailures) {
  const Ref<IFunCall> call = engine.ParseFunCall("(sqrt x)");
  EXPECT_EQ(FailureOf([&] { call->SimpleExecute(engine.GetContext()); }),
            "Function is unimplemented or unassigned: sqrt");
  const std::string plain = FailureOf([&] { Run(*call); });
  call->SetUserFunction(call->GetUserFunction());
  EXPECT_EQ(FailureOf([&] { call->SimpleExecute(engine.GetContext()); }), "sqrt error: " + plain);
  EXPECT_EQ(FailureOf([&] { Run(*call); }), plain);
}

TEST_F(FunctionCallTest, ArgumentsOfEveryKindAreAdded) {
  const Ref<IFunCall> call = Make<TFunctionCall>(nullptr, "f");
  call->AddArgument(2.7, dtInteger);
  call->AddArgument(2, dtFloat);
  call->AddArgument("x", dtVariable);
  call->AddArgument(engine.ParseFunCall("(g)"));
  call->AddArgument(engine.ParseFact("(a 1)"));
  EXPECT_EQ(call->AddArgument(NewVector()), 5);
  EXPECT_EQ(call->ToString(), "(f 2 2.0000 ?x (g) (a 1 ) )");
  const std::pair<std::function<void()>, std::string> rows[] = {
      {[&] { call->AddArgument("x", dtInteger); },
       "Not a String type.  Value (x) is a dtInteger type"},
      {[&] { call->AddArgument(5, dtAtom); }, "Not a Integer type.  Value (5) is a dtAtom type"},
      {[&] { call->AddArgument(2.5, dtAtom); },
       "Not a Float type.  Value (2.5000) is a dtAtom type"},
      {[&] { call->Delete(6); }, "List index out of bounds (6)"},
      {[&] { call->GetArgument(6); }, "List index out of bounds (6)"},
      {[&] { call->SetArgument(-1, FCNil); }, "List index out of bounds (-1)"},
  };
  for (const auto& [operation, message] : rows) EXPECT_EQ(FailureOf(operation), message);
  EXPECT_EQ(call->GetArgumentCount(), 6);
}

class InterpretedFunctionTest : public EngineTest {};

TEST_F(InterpretedFunctionTest, LiterallyAnArgumentSeesTheFormalsBoundBeforeIt) {
  engine.SetTextbookSemantics(false);
  Load("(deffunction inner (?x ?y) ?y) (deffunction outer (?x) (inner 9 ?x))");
  EXPECT_EQ(Show("(outer 1)"), "9");
}

TEST_F(InterpretedFunctionTest, AFunctionThatIsRemovedOrReplacedFinishesWhatItRuns) {
  std::string text;
  const auto host = HostFunction("host", [&] {
    if (text.empty()) {
      engine.GetUserFunctions().Remove("f");
    } else {
      engine.Parse(text, true);
    }
  });
  Load("(deffunction f (?x) (host) (create$ old ?x))");
  text = "(deffunction f (?x) (create$ new ?x))";
  EXPECT_EQ(Show("(f 1)"), "old 1 ");
  EXPECT_EQ(Show("(f 1)"), "new 1 ");
  Load("(deffunction f (?x) (host) (create$ old ?x))");
  text.clear();
  EXPECT_EQ(Show("(f 2)"), "old 2 ");
  ExpectError("(f 2)", "Function is unimplemented or unassigned: f");
}

TEST_F(InterpretedFunctionTest, AFunctionIsBuiltByHand) {
  const Ref<TInterpretedFunction> function = Make<TInterpretedFunction>("twice");
  function->AddArgument("x", dtVariable);
  function->AddStatement(engine.ParseFunCall("(+ ?x ?x)"));
  engine.AddUserFunction(function);
  EXPECT_EQ(Show("(twice 4)"), "8");
  EXPECT_EQ(function->GetMaxArgumentCount(), 1);
  function->AddArgument("rest", dtMultiVariable);
  EXPECT_EQ(function->GetMaxArgumentCount(), kNoArgumentLimit);
  EXPECT_EQ(Show("(twice 4 5)"), "8");

  const Ref<TInterpretedFunction> named = Make<TInterpretedFunction>("named");
  named->AddArgument("skipped", dtAtom);
  named->AddArgument("x", dtVariable);
  named->AddStatement(engine.ParseFunCall("(create$ ?x ?skipped)"));
  engine.AddUserFunction(named);
  EXPECT_EQ(Show("(named (undefined-function) 2)"), "2  ") << "an atom's argument is not evaluated";
  ExpectError("(named 1)", "Too few arguments for named");
}

class HostFunctionTest : public EngineTest {
 protected:
  // A function of the engine that answers its first argument.
  std::unique_ptr<TUserFunction> NewEcho(TComponent* owner = nullptr) {
    auto function = std::make_unique<TUserFunction>(owner);
    function->SetFunctionName("echo");
    function->OnCall = [](TObject&, const IFunCall& call, TKBContext& context,
                          Ref<IKBValue>& result) {
      result = call.GetArgument(0)->Resolve(&context);
    };
    function->SetEngine(&engine);
    return function;
  }
};

TEST_F(HostFunctionTest, ItsDeathLeavesItsCallsWithAPlainFailure) {
  auto function = NewEcho();
  const Ref<IFunCall> call = engine.ParseFunCall("(echo 5)");
  const Ref<IFunCall> bound = engine.ParseFunCall("(echo 5)");
  bound->SetUserFunction(function->GetFunction());
  Load("(deffunction f (?x) (echo ?x))");
  EXPECT_EQ(Show("(f 3)"), "3");
  function.reset();
  const std::string message = "Function is unimplemented or unassigned: echo";
  Ref<IKBValue> result;
  EXPECT_EQ(FailureOf([&] { call->Execute(&engine.GetContext(), result); }), message);
  EXPECT_EQ(FailureOf([&] { bound->Execute(&engine.GetContext(), result); }), message);
  ExpectError("(f 3)", message);
  EXPECT_FALSE(engine.ContainsUserFunction("echo"));
}

TEST_F(HostFunctionTest, BoundsAreCheckedAndACrossedBoundFollows) {
  auto function = NewEcho();
  function->SetMinArgumentCount(1);
  function->SetMaxArgumentCount(2);
  ExpectError("(echo)", "Too few arguments for echo");
  ExpectError("(echo 1 2 3)", "Too many arguments for echo");
  EXPECT_EQ(Show("(echo 1 2)"), "1");
  EXPECT_EQ(function->GetArgumentString(), "<expression>[ <expression>]");
  function->SetMaxArgumentCount(0);
  EXPECT_EQ(function->GetMinArgumentCount(), 0);
  EXPECT_EQ(function->GetArgumentString(), "");
  function->SetMinArgumentCount(3);
  EXPECT_EQ(function->GetMaxArgumentCount(), 3);
}

class One final : public TKBUserFunction {
 public:
  void InitMetaData() override { function_name_ = "one"; }
  void Call(const IFunCall&, TKBContext&, Ref<IKBValue>& result) override {
    result = NewInteger(1);
  }
};

class Two final : public TKBUserFunction {
 public:
  void InitMetaData() override { function_name_ = "two"; }
  void Call(const IFunCall&, TKBContext&, Ref<IKBValue>& result) override {
    result = NewInteger(2);
  }
};

class Numbers : public TUserPackage {
 public:
  explicit Numbers(TComponent* owner = nullptr) : TUserPackage(owner) { Rebuild(); }

 protected:
  void CreateFunctions() override {
    TUserPackage::CreateFunctions();
    GetFunctions().AddNew<One, Two>();
  }
};

class UserPackageTest : public EngineTest {
 protected:
  bool Has(TReasoner& where, const char* name) { return where.ContainsUserFunction(name); }
  TReasoner other;
};

TEST_F(UserPackageTest, TheFunctionsOfAPackageAreInEachOfItsEngines) {
  Numbers package;
  package.AddReasoner(engine);
  package.AddReasoner(engine);
  package.AddReasoner(other);
  EXPECT_TRUE(Has(other, "one"));
  const Ref<IUserFunction> two = package.GetFunctions().GetItem(package.IndexOf("two"));
  EXPECT_EQ(package.GetFunctions().Remove(*two), 1);
  EXPECT_FALSE(Has(engine, "two") || Has(other, "two"));
  EXPECT_EQ(package.GetFunctions().Add(two), 1);
  EXPECT_EQ(package.GetFunctions().Add(two), 1) << "one that is there already stays";
  EXPECT_EQ(package.GetFunctions().ToString(), "one\ntwo\n");
  EXPECT_TRUE(Has(engine, "two") && Has(other, "two"));
  package.RemoveReasoner(other);
  EXPECT_FALSE(Has(other, "one"));
  EXPECT_TRUE(Has(engine, "one"));
  EXPECT_EQ(FailureOf([&] { package.GetFunctions().Add(nullptr); }),
            "Cannot add nil to user functions");
}

TEST_F(UserPackageTest, SettingThePackagesReplacesAllThatTheEngineOwns) {
  new Numbers(&engine);
  Load("(deffunction f (?x) (+ ?x 1))");
  const Ref<IFunCall> call = engine.ParseFunCall("(f 1)");
  int made = 0;
  engine.OnAddDefaultPackages = [&made](TReasoner&) { ++made; };
  engine.SetPackages(kAllPackages);
  EXPECT_EQ(made, 0) << "the present set is no change";
  EXPECT_TRUE(Has(engine, "one"));
  engine.SetPackages({pStandard});
  EXPECT_EQ(made, 1);
  EXPECT_FALSE(Has(engine, "one"));
  EXPECT_FALSE(Has(engine, "+"));
  EXPECT_TRUE(Has(engine, "f")) << "a defined function stays";
  ExpectError("(f 1)", "Function is unimplemented or unassigned: +");
  engine.SetPackages({});
  EXPECT_EQ(engine.GetUserFunctions().GetCount(), 1);
  engine.SetPackages({pMath});
  EXPECT_EQ(Show("(f 1)"), "2");
}

TEST_F(UserPackageTest, PatternsGoOnWithoutTheStandardFunctions) {
  Load("(defrule r (a ?x&~1|2) => )");
  engine.SetPackages({});
  engine.Assert("(a 1)");
  engine.Assert("(a 2)");
  EXPECT_EQ(engine.GetAgendaCount(), 1);
}

TEST_F(UserPackageTest, ACopiedListServesThePackagesOfBoth) {
  Numbers source;
  TUserPackage copy(&other);
  copy.Assign(source);
  source.AddReasoner(engine);
  EXPECT_TRUE(Has(engine, "one") && Has(other, "one"));
  EXPECT_EQ(copy.GetFunctions().GetItem(0).get(), source.GetFunctions().GetItem(0).get());
}

}  // namespace
}  // namespace reasoner
