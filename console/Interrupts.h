// Ctrl-C at a prompt: it stops what runs, or drops what is being typed, and does not end the
// program.

#pragma once

#include "reasoner/engine/Reasoner.h"

namespace console {

// Takes Ctrl-C over as long as it lives; one at a time.
class InterruptHandler {
 public:
  InterruptHandler();
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
};

// Waits until standard input can be read or has ended. False when Ctrl-C ended the waiting, which
// happens only while there is an InterruptHandler. `deliver`, if not null, is called before each
// wait: a library with signal handlers of its own hands on what these have caught.
bool WaitForInput(void (*deliver)());

// Whether standard input can be read, now or soon.
bool HasInput(int milliseconds);

}  // namespace console
