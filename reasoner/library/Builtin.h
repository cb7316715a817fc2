// Not for hosts: what the built-in functions have in common.
//
// A built-in function stands whole in one place: its words for help, listing and completion in a
// constant `kInfo`, then its work in `Call`. Nothing is evaluated before it asks: the argument
// helpers below evaluate one argument of the call in the caller's frame and read the value as what
// is wanted, with the cell's own failure when it is something else.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "reasoner/functions/Context.h"
#include "reasoner/functions/FunctionCall.h"
#include "reasoner/functions/UserFunction.h"
#include "reasoner/values/Constants.h"

namespace reasoner {

struct TArgumentCount {
  std::int32_t min;
  std::int32_t max;
};

consteval TArgumentCount Exactly(std::int32_t count) { return {count, count}; }
consteval TArgumentCount AtLeast(std::int32_t count) { return {count, kNoArgumentLimit}; }
consteval TArgumentCount Between(std::int32_t min, std::int32_t max) {
  if (min > max) throw "bounds are crossed";  // no constant expression: fails at compile time
  return {min, max};
}

struct TFunctionInfo {
  std::string_view name;
  std::string_view syntax;  // arguments as the help shows them, each as "<name>"
  TArgumentCount arguments;
  std::string_view comment;
  // For the function reference: a call that shows what the function does, and what must have been
  // read before it.
  std::string_view example = {};
  std::string_view prelude = {};
};

class TDescribedFunction : public TKBUserFunction {
 public:
  std::string_view GetExample() const override { return example_; }
  std::string_view GetExamplePrelude() const override { return prelude_; }

 protected:
  // Takes over all words of a function that no engine knows yet.
  void Describe(const TFunctionInfo& info);

  std::string_view example_;  // these two live as long as the program
  std::string_view prelude_;
};

// The base of all built-in functions of one name: takes the words from `kInfo` of the class.
template <class TSelf>
class TBuiltinFunction : public TDescribedFunction {
 public:
  void InitMetaData() override { Describe(TSelf::kInfo); }
};

// The engine that the call runs in. Raises "Unknown/Undefined Reasoner" for a frame without one.
TReasoner& EngineOf(const TKBContext& context);

// Whether the call runs in an engine with the plain meaning, see TReasoner::SetTextbookSemantics.
inline bool HasPlainMeaning(const TKBContext& context) {
  const IReasoner* engine = context.GetEngine();
  return engine == nullptr || engine->GetLink()->textbook_semantics;
}

// An argument evaluated; never null.
inline Ref<IKBValue> EvaluateArgument(const IFunCall& fun_call, std::int32_t index,
                                      TKBContext& context) {
  const Ref<IKBValue>& argument = fun_call.GetArgument(index);
  if (!argument) return FCNil;
  return argument->Resolve(&context);
}

// An argument evaluated, and read.
double NumericArgument(const IFunCall& fun_call, std::int32_t index, TKBContext& context);
std::int32_t IntegerArgument(const IFunCall& fun_call, std::int32_t index, TKBContext& context);
Text TextArgument(const IFunCall& fun_call, std::int32_t index, TKBContext& context);
Ref<IValueVector> ListArgument(const IFunCall& fun_call, std::int32_t index, TKBContext& context);

// An argument as it is written, not evaluated.
const IKBValue& WrittenArgument(const IFunCall& fun_call, std::int32_t index);

// A member of a list evaluated; a list may hold null, which counts as nil.
Ref<IKBValue> EvaluateMember(const IValueVector& list, std::int32_t index, TKBContext& context);

// A fact that was parsed before its template was defined anew moves to the registered one. Raises
// "Unknown fact template: %s" when there is none, and for a slot that is gone.
Ref<IFact> OnRegisteredTemplate(const Ref<IFact>& fact, TReasoner& engine);

// A cell that is its holder's alone; a list has its own vector.
Ref<IKBValue> FreshCopy(const IKBValue& value);

// `text` with a line break at its end, unless it is empty.
std::string AsLines(std::string text);
// The closing line of a listing.
std::string TotalLine(std::string_view beginning, std::int64_t count, std::string_view what);

}  // namespace reasoner
