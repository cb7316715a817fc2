// Runs a program as a user would and keeps what it says.

#pragma once

#include <string>
#include <vector>

namespace console_test {

struct TRunResult {
  int status = 0;  // the exit status; -1 when the program was ended by a signal
  std::string output;
  std::string errors;
};

// Runs `arguments[0]` with the others as its arguments and `input` as its standard input.
TRunResult RunProgram(const std::vector<std::string>& arguments, const std::string& input = "");

std::string ReadWholeFile(const std::string& path);

}  // namespace console_test
