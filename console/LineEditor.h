// Lines that are typed at a prompt: edited, with a history and completion of names, where the
// library for it was there when the program was built; else as the terminal gives them.

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "console/Terminal.h"

namespace console {

class LineEditor {
 public:
  // The names that a word may be the start of.
  using Completion = std::function<std::vector<std::string>(const std::string& start)>;

  // One at a time. The history comes from the user's home folder, and goes back there in the end.
  LineEditor(Terminal& terminal, Completion completion);
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  enum TOutcome : unsigned char {
    kLine,
    kEnd,         // of the input
    kInterrupted  // Ctrl-C: what was typed is gone
  };
  // The cursor stands at the start of a screen line afterwards.
  TOutcome ReadLine(const std::string& prompt, std::string& line);

 private:
  Terminal& terminal_;
  [[maybe_unused]] std::string history_file_;
};

}  // namespace console
