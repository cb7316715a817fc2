#include "reasoner/match/RulePlan.h"

#include <algorithm>

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/support/Depth.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/values/Constants.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

RulePlan RulePlan::Of(IReasoner& engine, const std::vector<std::unique_ptr<TKBPattern>>& written) {
  RulePlan plan;
  for (std::size_t i = 0; i < written.size(); ++i) {
    plan.Append(engine, *written[i], static_cast<std::int32_t>(i));
  }
  return plan;
}

bool RulePlan::NeedsStart(const IReasoner& engine, const TKBPattern& first) {
  if (first.GetNegatedCount() > 0 || first.IsTest() ||
      first.GetFactTemplate()->IsBackwardChaining()) {
    return true;
  }
  // Partners are limited by the join of a unique pattern.
  return first.IsUnique() && engine.GetLink()->textbook_semantics;
}

void RulePlan::Append(IReasoner& engine, const TKBPattern& written, std::int32_t written_index) {
  const std::size_t patterns = patterns_.size();
  const std::size_t negations = negations_.size();
  const std::size_t bindings = bindings_.size();
  const std::size_t variables = variables_.size();
  try {
    if (patterns_.empty() && NeedsStart(engine, written)) {
      AppendPlanned(engine, engine.GetInitialPattern(), written_index);
    }
    AppendPlanned(engine, written, written_index);
  } catch (...) {
    patterns_.erase(patterns_.begin() + static_cast<std::ptrdiff_t>(patterns), patterns_.end());
    negations_.resize(negations);
    bindings_.resize(bindings);
    variables_.erase(variables_.begin() + static_cast<std::ptrdiff_t>(variables), variables_.end());
    throw;
  }
}

const RulePlan::Planned& RulePlan::At(std::int32_t index) const {
  if (index < 0 || index >= GetPatternCount()) Raise(SListIndexError, index);
  return patterns_[static_cast<std::size_t>(index)];
}

std::int32_t RulePlan::FactIndexOfWritten(std::int32_t written) const {
  // The initial pattern that a plan puts before the first one has the number of that one.
  std::int32_t found = 0;
  for (const Planned& planned : patterns_) {
    if (planned.written > written) break;
    if (planned.written == written && planned.pattern->GetName().starts_with(SBackChainPrefix))
      return planned.fact_index;
    found = planned.fact_index;
  }
  return found;
}

// Pattern by pattern.

// A pattern is read on the template of its name.
static Ref<IFactTemplate> TemplateFor(IReasoner& engine, const TKBPattern& written) {
  const Ref<IFactTemplate>& own = written.GetFactTemplate();
  if (!own) Raise(SNoTemplate);
  if (written.IsTest()) return own;
  if (const Ref<IFactTemplate> named = engine.FindFactTemplate(written.GetName())) return named;
  if (written.GetName() != own->GetTemplateName()) Raise(SUnknownFactTemplate, written.GetName());
  return own;
}

// Values that a field of a pattern is read as.
static constexpr TKBTypes kFieldTypes{dtAtom, dtString, dtInteger, dtFloat};

// Raises for what has no text that could be read.
static void CheckPattern(const TKBPattern& written, const TKBPattern& pattern) {
  const bool holds_fact = pattern.GetNegatedCount() == 0 && !pattern.IsTest();
  if (!pattern.GetBoundName().empty() && !holds_fact) Raise(SInvalidPatternBinding);
  if (pattern.IsTest()) {
    const std::int32_t slot = pattern.IndexOfSlotName(SDefaultSlotName);
    if (slot < 0 || pattern.GetSlotTestCount(slot) != 1 ||
        pattern.GetSlotTest(slot, 0).GetSlotValue()->GetDType() != dtFunCall) {
      Raise(SInvalidTestPattern);
    }
    return;
  }
  for (std::int32_t slot = 0; slot < written.GetSlotCount(); ++slot) {
    const Text& name = written.GetSlotName(slot);
    const bool is_told = written.GetSlotTestCount(slot) > 0 || written.GetSlotLength(slot) >= 0;
    if (is_told && !pattern.GetFactTemplate()->ContainsSlot(name))
      Raise(SInvalidSlotName, name.view());
  }
  for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
    const IFactSlot* const described =
        pattern.GetFactTemplate()->FindSlot(pattern.GetSlotName(slot));
    if (described == nullptr) continue;
    for (std::int32_t t = 0; t < pattern.GetSlotTestCount(slot); ++t) {
      const TKBPatternMatchTest& test = pattern.GetSlotTest(slot, t);
      // A test of a whole list beside tests of its fields has no text.
      if (described->IsMulti() && test.GetMultiSlotSubIndex() < 0)
        Raise(SListIndexError, NoSubIndex);
      const TKBType type = test.GetSlotValue()->GetDType();
      if (type == dtFunCall || KBVariableTypes.Has(type)) continue;
      const bool has_text = described->IsFuzzy() ? type == dtFuzzy : kFieldTypes.Has(type);
      if (!has_text) Raise(SBadSlotValue, test.GetSlotValue()->ToString());
    }
  }
}

TKBPattern& RulePlan::Enter(std::unique_ptr<TKBPattern> pattern, std::int32_t written) {
  const auto fact_index = static_cast<std::int32_t>(negations_.size());
  if (!pattern->IsTest()) negations_.push_back(pattern->GetNegatedCount() > 0);
  patterns_.push_back(Planned{std::move(pattern), written, fact_index});
  return *patterns_.back().pattern;
}

// A copy of the call in which every variable that has been renamed has its new name. Other patterns
// may share the call.
static Ref<IFunCall> Renamed(const IFunCall& fun_call,
                             const std::vector<std::pair<Text, Text>>& renames) {
  const DepthGuard guard("function call");
  Ref<IFunCall> copy = fun_call.Clone();
  for (std::int32_t i = 0; i < copy->GetArgumentCount(); ++i) {
    const Ref<IKBValue>& argument = copy->GetArgument(i);
    if (!argument) continue;
    if (argument->GetDType() == dtFunCall) {
      copy->SetArgument(i, NewFunCallValue(Renamed(*argument->GetAsFunCall(), renames)));
      continue;
    }
    if (!KBVariableTypes.Has(argument->GetDType())) continue;
    for (const auto& [old_name, new_name] : renames) {
      if (!(argument->GetAsVariable() == old_name)) continue;
      copy->SetArgument(i, Make<TKBValue>(new_name, argument->GetDType()));
      break;
    }
  }
  return copy;
}

void RulePlan::AppendPlanned(IReasoner& engine, const TKBPattern& written, std::int32_t index) {
  std::unique_ptr<TKBPattern> normal = written.Normalized(TemplateFor(engine, written));
  CheckPattern(written, *normal);
  TKBPattern& pattern = Enter(std::move(normal), index);
  const std::int32_t fact_index = patterns_.back().fact_index;
  const bool is_goal = pattern.GetName().starts_with(SBackChainPrefix);
  Text bound = pattern.GetBoundName();
  if (is_goal && bound.empty()) bound = NewVariableName(engine, SFactPrefix);
  if (!bound.empty()) {
    AddBinding(bound, fact_index, SPatternBinding, NoSubIndex);
    pattern.SetBoundName(bound);
  }
  Renames renames;
  NameVariables(engine, pattern, renames);
  BindVariables(engine, pattern, renames);
  for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
    for (std::int32_t i = 0; i < pattern.GetSlotTestCount(slot); ++i) {
      TKBPatternMatchTest& test = pattern.GetSlotTest(slot, i);
      if (renames.empty() || test.GetSlotValue()->GetDType() != dtFunCall) continue;
      test.SetSlotValue(NewFunCallValue(Renamed(*test.GetSlotValue()->GetAsFunCall(), renames)));
    }
  }
  FoldAlternatives(engine, pattern);
  if (!is_goal) return;
  // The rule wants the goal only while what it asks for is not there.
  TKBPattern& companion = Enter(
      std::make_unique<TKBPattern>(
          nullptr, pattern, std::string_view(pattern.GetName()).substr(SBackChainPrefix.size()), 1),
      index);
  renames.clear();
  BindVariables(engine, companion, renames);
  FoldAlternatives(engine, companion);
}

// Variables.

// As reading the text would name them: a name keeps the form of its first use, and a wildcard has a
// name of its own.
void RulePlan::NameVariables(IReasoner& engine, TKBPattern& pattern, Renames& renames) {
  for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
    for (std::int32_t i = 0; i < pattern.GetSlotTestCount(slot); ++i) {
      TKBPatternMatchTest& test = pattern.GetSlotTest(slot, i);
      const TKBType kind = test.GetSlotValue()->GetDType();
      if (!KBVariableTypes.Has(kind)) continue;
      Text name = test.GetSlotValue()->GetAsVariable();
      auto known = std::find_if(variables_.begin(), variables_.end(),
                                [&name](const Variable& item) { return item.name == name; });
      // A name that is not generated may be used elsewhere.
      const bool is_computed = name.view().starts_with(SEqStarPrefix);
      const bool is_generated = is_computed || name.view().starts_with(SBlankPrefix);
      if (test.IsWildcard() && (!is_generated || known != variables_.end())) {
        const Text fresh = NewVariableName(engine, is_computed          ? SEqStarPrefix
                                                   : kind == dtVariable ? SBlankPrefix
                                                                        : SBlankMulti);
        // The variable of a `=(call)` is read by the comparison behind it.
        if (is_computed) renames.emplace_back(name, fresh);
        name = fresh;
        test.RenameVariable(name);
        known = variables_.end();
      }
      if (known == variables_.end()) {
        variables_.push_back(Variable{name, kind});
        known = variables_.end() - 1;
      }
      if (known->kind == dtMultiVariable && test.GetMultiSlotSubIndex() == NoSubIndex)
        Raise(SNotMultiSlot, pattern.GetSlotName(slot).view());
      if (known->kind != kind) test.SetSlotValue(Make<TKBValue>(name, known->kind));
    }
  }
}

Text RulePlan::NewVariableName(IReasoner& engine, std::string_view prefix) const {
  Text name;
  do {
    name = engine.GenerateSymbol(prefix);
  } while (GetBindingByName(name) != nullptr);
  return name;
}

bool RulePlan::IsPlainlyBound(const Text& name) const {
  return std::any_of(bindings_.begin(), bindings_.end(),
                     [this, &name](const std::unique_ptr<TBinding>& binding) {
                       return binding->GetName() == name && !IsInNegatedPattern(*binding);
                     });
}

bool RulePlan::IsBoundAt(const Text& name, std::int32_t fact_index) const {
  return std::any_of(bindings_.begin(), bindings_.end(),
                     [&name, fact_index](const std::unique_ptr<TBinding>& binding) {
                       return binding->GetName() == name && binding->FactIndex == fact_index;
                     });
}

// A binding in a negated pattern holds no fact, so that no later pattern can read it.
bool RulePlan::IsInNegatedPattern(const TBinding& binding) const {
  const auto index = static_cast<std::size_t>(binding.FactIndex);
  return binding.FactIndex >= 0 && index < negations_.size() && negations_[index];
}

void RulePlan::BindVariables(IReasoner& engine, TKBPattern& pattern, Renames& renames) {
  const std::int32_t fact_index = patterns_.back().fact_index;
  std::vector<Text> negated_first;
  for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
    for (std::int32_t i = 0; i < pattern.GetSlotTestCount(slot); ++i) {
      TKBPatternMatchTest& test = pattern.GetSlotTest(slot, i);
      const Ref<IKBValue>& value = test.GetSlotValue();
      if (!KBVariableTypes.Has(value->GetDType())) continue;
      Text name = value->GetAsVariable();
      if (IsPlainlyBound(name) || IsBoundAt(name, fact_index)) continue;
      if (engine.HasGlobalVariable(name)) continue;  // a test against the global's value
      if (test.GetSlotTestType() == sttNotEquals) {
        negated_first.push_back(name);  // fine if it is bound further on in this pattern
        continue;
      }
      if (pattern.IsNegated() && name.view().starts_with(SBlankPrefix)) {
        const Text fresh = "_" + IntegerToText(GetPatternCount()) + "_" + name.str();
        renames.emplace_back(name, fresh);
        test.RenameVariable(fresh);
        name = fresh;
      }
      AddBinding(name, fact_index, pattern.GetSlotName(slot), test.GetMultiSlotSubIndex());
    }
  }
  for (const Text& name : negated_first) {
    if (!IsBoundAt(name, fact_index)) Raise(SNegatedVariable, name.view());
  }
}

TBinding* RulePlan::GetBindingByName(const Text& name) const {
  TBinding* found = nullptr;
  for (const std::unique_ptr<TBinding>& binding : bindings_) {
    if (!(binding->GetName() == name)) continue;
    if (!IsInNegatedPattern(*binding)) return binding.get();
    if (found == nullptr) found = binding.get();
  }
  return found;
}

const TBinding* RulePlan::BindingFor(const Text& name, std::int32_t fact_index) const {
  const TBinding* here = nullptr;
  for (const std::unique_ptr<TBinding>& binding : bindings_) {
    if (!(binding->GetName() == name)) continue;
    if (binding->FactIndex < fact_index && !IsInNegatedPattern(*binding)) return binding.get();
    if (binding->FactIndex == fact_index && here == nullptr) here = binding.get();
  }
  return here;
}

TBinding& RulePlan::AddBinding(const Text& name, std::int32_t fact_index, const Text& slot_name,
                               std::int32_t sub_index) {
  auto binding = std::make_unique<TBinding>(name, fact_index, slot_name, sub_index);
  for (const std::unique_ptr<TBinding>& known : bindings_) {
    if (known->Equals(*binding)) return *known;
  }
  bindings_.push_back(std::move(binding));
  return *bindings_.back();
}

// Alternatives: each `|` of a field becomes one call of `or`, so that only conjunctions are left.

static Ref<IFunCall> NewLogicCall(IReasoner& engine, std::string_view name,
                                  TLogicFunction function) {
  Ref<IFunCall> call = Make<TFunctionCall>(&engine, name);
  call->BindLogicFunction(engine.GetLogicFunction(function));
  return call;
}

// A call that is true where the predicate holds: `or` takes nothing but TRUE for true, a predicate
// everything but FALSE.
static Ref<IFunCall> IsNotFalse(IReasoner& engine, IFunCall& predicate) {
  Ref<IFunCall> comparison = NewLogicCall(engine, "neq", lfNeq);
  comparison->AddArgument(Ref<IFunCall>(&predicate));
  comparison->AddArgument(FCFalse);
  return comparison;
}

// A test on a value as a call: the call itself, or a comparison of the two.
static Ref<IFunCall> ConvertToFunCall(IReasoner& engine, const TKBPatternMatchTest& test,
                                      const Ref<IKBValue>& field) {
  const bool equals = test.GetSlotTestType() == sttEquals;
  const Ref<IKBValue>& value = test.GetSlotValue();
  if (value->GetDType() == dtFunCall && equals) return IsNotFalse(engine, *value->GetAsFunCall());
  if (value->GetDType() == dtFunCall) {
    Ref<IFunCall> negation = NewLogicCall(engine, "not", lfNot);
    negation->AddArgument(Ref<IFunCall>(value->GetAsFunCall()));
    return negation;
  }
  Ref<IFunCall> comparison = NewLogicCall(engine, equals ? "eq" : "neq", equals ? lfEq : lfNeq);
  comparison->AddArgument(value->Clone());
  comparison->AddArgument(field->Clone());
  return comparison;
}

void RulePlan::FoldAlternatives(IReasoner& engine, TKBPattern& pattern) {
  for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
    for (std::int32_t t = 0; t < pattern.GetSlotTestCount(slot); ++t) {
      if (pattern.GetSlotTest(slot, t).IsConjunction()) continue;
      FoldSlot(engine, pattern, slot);
      break;
    }
  }
}

// The variable that the alternatives of a field are compared with. A leading one is taken out of
// them; when it is bound elsewhere it stays a test of its own. A field in which a `$?` stands is a
// span, whichever of its tests comes first.
Ref<IKBValue> RulePlan::TakeFieldVariable(IReasoner& engine, const TKBPattern& pattern,
                                          std::int32_t slot, std::size_t& begin, std::size_t end,
                                          TKBPattern::Tests& folded) {
  const std::int32_t fact_index = patterns_.back().fact_index;
  const Text& slot_name = pattern.GetSlotName(slot);
  const auto test_at = [&](std::size_t i) -> const TKBPatternMatchTest& {
    return pattern.GetSlotTest(slot, static_cast<std::int32_t>(i));
  };
  bool is_span = false;
  for (std::size_t i = begin; i < end; ++i) {
    is_span = is_span || test_at(i).GetSlotValue()->GetDType() == dtMultiVariable;
  }
  const TKBType kind = is_span ? dtMultiVariable : dtVariable;
  const TKBPatternMatchTest& first = test_at(begin);
  const std::int32_t field = first.GetMultiSlotSubIndex();
  if (first.GetSlotValue()->GetDType() == kind && first.GetSlotTestType() == sttEquals) {
    const Text name = first.GetSlotValue()->GetAsVariable();
    const TBinding* const binding = BindingFor(name, fact_index);
    const bool is_bound_here = binding != nullptr && binding->FactIndex == fact_index &&
                               binding->SlotIndex == slot_name && binding->SubIndex == field;
    if (is_bound_here) {
      ++begin;
      return first.GetSlotValue();
    }
    // `?x&a|b` wants ?x and one of the two, wherever ?x is bound. A global is like a constant.
    if (binding != nullptr && test_at(begin + 1).IsJoinedByAnd())
      folded.push_back(test_at(begin++).CloneTest());
  }
  // In a negated pattern the name is the one that reading it there would give.
  std::string prefix(SBlankPrefix);
  if (pattern.IsNegated()) prefix = "_" + IntegerToText(GetPatternCount()) + "_" + prefix;
  Ref<IKBValue> variable = Make<TKBValue>(NewVariableName(engine, prefix), kind);
  AddBinding(variable->GetAsVariable(), fact_index, slot_name, field);
  return variable;
}

void RulePlan::FoldSlot(IReasoner& engine, TKBPattern& pattern, std::int32_t slot) {
  const auto count = static_cast<std::size_t>(pattern.GetSlotTestCount(slot));
  const auto test_at = [&](std::size_t i) -> const TKBPatternMatchTest& {
    return pattern.GetSlotTest(slot, static_cast<std::int32_t>(i));
  };
  TKBPattern::Tests folded;
  std::size_t begin = 0;
  while (begin < count) {
    const std::int32_t field = test_at(begin).GetMultiSlotSubIndex();
    std::size_t end = begin;
    bool has_or = false;
    for (; end < count && test_at(end).GetMultiSlotSubIndex() == field; ++end) {
      has_or = has_or || !test_at(end).IsConjunction();
    }
    if (!has_or) {
      for (; begin < end; ++begin) folded.push_back(test_at(begin).CloneTest());
      continue;
    }
    const Ref<IKBValue> variable = TakeFieldVariable(engine, pattern, slot, begin, end, folded);
    const auto add = [&](const Ref<IKBValue>& value) {
      folded.push_back(std::make_unique<TKBPatternMatchTest>(nullptr, sttEquals, field, value));
    };
    add(variable);
    const Ref<IFunCall> alternatives = NewLogicCall(engine, "or", lfOr);
    while (begin < end) {
      std::size_t run = begin + 1;
      while (run < end && test_at(run).IsJoinedByAnd()) ++run;
      if (run - begin == 1) {
        alternatives->AddArgument(ConvertToFunCall(engine, test_at(begin), variable));
      } else {
        const Ref<IFunCall> all = NewLogicCall(engine, "and", lfAnd);
        for (std::size_t i = begin; i < run; ++i) {
          all->AddArgument(ConvertToFunCall(engine, test_at(i), variable));
        }
        alternatives->AddArgument(all);
      }
      begin = run;
    }
    add(NewFunCallValue(alternatives));
  }
  pattern.SetSlotTests(slot, std::move(folded));
}

}  // namespace reasoner
