#include <gtest/gtest.h>

#include <stdexcept>

#include "reasoner/functions/HostFunction.h"
#include "reasoner/vocabulary/KBExceptions.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class ControlFunctionsTest : public EngineTest {};

TEST_F(ControlFunctionsTest, IfRunsOnePart) {
  ExpectShown({
      {"(if nil then 1)", "1"},
      {"(if TRUE then)", "FALSE"},
      // Right behind `then` the word is a statement.
      {"(if FALSE then else 2)", "FALSE"},
      {"(if TRUE then 1 (sym-cat else) 2)", "1"},
  });
  ExpectError("(if TRUE 1)", "Syntax Error: Missing \"then\" in an IF statement");
}

TEST_F(ControlFunctionsTest, Loops) {
  Load(R"((deffunction count (?n) (bind ?i 0) (while (< ?i ?n) do (bind ?i (+ ?i 1))) ?i)
          (deffunction no-do (?n) (bind ?i 0) (while (< ?i ?n) (bind ?i (+ ?i 1))) ?i)
          (deffunction find (?wanted $?all)
            (foreach item $?all (if (eq ?item ?wanted) then (return found)) missing))
          (deffunction up-to (?n)
            (bind ?i 0)
            (while TRUE do (if (= ?i ?n) then (return ?i) (bind ?i -1)) (bind ?i (+ ?i 1)))))");
  ExpectShown({
      {"(count 3)", "3"},
      {"(no-do 3)", "3"},
      {"(foreach i (create$ a b) (str-cat ?i \"!\"))", "\"b!\""},
      {"(find b a b c)", "found"},
      {"(find z a b c)", "missing"},
      {"(find z)", ""},
      // What stands behind the `return` is not run in any of the structures around it.
      {"(up-to 4)", "4"},
  });
}

TEST_F(ControlFunctionsTest, TryCatchesWhatFailsAndKeepsTheMessage) {
  ExpectShown({
      {"(try (throw \"x\") except caught)", "caught"},
      {"(try (div 1 0) catch ?__ERROR)", "\"Division by zero in div function call\""},
      {"(try (throw \"x\") finally 1 catch 2)", "2"},
      {"(try (throw \"x\") finally (throw \"y\") catch ?__ERROR)", "\"y\""},
      // In front of `finally` the word is a statement.
      {"(try catch (sym-cat a b) finally)", "ab"},
  });
  ExpectError("(try 1 2)", "Missing catch or finally statement for try block");
  ExpectError("(try (throw \"x\") catch (throw \"again\"))", "again");
  EXPECT_THROW(Show("(throw \"x\")"), Exception);
}

TEST_F(ControlFunctionsTest, TheFinallyPartRunsOnEveryWayOut) {
  Load(R"((deffunction early ()
            (try (return 1) 2 finally (printout t a) (printout t b))
            (printout t never))
          (deffunction instead () (try (return 1) finally (return 2) (printout t never)))
          (deffunction loud () (try (throw "x") finally (printout t a) (printout t b)) 3))");
  ExpectShown({{"(early)", "1"}});
  EXPECT_EQ(TakeOutput(), "ab");
  ExpectShown({{"(instead)", "2"}, {"(loud)", "3"}});
  EXPECT_EQ(TakeOutput(), "ab");
}

TEST_F(ControlFunctionsTest, ExitAndInterruptionPassEveryTry) {
  EXPECT_THROW(Show("(try (exit) finally (printout t out) catch (printout t caught))"), EAbort);
  EXPECT_EQ(TakeOutput(), "out");
  const auto stop = HostFunction("stop", [this] { engine.RequestInterrupt(); });
  const char* const endless = "(try (stop) (while TRUE do 1) finally (printout t out) catch 1)";
  EXPECT_THROW(Show(endless), EKBInterrupted);
  EXPECT_EQ(TakeOutput(), "out");
  // The request is spent.
  ExpectShown({{"(+ 1 1)", "2"}});
}

TEST_F(ControlFunctionsTest, TryCatchesAHostsExceptions) {
  TUserFunction fail(nullptr);
  fail.SetFunctionName("fail");
  fail.SetEngine(&engine);
  fail.OnCall = [](auto&, const IFunCall& call, TKBContext&, Ref<IKBValue>&) {
    if (call.GetArgumentCount() > 0) throw 1;
    throw std::runtime_error("from the host");
  };
  ExpectShown({
      {"(try (fail) catch ?__ERROR)", "\"from the host\""},
      {"(try (fail 1) catch ?__ERROR)", "\"Unknown failure\""},
  });
}

class CompareFunctionsTest : public EngineTest {};

TEST_F(CompareFunctionsTest, NothingIsEvaluatedBehindTheDecision) {
  ExpectShown({
      {"(and FALSE (no-such-function))", "FALSE"},
      {"(or TRUE (no-such-function))", "TRUE"},
      {"(eq 1 2 (no-such-function))", "FALSE"},
      {"(neq 1 1 (no-such-function))", "FALSE"},
      {"(= 1 2 (no-such-function))", "FALSE"},
      {"(< 2 1 (no-such-function))", "FALSE"},
      {"(member a a (no-such-function))", "0"},
      {"(member a b c)", "FALSE"},
  });
}

TEST_F(CompareFunctionsTest, OrderIsAChain) {
  ExpectShown({
      {"(> 3 1 2)", "FALSE"},
      {"(> 2 2)", "FALSE"},
      {"(>= 3 3 1)", "TRUE"},
      {"(>= 3 1 2)", "FALSE"},
      {"(< 1 1.5 2)", "TRUE"},
      {"(< 1 1)", "FALSE"},
      {"(<= 1 3 2)", "FALSE"},
  });
  ExpectError("(> a 1)", "Value (a) is a dtAtom type");
}

}  // namespace
}  // namespace reasoner
