// Showing what the engine holds, and asking for names. What one call lists goes out at once, every
// line with its end.

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/library/KindFunction.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/Streams.h"

namespace reasoner {
namespace {

constexpr std::string_view kTerminal = "t";

class TAgendaFunction final : public TBuiltinFunction<TAgendaFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "agenda",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Displays the rule activations on the agenda",
      .example = "(agenda)",
      .prelude =
          "(defrule greet (name ?n) => (printout t \"Hello, \" ?n crlf))\n"
          "(assert (name Ada))"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const std::string total =
        TotalLine("for a total of ", engine.GetAgendaCount(), " activations.");
    engine.PrintOut(std::string(kTerminal), AsLines(engine.GetAgenda().ToString()) + total);
    result = FCNil;
  }
};

class TShowFactsFunction final : public TBuiltinFunction<TShowFactsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "facts",
      .syntax =
          " [<start-integer-expression> [<end-integer-expression> [<max-integer-expression>]]]",
      .arguments = Between(0, 3),
      .comment =
          "Displays the facts in the fact list.  Facts with fact indices less than "
          "<start-integer-expression> or greater than <end-integer-expression> are not displayed.  "
          "<max-integer-expression> controls the maximum number of facts that will be listed",
      .example = "(facts)",
      .prelude =
          "(assert (color red))\n"
          "(assert (color green))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    constexpr TFactId kMax = std::numeric_limits<TFactId>::max();
    const TFactId start = Bound(fun_call, 0, context, std::numeric_limits<TFactId>::min());
    const TFactId end = Bound(fun_call, 1, context, kMax);
    const TFactId most = Bound(fun_call, 2, context, kMax);
    std::vector<Ref<IFact>> facts = engine.GetFacts().Snapshot();
    if (fun_call.GetArgumentCount() > 0) KeepRange(facts, start, end, most);
    std::string text;
    for (const Ref<IFact>& fact : facts) {
      text += fact->ToIDString();
      text += NewLineString;
    }
    text += TotalLine("For a total of ", static_cast<std::int64_t>(facts.size()), " facts.");
    engine.PrintOut(std::string(kTerminal), text);
    result = FCTrue;
  }

 private:
  static TFactId Bound(const IFunCall& fun_call, std::int32_t index, TKBContext& context,
                       TFactId none) {
    if (index >= fun_call.GetArgumentCount()) return none;
    const Ref<IKBValue> value = EvaluateArgument(fun_call, index, context);
    return TKBTypes{dtFactId, dtFloat}.Has(value->GetDType()) ? value->GetAsFactId()
                                                              : value->GetAsInteger();
  }

  // Keeps the facts with ids from `start` to `end`, of those the first `most` in the order of their
  // ids.
  static void KeepRange(std::vector<Ref<IFact>>& facts, TFactId start, TFactId end, TFactId most) {
    std::erase_if(facts, [start, end](const Ref<IFact>& fact) {
      return fact->GetID() < start || fact->GetID() > end;
    });
    std::stable_sort(facts.begin(), facts.end(), [](const Ref<IFact>& a, const Ref<IFact>& b) {
      return a->GetID() < b->GetID();
    });
    const auto kept = static_cast<std::size_t>(std::max(most, TFactId{0}));
    if (facts.size() > kept) facts.resize(kept);
  }
};

class TShowRulesFunction final : public TBuiltinFunction<TShowRulesFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "rules",
      .syntax = "[<logical-name>]",
      .arguments = Between(0, 1),
      .comment =
          "Displays the rules in the rule base.  <logical-name> specifies the optional logical "
          "output device to direct the display to",
      .example = "(rules)",
      .prelude = "(defrule greet (name ?n) => (printout t \"Hello, \" ?n crlf))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    std::string out_id(kTerminal);
    if (fun_call.GetArgumentCount() > 0) out_id = TextArgument(fun_call, 0, context).str();
    TRules& rules = engine.GetRules();
    engine.PrintOut(out_id, AsLines(rules.ToString()) +
                                TotalLine("For a total of ", rules.GetCount(), " rules."));
    result = FCTrue;
  }
};

class TSetGenFunction final : public TBuiltinFunction<TSetGenFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "setgen",
      .syntax = " <integer-expression>",
      .arguments = Exactly(1),
      .comment = "Sets the sequence index used by the gensym and gensym* functions",
      .example = "(setgen 100)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    EngineOf(context).SetSymbolIndex(IntegerArgument(fun_call, 0, context));
    result = FCTrue;
  }
};

// What a name can be the name of.
enum TStructKind : std::uint8_t {
  skBinding,
  skDefType,
  skFunction,
  skGlobal,
  skRule,
  skFactSet,
  skTemplate
};

bool IsKnown(TStructKind kind, const Text& name, const TKBContext& context) {
  switch (kind) {
    case skBinding:
      return context.FindBinding(name) != nullptr;
    case skDefType:
      return EngineOf(context).GetDefinedTypes().ContainsKey(name);
    case skFunction:
      return EngineOf(context).GetUserFunctions().ContainsKey(name);
    case skGlobal:
      return EngineOf(context).GetGlobalVariables().ContainsKey(name);
    case skRule:
      return EngineOf(context).GetRules().ContainsKey(name);
    case skFactSet:
      return EngineOf(context).GetFactSets().IndexOf(name) >= 0;
    case skTemplate:
      return EngineOf(context).GetFactTemplates().ContainsKey(name);
  }
  return false;
}

constexpr TFunctionInfo Question(std::string_view name, std::string_view comment,
                                 std::string_view example, std::string_view prelude = {}) {
  return {.name = name,
          .syntax = "<string-expression>",
          .arguments = Exactly(1),
          .comment = comment,
          .example = example,
          .prelude = prelude};
}

// One class for all questions of this form: the name says which registry is asked.
class TIsKBStructFunction final : public TKindFunction<TIsKBStructFunction, TStructKind> {
 public:
  using TKindFunction::TKindFunction;
  static constexpr std::array<TRow, 7> kRows{{
      {skBinding,
       Question("is-binding", "Returns TRUE if the argument is a binding (variable) name",
                "(is-binding x)", "(bind ?x 5)")},
      {skDefType, Question("is-deftype", "Returns TRUE if the argument is a defined type name",
                           "(is-deftype speed)")},
      {skFunction, Question("is-deffunction", "Returns TRUE if the argument is a function name",
                            "(is-deffunction str-cat)")},
      {skGlobal, Question("is-defglobal", "Returns TRUE if the argument is a global variable name",
                          "(is-defglobal *limit*)", "(defglobal ?*limit* = 5)")},
      {skRule,
       Question("is-defrule", "Returns TRUE if the argument is a rule name", "(is-defrule greet)",
                "(defrule greet (name ?n) => (printout t \"Hello, \" ?n crlf))")},
      {skFactSet,
       Question("is-deffacts", "Returns TRUE if the argument is a deffacts (factset) name",
                "(is-deffacts colors)", "(deffacts colors (color red))")},
      {skTemplate, Question("is-deftemplate",
                            "Returns TRUE if the argument is a deftemplate (fact template) name",
                            "(is-deftemplate food)", "(deftemplate food (slot name))")},
  }};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = BooleanValue(IsKnown(GetKind(), TextArgument(fun_call, 0, context), context));
  }
};

}  // namespace

void AddListingFunctions(TUserFunctionList& functions) {
  functions.AddNew<TAgendaFunction, TShowFactsFunction, TShowRulesFunction, TSetGenFunction>();
  AddKinds<TIsKBStructFunction>(functions);
}

}  // namespace reasoner
