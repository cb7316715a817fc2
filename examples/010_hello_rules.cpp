// The smallest host: a rule, a fact, a run.

#include <cstdio>
#include <string>

#include "reasoner/reasoner.h"

int main() {
  reasoner::TReasoner engine;
  engine.OnPrintOut = [](auto&, const std::string&, const std::string& text) {
    std::fputs(text.c_str(), stdout);
  };
  engine.Parse("(defrule greet (guest ?name) => (printout t \"Hello, \" ?name \"!\" crlf))", true);
  engine.Assert("(guest Ada)");
  engine.Run();
}
