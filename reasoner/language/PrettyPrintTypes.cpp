// The printing of slots, templates and defined types.

#include <cmath>

#include "reasoner/language/PrettyPrint.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/membership/FuzzyVariable.h"
#include "reasoner/values/Constants.h"

namespace reasoner {

namespace {

std::string TypeWords(TKBTypes types) {
  return UpperTypeNames(types - KBMultiSlotTypes - KBAlwaysValidTypes, " ");
}

std::string Clause(std::string_view text) {
  std::string clause(IndentString);
  clause += text;
  clause += NewLineString;
  return clause;
}

std::string BoundText(double bound, double none) {
  if (bound == none) return std::string(STypeVariableKeyword);
  const auto whole = TruncateToInteger(bound);
  return whole && *whole == bound ? IntegerToText(*whole) : FloatToSource(bound);
}

std::string RangeClause(const IKBDefinedType& type) {
  if (!type.IsRangeLimited()) return "";
  return Clause("(range " + BoundText(type.GetMinRange(), IKBDefinedType::kNoMinRange) + " " +
                BoundText(type.GetMaxRange(), IKBDefinedType::kNoMaxRange) + ") ");
}

std::string UnitsClause(const IKBDefinedType& type) {
  const std::string& units = type.GetUnits();
  if (units.empty()) return "";
  return Clause("(units " + (AtomToSource(units) == units ? units : QuoteText(units)) + ")");
}

std::string CardinalityClause(const IKBDefinedType& type) {
  if (!type.IsCardinalityLimited()) return "";
  const std::string none(STypeVariableKeyword);
  const std::int32_t min = type.GetMinCardinality();
  const std::int32_t max = type.GetMaxCardinality();
  return Clause("(cardinality " + (min < 0 ? none : IntegerToText(min)) + " " +
                (max == IKBDefinedType::kNoMaxCardinality ? none : IntegerToText(max)) + ") ");
}

void AppendAllowed(std::string& text, const IKBDefinedType& type, TValueConstraint kind) {
  switch (kind) {
    case vcAtom:
      for (std::int32_t i = 0; i < type.GetConstraintAtomsCount(); ++i) {
        AppendAtomSource(text, type.GetConstraintAtom(i));
        text += ' ';
      }
      return;
    case vcString:
      for (std::int32_t i = 0; i < type.GetConstraintStringsCount(); ++i) {
        text += QuoteText(type.GetConstraintString(i)) + " ";
      }
      return;
    case vcInteger:
      for (std::int32_t i = 0; i < type.GetConstraintIntegersCount(); ++i) {
        text += IntegerToText(type.GetConstraintInteger(i)) + " ";
      }
      return;
    case vcFloat:
      for (std::int32_t i = 0; i < type.GetConstraintFloatsCount(); ++i) {
        text += FloatToSource(type.GetConstraintFloat(i)->GetAsFloat()) + " ";
      }
  }
}

// A clause for two kinds, under the word for both or for the one that there is.
std::string AllowedPair(const IKBDefinedType& type, TValueConstraint first, TValueConstraint second,
                        std::string_view both_word, std::string_view first_word,
                        std::string_view second_word, std::string_view closing) {
  const TValueConstraints kinds = type.GetConstraints();
  if (!kinds.Has(first) && !kinds.Has(second)) return "";
  std::string text = "(allowed-";
  text += !kinds.Has(second) ? first_word : !kinds.Has(first) ? second_word : both_word;
  text += ' ';
  if (kinds.Has(first)) AppendAllowed(text, type, first);
  if (kinds.Has(second)) AppendAllowed(text, type, second);
  return Clause(text.append(closing));
}

std::string AllowedClause(const IKBDefinedType& type) {
  if (type.GetConstraints() == TValueConstraints{vcAtom, vcString, vcInteger, vcFloat}) {
    std::string text = "(allowed-values ";
    for (const TValueConstraint kind : {vcAtom, vcString, vcInteger, vcFloat})
      AppendAllowed(text, type, kind);
    return Clause(text + ")");
  }
  return AllowedPair(type, vcInteger, vcFloat, "numbers", "integers", "floats", ") ") +
         AllowedPair(type, vcAtom, vcString, "lexemes", "symbols", "strings", ")");
}

constexpr std::string (*kClauses[])(const IKBDefinedType&) = {RangeClause, UnitsClause,
                                                              CardinalityClause, AllowedClause};

// Allowed values are added to the ancestor's when they are read.
bool BeginsWithAllowedOf(const IKBDefinedType& type, const IKBDefinedType& ancestor) {
  if (!(ancestor.GetConstraints() - type.GetConstraints()).empty()) return false;
  for (const TValueConstraint kind : {vcAtom, vcString, vcInteger, vcFloat}) {
    if (!ancestor.GetConstraints().Has(kind)) continue;
    std::string own, inherited;
    AppendAllowed(own, type, kind);
    AppendAllowed(inherited, ancestor, kind);
    if (!own.starts_with(inherited)) return false;
  }
  return true;
}

// A fuzzy type begins with its ancestor's terms when it is read.
bool HasTermsOf(const IKBDefinedType& type, const IKBDefinedType& ancestor) {
  const Ref<IFuzzyVariable>& variable = ancestor.GetFuzzyType();
  if (!variable) return true;
  if (!type.GetFuzzyType()) return false;
  for (std::int32_t i = 0; i < variable->GetSetCount(); ++i) {
    const IFuzzySet& set = *variable->GetSet(i);
    const IFuzzySet* const own = type.GetFuzzyType()->FindFuzzySet(set.GetGivenName());
    if (set.IsTerm() && (own == nullptr || !own->IsTerm())) return false;
  }
  return true;
}

}  // namespace

const IKBDefinedType* PrintedAncestor(const IKBDefinedType& type) {
  const IKBDefinedType* const ancestor = type.IsImplicit() ? nullptr : type.GetAncestor().get();
  if (ancestor == nullptr) return nullptr;
  if (!(ancestor->GetBaseTypes() - type.GetBaseTypes()).empty()) return nullptr;
  for (const auto clause : kClauses) {
    if (clause(type).empty() && !clause(*ancestor).empty()) return nullptr;
  }
  // An open bound keeps that of the ancestor.
  const auto opens = [](auto own, auto inherited, auto none) {
    return own == none && inherited != none;
  };
  if (type.IsRangeLimited() &&
      (opens(type.GetMinRange(), ancestor->GetMinRange(), IKBDefinedType::kNoMinRange) ||
       opens(type.GetMaxRange(), ancestor->GetMaxRange(), IKBDefinedType::kNoMaxRange)))
    return nullptr;
  if (type.IsCardinalityLimited() && opens(type.GetMaxCardinality(), ancestor->GetMaxCardinality(),
                                           IKBDefinedType::kNoMaxCardinality))
    return nullptr;
  if (!HasTermsOf(type, *ancestor)) return nullptr;
  return BeginsWithAllowedOf(type, *ancestor) ? ancestor : nullptr;
}

namespace {

// What a type has beyond its ancestor.
std::string Facets(const IKBDefinedType& type) {
  const IKBDefinedType* const ancestor = PrintedAncestor(type);
  std::string text;
  for (const auto clause : kClauses) {
    const std::string own = clause(type);
    if (ancestor == nullptr || clause(*ancestor) != own) text += own;
  }
  return text;
}

// The default clause, or nothing where reading the slot without it gives the same default.
std::string DefaultClause(const IFactSlot& slot) {
  const Ref<IKBValue>& value = slot.GetSlotDefault();
  if (!value) return "";
  const std::string_view keyword = slot.IsDefaultDynamic() ? "(default-dynamic " : "(default ";
  std::string text(keyword);
  // The empty set, which nil is too, is what a fuzzy slot has without a default.
  if (slot.IsFuzzy() && !slot.IsMulti() && value->ToString().empty()) return "";
  if (value->Equals(*FCNil)) {
    // An atom without text is the default of most slots, but not of a slot of numbers.
    const Ref<IKBValue> own = slot.CreateValidDefault(slot.GetSlotType().Has(dtList));
    if (slot.IsMulti() || own->Equals(*FCNil)) return "";
    return text + "nil) ";
  }
  if (!slot.IsDefaultDynamic() && !slot.IsValid(value.get())) {
    // One that a check would refuse: what the slot gives itself, or what is looked at too late.
    if (value->Equals(*slot.CreateValidDefault(slot.GetSlotType().Has(dtList)))) return "";
    return "(default-dynamic " + CallFor(*value) + ") ";
  }
  const std::string source = ValueToSource(*value);
  if (Trim(source).empty()) return "";
  return text + source + ") ";
}

}  // namespace

std::string GetAllowedString(const IKBDefinedType& type) { return AllowedClause(type); }

std::string PrettyPrint(const IFactSlot& slot) {
  std::string text = slot.IsMulti() ? "(multislot " : "(slot ";
  AppendAtomSource(text, slot.GetName());
  text += ' ';
  const std::string default_clause = DefaultClause(slot);
  const std::string indent = std::string(IndentString) + std::string(IndentString);
  const TKBTypes types = slot.GetSlotType();
  const IKBDefinedType* const type = slot.GetExtendedTypeInfo().get();
  // An implicit type without facets says no more than the slot's own types.
  if (type != nullptr && (!type->IsImplicit() || !Facets(*type).empty())) {
    text +=
        type->IsImplicit() ? PrettyPrint(*type) : "(type " + AtomToSource(type->GetName()) + ")";
    if (!default_clause.empty()) text += indent + default_clause;
  } else if (types == KBSlotTypes || types == KBSlotTypes + KBMultiSlotTypes) {
    text += default_clause;
  } else {
    text += "(type " + TypeWords(types) + (types.HasAny(KBMultiSlotTypes) ? ") " : ")");
    if (!default_clause.empty()) text += std::string(NewLineString) + indent + default_clause;
  }
  return text + ")";
}

// The type of an ordered template's list; null where it has none or its parent gives it the same.
static const IKBDefinedType* OwnListType(const IFactTemplate& fact_template) {
  const auto type_of = [](const IFactTemplate& owner) -> const IKBDefinedType* {
    const IFactSlot* const slot = owner.FindSlot(SDefaultSlotName);
    return slot == nullptr ? nullptr : slot->GetExtendedTypeInfo().get();
  };
  const IKBDefinedType* const type = type_of(fact_template);
  const Ref<IFactTemplate>& parent = fact_template.GetParent();
  return parent && type_of(*parent) == type ? nullptr : type;
}

std::string PrettyPrint(const IFactTemplate& fact_template) {
  const std::string line_start = std::string(NewLineString) + std::string(IndentString);
  std::string text = "(deftemplate " + AtomToSource(fact_template.GetTemplateName());
  if (!fact_template.GetComment().empty()) text += " " + QuoteText(fact_template.GetComment());
  if (const Ref<IFactTemplate>& parent = fact_template.GetParent()) {
    text += line_start + "extends " + AtomToSource(parent->GetTemplateName());
  }
  if (fact_template.IsOrdered()) {
    if (const IKBDefinedType* const type = OwnListType(fact_template)) {
      text += type->IsImplicit() ? " " + PrettyPrint(*fact_template.GetSlot(SDefaultSlotName))
                                 : " is-a " + AtomToSource(type->GetName());
    }
    return text + ")";
  }
  text += NewLineString;
  for (const Ref<IFactSlot>& slot : fact_template.GetSlots()) {
    text += IndentString;
    text += IndentSource(PrettyPrint(*slot));
    text += NewLineString;
  }
  return text + ")";
}

std::string PrettyPrint(const IKBDefinedType& defined_type) {
  if (defined_type.IsImplicit()) {
    // A slot's own fuzzy type is a named one with another number of members.
    const bool is_named =
        defined_type.GetFuzzyType() != nullptr && defined_type.GetName() != SImplicitDefinedType;
    return "(type " +
           (is_named ? AtomToSource(defined_type.GetName())
                     : TypeWords(defined_type.GetBaseTypes())) +
           ")" + std::string(NewLineString) +
           (is_named ? CardinalityClause(defined_type) : Facets(defined_type));
  }
  const std::string line_start = std::string(NewLineString) + std::string(IndentString);
  std::string text = "(deftype " + AtomToSource(defined_type.GetName()) + " ";
  if (!defined_type.GetComment().empty())
    text += line_start + QuoteText(defined_type.GetComment()) + line_start;
  text += "extends (type ";
  TKBTypes types = defined_type.GetBaseTypes();
  if (const IKBDefinedType* const ancestor = PrintedAncestor(defined_type)) {
    text += AtomToSource(ancestor->GetName()) + " ";
    types -= ancestor->GetBaseTypes();
  }
  text += TypeWords(types) + ")";
  text += NewLineString;
  if (const Ref<IFuzzyVariable>& variable = defined_type.GetFuzzyType()) {
    return text + variable->ToString() + ")";
  }
  return text + Facets(defined_type) + ")";
}

}  // namespace reasoner
