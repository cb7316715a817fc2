// A picture of fuzzy sets as SVG: each set a line in a colour and a dash of its own, with a legend,
// and axes with ticks and units.
//
// The same sets and options give the same text, byte for byte, on every machine. Names are escaped,
// so that any text may stand in them. The picture needs no fonts or files of its own.

#pragma once

#include <optional>
#include <span>
#include <string>

#include "reasoner/support/membership/FuzzyVariable.h"

namespace reasoner {

struct FuzzyPictureOptions {
  std::string title{};  // empty for the variable's name
  std::string units{};  // under the x axis; empty for the variable's units
  // Of x; else the variable's universe, or where the sets have points.
  std::optional<Interval> range{};
  // A crisp value to mark with a vertical line, such as what a defuzzifier gives.
  std::optional<double> mark{};
  int width = 640;  // pixels, 200 to 10,000
  int height = 360;
};

// The terms of a variable; the automatic ones only where there are no others.
std::string FuzzyPicture(const IFuzzyVariable& variable, const FuzzyPictureOptions& options = {});
// Any sets; the first one's variable gives what the options leave open.
std::string FuzzyPicture(std::span<const Ref<IFuzzySet>> sets,
                         const FuzzyPictureOptions& options = {});
std::string FuzzyPicture(const IFuzzySet& set, const FuzzyPictureOptions& options = {});

}  // namespace reasoner
