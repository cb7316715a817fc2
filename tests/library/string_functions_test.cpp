#include <gtest/gtest.h>

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class StringFunctionsTest : public EngineTest {};

TEST_F(StringFunctionsTest, CaseKeepsTheKind) {
  ExpectShown({
      {"(upcase \"abc\")", "\"ABC\""},
      {"(upcase \"straße ÿ µ ž ſ ı\")", "\"STRAßE Ÿ Μ Ž S I\""},
      {"(lowcase \"ÄÖÜ Ÿ Ž İ ĸ ×\")", "\"äöü ÿ ž i ĸ ×\""},
      {"(upcase \"άέ σοφός ϗ\")", "\"ΆΈ ΣΟΦΌΣ Ϗ\""},
      {"(lowcase \"ΌΎ ΣΟΦΊΑ Ϊ\")", "\"όύ σοφία ϊ\""},
      {"(upcase \"ёж щука ӏ ѣ ԓ\")", "\"ЁЖ ЩУКА Ӏ Ѣ Ԓ\""},
      {"(lowcase \"Ӂ ЭХО Ѡ\")", "\"ӂ эхо ѡ\""},
      {"(upcase \"😀 字 ａ\")", "\"😀 字 ａ\""},
  });
  ExpectError("(upcase 1)", "Value and type mismatch");
  ExpectError("(upcase (create$ a))", "is a dtList type");
}

TEST_F(StringFunctionsTest, PositionsAndLengthsCountSixteenBitCharacters) {
  ExpectShown({
      {"(str-index \"\" \"abc\")", "FALSE"},
      {"(str-index \"b\" \"\xC3\xA4\xF0\x9F\x98\x80"
       "b\")",
       "4"},
      {"(str-length \"\xC3\xA4\xF0\x9F\x98\x80\")", "3"},
      {"(< (str-compare a b) 0)", "TRUE"},
      {"(> (str-compare a A) 0)", "TRUE"},
  });
}

TEST_F(StringFunctionsTest, SubString) {
  ExpectShown({
      {"(sub-string 2 99 \"abcd\")", "\"bcd\""},
      {"(sub-string 2 1 \"abcd\")", "\"\""},
  });
  ExpectError("(sub-string 0 1 \"abcd\")", "Invalid substring parameters: 0, 1");
  ExpectError("(sub-string 5 5 \"abcd\")", "Invalid substring parameters: 5, 5");
}

}  // namespace
}  // namespace reasoner
