// Text at the borders of the language.

#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class LanguageEdgeCasesTest : public EngineTest {};

// A name that the system makes up is never one that the rule's text already uses.
TEST_F(LanguageEdgeCasesTest, WildcardsAreNoVariablesOfTheRule) {
  for (const std::string pattern : {"(b ?)", "(b $?)", "(b =(+ 1 1))", "(b 2|3)"}) {
    for (const std::string prefix : {"_blank_", "_blank_$", "_eq_"}) {
      engine.Clear();
      std::string rule = "(defrule r (a";
      // One of these is the next name.
      for (std::int32_t i = 0; i < 9; ++i) {
        rule += " ?" + prefix + std::to_string(engine.GetSymbolIndex() + i);
      }
      Load(rule + ") " + pattern +
           " => (printout t matched)) (assert (a 9 8 7 6 5 4 3 1 0) (b 2))");
      engine.Run();
      EXPECT_EQ(TakeOutput(), "matched") << rule << ") " << pattern;
    }
  }
}

}  // namespace
}  // namespace reasoner
