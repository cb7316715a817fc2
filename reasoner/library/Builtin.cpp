#include "reasoner/library/Builtin.h"

#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/Streams.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void TDescribedFunction::Describe(const TFunctionInfo& info) {
  function_name_ = info.name;
  argument_string_ = info.syntax;
  comment_ = info.comment;
  min_arguments_ = info.arguments.min;
  max_arguments_ = info.arguments.max;
  example_ = info.example;
  prelude_ = info.prelude;
}

TReasoner& EngineOf(const TKBContext& context) {
  if (context.GetEngine() == nullptr) Raise(SUnknownEngine);
  return static_cast<TReasoner&>(*context.GetEngine());
}

double NumericArgument(const IFunCall& fun_call, std::int32_t index, TKBContext& context) {
  return EvaluateArgument(fun_call, index, context)->GetAsNumeric();
}

std::int32_t IntegerArgument(const IFunCall& fun_call, std::int32_t index, TKBContext& context) {
  return EvaluateArgument(fun_call, index, context)->GetAsInteger();
}

Text TextArgument(const IFunCall& fun_call, std::int32_t index, TKBContext& context) {
  return EvaluateArgument(fun_call, index, context)->GetAsString();
}

Ref<IValueVector> ListArgument(const IFunCall& fun_call, std::int32_t index, TKBContext& context) {
  const Ref<IKBValue> value = EvaluateArgument(fun_call, index, context);
  return Ref<IValueVector>(value->GetAsList());
}

const IKBValue& WrittenArgument(const IFunCall& fun_call, std::int32_t index) {
  const Ref<IKBValue>& argument = fun_call.GetArgument(index);
  return argument ? *argument : *FCNil;
}

Ref<IKBValue> EvaluateMember(const IValueVector& list, std::int32_t index, TKBContext& context) {
  const Ref<IKBValue> member = list.GetItem(index);  // what is evaluated may change the list
  if (!member) return FCNil;
  return member->Resolve(&context);
}

Ref<IFact> OnRegisteredTemplate(const Ref<IFact>& fact, TReasoner& engine) {
  const Ref<IFactTemplate> written = fact->GetTemplate();
  if (!written) Raise(SNoTemplate);
  const Ref<IFactTemplate> registered = engine.FindFactTemplate(written->GetTemplateName());
  if (registered == written) return fact;
  if (!registered) Raise(SUnknownFactTemplate, written->GetTemplateName());
  const Ref<IFact> moved = Make<TFact>(registered);
  for (const Text& name : fact->GetSlotNames()) moved->SetValue(name, fact->GetValue(name));
  return moved;
}

Ref<IKBValue> FreshCopy(const IKBValue& value) {
  Ref<IKBValue> copy = value.Clone();
  if (value.GetDType() == dtList) copy->SetAsList(value.GetAsList()->Clone());
  return copy;
}

std::string TotalLine(std::string_view beginning, std::int64_t count, std::string_view what) {
  std::string line(beginning);
  line += IntegerToText(count);
  line += what;
  line += NewLineString;
  return line;
}

std::string AsLines(std::string text) {
  if (!text.empty() && !text.ends_with(NewLineString)) text += NewLineString;
  return text;
}

}  // namespace reasoner
