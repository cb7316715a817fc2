// What stands inside a slot beside its name, and the facets that slots share with defined types.

#include <algorithm>

#include "reasoner/functions/Context.h"
#include "reasoner/language/ClipsParser.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

namespace {

// Failures inside a facet name the place where its grammar is told, for slots as well.
constexpr std::string_view kLocation = "ParseDefinedType";
constexpr std::string_view kAllowedPrefix = "allowed-";

bool SameWord(std::string_view text, std::string_view word, bool any_case) {
  return any_case ? EqualsIgnoreCase(text, word) : text == word;
}

struct TTypeWord {
  std::string_view word;
  TKBTypes types;
};
const TTypeWord kTypeWords[] = {
    {STypeSymbolKeyword, dtAtom},
    {STypeAtomKeyword, dtAtom},
    {STypeStringKeyword, dtString},
    {STypeLexemeKeyword, {dtAtom, dtString}},
    {STypeIntegerKeyword, dtInteger},
    {STypeFloatKeyword, dtFloat},
    {STypeNumberKeyword, {dtInteger, dtFloat}},
    // Values of these kinds are written as numbers.
    {STypeClassKeyword, {dtClass, dtInteger}},
    {STypeDescriptorKeyword, {dtDescriptor, dtInteger}},
    {STypeObjectKeyword, {dtObject, dtInteger}},
    {STypeExternalAddrKeyword, {dtExternalAddress, dtInteger}},
    {STypeFactIdKeyword, {dtFactId, dtInteger}},
    {STypeFactKeyword, dtFact},
    {STypeFuzzyKeyword, dtFuzzy},
};

// Each makes of a value what its clause admits.
Ref<IKBValue> AsIs(const Ref<IKBValue>& value) { return value; }
Ref<IKBValue> AsString(const Ref<IKBValue>& value) { return NewString(value->GetAsString()); }
Ref<IKBValue> AsAtom(const Ref<IKBValue>& value) { return NewAtom(value->GetAsAtom()); }
Ref<IKBValue> AsInteger(const Ref<IKBValue>& value) { return NewInteger(value->GetAsInteger()); }
Ref<IKBValue> AsFloat(const Ref<IKBValue>& value) { return NewFloat(value->GetAsFloat()); }
Ref<IKBValue> AsLexeme(const Ref<IKBValue>& value) {
  return TKBTypes{dtAtom, dtString}.Has(value->GetDType()) ? value : AsString(value);
}
Ref<IKBValue> AsNumber(const Ref<IKBValue>& value) {
  return KBNumericTypes.Has(value->GetDType()) ? value : AsInteger(value);
}

struct TAllowedWord {
  std::string_view word;
  TValueConstraints kinds;
  Ref<IKBValue> (*convert)(const Ref<IKBValue>& value);
};
const TAllowedWord kAllowedWords[] = {
    {"allowed-values", {vcAtom, vcString, vcInteger, vcFloat}, AsIs},
    {"allowed-lexemes", {vcAtom, vcString}, AsLexeme},
    {"allowed-strings", vcString, AsString},
    {"allowed-symbols", vcAtom, AsAtom},
    {"allowed-numbers", {vcInteger, vcFloat}, AsNumber},
    {"allowed-integers", vcInteger, AsInteger},
    {"allowed-floats", vcFloat, AsFloat},
};

}  // namespace

bool IsTypeWord(std::string_view word) {
  return std::any_of(std::begin(kTypeWords), std::end(kTypeWords),
                     [word](const TTypeWord& row) { return row.word == word; });
}

void TKBClipsParser::ParseQualifier(IFactSlot& slot, TKBTypes& types,
                                    Ref<IKBDefinedType>& defined_type,
                                    Ref<IKBValue>& slot_default) {
  const Ref<IStreamToken> open = Stream().GetCurrentToken();
  const Ref<IStreamToken> word = Next();
  if (!word->Is(dtAtom))
    ParseError("ParseFactTemplateSlot", SInvalidSlotQualifier, word->ToString());
  const std::string_view text = word->GetText();
  const bool is_dynamic = EqualsIgnoreCase(text, "default-dynamic");
  if (is_dynamic || EqualsIgnoreCase(text, "default")) {
    slot_default = ParseValue(types, defined_type);
    slot.SetDefaultDynamic(is_dynamic);
    if (is_dynamic) return;
    slot_default = engine_.ResolveInContext(slot_default);
  } else if (EqualsIgnoreCase(text, "type")) {
    const bool is_multi = types.HasAny(KBMultiSlotTypes);
    defined_type = nullptr;
    types = ParseSlotTypes(defined_type);
    if (is_multi) types += KBMultiSlotTypes;
    const Ref<IKBDefinedType>& old = slot.GetExtendedTypeInfo();
    if (defined_type || (old && !old->IsImplicit())) slot.SetExtendedTypeInfo(defined_type);
  } else if (EqualsIgnoreCase(text, "range") || EqualsIgnoreCase(text, "cardinality") ||
             EqualsIgnoreCase(text, "units") ||
             EqualsIgnoreCase(text.substr(0, kAllowedPrefix.size()), kAllowedPrefix)) {
    if (slot.IsFuzzy() && !EqualsIgnoreCase(text, "cardinality")) {
      ParseError("ParseFactTemplateSlot", SFuzzyDefinitionError);
    }
    Ref<IStreamToken> last;
    ParseFacet(ImplicitType(slot), open, word, kAnyCaseWords, last);
    PutBack(last);
  } else {
    ParseError("ParseFactTemplateSlot", SInvalidSlotQualifier, text);
  }
}

// The slot's own type, which its facets change; a named type is left as it is and copied.
IKBDefinedType& TKBClipsParser::ImplicitType(IFactSlot& slot) {
  const Ref<IKBDefinedType> named = slot.GetExtendedTypeInfo();
  if (named && named->IsImplicit()) return *named;
  const Ref<IKBDefinedType> type = Make<TKBDefinedType>(&engine_);
  if (named) type->Assign(*named);
  type->SetImplicit(true);
  slot.SetExtendedTypeInfo(type);
  return *type;
}

// A facet from its parenthesis and word on; `last` is its closing parenthesis.
void TKBClipsParser::ParseFacet(IKBDefinedType& type, const Ref<IStreamToken>& open,
                                const Ref<IStreamToken>& word, TWordCase word_case,
                                Ref<IStreamToken>& last) {
  const bool any_case = word_case == kAnyCaseWords;
  const std::string_view text = word->GetText();
  if (SameWord(text, "units", any_case)) {
    type.SetUnits(ParseUnits());
    last = Next();
    RequireClose(*last, kLocation);
    return;
  }
  PutBack(word);
  PutBack(open);
  const bool is_cardinality = SameWord(text, "cardinality", any_case);
  if (is_cardinality || SameWord(text, "range", any_case)) {
    ParseRangeAndCardinality(type, is_cardinality, word_case, last);
  } else {
    ParseAllowedEnumerations(type, word_case, last);
  }
}

std::string TKBClipsParser::ParseUnits() {
  const Ref<IStreamToken> token = Next();
  if (token->Is(')') || token->IsEnd()) ParseError("ParseDefinedType", SExpectedValue);
  return token->Is(dtString) ? token->GetText().str() : token->ToString();
}

void TKBClipsParser::AddSlotType(const Ref<IStreamToken>& token, TKBTypes& types,
                                 Ref<IKBDefinedType>& defined_type) {
  for (const TTypeWord& row : kTypeWords) {
    if (!token->IsWord(row.word)) continue;
    types += row.types;
    return;
  }
  if (token->ToString() == STypeVariableKeyword) {
    types = KBSlotTypes;
    return;
  }
  const Text name = ResolveToken(*token)->GetAsString();
  const Ref<IKBDefinedType> named = engine_.FindDefinedType(name);
  if (!named) ParseError("ParseSlotTypes", SInvalidSlotType, token->ToString());
  if (defined_type) ParseError("ParseSlotTypes", SNoMultiTypeInheritance);
  defined_type = named;
  types += named->GetBaseTypes();
}

TKBTypes TKBClipsParser::ParseSlotTypes(Ref<IKBDefinedType>& defined_type) {
  TKBTypes types;
  Ref<IStreamToken> token = Next();
  for (; !token->Is(')'); token = Next()) {
    if (!token->Is(dtAtom) && !token->Is(dtVariable)) {
      ParseError("ParseSlotTypes", SInvalidSlotType, token->ToString());
    }
    AddSlotType(token, types, defined_type);
  }
  PutBack(token);
  if (types.Has(dtFuzzy) && !(types == TKBTypes{dtFuzzy})) {
    ParseError("ParseSlotTypes", SCannotMixFuzzy);
  }
  return types;
}

// Null where no bound is wanted.
Ref<IKBValue> TKBClipsParser::ParseBound(const Ref<IStreamToken>& token, bool allow_variable) {
  switch (token->GetDataType()) {
    case dtInteger:
    case dtFloat:
      return token->Value();
    case dtVariable:
      if (!allow_variable) ParseError(kLocation, SExpectedValue);
      if (token->ToString() == STypeVariableKeyword) return nullptr;
      return ResolveToken(*token);
    case '(': {
      PutBack(token);
      Ref<IKBValue> value = ParseNExecuteFunCall();
      return value ? value : Ref<IKBValue>(FCNil);
    }
    default:
      return nullptr;
  }
}

TKBClipsParser::TBounds TKBClipsParser::ParseBounds(std::string_view name, bool allow_variable,
                                                    Ref<IStreamToken>& last) {
  TBounds bounds;
  const Ref<IStreamToken> first = Next();
  if (!first->Is(dtInteger) && !first->Is(dtVariable) && !first->Is(dtFloat) && !first->Is('(')) {
    ParseError(kLocation, SExpectedIntVarFun, name);
  }
  bounds.min = ParseBound(first, allow_variable);
  const Ref<IStreamToken> second = Next();
  if (second->Is(')') || second->IsEnd()) ParseError(kLocation, SExpectedIntVarFun, name);
  bounds.max = ParseBound(second, allow_variable);
  last = Next();
  RequireClose(*last, kLocation);
  return bounds;
}

// In the literal meaning a fraction is cut off.
std::int32_t TKBClipsParser::WholeNumber(const IKBValue& value) {
  const std::int32_t number = value.GetAsInteger();
  if (HasPlainMeaning() && value.GetDType() == dtFloat && number != value.RawFloat()) {
    ParseError(kLocation, SNotCorrectType, "INTEGER", value.ToString(),
               GetKBTypeName(value.GetDType()));
  }
  return number;
}

// In the literal meaning the maximum takes the minimum along.
void TKBClipsParser::RequireNotEmpty(const TBounds& bounds, std::string_view name) {
  if (!bounds.min || !bounds.max || !engine_.GetLink()->textbook_semantics) return;
  if (bounds.min->GetAsNumeric() > bounds.max->GetAsNumeric())
    ParseError(kLocation, SEmptyBounds, name, bounds.min->ToString(), bounds.max->ToString());
}

void TKBClipsParser::ParseRangeAndCardinality(IKBDefinedType& type, bool is_cardinality,
                                              TWordCase word_case, Ref<IStreamToken>& last) {
  const Ref<IKBDefinedType> kept(&type);
  Expect('(', kLocation);
  const Ref<IStreamToken> word = Next();
  if (!word->Is(dtAtom) ||
      (!is_cardinality && !SameWord(word->GetText(), "range", word_case == kAnyCaseWords))) {
    ParseError(kLocation, SMissingRange);
  }
  if (is_cardinality) {
    const TBounds bounds = ParseBounds("cardinality", true, last);
    RequireNotEmpty(bounds, "cardinality");
    type.SetCardinalityLimited(true);
    if (bounds.min) type.SetMinCardinality(WholeNumber(*bounds.min));
    if (bounds.max) type.SetMaxCardinality(WholeNumber(*bounds.max));
  } else {
    const TBounds bounds = ParseBounds("range", true, last);
    RequireNotEmpty(bounds, "range");
    type.SetRangeLimited(true);
    if (bounds.min) type.SetMinRange(bounds.min->GetAsNumeric());
    if (bounds.max) type.SetMaxRange(bounds.max->GetAsNumeric());
  }
}

void TKBClipsParser::ParseAllowedEnumerations(IKBDefinedType& type, TWordCase word_case,
                                              Ref<IStreamToken>& last) {
  const Ref<IKBDefinedType> kept(&type);
  Expect('(', kLocation);
  const Ref<IStreamToken> word = Next();
  const TAllowedWord* clause = nullptr;
  for (const TAllowedWord& row : kAllowedWords) {
    if (word->Is(dtAtom) && SameWord(word->GetText(), row.word, word_case == kAnyCaseWords))
      clause = &row;
  }
  if (clause == nullptr) ParseError(kLocation, SMissingAllowedEnumeration, word->GetText().view());
  type.SetConstraints(type.GetConstraints() + clause->kinds);
  Ref<IStreamToken> token = Next();
  for (; !token->Is(')'); token = Next()) {
    if (token->IsEnd()) ParseError(kLocation, SMissingCloseParens);
    Ref<IKBValue> value;
    if (token->Is('(')) {
      PutBack(token);
      value = ParseNExecuteFunCall();
      if (!value) value = FCNil;
    } else {
      value = ResolveToken(*token);
    }
    if (clause->kinds == TValueConstraints{vcInteger}) WholeNumber(*value);
    type.AddConstraint(clause->convert(value));
  }
  last = token;
}

}  // namespace reasoner
