// Values, variables and calls.

#include "reasoner/functions/Context.h"
#include "reasoner/language/ClipsParser.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void TKBClipsParser::FitToTypes(Ref<IKBValue>& value, TKBTypes types) const {
  FitNumbers(value, types, HasPlainMeaning());
}

Ref<IKBValue> TKBClipsParser::ResolveToken(const IStreamToken& token) {
  return engine_.ResolveInContext(token.Value());
}

Ref<IKBValue> TKBClipsParser::ParseCallValue() { return NewFunCallValue(ParseFunCall()); }

// The value that begins with this parenthesis: a list of points or a call.
Ref<IKBValue> TKBClipsParser::ParseOpened(const Ref<IStreamToken>& open) {
  const bool is_points = NextIs('(');
  PutBack(open);
  if (!is_points) return ParseCallValue();
  Ref<IKBValue> value = Make<TKBValue>();
  value->SetAsSingletons(ParseSingletons());
  return value;
}

Ref<IKBValue> TKBClipsParser::ParseCallAfterEqualSign(std::string_view location) {
  if (!NextIs('(')) {
    Next();  // so that the message shows it
    ParseError(location, SAtomNotEquals);
  }
  return ParseCallValue();
}

// A member of a list; null for a token that is no value.
Ref<IKBValue> TKBClipsParser::ParseListedValue(const Ref<IStreamToken>& token) {
  if (token->IsPlainValue()) return token->Value();
  if (token->Is('[') || token->Is(']')) return NewAtom(token->GetText());
  if (token->Is('(')) return ParseOpened(token);
  return nullptr;
}

Ref<IKBValue> TKBClipsParser::ParseValue() {
  Ref<IKBValue> value;
  Ref<IValueVector> list;
  Ref<IStreamToken> token = Next();
  while (!token->IsEnd() && !token->Is(')')) {
    if (value) {
      if (!list) list = NewVector();
      list->Add(std::exchange(value, nullptr));
    }
    value = ParseListedValue(token);
    if (!value) {
      if (!list) ParseError("ParseValue", SBadArgument, token->ToString());
      break;
    }
    token = Next();
  }
  PutBack(token);
  if (!list) return value;
  if (value) list->Add(value);
  return NewList(list);
}

Ref<IValueVector> TKBClipsParser::ParseList() {
  const Ref<IValueVector> list = NewVector();
  Ref<IStreamToken> token = Next();
  for (; !token->IsEnd() && !token->Is(')'); token = Next()) {
    Ref<IKBValue> value =
        token->Is('=') ? ParseCallAfterEqualSign("ParseList") : ParseListedValue(token);
    if (!value) ParseError("ParseList", SBadSlotValue, token->ToString());
    list->Add(value);
  }
  PutBack(token);
  return list;
}

// The value as it is written, before it is checked.
Ref<IKBValue> TKBClipsParser::ParseSlotValue(TKBTypes types) {
  if (types.Has(dtMultiSlot)) return NewList(ParseList());
  const Ref<IStreamToken> token = Next();
  if (token->IsPlainValue()) return token->Value();
  if (token->Is('=')) return ParseCallAfterEqualSign("ParseValue");
  if (!token->Is('(')) ParseError("ParseValue", SBadSlotValue, token->ToString());
  PutBack(token);
  return ParseCallValue();
}

void TKBClipsParser::CheckValue(Ref<IKBValue>& value, TKBTypes types,
                                const IKBDefinedType* defined_type) {
  if (value == FCNil || value == FCNilList) return;
  if (KBAlwaysValidTypes.Has(value->GetDType())) return;
  static constexpr std::string_view kLocation = "ParseValue(SlotTypes)";
  FitToTypes(value, types);
  if (defined_type != nullptr) {
    if (!defined_type->IsValid(*value)) {
      ParseError(kLocation, std::string_view(defined_type->GetInvalidValueString(*value)));
    }
    return;
  }
  const TKBType type = value->GetDType();
  if (types.Has(type)) return;
  // In the literal meaning the fraction is cut off.
  if (type == dtFloat && types.Has(dtInteger) && !HasPlainMeaning()) {
    value = NewInteger(value->GetAsInteger());
    return;
  }
  const std::string reason = FillMessage(SNotCorrectType, UpperTypeNames(types, ", "),
                                         value->ToString(), GetKBTypeName(type));
  ParseError(kLocation, SInvalidSlotValue, reason, "ParseValue");
}

Ref<IKBValue> TKBClipsParser::ParseValue(TKBTypes types, const Ref<IKBDefinedType>& defined_type) {
  Ref<IKBValue> value =
      types.Has(dtFuzzy) ? ParseFuzzyValue(types, defined_type.get()) : ParseSlotValue(types);
  if (StaticChecks) CheckValue(value, types, defined_type.get());
  return value;
}

Ref<IKBValue> TKBClipsParser::ParseValue(const IFactSlot& slot) {
  const Ref<const IFactSlot> kept(&slot);  // a call that runs meanwhile may redefine the template
  Ref<IKBValue> value = ParseValue(slot.GetSlotType(), slot.GetExtendedTypeInfo());
  if (StaticChecks && !slot.IsValid(value.get())) {
    ParseError("ParseValue(Fact Slot)", std::string_view(slot.GetInvalidValueString(*value)));
  }
  return value;
}

Ref<IValueVector> TKBClipsParser::ParseValuePair() {
  const Ref<IStreamToken> open = Next();
  const Ref<IStreamToken> name = Next();
  if (!open->Is('(') || !name->Is(dtAtom)) ParseError("ParseValuePair", SExpectedAtom);
  const Ref<IValueVector> pair = NewVector();
  pair->Add(NewAtom(name->GetText()));
  const Ref<IKBValue> value = ParseValue();
  if (!value) ParseError("ParseValuePair", SExpectedValue);
  pair->Add(value);
  Expect(')', "ParseValuePair");
  return pair;
}

// Calls.

Ref<IFunCall> TKBClipsParser::ParseFunCall() {
  const ImpliedGuard implied(*this);
  const NestingGuard guard(*this, "ParseFunCall");
  const Ref<IStreamToken> open = Next();
  if (!open->Is('(')) ParseError("ParseFunCall", SMissingOpenParens);
  const Ref<IStreamToken> name = Next();
  Ref<IFunCall> fun_call;
  if (name->Is(dtAtom) || name->Is('=')) {
    fun_call = Make<TFunctionCall>(&engine_, name->GetText());
  } else if (name->Is(dtVariable) || name->Is(dtMultiVariable)) {
    fun_call = Make<TFunctionCall>(&engine_, "__get-var");
    fun_call->AddArgument(name->Value());
  } else {
    ParseError("ParseFunCall", SMissingName);
  }
  const std::string_view comment = Trim(open->GetWhitespace());
  if (!comment.empty()) fun_call->SetComment(comment);
  // A copy: a handler may add functions to the table meanwhile.
  const TSlotFunction* const entry = FindSlotFunction(fun_call->GetName());
  const TSlotFunction slot_function = entry == nullptr ? TSlotFunction{} : *entry;
  for (Ref<IStreamToken> token = Next(); !token->Is(')'); token = Next()) {
    ParseArgument(*fun_call, token, entry == nullptr ? nullptr : &slot_function);
  }
  OnParseFunCall(*this, fun_call);
  return fun_call;
}

void TKBClipsParser::ParseArgument(IFunCall& fun_call, const Ref<IStreamToken>& token,
                                   const TSlotFunction* slot_function) {
  if (token->IsPlainValue()) {
    fun_call.AddArgument(token->Value());
    return;
  }
  if (token->IsEnd()) ParseError("ParseFunCall", SUnexpectedEOF);
  if (!token->Is('(')) {
    fun_call.AddArgument(token->GetText(), dtString);
    return;
  }
  if (slot_function != nullptr && slot_function->start == 0) {
    PutBack(token);
    fun_call.AddArgument(ParseFact());
    return;
  }
  const std::int32_t position = fun_call.GetArgumentCount() + 1;
  if (slot_function != nullptr && position >= slot_function->start &&
      position <= slot_function->end) {
    PutBack(token);
    fun_call.AddArgument(ParseValuePair());
    return;
  }
  fun_call.AddArgument(ParseOpened(token));
}

Ref<IKBValue> TKBClipsParser::ParseNExecuteFunCall() {
  const Ref<IFunCall> fun_call = ParseFunCall();
  Ref<IKBValue> result;
  try {
    fun_call->Execute(&engine_.GetContext(), result);
  } catch (...) {
    call_failed_ = true;
    throw;
  }
  return result;
}

// Points.

Ref<IKBValue> TKBClipsParser::ParseCoordinate() {
  const Ref<IStreamToken> token = Next();
  if (token->Is(dtInteger) || token->Is(dtVariable) || token->Is(dtFloat)) return token->Value();
  if (!token->Is('(')) ParseError("ParseFuzzyPoints", SExpectedNumVarFun);
  PutBack(token);
  return ParseCallValue();
}

Ref<ISingletonsVector> TKBClipsParser::ParseSingletons() {
  static constexpr std::string_view kLocation = "ParseFuzzyPoints";
  const Ref<ISingletonsVector> points = Make<TSingletonsVector>(&engine_);
  Expect('(', kLocation);
  Ref<IStreamToken> token = Next();
  for (; token->Is('('); token = Next()) {
    const Ref<IKBValue> x = ParseCoordinate();
    const Ref<IKBValue> y = ParseCoordinate();
    points->Add(x, y);
    Expect(')', kLocation);
  }
  RequireClose(*token, kLocation);
  OnParseSingletons(*this, points);
  return points;
}

// Globals.

Ref<IKBValue> TKBClipsParser::ParseVariable(std::string& name) {
  static constexpr std::string_view kLocation = "ParseVariable";
  const Ref<IStreamToken> variable = Next();
  if (!variable->Is(dtVariable)) ParseError(kLocation, SMissingName);
  const std::string_view text = variable->GetText();
  if (!text.starts_with('*') || !text.ends_with('*')) ParseError(kLocation, SBadVariableName, text);
  name = text;
  if (!Next()->Is('=')) ParseError(kLocation, SExpectedChar, "=");
  const Ref<IStreamToken> token = Next();
  Ref<IKBValue> value;
  if (token->Is('(')) {
    PutBack(token);
    value = ParseCallValue();
  } else if (token->IsPlainValue()) {
    value = token->Value();
  } else {
    ParseError(kLocation, SExpectedValue);
  }
  OnParseVariable(*this, name, value);
  return value;
}

}  // namespace reasoner
