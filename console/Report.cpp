#include "console/Report.h"

#include <cstdio>
#include <string>

#include "reasoner/support/Numbers.h"

namespace console {

using namespace reasoner;

// "FILE:LINE:COLUMN" as far as these are known.
static std::string DescribePlace(const TTextPlace& place) {
  std::string text = place.file;
  for (const std::int32_t number : {place.line, place.line > 0 ? place.column : 0}) {
    if (number <= 0) break;
    if (!text.empty()) text += ":";
    text += IntegerToText(number);
  }
  return text;
}

void Report(const TReasoner& engine, const std::exception& failure) {
  const TFailurePlace& place = engine.GetFailurePlace();
  std::string text = DescribePlace(place);
  if (!text.empty()) text += ": ";
  if (!place.rule.empty()) text += "rule " + place.rule + ": ";
  text += failure.what();
  for (const TTextPlace& outer : place.loaded_from)
    text += "\n   loaded at " + DescribePlace(outer);
  std::fflush(stdout);
  std::fprintf(stderr, "%s\n", text.c_str());
}

}  // namespace console
