// The terminal of an engine: its text goes to standard output, what it reads comes from standard
// input. A program that stands in the same input is read from here as well.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "reasoner/engine/Reasoner.h"

namespace console {

class Terminal {
 public:
  static constexpr int kEnd = -1;

  // Serves the engine's events; must outlive its use.
  void Attach(reasoner::TReasoner& engine);

  void Print(const std::string& text);

  // The next byte of the input, or kEnd. What was printed is shown before the input is waited for.
  // Raises EKBInterrupted when Ctrl-C ends the waiting.
  int NextByte(void (*deliver)() = nullptr);
  // Whether there is a next byte, now or soon.
  bool HasByte(int milliseconds) const;
  // Forgets what was typed ahead.
  void DropInput();
  // False at the end of the input. What is left of the line in which the last expression has ended
  // is skipped: it belongs to the program.
  bool ReadLine(std::string& line);
  // The next expression of a program in the input, and where it begins. Nothing behind its last
  // character is waited for. What is not complete at the end of the input is given as it is; false
  // when there is nothing.
  bool ReadExpression(std::string& text, reasoner::TTextPlace& start);

 private:
  int NextOfProgram();
  void PutBackOfProgram(char character);
  void HoldLine();
  void Count(char character);

  std::string buffer_;  // from the input
  std::size_t position_ = 0;

  std::string held_;  // program: what is left of a line in front of lines that were read as data
  std::size_t held_position_ = 0;
  bool in_line_ = false;         // the input has come to the middle of a line of the program
  std::int32_t data_lines_ = 0;  // behind that line
  reasoner::TTextPlace place_{"", 1, 1};  // of the next character of the program
  bool after_return_ = false;             // a line feed belongs to the line end before
};

}  // namespace console
