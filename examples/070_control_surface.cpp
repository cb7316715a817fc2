// Draws the fan of fan.clp as a surface: for each temperature and humidity the speed that the rules
// settle on, as an SVG on the standard output, from white for idle to blue for full. Another
// controller with the same templates may be given as an argument.

#include <cstdio>
#include <string>

#include "reasoner/engine/FuzzyValues.h"
#include "reasoner/engine/Reasoner.h"

using namespace reasoner;

// The speed for one reading: assert it, let the rules speak, and take the centre of what they say.
static double SpeedFor(TReasoner& engine, int temperature, int humidity) {
  engine.GetFacts().Clear();
  engine.Assert("(reading (temperature " + std::to_string(temperature) + ") (humidity " +
                std::to_string(humidity) + "))");
  engine.Run();
  for (const Ref<IFact>& fact : engine.GetFacts().Snapshot()) {
    if (fact->GetTemplate()->GetTemplateName() != "fan") continue;
    Ref<IFuzzySet> speed;
    GetFuzzySlot(*fact, speed);
    return speed->GetCentreOfGravity();
  }
  return 0;
}

static void DrawSurface(const std::string& controller) {
  constexpr int kCell = 16;
  TReasoner engine;
  engine.LoadFromFile(controller);
  // Every membership counts, or the surface jumps where a rule begins to be heard.
  engine.SetFuzzyEqualsThreshold(0);
  // The rules that print the table are not wanted here.
  for (const char* rule : {"heading", "show", "begin-row", "read-cell", "end-of-table"}) {
    engine.GetRules().Remove(rule);
  }
  std::printf("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 380 390\">\n");
  for (int temperature = 0; temperature <= 40; temperature += 2) {
    for (int humidity = 0; humidity <= 100; humidity += 5) {
      const int shade = static_cast<int>(SpeedFor(engine, temperature, humidity) + 0.5);
      std::printf(
          "<rect x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" fill=\"hsl(215,80%%,%d%%)\"/>\n",
          30 + humidity / 5 * kCell, 350 - temperature / 2 * kCell, kCell, kCell, 100 - shade / 2);
    }
  }
  std::printf("<text x=\"150\" y=\"382\" font-size=\"12\">humidity, %%</text>\n");
  std::printf(
      "<text x=\"18\" y=\"230\" font-size=\"12\" transform=\"rotate(-90 18 230)\">"
      "temperature, C</text>\n");
  std::printf("</svg>\n");
}

int main(int argc, char** argv) {
  try {
    DrawSurface(argc > 1 ? argv[1] : REASONER_EXAMPLES "/fan.clp");
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
