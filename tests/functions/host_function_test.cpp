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

}  // namespace
}  // namespace reasoner
