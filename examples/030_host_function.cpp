// A function of the host's own that rules call, and facts made and read through the classes.

#include <cstdint>
#include <iostream>
#include <string>

#include "reasoner/reasoner.h"

using namespace reasoner;

static const char* const kRules = R"(
  (deftemplate parcel (slot id) (slot grams (type INTEGER)) (slot fee (type FLOAT)))

  (defrule weigh
    ?parcel <- (parcel (id ?id) (grams ?grams) (fee 0.0))
    =>
    (modify ?parcel (fee (fee-for ?grams))))
)";

int main() {
  TReasoner engine;

  // The function lives as long as this object; calls evaluate their arguments when they ask.
  TUserFunction fee_for;
  fee_for.SetFunctionName("fee-for");
  fee_for.SetMinArgumentCount(1);
  fee_for.SetMaxArgumentCount(1);
  fee_for.OnCall = [](TObject&, const IFunCall& call, TKBContext& context, Ref<IKBValue>& result) {
    const std::int32_t grams = call.GetArgument(0)->Resolve(&context)->GetAsInteger();
    result = NewFloat(grams <= 1000 ? 4.5 : 7.25);
  };
  fee_for.SetEngine(&engine);

  engine.Parse(kRules, true);
  engine.Reset();
  for (const std::int32_t grams : {250, 4000}) {
    const Ref<IFact> parcel = Make<TFact>(engine.FindFactTemplate("parcel"));
    parcel->SetValue("id", NewString("P" + std::to_string(grams)));
    parcel->SetValue("grams", NewInteger(grams));
    engine.Assert(parcel);
  }
  engine.Run();

  for (const Ref<IFact>& fact : engine.GetFacts().Snapshot()) {
    if (fact->GetTemplate()->GetTemplateName() != "parcel") continue;
    std::cout << fact->GetValue("id")->GetAsString().str() << " costs "
              << fact->GetValue("fee")->GetAsFloat() << "\n";
  }
}
