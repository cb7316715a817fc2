// Rules: the declare block, the conditional elements, the constraints of a pattern, the actions.

#include <algorithm>
#include <iterator>

#include "reasoner/language/ClipsParser.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

std::unique_ptr<TRule> TKBClipsParser::ParseRule() {
  const ImpliedGuard implied(*this);
  static constexpr std::string_view kLocation = "ParseRule";
  const THeader header = ParseHeader(SExpectedDefRule.kFormat, kLocation, "defrule", true);
  auto rule = std::make_unique<TRule>(&engine_.AsComponent());
  rule->BeginUpdate();
  rule->SetRuleName(header.name);
  rule->Comment = header.comment;
  Ref<IStreamToken> token = header.token;
  if (token->Is('(')) {
    const Ref<IStreamToken> word = Next();
    if (word->IsWord("declare")) {
      ParseDeclare(*rule, token);
    } else {
      PutBack(word);
    }
  }
  TVariableTable variables;
  PutBack(token);
  ParseRulePatterns(*rule, variables);
  const Ref<IStreamToken> equal_sign = Next();
  const Ref<IStreamToken> arrow_head = Next();
  if (!equal_sign->Is('=') || !arrow_head->IsWord(">")) ParseError(kLocation, SExpectedEqGT);
  ParseRuleActions(*rule, variables);
  Expect(')', kLocation);
  OnParseRule(*this, *rule);
  rule->EndUpdate();
  return rule;
}

// From behind the word on; `token` becomes the one behind the block.
void TKBClipsParser::ParseDeclare(TRule& rule, Ref<IStreamToken>& token) {
  static constexpr std::string_view kLocation = "ParseRule";
  for (token = Next(); token->Is('('); token = Next()) {
    const Ref<IStreamToken> property = Next();
    const bool is_salience = property->IsWord("salience");
    const bool is_one_shot = property->IsWord("oneshot");
    if (!is_salience && !is_one_shot && !property->IsWord("enabled"))
      ParseError(kLocation, SExpectedRuleProperty);
    token = Next();
    if (is_salience) {
      Ref<IKBValue> salience;
      if (token->Is('(')) {
        PutBack(token);
        salience = ParseCallValue();
      } else if (token->Is(dtInteger) || token->Is(dtVariable)) {
        salience = token->Value();
      } else {
        ParseError(kLocation, SExpectedIntVarFun, "salience");
      }
      rule.SetSalience(salience);
    } else {
      Ref<IKBValue> value;
      if (token->Is('(')) {
        PutBack(token);
        value = ParseNExecuteFunCall();
      } else {
        value = token->Value();
      }
      const bool flag = value && value->Equals(*FCTrue);
      (is_one_shot ? rule.OneShot : rule.Enabled) = flag;
    }
    Expect(')', kLocation);
  }
  RequireClose(*token, kLocation);
  token = Next();
}

void TKBClipsParser::ParseRulePatterns(TRule& rule, TVariableTable& variables) {
  const ImpliedGuard implied(*this);
  static constexpr std::string_view kLocation = "ParseRulePatterns";
  Ref<IStreamToken> token = Next();
  for (; token->Is('(') || token->Is(dtVariable); token = Next()) {
    const bool is_bound = token->Is(dtVariable);
    if (!is_bound) {
      PutBack(token);
    } else if (!Next()->IsWord("<-")) {
      ParseError(kLocation, SExpectedAssignment);
    }
    std::unique_ptr<TKBPattern> pattern = ParsePattern(0, variables);
    if (is_bound) {
      if (pattern->GetNegatedCount() > 0 || pattern->IsTest())
        ParseError(kLocation, SInvalidTestBinding);
      pattern->SetBoundName(token->GetText());
    }
    rule.AddPattern(std::move(pattern));
  }
  PutBack(token);
}

std::unique_ptr<TKBPattern> TKBClipsParser::ParsePattern(std::int32_t negated_count,
                                                         TVariableTable& variables) {
  static constexpr std::string_view kLocation = "ParsePattern";
  const NestingGuard guard(*this, kLocation);
  const Ref<IStreamToken> open = Next();
  const Ref<IStreamToken> head = Next();
  if (!open->Is('(') || !head->Is(dtAtom)) ParseError(kLocation, SExpectedAtom);
  const bool is_unique = head->IsWord("unique");
  const bool is_explicit = head->IsWord("explicit");
  const std::int32_t negations = head->IsWord("not") ? 1 : head->IsWord("exists") ? 2 : 0;
  std::unique_ptr<TKBPattern> pattern;
  if (is_unique || is_explicit || negations > 0) {
    pattern = ParsePattern(negated_count + negations, variables);
    if (is_unique) pattern->SetUnique(true);
    if (is_explicit) pattern->SetExplicit(true);
    Expect(')', kLocation);
  } else if (head->IsWord(STestCE)) {
    pattern = ParseTest(negated_count);
  } else {
    pattern = ParsePlainPattern(head->GetText(), negated_count, variables);
  }
  pattern->Comment = Trim(open->GetWhitespace());
  return pattern;
}

std::unique_ptr<TKBPattern> TKBClipsParser::ParseTest(std::int32_t negated_count) {
  auto pattern =
      std::make_unique<TKBPattern>(nullptr, STestCE, TKBPattern::NewTestTemplate(engine_));
  pattern->AddTest(SDefaultSlotName, ParseCallValue(), NoSubIndex, negated_count % 2 == 1, true);
  Expect(')', "ParsePattern");
  return pattern;
}

std::unique_ptr<TKBPattern> TKBClipsParser::ParsePlainPattern(std::string_view name,
                                                              std::int32_t negated_count,
                                                              TVariableTable& variables) {
  // Inside of an ordered pattern no parenthesis is opened: elements of other rule languages are
  // told by their names.
  static constexpr std::string_view kForeignElements[] = {"and", "or", "forall", "logical",
                                                          "object"};
  const bool is_foreign = std::find(std::begin(kForeignElements), std::end(kForeignElements),
                                    name) != std::end(kForeignElements);
  if (is_foreign && !engine_.FindFactTemplate(name) && NextIs('('))
    ParseError("ParsePattern", SNoSuchElement, name);
  const Ref<IFactTemplate> fact_template = TemplateOf(name);
  auto pattern = std::make_unique<TKBPattern>(nullptr, name, fact_template, negated_count);
  Ref<IStreamToken> token = Next();
  if (fact_template->IsOrdered()) {
    ParsePatternSlot(*pattern, variables, token);
  } else {
    for (; token->Is('('); token = Next()) ParsePatternSlot(*pattern, variables, token);
    if (!token->Is(')')) ParseError("ParsePattern", SBadSlotName, token->ToString());
  }
  OnParsePattern(*this, *pattern);
  return pattern;
}

// The fields of a slot; `token` becomes the parenthesis behind the last one.
void TKBClipsParser::ParsePatternSlot(TKBPattern& pattern, TVariableTable& variables,
                                      Ref<IStreamToken>& token) {
  const Ref<IFactTemplate> fact_template = pattern.GetFactTemplate();
  Text name = SDefaultSlotName;
  if (!fact_template->IsOrdered()) {
    token = Next();
    if (!token->Is(dtAtom)) ParseError("ParsePattern", SBadSlotName, token->ToString());
    name = token->GetText();
  }
  const Ref<IFactSlot> slot = fact_template->GetSlot(name);
  if (!fact_template->IsOrdered()) token = Next();
  TField field{pattern, *slot, variables, slot->IsMulti() ? 0 : NoSubIndex};
  while (!token->Is(')')) {
    field.conjunction = true;
    field.joined_by_and = true;
    ParseField(field, token);
    if (slot->IsMulti()) {
      ++field.sub_index;
    } else if (!token->Is(')')) {
      ParseError("ParsePattern", SNotMultiSlot, name.view());
    }
  }
  if (slot->IsMulti()) pattern.SetSlotLength(pattern.IndexOfSlotName(name), field.sub_index);
}

// The constraints of one field; `token` becomes the one behind it.
void TKBClipsParser::ParseField(TField& field, Ref<IStreamToken>& token) {
  for (;;) {
    ParseConstraint(field, token);
    token = Next();
    if (!token->Is('&') && !token->Is('|')) return;
    field.joined_by_and = token->Is('&');
    if (!field.joined_by_and) field.conjunction = false;
    token = Next();
  }
}

void TKBClipsParser::AddTest(const TField& field, const Ref<IKBValue>& value, bool negated) {
  field.pattern.AddTest(field.slot.GetName(), value, field.sub_index, negated, field.conjunction,
                        field.joined_by_and);
}

void TKBClipsParser::AddWildcard(const TField& field, const Ref<IKBValue>& value, bool negated) {
  auto test = std::make_unique<TKBPatternMatchTest>(nullptr, negated ? sttNotEquals : sttEquals,
                                                    field.sub_index, value);
  test->SetConjunction(field.conjunction);
  test->SetJoinedByAnd(field.joined_by_and);
  test->SetWildcard(true);
  field.pattern.AddTest(field.slot.GetName(), std::move(test));
}

void TKBClipsParser::ParseConstraint(TField& field, Ref<IStreamToken> token) {
  const bool negated = token->Is('~');
  if (negated) token = Next();
  const bool is_variable = token->Is(dtVariable) || token->Is(dtMultiVariable);
  if (token->Is('=')) {
    AddReturnValueTests(field, negated);
  } else if ((is_variable || token->Is(dtAtom)) && token->GetText() == ":") {
    AddTest(field, ParseCallValue(), negated);
  } else if (is_variable) {
    Text name = token->GetText();
    if (token->HasGeneratedName() && field.variables.Contains(name)) {
      name = NewVariableName(field.variables, token->Is(dtVariable) ? SBlankPrefix : SBlankMulti);
    }
    // A name keeps the form of its first use.
    const TKBType kind = field.variables.Enter(name, static_cast<TKBType>(token->GetDataType()));
    if (kind == dtMultiVariable && !field.slot.IsMulti()) {
      ParseError("ParsePattern", SNotMultiSlot, field.slot.GetName().view());
    }
    const Ref<IKBValue> variable = Make<TKBValue>(name, kind);
    if (token->HasGeneratedName()) return AddWildcard(field, variable, negated);
    AddTest(field, variable, negated);
  } else if (field.slot.IsFuzzy()) {
    PutBack(token);
    ParseFuzzyConstraint(field, negated);
  } else if (token->IsPlainValue()) {
    Ref<IKBValue> value = token->Value();
    FitToTypes(value, field.slot.GetSlotType());
    AddTest(field, value, negated);
  } else {
    ParseError("ParsePattern", SBadSlotValue, token->ToString());
  }
}

// `=(call)` becomes a variable without a written name and a call that compares it with the result.
void TKBClipsParser::AddReturnValueTests(const TField& field, bool negated) {
  const Ref<IFunCall> fun_call = ParseFunCall();
  const Ref<IFunCall> comparison = Make<TFunctionCall>(&engine_, "eq*");
  comparison->BindLogicFunction(engine_.GetLogicFunction(lfEqStar));
  const Ref<IKBValue> variable =
      Make<TKBValue>(NewVariableName(field.variables, SEqStarPrefix), dtVariable);
  AddWildcard(field, variable, false);
  comparison->AddArgument(variable->Clone());
  comparison->AddArgument(fun_call);
  TField joined = field;
  joined.joined_by_and = true;
  AddTest(joined, NewFunCallValue(comparison), negated);
}

void TKBClipsParser::ParseRuleActions(TRule& rule, TVariableTable&) {
  Ref<IStreamToken> token = Next();
  for (; token->Is('('); token = Next()) {
    PutBack(token);
    rule.AddAction(ParseFunCall());
  }
  PutBack(token);
}

// Generated names.

Text TKBClipsParser::NewVariableName(const TVariableTable& variables, std::string_view prefix) {
  std::string name;
  do {
    name = engine_.GenerateSymbol(prefix);
  } while (variables.Contains(name));
  return Text(name);
}

void TKBClipsParser::GenerateVarName(std::int32_t index, const IFactTemplate&, std::string& name,
                                     const IFactSlot* slot, std::string_view prefix) {
  name = prefix;
  if (slot != nullptr) name += slot->GetName().view();
  if (index > 0) name += IntegerToText(index);
}

Ref<IKBValue> TKBClipsParser::GenerateVariable(const TVariableTable* variables,
                                               const IFactTemplate& fact_template, bool unique,
                                               std::string_view slot_name) {
  return GenerateVariable(variables, fact_template, unique, slot_name,
                          fact_template.GetTemplateName());
}

Ref<IKBValue> TKBClipsParser::GenerateVariable(const TVariableTable* variables,
                                               const IFactTemplate& fact_template, bool unique,
                                               std::string_view slot_name,
                                               std::string_view prefix) {
  const Ref<IFactSlot> slot =
      slot_name.empty() ? Ref<IFactSlot>() : fact_template.GetSlot(slot_name);
  std::string name;
  GenerateVarName(0, fact_template, name, slot.get(), prefix);
  for (std::int32_t index = 1; unique && variables != nullptr && variables->Contains(name);
       ++index) {
    GenerateVarName(index, fact_template, name, slot.get(), fact_template.GetTemplateName());
  }
  return Make<TKBValue>(Text(name), dtVariable);
}

}  // namespace reasoner
