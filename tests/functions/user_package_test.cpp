#include <algorithm>

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/values/Constants.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

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
