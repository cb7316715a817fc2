#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "reasoner/language/TextHelpers.h"
#include "reasoner/support/Exception.h"
#include "reasoner/vocabulary/KBConsts.h"

namespace reasoner {
namespace {

std::string Format(const std::string& format, const std::vector<Ref<IKBValue>>& values,
                   bool plain = true) {
  const Ref<IValueVector> args = NewVector();
  for (const Ref<IKBValue>& value : values) args->Add(value);
  return CLIPSFormat(format, *args, plain);
}

TEST(TextHelpersTest, FormatsTakeTheirValuesInOrder) {
  const Ref<IValueVector> two = NewVector();
  two->Add(NewInteger(1));
  two->Add(NewAtom("b"));
  const struct {
    const char* format;
    std::vector<Ref<IKBValue>> values;
    const char* wanted;
  } rows[] = {
      {"plain", {}, "plain"},
      {"%d and %s", {NewInteger(3), NewAtom("x")}, "3 and x"},
      {"%5d|%-5d|%05.1f", {NewInteger(3), NewInteger(4), NewFloat(1.25)}, "    3|4    |  1.2"},
      {"a%nb%n%d%n", {NewInteger(1)}, "a\nb\n1\n"},
      {"%s", {NewString("q")}, "q"},
      {"%6s|%-4s|", {NewString("q"), NewAtom("r")}, "     q|r   |"},
      {"%d%% of %s%%", {NewInteger(5), NewString("%d%%")}, "5% of %d%%%"},
      {"%%%d%%n", {NewInteger(1)}, "%1%n"},
      {"none", {NewString("s"), NewAtom("a"), NewFactId(7), NewList(two)}, "none s a 7 (1 b )"},
      {"%d left %s", {NewInteger(1)}, "1 left %s"},
      // A conversion of no known kind stays in the way of all values.
      {"%q %d", {NewInteger(1), NewInteger(2)}, "%q %d"},
      {"100%", {NewInteger(1)}, "100%"},
      // What a value shows is no format.
      {"%s-%s", {NewAtom("%d%n"), NewAtom("b")}, "%d%n-b"},
      {"", {NewAtom("%n")}, " %n"},
  };
  for (const auto& row : rows) EXPECT_EQ(Format(row.format, row.values), row.wanted) << row.format;
  EXPECT_EQ(Format("%s is %%n%d", {NewString("q"), NewInteger(1)}, false), "\"q\" is %\n%d")
      << "literally";
  EXPECT_THROW(Format("%99999d", {NewInteger(1)}), EKBException);
  EXPECT_THROW(Format("%d", {NewAtom("word")}), EKBException);
}

TEST(TextHelpersTest, SetsCharactersAndQuotes) {
  const std::uint32_t types = StringToSet(" [Atom, Float] ", kKBTypeNames, "dt");
  EXPECT_EQ(SetToString(types, kKBTypeNames, ",", true, 2), "[Atom,Float]");
  EXPECT_EQ(KBStringToString("\"a\""), "a");
  EXPECT_EQ(KBStringToString("\"\"a\"\""), "\"a\"");
  EXPECT_EQ(KBStringToString("\""), "\"");
  EXPECT_EQ(StringFilter("a-bé-c", "é-"), "abc");
  EXPECT_EQ(ContainsCharacters("abé;", ";"), 4);
  EXPECT_EQ(ContainsCharacters("😀é", "é"), 3);
  EXPECT_EQ(ContainsCharacters("abc", ";"), 0);
}

}  // namespace
}  // namespace reasoner
