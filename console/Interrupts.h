// Ctrl-C. At a prompt it stops what runs, or drops what is being typed, and does not end the
// program. Without a prompt it ends the program: a run between two firings, a wait for input and
// anything else at once. The second one stops a run inside the firing, and the third one ends the
// process, whatever it does.

#pragma once

#include "reasoner/engine/Reasoner.h"

namespace console {

// Takes Ctrl-C over as long as it lives; one at a time. Without a prompt a Ctrl-C that was ignored
// when the program began goes on being ignored.
class InterruptHandler {
 public:
  enum TUse { kPrompt, kNoPrompt };

  explicit InterruptHandler(TUse use);
  ~InterruptHandler();
  InterruptHandler(const InterruptHandler&) = delete;
  InterruptHandler& operator=(const InterruptHandler&) = delete;
};

// As long as it lives, Ctrl-C asks this engine to stop. One at a time.
class Evaluation {
 public:
  explicit Evaluation(reasoner::TReasoner& engine);
  ~Evaluation();
  Evaluation(const Evaluation&) = delete;
  Evaluation& operator=(const Evaluation&) = delete;

  // Raises EKBInterrupted if there was a Ctrl-C since this began: one that has come between two
  // operations of the engine has stopped neither.
  void RaiseIfInterrupted() const;

 private:
  reasoner::TReasoner& engine_;
};

// Waits until standard input can be read or has ended. False when Ctrl-C ended the waiting, which
// happens only while there is an InterruptHandler. `deliver`, if not null, is called before each
// wait: a library with signal handlers of its own hands on what these have caught.
bool WaitForInput(void (*deliver)());

// Whether standard input can be read, now or soon.
bool HasInput(int milliseconds);

}  // namespace console
