// What a piece of code fails with, as text, so that tests can compare it.

#pragma once

#include <exception>
#include <string>

namespace reasoner {

// The message of the failure, or nothing when there is none.
template <class TOperation>
std::string FailureOf(TOperation operation) {
  try {
    operation();
  } catch (const std::exception& failure) {
    return failure.what();
  }
  return "";
}

}  // namespace reasoner
