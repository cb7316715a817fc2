// What a host lends to rules: functions on two engines, objects with properties, dialogs.

#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "reasoner/reasoner.h"

using namespace reasoner;

// A class of the host's own; the engine asks nothing of it.
struct Lamp {
  enum Color { red, white };
  std::string room;
  std::int32_t watts = 60;
  bool is_on = false;
  Color color = white;
};

// Answers the dialogs of both engines.
class Butler final : public IDialogs {
 public:
  void ShowMessage(const std::string& text) override { std::cout << "[" << text << "]\n"; }
  std::optional<std::string> Ask(const std::string&, const std::string& prompt,
                                 const std::string&) override {
    std::cout << "[" << prompt << "? 40]\n";
    return "40";
  }
  TMsgDlgBtn Choose(const std::string& text, TMsgDlgType, TMsgDlgButtons, std::int32_t) override {
    std::cout << "[" << text << " Yes]\n";
    return mbYes;
  }
};

static void RegisterLamps(TReasoner& engine) {
  engine.GetObjects()
      .Register<Lamp>("Lamp")
      .Factory([] { return std::make_unique<Lamp>(); })
      .Field("room", &Lamp::room)
      .Field("watts", &Lamp::watts)
      .Property(
          "on", [](const Lamp& lamp) { return lamp.is_on; },
          [](Lamp& lamp, bool on) { lamp.is_on = on; })
      .Enumeration(
          "color", {"red", "white"}, [](const Lamp& lamp) { return lamp.color; },
          [](Lamp& lamp, Lamp::Color color) { lamp.color = color; });
}

static const char* const kRules = R"(
  (deftemplate fitting (slot lamp))

  (defrule evening
    (dark)
    (fitting (lamp ?lamp))
    =>
    (if (eq (message-dlg "Light up?" mtConfirmation "[mbYes, mbNo]") mrYes)
     then (set-property ?lamp on TRUE)
          (set-property ?lamp watts (input-box "Lamp" "Watts" "60"))
          (set-property ?lamp color red)
          (show-message (str-cat "cost: " (cost-of (get-property ?lamp watts))))))
)";

int main() {
  TReasoner house;
  TReasoner garden;
  Butler butler;

  // One package serves both engines.
  TUserPackage tariff;
  tariff.OnCreateFunctions = [](TUserPackage& package) {
    auto cost_of = std::make_unique<TUserFunction>(&package);
    cost_of->SetFunctionName("cost-of");
    cost_of->SetMinArgumentCount(1);
    cost_of->OnCall = [](TObject&, const IFunCall& call, TKBContext& context,
                         Ref<IKBValue>& result) {
      result = NewFloat(0.25 * call.GetArgument(0)->Resolve(&context)->GetAsNumeric());
    };
    package.GetFunctions().Add(cost_of.release()->GetFunction());  // the package owns the component
  };
  tariff.Rebuild();

  const auto hall = std::make_shared<Lamp>();
  hall->room = "hall";
  for (TReasoner* engine : {&house, &garden}) {
    tariff.AddReasoner(*engine);
    engine->SetDialogs(&butler);
    RegisterLamps(*engine);
    engine->OnPrintOut = [](TReasoner&, const std::string&, const std::string& text) {
      std::cout << text;
    };
  }

  // The house is lent a lamp of the host's.
  house.Parse(kRules, true);
  const Ref<IFact> fitting = Make<TFact>(house.FindFactTemplate("fitting"));
  fitting->SetValue("lamp", house.GetObjects().Share(hall));
  house.Assert(fitting);
  house.Assert("(dark)");
  house.Run();
  std::cout << hall->room << ": " << hall->watts << " watts, " << (hall->is_on ? "on" : "off")
            << ", " << (hall->color == Lamp::red ? "red" : "white") << "\n";

  // The garden makes one for itself.
  garden.Parse(R"(
    (bind ?lamp (create-object (get-class "lamp")))
    (set-property ?lamp room "garden")
    (printout t (get-property ?lamp room) ": " (cost-of (get-property ?lamp watts)) crlf)
    (free-object ?lamp)
    (printout t "gone: " (get-properties ?lamp) crlf))",
               true);
}
