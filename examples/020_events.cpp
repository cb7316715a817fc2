// A host that watches the engine at work: what is printed, which facts come, which rules fire.

#include <cstdint>
#include <iostream>
#include <string>

#include "reasoner/reasoner.h"

using namespace reasoner;

static const char* const kRules = R"(
  (deftemplate reading (slot room) (slot degrees (type NUMBER)))

  (defrule too-warm
    (reading (room ?room) (degrees ?degrees&:(> ?degrees 26)))
    =>
    (assert (open-window ?room)))

  (defrule tell
    (open-window ?room)
    =>
    (printout t "Open the window of the " ?room "." crlf))
)";

int main() try {
  TReasoner engine;
  engine.OnPrintOut = [](TReasoner&, const std::string&, const std::string& text) {
    std::cout << text;
  };
  engine.OnAssertion = [](TReasoner&, const Ref<IFact>& fact) {
    std::cout << "came:  " << fact->ToString() << "\n";
  };
  engine.OnAddActivation = [](TReasoner&, std::int32_t index, TActivation& activation) {
    std::cout << "ready: " << activation.GetRule().GetRuleName() << " at " << index << "\n";
  };
  engine.OnRuleFired = [](TReasoner&, TRule& rule) {
    std::cout << "fired: " << rule.GetRuleName() << "\n";
  };

  // A listener hears behind the slot, as long as its subscription is there.
  const Subscription listener =
      engine.OnRetraction.Subscribe([](TReasoner&, const Ref<IFact>& fact) {
        std::cout << "goes:  " << fact->ToString() << "\n";
      });

  engine.Parse(kRules, true);
  engine.Reset();
  engine.Assert("(reading (room kitchen) (degrees 28.5))");
  engine.Assert("(reading (room hall) (degrees 19))");
  std::cout << engine.Run() << " rules fired\n";
  engine.Retract("(reading (room hall) (degrees 19))");
} catch (const EKBParseException& failure) {
  std::cerr << "line " << failure.LineNumber << ": " << failure.what() << "\n";
  return 1;
}
