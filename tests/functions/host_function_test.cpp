#include <memory>

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/functions/HostFunction.h"
#include "reasoner/values/Constants.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

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

TEST_F(HostFunctionTest, WithoutAHandlerItAnswersNil) {
  auto function = NewEcho();
  function->OnCall = nullptr;
  EXPECT_EQ(engine.ParseNExecuteFunCall("(echo 1)").get(), FCNil.get());
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

TEST_F(HostFunctionTest, ArgumentTextsTakeTheWordsThatAreThere) {
  struct Row {
    const char* source;
    std::int32_t min, max;
    const char* text;
  };
  const std::string ten =
      "[ <a>[ <b>[ <expression>[ <expression>[ <expression>[ <expression>[ "
      "<expression>[ <expression>[ <expression>[ <expression>[]]]]]]]]]]]";
  const Row rows[] = {
      {"<a> <b>", 1, 3, "<a>[ <b>[ <expression>]]"},
      {"<a> <b>", 2, 2, "<a> <b>"},
      {"<a> <b>", 3, 3, "<a> <b> <expression>"},
      {"", 0, 1, "[ <expression>]"},
      {"<a> <b>", 0, 2147483647, ten.c_str()},
      {"<a", 1, 1, "<expression>"},
      {"<a>", 2, 1, ""},
      {"<a>", 0, 0, ""},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(CreateArgumentExpressions(row.source, row.min, row.max, 10), row.text) << row.source;
  }
}

TEST_F(HostFunctionTest, ItMovesWithItsNameAndItsEngine) {
  TReasoner other;
  auto function = NewEcho();
  function->SetFunctionName("repeat");
  EXPECT_EQ(Show("(repeat 1)"), "1");
  EXPECT_FALSE(engine.ContainsUserFunction("echo"));
  function->SetEngine(&other);
  EXPECT_FALSE(engine.ContainsUserFunction("repeat"));
  EXPECT_EQ(other.ParseNExecuteFunCall("(repeat 2)")->ToString(), "2");
  TUserFunction unnamed;
  unnamed.SetEngine(&engine);
  unnamed.SetFunctionName("late");
  EXPECT_TRUE(engine.ContainsUserFunction("late"));
}

TEST_F(HostFunctionTest, ItMayOutliveItsEngineAndServeAnother) {
  auto function = NewEcho();
  {
    TReasoner other;
    function->SetEngine(&other);
  }
  EXPECT_EQ(function->GetEngine(), nullptr);
  function->SetEngine(&engine);
  EXPECT_EQ(Show("(echo 1)"), "1");
}

TEST_F(HostFunctionTest, AnEngineThatOwnsItTakesItAlong) {
  const std::int64_t before = IInterface::LiveObjects();
  {
    TReasoner other;
    auto* function = new TUserFunction(&other);
    function->SetFunctionName("mine");
    function->SetEngine(&other);
    EXPECT_TRUE(other.ContainsUserFunction("mine"));
  }
  EXPECT_EQ(IInterface::LiveObjects(), before);
}

TEST_F(HostFunctionTest, ARenamingMovesOneFunctionInEveryEngineThatHasIt) {
  class Seven final : public TKBUserFunction {
   public:
    Seven() : TKBUserFunction("seven") {}
    void Call(const IFunCall&, TKBContext&, Ref<IKBValue>& result) override {
      result = NewInteger(7);
    }
  };
  TReasoner other;
  const Ref<IUserFunction> function = Make<Seven>();
  function->AddReasoner(engine);
  function->AddReasoner(engine);
  function->AddReasoner(other);
  EXPECT_EQ(function->GetReasonerCount(), 2);
  function->SetFunctionName("sept");
  for (TReasoner* each : {&engine, &other}) {
    EXPECT_FALSE(each->ContainsUserFunction("seven"));
    EXPECT_EQ(each->ParseNExecuteFunCall("(sept)")->ToString(), "7");
  }
  function->DeleteReasoner(engine);
  EXPECT_FALSE(engine.ContainsUserFunction("sept"));
  EXPECT_TRUE(other.ContainsUserFunction("sept"));
  other.GetUserFunctions().Remove("sept");
  EXPECT_EQ(function->GetReasonerCount(), 0);
}

}  // namespace
}  // namespace reasoner
