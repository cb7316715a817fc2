// What goes wrong arrives as an exception: a text that cannot be read, a rule that fails, a run
// that takes too long, a recursion that goes too deep.

#include <chrono>
#include <iostream>
#include <string>
#include <thread>

#include "reasoner/reasoner.h"

using namespace reasoner;

int main() {
  TReasoner engine;

  try {
    engine.Parse("(deftemplate box\n  (slot size)\n  (slit colour))", true);
  } catch (const EKBParseException& failure) {
    std::cout << failure.LineNumber << ":" << failure.Column << ": " << failure.what() << "\n";
  }

  engine.Parse("(defrule add (size ?x) => (assert (sum (+ ?x 1))))", true);
  engine.Assert("(size large)");
  try {
    engine.Run();
  } catch (const EKBException& failure) {
    std::cout << engine.GetFailurePlace().rule << ": " << failure.what() << "\n";
  }

  // The rules run here; a second thread asks them to stop.
  engine.Parse("(defrule forever ?f <- (n ?x) => (retract ?f) (assert (n (+ ?x 1))))", true);
  engine.Assert("(n 1)");
  std::thread watchdog([&engine] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    engine.RequestInterrupt();
  });
  try {
    engine.Run();
  } catch (const EKBInterrupted& failure) {
    std::cout << failure.what() << "\n";
  }
  watchdog.join();

  engine.SetMaxDepth(200);
  engine.Parse("(deffunction down (?n) (down (+ ?n 1)))", true);
  try {
    engine.Parse("(down 1)", true);
  } catch (const EKBException& failure) {
    std::cout << failure.what() << "\n";
  }
}
