// EKBParseException: a failure of reading rule-language text, with its place.

#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "reasoner/support/Exception.h"

namespace reasoner {

class EKBParseException : public EKBException {
 public:
  using EKBException::EKBException;
  EKBParseException(std::string message, std::string file, std::int32_t line, std::int32_t column)
      : EKBException(std::move(message)), File(std::move(file)), LineNumber(line), Column(column) {}

  std::string File;             // empty when the text is from no file
  std::int32_t LineNumber = 0;  // from 1; 0 when unknown
  std::int32_t Column = 0;      // in characters from 1; 0 when unknown
  std::vector<std::string> Expected;
};

// A host asked for the end of what was running. `try` of the language passes it on.
class EKBInterrupted : public EKBException {
 public:
  using EKBException::EKBException;
};

}  // namespace reasoner
