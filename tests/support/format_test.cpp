#include "reasoner/support/Format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "reasoner/support/Exception.h"

namespace reasoner {
namespace {

struct Row {
  const char* format;
  std::vector<FormatArg> args;
  const char* wanted;
};

void ExpectRows(const std::vector<Row>& rows) {
  for (const Row& row : rows) EXPECT_EQ(FormatText(row.format, row.args), row.wanted) << row.format;
}

TEST(FormatTest, TextAndLiterals) {
  ExpectRows({
      {"100%", {}, "100%"},
      {"50%% of %s", {"all"}, "50% of all"},
      {"<%s><%s>", {"a", std::string_view("b")}, "<a><b>"},
      {"<%5s|%-5s>", {"ab", "ab"}, "<   ab|ab   >"},
      {"<%5s>", {"ж😀"}, "<  ж😀>"},
      {"<%.2s>", {"жжж"}, "<жж>"},
      {"%c%c", {'o', 'k'}, "ok"},
  });
}

TEST(FormatTest, Integers) {
  ExpectRows({
      {"%d", {std::numeric_limits<std::int32_t>::min()}, "-2147483648"},
      {"%5d|%-5d|", {42, -42}, "   42|-42  |"},
      {"%8.4d", {-7}, "   -0007"},
      {"%05d", {7}, "    7"},
      {"%u", {-1}, "4294967295"},
      {"%x", {-1}, "FFFFFFFF"},
      {"%.8x", {48879}, "0000BEEF"},
      {"%p", {reinterpret_cast<const void*>(std::uintptr_t{0xABCDEF})}, "0000000000ABCDEF"},
  });
}

TEST(FormatTest, FloatsFixedAndMoney) {
  ExpectRows({
      {"%.0f", {2.5}, "2"},
      {"%8.3f|%-8.1f|", {3.14159, -2.25}, "   3.142|-2.2    |"},
      {"%f", {-0.001}, "0.00"},
      {"%f", {-0.006}, "-0.01"},
      {"%m", {1234567.891}, "1,234,567.89"},
      {"%m", {-123456.0}, "-123,456.00"},
      {"%.0m", {1000.0}, "1,000"},
      {"%f", {std::numeric_limits<double>::infinity()}, "inf"},
      {"%5g", {-std::numeric_limits<double>::infinity()}, " -inf"},
      {"%e", {std::nan("")}, "nan"},
  });
  EXPECT_EQ(FormatText("%.1000f", {0.5}), "0.5" + std::string(999, '0'));
  EXPECT_EQ(FormatText("%f", {1e308}).size(), 309u + 3u);
}

TEST(FormatTest, FloatsScientificAndGeneral) {
  ExpectRows({
      {"%.3e", {1234.5}, "1.23E+003"},
      {"%.1e", {-9.6e-120}, "-1E-119"},
      {"%.2e", {-0.0}, "0.0E+000"},
      {"%12.2e|", {1e300}, "    1.0E+300|"},
      {"%g", {0.0}, "0"},
      {"%g", {-0.0}, "0"},
      {"%g", {1.0 / 3}, "0.333333333333333"},
      {"%g", {-123.456}, "-123.456"},
      {"%g", {0.0000123}, "0.0000123"},
      {"%g", {1.5e-7}, "1.5E-7"},
      {"%g", {123456789012345.0}, "123456789012345"},
      {"%g", {1e15}, "1E15"},
      {"%.3g", {999.6}, "1E3"},
      {"%.3g", {0.00012345}, "0.000123"},
      {"%.1g", {2.6}, "3"},
  });
}

TEST(FormatTest, RaisesForWhatItCannotDo) {
  const std::vector<Row> rows{
      {"%q", {1}, ""},
      {"% d", {1}, ""},
      {"%5", {1}, ""},
      {"%.d", {1}, ""},
      {"%5%", {1}, ""},
      {"%1001d", {1}, ""},
      {"%99999999999999999999d", {1}, ""},
      {"%d", {}, ""},
      {"%s %s", {"x"}, ""},
      {"%d", {1.0}, ""},
      {"%f", {1}, ""},
      {"%s", {1}, ""},
  };
  for (const Row& row : rows) {
    try {
      const std::string text = FormatText(row.format, row.args);
      ADD_FAILURE() << row.format << " gave " << text;
    } catch (const EKBException& failure) {
      EXPECT_EQ(failure.GetMessage(), std::string("Invalid format: ") + row.format);
    }
  }
}

}  // namespace
}  // namespace reasoner
