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
      {"(if TRUE then 1 2 else 3)", "2"},
      {"(if FALSE then 1 else 2 3)", "3"},
      {"(if nil then 1)", "1"},
      {"(if 0 then 1 else 2)", "1"},
      {"(if FALSE then 1)", "FALSE"},
      {"(if TRUE then)", "FALSE"},
      // Right behind `then` the word is a statement.
      {"(if FALSE then else 2)", "FALSE"},
      {"(if TRUE then 1 (sym-cat else) 2)", "1"},
  });
  ExpectError("(if TRUE 1)", "Syntax Error: Missing \"then\" in an IF statement");
  ExpectError("(if (no-such-function) 1)", "Missing \"then\" in an IF statement");
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
      {"(while FALSE do 1)", "FALSE"},
      {"(count 3)", "3"},
      {"(no-do 3)", "3"},
      {"(foreach i (create$) 1)", ""},
      {"(foreach i (create$ a b))", ""},
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
      {"(try (throw \"x\") catch ?__ERROR)", "\"x\""},
      {"(try (throw \"x\") except caught)", "caught"},
      {"(try 1 2 catch 3)", "2"},
      {"(try (div 1 0) catch ?__ERROR)", "\"Division by zero in div function call\""},
      {"(try (throw \"x\") finally 1)", "FALSE"},
      {"(try 1 finally 2)", "2"},
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
  TUserFunction stop(nullptr);
  stop.SetFunctionName("stop");
  stop.SetEngine(&engine);
  stop.OnCall = [this](auto&, const IFunCall&, TKBContext&, Ref<IKBValue>&) {
    engine.RequestInterrupt();
  };
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

TEST_F(ControlFunctionsTest, ReturnHandsUpTheExpressionUnevaluated) {
  Load("(deffunction twice (?x) (bind ?y 1) (return (* ?x 2)) (bind ?y 0))");
  ExpectShown({{"(twice 21)", "42"}});
}

TEST_F(ControlFunctionsTest, BindReachesGlobalsUnlessALocalHidesThem) {
  Load(R"((defglobal ?*g* = 1)
          (deffunction set-it (?v) (bind ?*g* ?v))
          (deffunction local (?v) (bind ?x ?v) (bind ?x (+ ?x 1)) ?x))");
  ExpectShown({
      {"(set-it 5)", "5"},
      {"(+ ?*g* 0)", "5"},
      {"(local 1)", "2"},
      {"(is-binding x)", "FALSE"},
      {"(bind ?x 7)", "7"},
      {"(+ ?x 1)", "8"},
  });
}

}  // namespace
}  // namespace reasoner
