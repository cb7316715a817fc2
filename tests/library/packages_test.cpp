#include "reasoner/library/Packages.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>

#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

TEST(PackagesTest, EveryFunctionKeepsToItsBounds) {
  std::set<std::string> names;
  for (int kind = pStandard; kind <= pFuzzyLogic; ++kind) {
    const std::unique_ptr<TUserPackage> package(
        MakePackage(static_cast<TFunctionPackage>(kind), nullptr));
    if (!package) continue;
    for (const Ref<IUserFunction>& function : package->GetFunctions()) {
      const std::string name = function->GetFunctionName().str();
      EXPECT_TRUE(names.insert(name).second) << name << " stands twice";
      // The number of arguments is checked before any is evaluated, so any will do.
      const auto failure_with = [&function](std::int32_t count) {
        const Ref<IFunCall> call = Make<TFunctionCall>(nullptr, function->GetFunctionName());
        for (std::int32_t i = 0; i < count; ++i) call->AddArgument(NewAtom("x"));
        TKBContext nowhere(nullptr, nullptr);
        Ref<IKBValue> result;
        return FailureOf([&] { function->Invoke(*call, nowhere, result); });
      };
      if (function->GetMinArgumentCount() > 0) {
        EXPECT_EQ(failure_with(function->GetMinArgumentCount() - 1),
                  "Too few arguments for " + name);
      }
      if (function->GetMaxArgumentCount() < kNoArgumentLimit) {
        EXPECT_EQ(failure_with(function->GetMaxArgumentCount() + 1),
                  "Too many arguments for " + name);
      }
    }
  }
}

class PackageWiringTest : public EngineTest {};

TEST_F(PackageWiringTest, AFunctionThatNeedsAnEngineSaysSo) {
  const Ref<IUserFunction> function = engine.GetUserFunction("gensym*");
  TKBContext nowhere(nullptr, nullptr);
  Ref<IKBValue> result;
  try {
    function->Invoke(*Make<TFunctionCall>(nullptr, "gensym*"), nowhere, result);
    ADD_FAILURE() << "a symbol out of nowhere";
  } catch (const EKBException& failure) {
    EXPECT_STREQ(failure.what(), "Unknown/Undefined Reasoner");
  }
}

TEST_F(PackageWiringTest, AQuestionTakesTheKindOfItsNewName) {
  const Ref<IUserFunction> question = engine.GetUserFunction("is-defrule");
  ExpectShown({{"(is-defrule bind)", "FALSE"}});
  engine.RemoveUserFunction(*engine.GetUserFunction("is-deffunction"));
  question->SetFunctionName("is-deffunction");
  ExpectShown({{"(is-deffunction bind)", "TRUE"}});
  EXPECT_FALSE(engine.ContainsUserFunction("is-defrule"));
}

}  // namespace
}  // namespace reasoner
