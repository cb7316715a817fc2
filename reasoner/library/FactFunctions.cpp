// Asserting, changing, retracting and reading facts.

#include <string>
#include <utility>
#include <vector>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Assertions.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/support/FirstFailure.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

Ref<IFact> RequireFact(const IKBValue& value, TReasoner& engine) {
  const TFactId id = value.GetAsFactId();
  Ref<IFact> fact = engine.GetFacts().GetFactByID(id);
  if (!fact) Raise(SNoSuchFact, IntegerToText(id));
  return fact;
}

class TAssertFunction final : public TBuiltinFunction<TAssertFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "assert",
                                       .syntax = " <fact>*",
                                       .arguments = AtLeast(0),
                                       .comment =
                                           "Asserts or adds each fact argument to the fact list.  "
                                           "The fact index of the last fact added is returned",
                                       .example = "(assert (color red) (color green))"};

  // What is asserted is a clone: the parsed fact is evaluated anew at every call.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    TAssertions assertions(engine);
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      assertions.Add([&] {
        const Ref<IKBValue> value = EvaluateArgument(fun_call, i, context);
        IFact* parsed = value->GetAsFact();
        if (parsed == nullptr) Raise(SNoSuchFact, value->ToString());
        Ref<IFact> fact = OnRegisteredTemplate(parsed->Clone(), engine);
        context.Resolve(*fact);
        return fact;
      });
    }
    const TFactId id = assertions.Finish();
    if (id == -1) {
      result = FCFalse;
    } else {
      result = NewFactId(id);
    }
  }
};

class TAssertStringFunction final : public TBuiltinFunction<TAssertStringFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "assert-string",
      .syntax = " <string-expression>*",
      .arguments = AtLeast(1),
      .comment =
          "Asserts or adds each string argument as a fact to the fact list.  The fact index of the "
          "last fact added is returned",
      .example = "(assert-string \"(color red)\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    TAssertions assertions(engine);
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      assertions.Add([&] {
        Ref<IFact> fact = engine.ParseFact(TextArgument(fun_call, i, context).view());
        engine.GetContext().Resolve(*fact);
        return fact;
      });
    }
    result = NewFactId(assertions.Finish());
  }
};

class TRetractFunction final : public TBuiltinFunction<TRetractFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "retract",
      .syntax = " *|<fact-index>*",
      .arguments = AtLeast(1),
      .comment =
          "Retracts facts specified by their fact indices from the fact base.  If the only "
          "argument is an asterisk (*), all facts are retracted",
      .example = "(retract ?f)",
      .prelude = "(bind ?f (assert (color red)))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    result = FCTrue;
    const Ref<IKBValue> first = EvaluateArgument(fun_call, 0, context);
    if (first->GetDType() == dtAtom && first->TextView() == "*") {
      engine.GetFacts().Clear();
      return;
    }
    // The first argument was looked at for the asterisk only, and is evaluated again as an id.
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      const TFactId id = EvaluateArgument(fun_call, i, context)->GetAsFactId();
      if (const Ref<IFact> fact = engine.GetFacts().GetFactByID(id)) engine.RetractFact(fact);
    }
  }
};

class TRetractStringFunction final : public TBuiltinFunction<TRetractStringFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "retract-string",
      .syntax = " <fact-string>",
      .arguments = AtLeast(0),
      .comment =
          "Retracts facts that equal the string arguments from the fact base.  If duplicate facts "
          "are allowed, only the first fact that matches the string is retracted",
      .example = "(retract-string \"(color red)\")",
      .prelude = "(assert (color red))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      const Text text = TextArgument(fun_call, i, context);
      engine.Retract(text.view());
    }
    result = FCTrue;
  }
};

// The slots that `modify` and `duplicate` are to change, with their new values.
using TSlotChanges = std::vector<std::pair<Text, Ref<IKBValue>>>;

// The items behind the name are one fuzzy expression; in a multislot there may be several.
Ref<IKBValue> NewFuzzyValue(const IValueVector& pair, const IFactSlot& slot, TKBContext& context) {
  Ref<IKBValue> value = pair.GetValueCount() > 1 ? pair.GetItem(1) : Ref<IKBValue>();
  if (pair.GetValueCount() > 2) {
    const Ref<IValueVector> items = NewVector();
    for (std::int32_t i = 1; i < pair.GetValueCount(); ++i) items->Add(pair.GetItem(i));
    value = NewList(items);
  }
  if (!value) value = FCNil;
  return slot.EvalFuzzyValue(EngineOf(context), value, context);
}

// The value of a pair "(name item item ...)" for a slot, in a cell that nobody else has.
Ref<IKBValue> NewSlotValue(const IValueVector& pair, const IFactSlot& slot, TKBContext& context) {
  if (slot.IsFuzzy()) return NewFuzzyValue(pair, slot, context);
  const bool whole_list =
      pair.GetValueCount() >= 2 && pair.GetItem(1) && pair.GetItem(1)->GetDType() == dtList;
  if (slot.IsMulti() && !whole_list) {
    const Ref<IValueVector> items = NewVector();
    for (std::int32_t i = 1; i < pair.GetValueCount(); ++i) items->Add(pair.GetItem(i));
    return NewList(context.ExpandList(*items));
  }
  const Ref<IKBValue> value = EvaluateMember(pair, 1, context);
  Ref<IKBValue> own = value->Clone();
  if (value->GetDType() == dtList) own->SetAsList(context.ExpandList(*value->GetAsList()));
  return own;
}

// Evaluates and checks all pairs of a call before anything is changed: a failure leaves every fact
// as it was.
TSlotChanges EvaluateChanges(const IFunCall& fun_call, const IFactTemplate& fact_template,
                             TKBContext& context) {
  const bool checked = EngineOf(context).GetTypeChecks().Has(tcDynamic);
  TSlotChanges changes;
  for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
    const Ref<IValueVector> pair = ListArgument(fun_call, i, context);
    const Ref<IKBValue> name = pair->First();
    const Text slot_name = name ? name->GetAsString() : Text();
    const Ref<IFactSlot> slot = fact_template.GetSlot(slot_name);
    Ref<IKBValue> value = NewSlotValue(*pair, *slot, context);
    FitNumbers(value, slot->GetSlotType(), HasPlainMeaning(context));
    if (checked && !slot->IsValid(value.get()))
      throw EKBException(slot->GetInvalidValueString(*value));
    changes.emplace_back(slot_name, std::move(value));
  }
  return changes;
}

class TModifyFunction final : public TBuiltinFunction<TModifyFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "modify",
      .syntax = " <fact-index> (<slot-name> <expression>)+",
      .arguments = AtLeast(1),
      .comment =
          "Modifies the fact specified by the fact index.  It assigns new values to the slots of "
          "the facts.  Note that the fact is retracted and then asserted by this function",
      .example = "(modify ?f (days 8))",
      .prelude =
          "(deftemplate food (slot name) (slot days (type INTEGER)))\n"
          "(bind ?f (assert (food (name milk) (days 9))))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const Ref<IKBValue> id = EvaluateArgument(fun_call, 0, context);
    const Ref<IFact> fact = RequireFact(*id, engine);
    const Ref<IFactTemplate> fact_template = fact->GetTemplate();
    const TSlotChanges changes = EvaluateChanges(fun_call, *fact_template, context);
    // What was evaluated may have retracted the fact.
    if (!engine.GetFacts().Lists(*fact)) Raise(SNoSuchFact, IntegerToText(id->GetAsFactId()));
    // Handlers may raise when the fact has been retracted: it comes back changed all the same.
    FirstFailure failures;
    failures.Try([&] { engine.BeginFactModify(fact); });
    if (engine.GetFacts().Lists(*fact)) failures.Raise();
    for (const auto& [name, value] : changes) fact->SetValue(name, value);
    failures.Try([&] { result = NewFactId(engine.EndFactModify(fact)); });
    failures.Raise();
  }
};

class TDuplicateFunction final : public TBuiltinFunction<TDuplicateFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "duplicate",
      .syntax = " <fact-index> (<slot-name> <expression>)*",
      .arguments = AtLeast(2),
      .comment =
          "Asserts a duplicated copy of the fact specified by the "
          "fact index, with one or more slot values changed",
      .example = "(duplicate ?f (name butter))",
      .prelude =
          "(deftemplate food (slot name) (slot days (type INTEGER)))\n"
          "(bind ?f (assert (food (name milk) (days 9))))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const Ref<IFact> fact = RequireFact(*EvaluateArgument(fun_call, 0, context), engine);
    const Ref<IFactTemplate> fact_template = fact->GetTemplate();
    const TSlotChanges changes = EvaluateChanges(fun_call, *fact_template, context);
    const Ref<IFact> copy = fact->Clone();
    copy->SetID(-1);
    for (const auto& [name, value] : changes) copy->SetValue(name, value);
    result = NewFactId(engine.Assert(copy));
  }
};

class TGetSlotValueFunction final : public TBuiltinFunction<TGetSlotValueFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "get-slot-value",
      .syntax = " <fact-id-expression>|<fact-expression> [<slot-name-expression> ]",
      .arguments = Between(1, 2),
      .comment = "Returns the value in the fact slot specified by the <slot-name-expression>",
      .example = "(get-slot-value ?f days)",
      .prelude =
          "(deftemplate food (slot name) (slot days (type INTEGER)))\n"
          "(bind ?f (assert (food (name milk) (days 9))))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IFact> fact = FindFact(*EvaluateArgument(fun_call, 0, context), context);
    Text slot_name = SDefaultSlotName;
    if (fun_call.GetArgumentCount() > 1) slot_name = TextArgument(fun_call, 1, context);
    result = FreshCopy(*fact->GetValue(slot_name));
  }

 private:
  static Ref<IFact> FindFact(const IKBValue& value, const TKBContext& context) {
    Ref<IFact> fact;
    switch (value.GetDType()) {
      case dtInteger:
      case dtFloat:
      case dtFactId:
        fact = EngineOf(context).GetFacts().GetFactByID(value.GetAsFactId());
        break;
      case dtFact:
        fact = value.GetAsFact();
        break;
      default:
        Raise(SInvalidArgType, GetKBTypeName(value.GetDType()),
              SetToString({dtFactId, dtFact}, ", ", false));
    }
    if (!fact) Raise(SNoSuchFact, value.ToString());
    return fact;
  }
};

// The language's setting says whether equal facts are ignored, the engine's whether they are
// allowed.
Ref<IKBValue> IgnoresDuplicates(const TReasoner& engine) {
  return BooleanValue(!engine.GetFactDuplication());
}

class TGetFactDuplicationFunction final : public TBuiltinFunction<TGetFactDuplicationFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "get-fact-duplication",
      .syntax = "",
      .arguments = Exactly(0),
      .comment =
          "Returns the boolean value for the current state of the fact duplication behavior.  If "
          "this function returns FALSE, duplicate facts may be asserted into the fact list.  If "
          "value is TRUE, duplicate facts are ignored",
      .example = "(get-fact-duplication)"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    result = IgnoresDuplicates(EngineOf(context));
  }
};

class TSetFactDuplicationFunction final : public TBuiltinFunction<TSetFactDuplicationFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "set-fact-duplication",
      .syntax = " <boolean-expression>",
      .arguments = Exactly(1),
      .comment =
          "Sets the fact duplication behavior to the <boolean-expression> and returns the previous "
          "value of the behavior.  If fact duplication is set to FALSE, duplicate facts may be "
          "asserted into the fact list.  If fact duplication is set to TRUE, duplicate facts are "
          "ignored",
      .example = "(set-fact-duplication FALSE)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    result = IgnoresDuplicates(engine);
    engine.SetFactDuplication(IsFalse(*EvaluateArgument(fun_call, 0, context)));
  }
};

}  // namespace

void AddFactFunctions(TUserFunctionList& functions) {
  functions.AddNew<TAssertFunction, TAssertStringFunction, TRetractFunction, TRetractStringFunction,
                   TModifyFunction, TDuplicateFunction, TGetSlotValueFunction,
                   TGetFactDuplicationFunction, TSetFactDuplicationFunction>();
}

}  // namespace reasoner
