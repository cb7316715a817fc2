// What the command line of the console says. A new option is a row of the table in the source, with
// what it changes here: recognition, values and usage text come from it.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "reasoner/vocabulary/KBConsts.h"

namespace console {

// A file to load, or a text to parse, in the order given.
struct Source {
  bool is_text;
  std::string value;
};

// A picture of a fuzzy type, drawn when all is loaded and run.
struct Plot {
  std::string type;
  std::string file;
};

struct Options {
  std::vector<Source> sources;
  std::vector<Plot> plots;
  int (*instead)() = nullptr;  // of all else; gives the exit status
  bool run = false;
  bool textbook = true;
  bool strict = false;
  std::int32_t limit = 2147483647;
  reasoner::TSearchStrategy strategy = reasoner::ssDepthFirst;
  reasoner::TConstructWatches watch;
};

// Raises std::invalid_argument with a message for a command line that cannot be followed.
Options ReadOptions(const std::vector<std::string>& arguments);

}  // namespace console
