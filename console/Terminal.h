// The terminal of an engine: its text goes to standard output, what it reads comes from standard
// input.

#pragma once

#include <string>

#include "reasoner/engine/Reasoner.h"

namespace console {

class Terminal {
 public:
  // Serves the engine's events; must outlive its use.
  void Attach(reasoner::TReasoner& engine);
  // From now on there is nothing more to read: the input holds the program.
  void EndInput() noexcept { input_ended_ = true; }

  void Print(const std::string& text);
  // False at the end of the input.
  bool ReadLine(std::string& line);
  std::string ReadAll();

 private:
  bool input_ended_ = false;
};

}  // namespace console
