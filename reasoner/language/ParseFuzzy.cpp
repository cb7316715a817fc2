// Fuzzy variables, their terms, and fuzzy values where slots and patterns have them.

#include <algorithm>
#include <vector>

#include "reasoner/functions/Context.h"
#include "reasoner/fuzzy/FuzzyExpression.h"
#include "reasoner/language/ClipsParser.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

Ref<IFuzzyVariable> TKBClipsParser::ParseFuzzyVariable() {
  const Ref<IFuzzyVariable> variable = Make<TKBFuzzyVariable>();
  variable->SetParser(engine_.GetFuzzyParserLink());
  ParseFuzzyClauses(*variable);
  return variable;
}

void TKBClipsParser::ParseFuzzyClauses(IFuzzyVariable& variable) {
  static constexpr std::string_view kLocation = "ParseFuzzyVariable";
  const Ref<IFuzzyVariable> kept(&variable);
  std::vector<Ref<IFuzzySet>> terms;
  Ref<IStreamToken> token = Next();
  for (; !token->Is(')') && !token->IsEnd(); token = Next()) {
    const Ref<IStreamToken> word = Next();
    if (!token->Is('(')) ParseError(kLocation, SMissingOpenParens);
    Ref<IStreamToken> last;
    if (word->IsWord("range")) {
      const TBounds bounds = ParseBounds("range", false, last);
      if (!bounds.min || !bounds.max) ParseError(kLocation, SExpectedValue);
      SetUniverse(variable, bounds);
    } else if (word->IsWord("units")) {
      variable.SetUnits(ParseUnits());
      Expect(')', kLocation);
    } else if (word->IsWord("values")) {
      ParseFuzzyTerms(variable, terms);
    } else {
      ParseError(kLocation, SExpectedKeyword, "range, units, or values");
    }
  }
  PutBack(token);
  if (IFuzzyParser* const parser = variable.GetParser(); variable.HasUniverse() && parser) {
    const Interval range{variable.GetUniverseFrom(), variable.GetUniverseTo()};
    for (const Ref<IFuzzySet>& term : terms) {
      const PiecewiseLinear& function = term->GetFunction();
      if (function.Height(range) >= function.Height()) continue;
      parser->Warn(FillMessage(SFuzzyTermOutside, term->GetGivenName(), range.from, range.to));
    }
  }
  OnParseFuzzyVariable(*this, kept);
}

// Ends that are not in order are put in order. Between two equal ones no word means anything, but
// 0 and 0 are what a type without a range prints.
void TKBClipsParser::SetUniverse(IFuzzyVariable& variable, const TBounds& bounds) {
  const double from = bounds.min->GetAsNumeric();
  const double to = bounds.max->GetAsNumeric();
  const std::string min = bounds.min->ToString();
  const std::string max = bounds.max->ToString();
  if (from == to && from != 0 && engine_.GetLink()->textbook_semantics)
    ParseError("ParseFuzzyVariable", SFuzzyRangePoint, min, max);
  variable.SetUniverse(from, to);
  IFuzzyParser* const parser = variable.GetParser();
  if (from > to && parser != nullptr)
    parser->Warn(FillMessage(SFuzzyShapeOrder, "(range " + min + " " + max + ")"));
}

// Up to the parenthesis behind the terms. `terms` are those that the variable has got so far from
// its own text; one that it has inherited may be defined anew.
void TKBClipsParser::ParseFuzzyTerms(IFuzzyVariable& variable, std::vector<Ref<IFuzzySet>>& terms) {
  Ref<IStreamToken> token = Next();
  for (; token->Is('('); token = Next()) {
    PutBack(token);
    const Ref<IFuzzySet> term = ParseFuzzySet(variable);
    const std::size_t others = std::erase_if(terms, [&](const Ref<IFuzzySet>& other) {
      return other->GetGivenName() == term->GetGivenName();
    });
    if (others > 0 && variable.GetParser() != nullptr) {
      variable.GetParser()->Warn(FillMessage(SFuzzyTermTwice, term->GetGivenName()));
    }
    term->SetTerm(true);
    terms.push_back(variable.Add(term));
  }
  if (!token->Is(')')) {
    PutBack(token);
    ParseFuzzySet(variable);  // which says what is wrong
  }
}

Ref<IFuzzySet> TKBClipsParser::ParseFuzzySet(IFuzzyVariable& variable) {
  static constexpr std::string_view kLocation = "ParseFuzzySet";
  const Ref<IFuzzyVariable> kept(&variable);
  const THeader header = ParseHeader(SExpectedFuzzySet.kFormat, kLocation, "term", false);
  PutBack(header.token);
  Ref<IKBValue> value = ParseValue();
  if (!value) ParseError(kLocation, SExpectedValue);
  value = engine_.ResolveInContext(value);
  value = engine_.EvalFuzzyExpression(&variable, value, &engine_.GetContext());
  // A copy: what was read may be another term, or be held by whoever made it.
  const Ref<IFuzzySet> set = value->GetAsFuzzy()->Clone();
  if (set->GetVariable() != &variable) {
    if (set->GetVariable() != nullptr) set->SetExpression({}, false);  // of another type's terms
    set->SetVariable(&variable);
  }
  set->SetName(header.name);
  set->SetParser(engine_.GetFuzzyParserLink());
  Expect(')', kLocation);
  OnParseFuzzySet(*this, set);
  return set;
}

// The value of a fuzzy slot. What needs a context is kept as it is written.
Ref<IKBValue> TKBClipsParser::ParseFuzzyValue(TKBTypes types, const IKBDefinedType* defined_type) {
  static constexpr std::string_view kLocation = "ParseValue";
  const bool is_multi = types.Has(dtMultiSlot);
  if (is_multi && defined_type == nullptr && !StaticChecks) return NewList(ParseList());
  if (defined_type == nullptr) ParseError(kLocation, SNeedFuzzyType);
  const Ref<IFuzzyVariable> variable = defined_type->GetFuzzyType();
  Ref<IKBValue> written;
  if (is_multi) {
    written = NewList(ParseList());
  } else if (NextIs('=')) {
    Next();
    written = ParseCallAfterEqualSign(kLocation);
  } else {
    written = ParseValue();
    if (!written) written = FCNil;
  }
  const Ref<IKBValue> value = engine_.EvalFuzzyExpression(variable.get(), written, nullptr);
  if (value == FCNil) ParseError(kLocation, SInvalidFuzzyExpression, written->ToString());
  if (!is_multi) {
    // One expression alone; it may have to wait for its variables.
    if (value->GetDType() == dtList && !IsSingleExpression(*value->GetAsList())) {
      ParseError(kLocation, SInvalidFuzzyExpression, written->ToString());
    }
    return value;
  }
  if (value->GetDType() == dtList) return value;
  const Ref<IValueVector> list = NewVector();
  list->Add(value);
  return NewList(list);
}

// The values of a pattern's field, in a list where there are several.
Ref<IKBValue> TKBClipsParser::ParseFuzzyField() {
  const Ref<IValueVector> list = NewVector();
  Ref<IStreamToken> token = Next();
  const auto starts_field = [](const IStreamToken& next) {
    return next.Is(dtVariable) || next.Is(dtMultiVariable) ||
           (next.Is(dtAtom) && next.GetText() == ":");
  };
  while (!token->IsEnd() && !starts_field(*token)) {
    const Ref<IKBValue> value = ParseListedValue(token);
    if (!value) break;
    list->Add(value);
    token = Next();
  }
  if (list->GetValueCount() == 0) ParseError("ParsePattern", SBadSlotValue, token->ToString());
  PutBack(token);
  return list->GetValueCount() == 1 ? list->First() : NewList(list);
}

// Every value up to what is none is one fuzzy expression; in a multislot several may stand beside
// each other, a field each.
void TKBClipsParser::ParseFuzzyConstraint(TField& field, bool negated) {
  const Ref<IKBValue> written = ParseFuzzyField();
  const Ref<IKBValue> resolved = engine_.ResolveInContext(written);
  const Ref<IFuzzyVariable> variable(field.slot.GetFuzzyVariable());
  // A value of another type is told by its points: the slot's type has other words.
  const Ref<IKBValue> value = field.slot.TakeFuzzyValue(
      *engine_.EvalFuzzyExpression(variable.get(), resolved, &engine_.GetContext()), &field.slot);
  if (value->GetDType() == dtFuzzy) return AddTest(field, value, negated);
  const bool is_list = value->GetDType() == dtList && value->GetAsList()->GetValueCount() > 0;
  if (!is_list || !field.slot.IsMulti()) {
    ParseError("ParsePattern", SInvalidFuzzyExpression, written->ToString());
  }
  const IValueVector& list = *value->GetAsList();
  for (std::int32_t i = 0; i < list.GetValueCount(); ++i) {
    if (i > 0) ++field.sub_index;
    AddTest(field, list.GetItem(i), negated && i == 0);
  }
}

}  // namespace reasoner
