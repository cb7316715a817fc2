// Templates, facts and fact sets.

#include "reasoner/language/ClipsParser.h"
#include "reasoner/language/PrettyPrint.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

Ref<IFactTemplate> TKBClipsParser::ParseFactTemplate() {
  static constexpr std::string_view kLocation = "ParseFactTemplate";
  THeader header = ParseHeader(SExpectedDefTemplate.kFormat, kLocation, "deftemplate", true);
  Ref<IStreamToken> token = header.token;
  Ref<IFactTemplate> parent;
  Ref<IKBDefinedType> type;
  if (token->Is(dtAtom)) {
    if (token->IsWord("extends")) {
      token = Next();
      if (!token->Is(dtAtom)) ParseError(kLocation, SMissingParentTemplateName);
      parent = engine_.FindFactTemplate(token->GetText());
    } else if (token->IsWord("is-a")) {
      token = Next();
      if (!token->Is(dtAtom)) ParseError(kLocation, SMissingIsaTypeName);
      type = engine_.FindDefinedType(token->GetText());
      if (!type) ParseError(kLocation, SUnknownTypeName, token->GetText().view());
    } else {
      ParseError(kLocation, SExpectedExtends);
    }
    token = Next();
  }
  Ref<IFactTemplate> fact_template =
      Make<TFactTemplate>(&engine_.AsComponent(), header.name, header.comment, parent);
  if (type) {
    fact_template->AddMultiSlot(SDefaultSlotName, FCNilList);
    fact_template->GetSlot(SDefaultSlotName)->SetExtendedTypeInfo(type);
  } else {
    // The unnamed list of a parent without slots of its own is no slot among others.
    if (token->Is('(') && fact_template->IsOrdered()) fact_template->RemoveSlot(SDefaultSlotName);
    for (; token->Is('('); token = Next()) {
      PutBack(token);
      fact_template->AddSlot(*ParseFactTemplateSlot());
    }
  }
  RequireClose(*token, kLocation);
  OnParseFactTemplate(*this, fact_template);
  return fact_template;
}

Ref<IFactSlot> TKBClipsParser::ParseFactTemplateSlot() {
  static constexpr std::string_view kLocation = "ParseFactTemplateSlot";
  Expect('(', kLocation);
  const Ref<IStreamToken> keyword = Next();
  const bool is_multi = keyword->IsWord("multislot");
  if (!is_multi && !keyword->IsWord("slot") && !keyword->IsWord("field")) {
    ParseError(kLocation, SInvalidSlotType, keyword->ToString());
  }
  TKBTypes types = KBSlotTypes;
  if (is_multi) types += KBMultiSlotTypes;
  const Ref<IStreamToken> name = Next();
  if (!name->Is(dtAtom)) ParseError(kLocation, SBadSlotName, name->ToString());
  Ref<IFactSlot> slot = Make<TFactSlot>();
  slot->SetName(name->GetText());
  Ref<IKBDefinedType> defined_type;
  Ref<IKBValue> slot_default;
  Ref<IStreamToken> token = Next();
  for (; token->Is('('); token = Next()) {
    ParseQualifier(*slot, types, defined_type, slot_default);
    Expect(')', kLocation);
  }
  RequireClose(*token, "ParseFactTemplate");
  slot->SetSlotType(types);
  FinishDefault(*slot, slot_default);
  return slot;
}

// A multislot takes lists; what is to become a list is left alone.
static bool IsDefaultValid(const IFactSlot& slot, const IKBValue* value) {
  if (value != nullptr && slot.IsMulti() && value->GetDType() != dtList &&
      !KBAlwaysValidTypes.Has(value->GetDType())) {
    return false;
  }
  return slot.IsValid(value);
}

void TKBClipsParser::FinishDefault(IFactSlot& slot, Ref<IKBValue> slot_default) {
  if (slot_default && slot.IsFuzzy() && !slot.IsDefaultDynamic() &&
      slot.GetFuzzyVariable() != nullptr) {
    // A facet behind the default may have given the slot a type of its own.
    slot_default = slot.EvalFuzzyValue(engine_, slot.TakeFuzzyValue(*slot_default, nullptr),
                                       engine_.GetContext());
  }
  if (slot_default) {
    if (StaticChecks && !(slot_default == FCNil) && !(slot_default == FCNilList)) {
      FitToTypes(slot_default, slot.GetSlotType());
      if (!slot.IsValid(slot_default.get())) {
        ParseError("ParseFactTemplateSlot",
                   std::string_view(slot.GetInvalidValueString(*slot_default)));
      }
    }
    slot.SetSlotDefault(slot_default);
  } else if ((StaticChecks || slot.IsMulti()) &&
             !IsDefaultValid(slot, slot.GetSlotDefault().get())) {
    slot.SetSlotDefault(slot.CreateValidDefault(slot.GetSlotType().Has(dtList)));
  }
}

// Facts.

Ref<IFactTemplate> TKBClipsParser::TemplateOf(std::string_view name) {
  if (Ref<IFactTemplate> known = engine_.FindFactTemplate(name)) return known;
  Ref<IFactTemplate> implied = engine_.CreateFactTemplate(name);
  if (HasPlainMeaning()) implied_.push_back(implied);
  return implied;
}

TKBClipsParser::ImpliedGuard::~ImpliedGuard() {
  const bool is_refused = std::uncaught_exceptions() > failures_before_;
  std::vector<Ref<IFactTemplate>>& implied = parser_.implied_;
  // What the text still holds is left to the guard around this one.
  std::vector<Ref<IFactTemplate>> held;
  while (is_refused && implied.size() > count_before_) {
    Ref<IFactTemplate> latest = std::move(implied.back());
    implied.pop_back();
    try {
      if (parser_.engine_.ForgetTemplate(latest)) continue;
    } catch (...) {
      // The failure that is on its way says more.
    }
    held.push_back(std::move(latest));
  }
  implied.insert(implied.end(), held.rbegin(), held.rend());
  if (--parser_.implied_guards_ == 0) implied.clear();
}

Ref<IFact> TKBClipsParser::ParseFact() {
  const ImpliedGuard implied(*this);
  static constexpr std::string_view kLocation = "ParseFact";
  const Ref<IStreamToken> open = Next();
  const Ref<IStreamToken> name = Next();
  if (!open->Is('(') || !name->Is(dtAtom)) ParseError(kLocation, SExpectedAtom);
  Ref<IFactTemplate> fact_template;
  if (StrictFacts) {
    fact_template = engine_.FindFactTemplate(name->GetText());
    if (!fact_template) ParseError(kLocation, SUnknownFactTemplate, name->GetText().view());
  } else {
    fact_template = TemplateOf(name->GetText());
  }
  Ref<IFact> fact = Make<TFact>(fact_template);
  const bool is_ordered = fact_template->IsOrdered();
  std::string slot_name;
  Ref<IStreamToken> token = Next();
  while (!token->Is(')')) {
    ParseFactSlot(*fact, slot_name);
    token = Stream().GetCurrentToken();
    if (is_ordered) break;
  }
  RequireClose(*token, kLocation);
  OnParseFact(*this, fact);
  return fact;
}

void TKBClipsParser::ParseFactSlot(IFact& fact, std::string& name) {
  static constexpr std::string_view kLocation = "ParseFactSlot";
  if (!fact.GetTemplate()) Raise(SNoTemplate);
  const Ref<IFact> kept(&fact);
  const Ref<IFactTemplate> fact_template = fact.GetTemplate();
  const Ref<IStreamToken> token = Stream().GetCurrentToken();
  const bool is_ordered = fact_template->IsOrdered();
  if (is_ordered) {
    name = SDefaultSlotName;
    PutBack(token);
  } else {
    if (!token->Is('(')) ParseError(kLocation, SMissingOpenParens);
    const Ref<IStreamToken> word = Next();
    if (!word->Is(dtAtom)) ParseError(kLocation, SBadSlotName, word->ToString());
    name = word->GetText();
  }
  const Ref<IFactSlot> slot = fact_template->GetSlot(name);
  fact.SetValue(name, ParseValue(*slot));
  Expect(')', kLocation);
  if (!is_ordered) Next();
}

std::unique_ptr<TFactSet> TKBClipsParser::ParseFactSet() {
  const ImpliedGuard implied(*this);
  static constexpr std::string_view kLocation = "ParseFactSet";
  const THeader header = ParseHeader(SExpectedDeffacts.kFormat, kLocation, "deffacts", true);
  auto fact_set = std::make_unique<TFactSet>();
  fact_set->SetFactSetName(header.name);
  fact_set->Comment = header.comment;
  std::vector<Ref<IFact>> facts;
  std::vector<std::string> texts;
  Ref<IStreamToken> token = header.token;
  for (; token->Is('('); token = Next()) {
    PutBack(token);
    facts.push_back(ParseFact());
    // The text shows what was written and no defaults: those are filled in by each reset.
    texts.push_back(FactToSource(*facts.back(), true));
  }
  RequireClose(*token, kLocation);
  fact_set->SetFacts(texts);
  for (std::size_t i = 0; i < facts.size(); ++i)
    fact_set->SetFact(static_cast<std::int32_t>(i), facts[i]);
  OnParseFactSet(*this, *fact_set);
  return fact_set;
}

}  // namespace reasoner
