#include <gtest/gtest.h>

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class StringFunctionsTest : public EngineTest {};

TEST_F(StringFunctionsTest, Concatenation) {
  ExpectShown({
      {"(str-cat)", "\"\""},
      {"(str-cat a 1 \"b\" 2.5)", "\"a1b2.5000\""},
      {"(sym-cat a 1)", "a1"},
      {"(get-type (sym-cat 1 2))", "dtAtom"},
  });
}

TEST_F(StringFunctionsTest, CaseKeepsTheKind) {
  ExpectShown({
      {"(upcase abc)", "ABC"},
      {"(upcase \"abc\")", "\"ABC\""},
      {"(lowcase \"ABC-1\")", "\"abc-1\""},
      {"(upcase \"straße ÿ µ ž ſ ı\")", "\"STRAßE Ÿ Μ Ž S I\""},
      {"(lowcase \"ÄÖÜ Ÿ Ž İ ĸ ×\")", "\"äöü ÿ ž i ĸ ×\""},
      {"(upcase \"άέ σοφός ϗ\")", "\"ΆΈ ΣΟΦΌΣ Ϗ\""},
      {"(lowcase \"ΌΎ ΣΟΦΊΑ Ϊ\")", "\"όύ σοφία ϊ\""},
      {"(upcase \"ёж щука ӏ ѣ ԓ\")", "\"ЁЖ ЩУКА Ӏ Ѣ Ԓ\""},
      {"(lowcase \"Ӂ ЭХО Ѡ\")", "\"ӂ эхо ѡ\""},
      {"(upcase \"😀 字 ａ\")", "\"😀 字 ａ\""},
  });
  ExpectError("(upcase 1)", "Value and type mismatch");
  ExpectError("(lowcase 1.5)", "Value and type mismatch");
  ExpectError("(upcase (create$ a))", "is a dtList type");
}

TEST_F(StringFunctionsTest, PositionsAndLengthsCountSixteenBitCharacters) {
  ExpectShown({
      {"(str-index \"c\" \"abc\")", "3"},
      {"(str-index \"z\" \"abc\")", "FALSE"},
      {"(str-index \"\" \"abc\")", "FALSE"},
      {"(str-index \"b\" \"\xC3\xA4\xF0\x9F\x98\x80"
       "b\")",
       "4"},
      {"(str-length \"\")", "0"},
      {"(str-length \"\xC3\xA4\xF0\x9F\x98\x80\")", "3"},
      {"(str-compare a a)", "0"},
      {"(< (str-compare a b) 0)", "TRUE"},
      {"(> (str-compare a A) 0)", "TRUE"},
  });
}

TEST_F(StringFunctionsTest, SubString) {
  ExpectShown({
      {"(sub-string 2 3 \"abcd\")", "\"bc\""},
      {"(sub-string 2 99 \"abcd\")", "\"bcd\""},
      {"(sub-string 2 1 \"abcd\")", "\"\""},
  });
  ExpectError("(sub-string 0 1 \"abcd\")", "Invalid substring parameters: 0, 1");
  ExpectError("(sub-string 5 5 \"abcd\")", "Invalid substring parameters: 5, 5");
  ExpectError("(sub-string 3 1 \"abcd\")", "Invalid substring parameters: 3, 1");
}

TEST_F(StringFunctionsTest, StrFormatEvaluatesItsFormat) {
  Load("(bind ?f \"%d-%s\")");
  ExpectShown({{"(str-format ?f 3 x)", "\"3-x\""}});
  EXPECT_EQ(TakeOutput(), "");
}

}  // namespace
}  // namespace reasoner
