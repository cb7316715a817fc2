#include "reasoner/library/Packages.h"

#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "reasoner/support/Unicode.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/Failure.h"

namespace reasoner {
namespace {

// Every function of every package.
const struct {
  TFunctionPackage package;
  const char* names;
} kPackages[] = {
    {pStandard,
     "and or not eq eq* neq = <> > >= < <= member if while foreach try throw return bind "
     "assert assert-string retract retract-string modify duplicate get-slot-value "
     "get-fact-duplication set-fact-duplication store fetch clear-storage __get-var "
     "gensym* version watch unwatch halt run reset clear exit do-backward-chaining "
     "create$ delete$ explode$ first$ implode$ insert$ length$ member$ nth$ replace$ "
     "rest$ subseq$ subsetp printout format read readline open close remove rename load "
     "save load-facts save-facts batch dribble-on dribble-off"},
    {pPredicate,
     "get-type evenp oddp lexemep numberp floatp fuzzyp integerp stringp symbolp "
     "multifieldp external-addressp objectp"},
    {pMath,
     "abs div / exp ** float integer log log10 max min - mod PI + random randomize round "
     "seed sqrt *"},
    {pMiscellaneous,
     "undeftype parse guard time agenda get-dynamic-constraint-checking "
     "get-static-constraint-checking input-box input-query message-dlg show-message "
     "list-defrules list-deftypes list-deffacts list-deffunctions list-deftemplates "
     "set-reset-globals setgen set-dynamic-constraint-checking "
     "set-static-constraint-checking facts rules undeffacts undeffunction undefrule "
     "undeftemplate is-binding is-deftype is-deffunction is-defglobal is-defrule "
     "is-deffacts is-deftemplate ppdeffacts ppdeffunction ppdeftemplate ppdefrule "
     "ppdeftype list-defglobals list-bindings system-datetime system-date system-time "
     "str-datetime str-date str-time datetime-str date-str time-str datetime-str-format "
     "decode-year decode-month decode-day decode-hour decode-minute decode-second "
     "decode-millisecond encode-date encode-time"},
    {pString,
     "str-format lowcase str-cat str-compare str-index str-length sub-string sym-cat "
     "upcase"},
    {pObject,
     "create-component create-object execute-action free-object get-component "
     "get-components get-class get-property get-properties set-property is-class"},
    {pTrigonometry,
     "acos acosh acot acoth acsc acsch asec asech asin asinh atan atan2 atanh cos cosh "
     "cot coth csc csch cycle-rad deg-grad deg-rad distance distance-sqr "
     "distance-manhattan grad-deg grad-rad hypotenuse rad-cycle rad-deg rad-grad sec sech "
     "sin sinh tan tanh"},
    {pBusiness,
     "double-declining-balance future-value interest-payment interest-rate "
     "internal-rate-of-return net-present-value number-of-periods payment period-payment "
     "present-value sln-depreciation syd-depreciation"},
    {pFuzzyLogic,
     "create-fuzzy-value fuzzy-assert fuzzy-assert-unconditional fuzzy-union fuzzy-union-x "
     "fuzzy-intersection fuzzy-intersection-x get-fs get-fs-length get-fs-x get-fs-y "
     "get-fs-variable get-fs-value get-activation-threshold set-activation-threshold "
     "get-fuzzy-auto-terms set-fuzzy-auto-terms get-fuzzy-correlation set-fuzzy-correlation "
     "get-fuzzy-inference set-fuzzy-inference get-fuzzy-threshold set-fuzzy-threshold get-u "
     "get-u-from get-u-to get-u-units moment-defuzzify maximum-defuzzify is-undecidable "
     "get-compatibility-index plot-fuzzy-value s z pi tri beta"},
};

// Those of them that are still to come.
const char* const kMissing =
    "open close remove rename save load-facts save-facts batch "
    "dribble-on dribble-off undeftype parse guard time get-dynamic-constraint-checking "
    "get-static-constraint-checking input-box input-query message-dlg show-message "
    "list-defrules list-deftypes list-deffacts list-deffunctions list-deftemplates "
    "set-reset-globals set-dynamic-constraint-checking set-static-constraint-checking "
    "undeffacts undeffunction undeftemplate ppdeffacts ppdeffunction ppdeftemplate "
    "ppdefrule ppdeftype list-defglobals list-bindings system-datetime system-date "
    "system-time str-datetime str-date str-time datetime-str date-str time-str "
    "datetime-str-format decode-year decode-month decode-day decode-hour decode-minute "
    "decode-second decode-millisecond encode-date encode-time create-component "
    "create-object execute-action free-object get-component get-components get-class "
    "get-property get-properties set-property is-class";

std::set<std::string> Words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

TEST(PackagesTest, EachPackageHasItsFunctionsAndNoOther) {
  std::set<std::string> missing = Words(kMissing);
  for (const auto& row : kPackages) {
    const std::unique_ptr<TUserPackage> package(MakePackage(row.package, nullptr));
    std::set<std::string> names;
    if (package) {
      for (const Ref<IUserFunction>& function : package->GetFunctions()) {
        const std::string name = function->GetFunctionName().str();
        names.insert(name);
        EXPECT_EQ(missing.count(name), 0u) << name << " is there by now";
      }
    }
    for (const std::string& name : Words(row.names)) {
      const bool is_missing = missing.erase(name) == 1;
      EXPECT_EQ(names.erase(name), is_missing ? 0u : 1u) << name << " is missing";
    }
    EXPECT_EQ(names, std::set<std::string>()) << "in a package where they do not belong";
  }
  EXPECT_EQ(missing, std::set<std::string>()) << "in no package";
}

bool AreBracketsBalanced(const std::string& text) {
  static const std::string kOpening = "([<";
  static const std::string kClosing = ")]>";
  std::string open;
  for (const char character : text) {
    if (kOpening.find(character) != std::string::npos) open += character;
    const std::size_t kind = kClosing.find(character);
    if (kind == std::string::npos) continue;
    if (open.empty() || open.back() != kOpening[kind]) return false;
    open.pop_back();
  }
  return open.empty();
}

TEST(PackagesTest, EveryFunctionHasItsWordsAndItsBounds) {
  std::set<std::string> names;
  for (int kind = pStandard; kind <= pFuzzyLogic; ++kind) {
    const std::unique_ptr<TUserPackage> package(
        MakePackage(static_cast<TFunctionPackage>(kind), nullptr));
    if (!package) continue;
    for (const Ref<IUserFunction>& function : package->GetFunctions()) {
      const std::string name = function->GetFunctionName().str();
      EXPECT_TRUE(names.insert(name).second) << name << " stands twice";
      EXPECT_FALSE(function->GetComment().empty()) << name;
      EXPECT_FALSE(function->GetExample().empty()) << name;
      // The words of these two have always been so.
      EXPECT_TRUE(name == "try" || AreBracketsBalanced(function->GetArgumentString())) << name;
      EXPECT_TRUE(name == "list-deffunctions" || Trim(function->GetArgumentString()).empty() ==
                                                     (function->GetMaxArgumentCount() == 0))
          << name;
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
