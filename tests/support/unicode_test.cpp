#include "reasoner/support/Unicode.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "reasoner/support/Text.h"

namespace reasoner {
namespace {

const std::string kHigh = "\xED\xA0\xBD";  // U+D83D
const std::string kLow = "\xED\xB8\x80";   // U+DE00
const std::string kFace = "😀";             // U+1F600, the two together
const std::string kBad = "�";              // U+FFFD

// Texts of all kinds of pieces, bad bytes among them.
std::vector<std::string> RandomTexts() {
  const std::vector<std::string> pieces{
      "a",  "z",    "0",        "é",    "ж",    "€",    "\uFFFF",     kFace,      kHigh,
      kLow, "\x80", "\xE2\x82", "\xF0", "\xFF", "\xC0", "\U0010FFFF", "\xF4\x90", "abcdefgh"};
  std::mt19937 random(11);
  std::vector<std::string> texts;
  for (int index = 0; index < 400; ++index) {
    std::string text;
    for (auto left = random() % 12; left > 0; --left) text += pieces[random() % pieces.size()];
    texts.push_back(text);
  }
  return texts;
}

TEST(UnicodeTest, HashHasTheValuesOfTheUtf16Form) {
  struct Row {
    std::string text;
    std::uint32_t sampled, whole, third;
  };
  std::string faces, long_zhe, mixed;
  for (int index = 0; index < 10; ++index) faces += kFace;
  for (int index = 0; index < 16; ++index) long_zhe += "ж";
  for (int index = 0; index < 11; ++index) mixed += "a" + kFace;
  const Row rows[] = {
      {"abc", 96354, 96354, 97},
      {"sixteen units...", 682706557, 1491297667, 3402867132},
      {"(person (name \"Ada\") (age 36))", 1067409085, 399826879, 1067409085},
      {"grün 😀", 425129798, 425129798, 159225},
      {faces, 636032544, 4225763358, 1516404},
      {long_zhe, 2626288384, 3102275072, 1826194496},
      {mixed, 2240915460, 3709182468, 990029761},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(CalculateHash(row.text), row.sampled) << row.text;
    EXPECT_EQ(CalculateHash(row.text, 1), row.whole) << row.text;
    EXPECT_EQ(CalculateHash(row.text, -4), row.whole) << row.text;
    EXPECT_EQ(CalculateHash(row.text, 3), row.third) << row.text;
    EXPECT_EQ(Text(row.text).Hash(), row.sampled) << row.text;
  }
  EXPECT_EQ(CalculateHash("\xFF\x80"), 255u * 31 + 128);
  EXPECT_EQ(CalculateHash("abc", 2147483647), 97u);

  TextHasher hasher;
  for (const char* piece : {"(per", "son (name ", "", "\"Ada\") (age 36))"}) hasher.Append(piece);
  EXPECT_EQ(hasher.Get(), 399826879u);
}

TEST(UnicodeTest, SlicesAndOrderAgreeWithTheUtf16Form) {
  const std::vector<std::string> texts = RandomTexts();
  for (std::size_t index = 0; index + 1 < texts.size(); ++index) {
    const std::string& text = texts[index];
    const std::u16string units = ToUtf16(text);
    ASSERT_EQ(Length16(text), units.size()) << text;
    for (std::size_t first = 0; first <= units.size() + 1; ++first) {
      for (const std::size_t count :
           {std::size_t{0}, std::size_t{1}, std::size_t{3}, std::string::npos}) {
        const std::u16string wanted =
            first < units.size() ? units.substr(first, count) : std::u16string();
        ASSERT_EQ(ToUtf16(Slice16(text, first, count)), wanted) << text << ' ' << first;
      }
    }
    const std::u16string other = ToUtf16(texts[index + 1]);
    const int order = Compare16(text, texts[index + 1]);
    ASSERT_EQ(order < 0, units < other) << text << " and " << texts[index + 1];
    ASSERT_EQ(order > 0, units > other) << text << " and " << texts[index + 1];
  }
  EXPECT_LT(Compare16(kFace, "\uFFFD"), 0);  // the other way round than by code points
}

TEST(UnicodeTest, HalvesOfAPairPartAndJoin) {
  EXPECT_EQ(Slice16("a" + kFace + "b", 1, 1), kHigh);
  EXPECT_EQ(Slice16("a" + kFace + "b", 2, 2), kLow + "b");
  EXPECT_EQ(Slice16(kFace, 0, 2), kFace);

  std::string text = "a" + kHigh;
  AppendText(text, kLow + "b");
  EXPECT_EQ(text, "a" + kFace + "b");
  text = kLow + "-" + kHigh;
  AppendText(text, text);
  EXPECT_EQ(text, kLow + "-" + kFace + "-" + kHigh);
  text = kLow;
  AppendText(text, kHigh);
  EXPECT_EQ(text, kLow + kHigh);

  EXPECT_EQ(FromUtf16(ToUtf16("a" + kFace + kHigh)), "a" + kFace + kHigh);
  EXPECT_EQ(FromUtf16(u"\xD83D\xDE00"), kFace);
}

TEST(UnicodeTest, CleaningReplacesWhatIsNoText) {
  struct Row {
    std::string text, without_surrogates, with_surrogates;
  };
  const Row rows[] = {
      {"plain é " + kFace, "plain é " + kFace, "plain é " + kFace},
      {"a\xFF\x80z", "a" + kBad + kBad + "z", "a" + kBad + kBad + "z"},
      {"\xC0\x80", kBad + kBad, kBad + kBad},  // too long a form of NUL
      {"\xE2\x82", kBad + kBad, kBad + kBad},  // cut off
      {"\xF4\x90\x80\x80", kBad + kBad + kBad + kBad, kBad + kBad + kBad + kBad},
      {kHigh + "x", kHigh + "x", kBad + "x"},
      {kLow + kHigh, kLow + kHigh, kBad + kBad},
      {kHigh + kLow, kHigh + kLow, kFace},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(CleanUtf8(row.text, false), row.without_surrogates);
    EXPECT_EQ(CleanUtf8(row.text, true), row.with_surrogates);
    EXPECT_EQ(IsCleanUtf8(row.text, false), row.text == row.without_surrogates);
    EXPECT_EQ(IsCleanUtf8(row.text, true), row.text == row.with_surrogates);
  }
}

}  // namespace
}  // namespace reasoner
