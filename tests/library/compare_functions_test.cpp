#include <gtest/gtest.h>

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class CompareFunctionsTest : public EngineTest {};

TEST_F(CompareFunctionsTest, Logic) {
  ExpectShown({
      {"(and)", "TRUE"},
      {"(or)", "FALSE"},
      {"(and 1)", "TRUE"},
      {"(or 1)", "FALSE"},
      {"(and TRUE nil 0)", "TRUE"},
      {"(and TRUE FALSE)", "FALSE"},
      {"(or 1 TRUE)", "TRUE"},
      {"(or FALSE \"TRUE\")", "FALSE"},
      {"(not FALSE)", "TRUE"},
      {"(not 0)", "FALSE"},
      {"(not \"FALSE\")", "FALSE"},
  });
}

TEST_F(CompareFunctionsTest, NothingIsEvaluatedBehindTheDecision) {
  ExpectShown({
      {"(and FALSE (no-such-function))", "FALSE"},
      {"(or TRUE (no-such-function))", "TRUE"},
      {"(eq 1 2 (no-such-function))", "FALSE"},
      {"(neq 1 1 (no-such-function))", "FALSE"},
      {"(= 1 2 (no-such-function))", "FALSE"},
      {"(< 2 1 (no-such-function))", "FALSE"},
      {"(member a a (no-such-function))", "0"},
  });
}

TEST_F(CompareFunctionsTest, EqualityIsStrictStarredOrNumeric) {
  ExpectShown({
      {"(eq 1)", "TRUE"},
      {"(eq 1 1 1)", "TRUE"},
      {"(eq 1 1.0)", "FALSE"},
      {"(eq a \"a\")", "FALSE"},
      {"(eq (create$ a 1) (create$ a 1))", "TRUE"},
      {"(eq* 1 1.0)", "TRUE"},
      {"(eq* a \"a\")", "TRUE"},
      {"(neq 1)", "TRUE"},
      {"(neq a b c)", "TRUE"},
      {"(neq a b a)", "FALSE"},
      {"(= 1)", "TRUE"},
      {"(= 1 1.0)", "TRUE"},
      {"(= 1 \"1\" 2)", "FALSE"},
      {"(<> 1 2 3)", "TRUE"},
      {"(<> 1 2 1.0)", "FALSE"},
  });
}

TEST_F(CompareFunctionsTest, OrderIsAChain) {
  ExpectShown({
      {"(> 3 2 1)", "TRUE"},
      {"(> 3 1 2)", "FALSE"},
      {"(> 2 2)", "FALSE"},
      {"(>= 3 3 1)", "TRUE"},
      {"(>= 3 1 2)", "FALSE"},
      {"(< 1 1.5 2)", "TRUE"},
      {"(< 1 1)", "FALSE"},
      {"(<= 1 1 2)", "TRUE"},
      {"(<= 1 3 2)", "FALSE"},
  });
  ExpectError("(> a 1)", "Value (a) is a dtAtom type");
}

TEST_F(CompareFunctionsTest, MemberCountsFromTheSecondArgument) {
  ExpectShown({
      {"(member a b a)", "1"},
      {"(member a a a)", "0"},
      {"(member a b c)", "FALSE"},
      {"(member 1 1.0 1)", "1"},
  });
}

}  // namespace
}  // namespace reasoner
