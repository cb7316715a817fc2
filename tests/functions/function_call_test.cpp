#include <functional>
#include <memory>

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/values/Constants.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

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

}  // namespace
}  // namespace reasoner
