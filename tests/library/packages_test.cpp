#include "reasoner/library/Packages.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <set>
#include <string>

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

constexpr std::array kPackages{pStandard, pPredicate, pMath, pMiscellaneous, pString};

TEST(PackagesTest, EveryFunctionHasItsWordsAndItsBounds) {
  std::set<std::string> names;
  for (const TFunctionPackage kind : kPackages) {
    const std::unique_ptr<TUserPackage> package(MakePackage(kind, nullptr));
    ASSERT_NE(package, nullptr);
    EXPECT_GT(package->GetFunctions().GetCount(), 0) << package->ClassName();
    for (const Ref<IUserFunction>& function : package->GetFunctions()) {
      const std::string name = function->GetFunctionName().str();
      EXPECT_TRUE(names.insert(name).second) << name << " stands twice";
      EXPECT_FALSE(function->GetComment().empty()) << name;
      EXPECT_EQ(function->GetArgumentString().empty(), function->GetMaxArgumentCount() == 0)
          << name;
      // Arguments are never evaluated before their number is checked, so any will do.
      TKBContext nowhere(nullptr, nullptr);
      Ref<IKBValue> result;
      const auto call_with = [&](std::int32_t count) {
        const Ref<IFunCall> call = Make<TFunctionCall>(nullptr, function->GetFunctionName());
        for (std::int32_t i = 0; i < count; ++i) call->AddArgument(NewAtom("x"));
        function->Invoke(*call, nowhere, result);
      };
      if (function->GetMinArgumentCount() > 0) {
        EXPECT_THROW(call_with(function->GetMinArgumentCount() - 1), EKBException) << name;
      }
      if (function->GetMaxArgumentCount() < kNoArgumentLimit) {
        EXPECT_THROW(call_with(function->GetMaxArgumentCount() + 1), EKBException) << name;
      }
    }
  }
}

TEST(PackagesTest, APackageWithoutEngineHasTheLogicFunctions) {
  const std::unique_ptr<TUserPackage> package(MakePackage(pStandard, nullptr));
  for (const char* name : {"and", "or", "not", "eq", "neq", "eq*"}) {
    EXPECT_GE(package->IndexOf(name), 0) << name;
  }
}

class PackageWiringTest : public EngineTest {};

TEST_F(PackageWiringTest, PackagesComeAndGoWithTheirFunctions) {
  EXPECT_TRUE(engine.ContainsUserFunction("+"));
  engine.SetPackages({pStandard});
  EXPECT_TRUE(engine.ContainsUserFunction("bind"));
  EXPECT_FALSE(engine.ContainsUserFunction("+"));
  ExpectError("(+ 1 2)", "Function is unimplemented or unassigned: +");
  {
    TMathPackage host_package;
    host_package.AddReasoner(engine);
    ExpectShown({{"(+ 1 2)", "3"}});
  }
  EXPECT_FALSE(engine.ContainsUserFunction("+"));
}

TEST_F(PackageWiringTest, WrongArgumentCountNamesTheFunction) {
  ExpectError("(not)", "Too few arguments for not");
  ExpectError("(> 1)", "Too few arguments for >");
  ExpectError("(mod 1 2 3)", "Too many arguments for mod");
}

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
