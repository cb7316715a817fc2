// Constructs by name: listing the names, printing a construct, removing it.

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/library/KindFunction.h"
#include "reasoner/support/Streams.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

// Prints the names in order, a line each, and how many there are, in one piece.
void ListNames(TReasoner& engine, const std::string& out_id, std::vector<std::string> names,
               std::string_view what) {
  std::sort(names.begin(), names.end());
  std::string text;
  for (const std::string& name : names) {
    text += name;
    text += NewLineString;
  }
  text += TotalLine("for a total of ", static_cast<std::int64_t>(names.size()), what);
  engine.PrintOut(out_id, text);
}

const std::string kTerminalName = "t";

// A listing of one registry on the terminal.
template <class TSelf>
class TListFunction : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    ListNames(engine, kTerminalName, TSelf::Names(engine), TSelf::kWhat);
    result = FCNil;
  }
};

class TListRulesFunction final : public TListFunction<TListRulesFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "list-defrules",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Displays the rules defined in the reasoner",
      .example = "(list-defrules)",
      .prelude = "(defrule greet (name ?n) => (printout t \"Hello, \" ?n crlf))"};
  static constexpr std::string_view kWhat = " rules.";
  static std::vector<std::string> Names(TReasoner& engine) { return engine.GetRules().GetNames(); }
};

class TListDefTypesFunction final : public TListFunction<TListDefTypesFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "list-deftypes",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Displays the defined types contained in the reasoner",
      .example = "(list-deftypes)",
      .prelude = "(deftype speed extends (type INTEGER) (range 0 300))"};
  static constexpr std::string_view kWhat = " deftypes.";
  static std::vector<std::string> Names(TReasoner& engine) {
    return engine.GetDefinedTypes().GetNames();
  }
};

class TListFactSetsFunction final : public TListFunction<TListFactSetsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "list-deffacts",
                                       .syntax = "",
                                       .arguments = Exactly(0),
                                       .comment = "Displays the fact sets defined in the reasoner",
                                       .example = "(list-deffacts)",
                                       .prelude = "(deffacts colors (color red))"};
  static constexpr std::string_view kWhat = " deffacts.";
  static std::vector<std::string> Names(TReasoner& engine) {
    std::vector<std::string> names;
    for (const TFactSet* fact_set : engine.GetFactSets().GetItems()) {
      names.push_back(fact_set->GetFactSetName());
    }
    return names;
  }
};

class TListTemplatesFunction final : public TListFunction<TListTemplatesFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "list-deftemplates",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Displays the fact templates defined in the reasoner",
      .example = "(list-deftemplates)",
      .prelude = "(deftemplate food (slot name))"};
  static constexpr std::string_view kWhat = " deftemplates.";
  static std::vector<std::string> Names(TReasoner& engine) {
    return engine.GetFactTemplates().GetNames();
  }
};

class TListFunctionsFunction final : public TBuiltinFunction<TListFunctionsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "list-deffunctions",
      .syntax = "",
      .arguments = Between(0, 1),
      .comment =
          "Displays the functions available in the reasoner.  See the ppdeffunction command to "
          "display help about a function",
      .example = "(readline names)",
      .prelude =
          "(open \"names.txt\" names \"w\")\n"
          "(list-deffunctions names)\n"
          "(close names)\n"
          "(open \"names.txt\" names)"};

  // The argument is a logical name.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    std::string out_id = kTerminalName;
    if (fun_call.GetArgumentCount() > 0) out_id = TextArgument(fun_call, 0, context).str();
    ListNames(engine, out_id, engine.GetUserFunctions().GetNames(), " deffunctions.");
    result = FCNil;
  }
};

enum TVariablesKind : std::uint8_t { vkGlobals, vkBindings };

class TListVariablesFunction final : public TKindFunction<TListVariablesFunction, TVariablesKind> {
 public:
  using TKindFunction::TKindFunction;
  static constexpr std::array<TRow, 2> kRows{{
      {vkGlobals,
       {.name = "list-defglobals",
        .syntax = "",
        .arguments = Exactly(0),
        .comment = "Returns a list of all global variables defined in the reasoner",
        .example = "(list-defglobals)",
        .prelude = "(defglobal ?*limit* = 5)"}},
      {vkBindings,
       {.name = "list-bindings",
        .syntax = "",
        .arguments = Exactly(0),
        .comment =
            "Returns a list of all bindings (or variables) defined in the reasoner, including the "
            "defglobals",
        .example = "(list-bindings)",
        .prelude = "(defglobal ?*limit* = 5)\n"
                   "(bind ?x 1)"}},
  }};

  // A name that is bound in several frames stands as often.
  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    std::vector<std::string> names;
    if (GetKind() == vkGlobals) {
      names = engine.GetGlobalVariables().GetKeys();
    } else {
      for (const TKBContext* frame = &context; frame != nullptr; frame = frame->GetOuter()) {
        for (const auto& binding : frame->GetBindings()) names.push_back(binding->GetName().str());
      }
    }
    ListNames(engine, kTerminalName, std::move(names), " bindings.");
    result = FCNil;
  }
};

// Printing.

enum TPrintKind : std::uint8_t { pkFactSet, pkFunction, pkTemplate, pkRule, pkDefType };

class TPrettyPrintFunction final : public TKindFunction<TPrettyPrintFunction, TPrintKind> {
 public:
  using TKindFunction::TKindFunction;
  static constexpr std::array<TRow, 5> kRows{{
      {pkFactSet,
       {.name = "ppdeffacts",
        .syntax = " <fact-set-name>",
        .arguments = Exactly(1),
        .comment =
            "Displays a formatted representation of the fact set specified by the name, which is "
            "suitable for parsing",
        .example = "(ppdeffacts colors)",
        .prelude = "(deffacts colors (color red) (color green))"}},
      {pkFunction,
       {.name = "ppdeffunction",
        .syntax = " <function-name>",
        .arguments = Exactly(1),
        .comment =
            "Displays a formatted representation of the function specified by the name, which is "
            "suitable for parsing.  See the list-deffunctions command to get a list of all the "
            "functions available",
        .example = "(ppdeffunction abs)"}},
      {pkTemplate,
       {.name = "ppdeftemplate",
        .syntax = " <fact-template-name>",
        .arguments = Exactly(1),
        .comment =
            "Displays a formatted representation of the fact template specified by the name, which "
            "is suitable for parsing",
        .example = "(ppdeftemplate food)",
        .prelude = "(deftemplate food (slot name) (multislot parts))"}},
      {pkRule,
       {.name = "ppdefrule",
        .syntax = " <rulename>",
        .arguments = Exactly(1),
        .comment =
            "Displays a formatted representation of the rule specified by the name, which is "
            "suitable for parsing",
        .example = "(ppdefrule greet)",
        .prelude = "(defrule greet (name ?n) => (printout t \"Hello, \" ?n crlf))"}},
      {pkDefType,
       {.name = "ppdeftype",
        .syntax = " <type-name>",
        .arguments = Exactly(1),
        .comment =
            "Displays a formatted representation of the defined type specified by the name, which "
            "is suitable for parsing",
        .example = "(ppdeftype speed)",
        .prelude = "(deftype speed extends (type INTEGER) (range 0 300))"}},
  }};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text name = TextArgument(fun_call, 0, context);
    result = NewAtom(Print(EngineOf(context), name));
  }

 private:
  std::string Print(TReasoner& engine, const Text& name) const {
    switch (GetKind()) {
      case pkFactSet: {
        const std::int32_t index = engine.GetFactSets().IndexOf(name);
        if (index < 0) Raise(SUnknownName, "fact set", name.view());
        return engine.PrettyPrint(engine.GetFactSets().GetItem(index));
      }
      case pkFunction:
        return PrintItem(engine, engine.GetUserFunctions().Find(name), "user function", name);
      case pkTemplate:
        return PrintItem(engine, engine.GetFactTemplates().Find(name), "fact template", name);
      case pkRule:
        return PrintItem(engine, engine.GetRules().Find(name), "rule", name);
      case pkDefType:
        return PrintItem(engine, engine.GetDefinedTypes().Find(name), "defined type", name);
    }
    return "";
  }

  template <class TItem>
  static std::string PrintItem(TReasoner& engine, const TItem& item, std::string_view what,
                               const Text& name) {
    if (!item) Raise(SUnknownName, what, name.view());
    return engine.PrettyPrint(*item);
  }
};

// Removing.

// Removes the construct of the name that its only argument gives, if there is one.
template <class TSelf>
class TUnDefFunction : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text name = TextArgument(fun_call, 0, context);
    result = BooleanValue(TSelf::Remove(EngineOf(context), name));
  }
};

template <class TRegistryOf>
bool RemoveKnown(TRegistryOf& registry, const Text& name) {
  if (!registry.ContainsKey(name)) return false;
  registry.Remove(name);
  return true;
}

class TUnDefTypeFunction final : public TUnDefFunction<TUnDefTypeFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "undeftype",
      .syntax = "<defined-type-name-expression>",
      .arguments = Exactly(1),
      .comment =
          "Deletes the specified defined type (and dependent fact templates, facts and rules) from "
          "the reasoner",
      .example = "(undeftype speed)",
      .prelude = "(deftype speed extends (type INTEGER) (range 0 300))"};
  static bool Remove(TReasoner& engine, const Text& name) {
    return RemoveKnown(engine.GetDefinedTypes(), name);
  }
};

class TUnDefFactsFunction final : public TUnDefFunction<TUnDefFactsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "undeffacts",
      .syntax = " <fact-set-name>",
      .arguments = Exactly(1),
      .comment = "Deletes the specified fact set from the reasoner",
      .example = "(undeffacts colors)",
      .prelude = "(deffacts colors (color red))"};
  static bool Remove(TReasoner& engine, const Text& name) {
    const std::int32_t index = engine.GetFactSets().IndexOf(name);
    if (index < 0) return false;
    engine.GetFactSets().Remove(engine.GetFactSets().GetItem(index));
    return true;
  }
};

class TUnDefFunctionFunction final : public TUnDefFunction<TUnDefFunctionFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "undeffunction",
      .syntax = " <function-name>",
      .arguments = Exactly(1),
      .comment = "Deletes the specified function from the reasoner",
      .example = "(undeffunction twice)",
      .prelude = "(deffunction twice (?x) (* 2 ?x))"};
  static bool Remove(TReasoner& engine, const Text& name) {
    return RemoveKnown(engine.GetUserFunctions(), name);
  }
};

class TUnDefRuleFunction final : public TUnDefFunction<TUnDefRuleFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "undefrule",
      .syntax = " <rule-name>",
      .arguments = Exactly(1),
      .comment = "Deletes the specified rule from the rule base",
      .example = "(undefrule greet)",
      .prelude = "(defrule greet (name ?n) => (printout t \"Hello, \" ?n crlf))"};
  static bool Remove(TReasoner& engine, const Text& name) { return engine.GetRules().Remove(name); }
};

class TUnDefTemplateFunction final : public TUnDefFunction<TUnDefTemplateFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "undeftemplate",
      .syntax = " <fact-template-name>",
      .arguments = Exactly(1),
      .comment =
          "Deletes the specified fact template (and dependent facts and rules) from the reasoner",
      .example = "(undeftemplate food)",
      .prelude = "(deftemplate food (slot name))"};
  static bool Remove(TReasoner& engine, const Text& name) {
    return RemoveKnown(engine.GetFactTemplates(), name);
  }
};

}  // namespace

void AddConstructFunctions(TUserFunctionList& functions) {
  functions.AddNew<TListRulesFunction, TListDefTypesFunction, TListFactSetsFunction,
                   TListFunctionsFunction, TListTemplatesFunction>();
  AddKinds<TListVariablesFunction>(functions);
  AddKinds<TPrettyPrintFunction>(functions);
  functions.AddNew<TUnDefTypeFunction, TUnDefFactsFunction, TUnDefFunctionFunction,
                   TUnDefRuleFunction, TUnDefTemplateFunction>();
}

}  // namespace reasoner
