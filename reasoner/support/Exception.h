// The exception classes of the library.
//
//   std::exception
//   ├── Exception            message may grow while it passes upward (AppendMessage)
//   │   └── EKitException    failures of the support layer
//   │       └── EKBException failures of the engine: a text from vocabulary/Messages.h
//   │           └── EKBParseException (vocabulary/KBExceptions.h)
//   └── EAbort               silent: raised by `exit`, ends a run or a parse without being an error
//
// Exceptions are the only error channel. What has to be put back is held by a guard object.

#pragma once

#include <exception>
#include <string>
#include <utility>

namespace reasoner {

class Exception : public std::exception {
 public:
  explicit Exception(std::string message) : message_(std::move(message)) {}

  const char* what() const noexcept override { return message_.c_str(); }
  const std::string& GetMessage() const noexcept { return message_; }

  // Adds to the message while the exception is under way, so that each layer can tell where it
  // passed.
  void AppendMessage(const std::string& text) { message_ += text; }

 private:
  std::string message_;
};

class EKitException : public Exception {
 public:
  using Exception::Exception;
};

class EKBException : public EKitException {
 public:
  using EKitException::EKitException;
};

// Ends what is going on without being a failure. It is no `Exception`, so that handlers of failures
// let it pass.
class EAbort : public std::exception {
 public:
  const char* what() const noexcept override { return "Operation aborted"; }
};

}  // namespace reasoner
