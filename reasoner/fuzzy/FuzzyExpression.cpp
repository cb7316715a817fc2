#include "reasoner/fuzzy/FuzzyExpression.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "reasoner/support/Depth.h"
#include "reasoner/support/membership/FuzzyText.h"
#include "reasoner/support/membership/FuzzyWords.h"
#include "reasoner/values/Constants.h"
#include "reasoner/values/KBFuzzySet.h"
#include "reasoner/values/SingletonsVector.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

namespace {

// Tags of the lists in which expressions wait: one expression, and several.
constexpr std::int32_t kKeptTag = 0x467A7945;
constexpr std::int32_t kKeptGroupsTag = 0x467A7947;

using TItems = std::vector<Ref<IKBValue>>;

enum TItemKind : std::uint8_t { ikOperand, ikOpen, ikClose, ikHedge, ikOperator, ikKeyword };

bool IsText(const IKBValue& value) { return TKBTypes{dtAtom, dtString}.Has(value.GetDType()); }

TItemKind KindOf(const IKBValue& item) {
  if (!IsText(item)) {
    if (!TKBTypes{dtInteger, dtFloat, dtVariable, dtMultiVariable, dtFunCall, dtSingletons, dtFuzzy}
             .Has(item.GetDType())) {
      Raise(SInvalidFuzzyToken, item.ToString());
    }
    return ikOperand;
  }
  const std::string_view text = item.TextView();
  if (text == "[") return ikOpen;
  if (text == "]") return ikClose;
  if (IsFuzzyHedge(text)) return ikHedge;
  if (IsFuzzyHedgeOperator(text)) return ikOperator;
  return IsFuzzyKeyword(text) ? ikKeyword : ikOperand;
}

// How tight an item binds that waits on the stack, and one that comes: the lower, the tighter. What
// comes lets those out that bind as tight or tighter.
int WaitingPriority(TItemKind kind) { return kind == ikOpen ? 4 : kind == ikHedge ? 2 : 3; }
int ComingPriority(TItemKind kind) { return kind == ikOpen ? 0 : kind == ikHedge ? 1 : 3; }

// From items as they are written to groups in postfix order, an expression each.
class TGrouping {
 public:
  void Take(const Ref<IKBValue>& item) {
    const TItemKind kind = KindOf(*item);
    switch (kind) {
      case ikOperand:
        if (has_operand_) CloseGroup();
        group_.push_back(item);
        has_operand_ = true;
        return;
      case ikClose:
        --open_;
        while (!waiting_.empty() && waiting_.back().kind != ikOpen) LetOut();
        if (!waiting_.empty()) waiting_.pop_back();
        has_operand_ = true;
        return;
      case ikOpen:
      case ikHedge:
        if (has_operand_) CloseGroup();
        break;
      case ikOperator:
      case ikKeyword:
        break;
    }
    if (kind == ikOpen) ++open_;
    while (!waiting_.empty() && WaitingPriority(waiting_.back().kind) <= ComingPriority(kind)) {
      LetOut();
    }
    waiting_.push_back({item, kind});
    has_operand_ = false;
  }

  std::vector<TItems> Finish() {
    CloseGroup();
    return std::move(groups_);
  }

 private:
  struct TWaiting {
    Ref<IKBValue> item;
    TItemKind kind;
  };

  void LetOut() {
    if (waiting_.back().kind == ikOpen) Raise(SMissingFuzzyCloseBracket);
    group_.push_back(std::move(waiting_.back().item));
    waiting_.pop_back();
  }

  void CloseGroup() {
    if (open_ > 0) Raise(SMissingFuzzyCloseBracket);
    open_ = 0;
    while (!waiting_.empty()) LetOut();
    groups_.push_back(std::exchange(group_, {}));
    has_operand_ = false;
  }

  std::vector<TItems> groups_;
  TItems group_;
  std::vector<TWaiting> waiting_;
  std::int32_t open_ = 0;
  bool has_operand_ = false;
};

Ref<IKBValue> Kept(const TItems& items, std::int32_t tag) {
  const Ref<IValueVector> list = NewVector();
  list->Reserve(static_cast<std::int32_t>(items.size()));
  for (const Ref<IKBValue>& item : items) list->Add(item);
  list->SetTag(tag);
  return NewList(list);
}

using TSets = std::vector<Ref<IFuzzySet>>;

Ref<IFuzzySet> TakeOperand(TSets& sets, std::string_view word) {
  if (sets.empty()) Raise(SMissingFuzzyOperand, word);
  Ref<IFuzzySet> set = std::move(sets.back());
  sets.pop_back();
  return set;
}

Ref<IFuzzySet> Hedged(const IFuzzySet& operand, std::string_view word) {
  TFuzzyHedge hedge{};
  IsFuzzyHedge(word, hedge);
  Ref<IFuzzySet> set = operand.Clone();
  set->Hedge(hedge);
  set->SetExpression(HedgedText(word, operand), false);
  return set;
}

Ref<IFuzzySet> Joined(const IFuzzySet& left, std::string_view word, const IFuzzySet& right) {
  if (IsFuzzyKeyword(word)) RequireSameKind(left, right);
  Ref<IFuzzySet> set;
  TBaseFuzzyHedge base{};
  bool flag = false;
  if (IsFuzzyHedgeOperator(word, base, flag)) {
    set = left.ApplyBaseHedge(base, flag, right.GetCentre());
  } else {
    TFuzzyOperation operation{};
    IsFuzzyKeyword(word, flag, operation);
    set = flag ? left.Union(right, operation) : left.Intersection(right, operation);
    if (!set->GetGivenName().empty()) return set;  // a term joined with itself
  }
  set->SetExpression(JoinedText(left, word, right), true);
  return set;
}

// One expression, in postfix order.
Ref<IKBValue> EvaluateGroup(IFuzzyVariable* variable, const TItems& items, IScope* scope) {
  // A single operand may be a list of values.
  if (items.size() == 1 && KindOf(*items.front()) == ikOperand) {
    const Ref<IKBValue> value = EvaluateFuzzy(variable, items.front(), scope);
    return value->GetDType() == dtFuzzy || scope != nullptr ? value : Kept(items, kKeptTag);
  }
  TSets sets;
  for (const Ref<IKBValue>& item : items) {
    switch (KindOf(*item)) {
      case ikOperand: {
        if (KBNumericTypes.Has(item->GetDType())) {
          // Not always a value of the variable: it may be what a hedge is limited to.
          sets.push_back(FuzzySetOfNumber(variable, *item));
          break;
        }
        const Ref<IKBValue> value = EvaluateFuzzy(variable, item, scope);
        if (value->GetDType() == dtFuzzy) {
          sets.emplace_back(value->GetAsFuzzy());
          break;
        }
        if (scope == nullptr) return Kept(items, kKeptTag);
        Raise(SInvalidFuzzyToken, value->ToString());
      }
      case ikHedge:
        sets.push_back(Hedged(*TakeOperand(sets, item->TextView()), item->TextView()));
        break;
      case ikOperator:
      case ikKeyword: {
        const Ref<IFuzzySet> right = TakeOperand(sets, item->TextView());
        const Ref<IFuzzySet> left = TakeOperand(sets, item->TextView());
        sets.push_back(Joined(*left, item->TextView(), *right));
        break;
      }
      case ikOpen:
      case ikClose:
        Raise(SMissingFuzzyCloseBracket);
    }
  }
  return NewFuzzy(TakeOperand(sets, "]"));
}

TItems ItemsOf(const IValueVector& list) {
  TItems items;
  items.reserve(static_cast<std::size_t>(list.GetValueCount()));
  for (const Ref<IKBValue>& item : list) items.push_back(item ? item : Ref<IKBValue>(FCNil));
  return items;
}

// The results of expressions that stand beside each other. A list among them, which a variable for
// several values has yielded, stands with its members.
Ref<IKBValue> ListOfResults(const TItems& results) {
  const Ref<IValueVector> list = NewVector();
  for (const Ref<IKBValue>& result : results) {
    if (result == FCNil) return FCNil;
    if (result->GetDType() == dtList && result->GetAsList()->GetTag() == kKeptTag) {
      list->SetTag(kKeptGroupsTag);
    } else if (result->GetDType() == dtList) {
      list->Append(*result->GetAsList());
      continue;
    }
    list->Add(result);
  }
  return NewList(list);
}

Ref<IKBValue> EvaluateList(IFuzzyVariable* variable, const IValueVector& list, IScope* scope) {
  const Ref<const IValueVector> kept(&list);  // a call may change who holds it
  TItems items = ItemsOf(list);
  if (list.GetTag() == kKeptTag) {
    if (scope != nullptr) {
      for (Ref<IKBValue>& item : items) item = item->Resolve(scope);
    }
    // What a variable stood for may be several values, which are no operands.
    if (items.size() == 1) return EvaluateFuzzy(variable, items.front(), scope);
    return EvaluateGroup(variable, items, scope);
  }
  TItems results;
  if (list.GetTag() == kKeptGroupsTag) {
    for (const Ref<IKBValue>& item : items) {
      results.push_back(EvaluateFuzzy(variable, item, scope));
    }
    return ListOfResults(results);
  }
  TGrouping grouping;
  for (const Ref<IKBValue>& item : items) {
    const Ref<IKBValue> resolved = scope != nullptr ? item->Resolve(scope) : item;
    // A variable for several values gives its members.
    if (item->GetDType() == dtMultiVariable && resolved->GetDType() == dtList) {
      for (const Ref<IKBValue>& member : ItemsOf(*resolved->GetAsList())) grouping.Take(member);
    } else {
      grouping.Take(resolved);
    }
  }
  const std::vector<TItems> groups = grouping.Finish();
  if (groups.front().empty()) return FCNilList;
  if (groups.size() == 1) return EvaluateGroup(variable, groups.front(), scope);
  for (const TItems& group : groups) results.push_back(EvaluateGroup(variable, group, scope));
  return ListOfResults(results);
}

Ref<IKBValue> EmptyValue(IFuzzyVariable* variable) {
  if (variable == nullptr) Raise(SUndefinedFuzzyVariable);
  return NewFuzzy(variable->GetEmptySet());
}

Ref<IKBValue> NamedValue(IFuzzyVariable* variable, const IKBValue& name) {
  if (variable == nullptr) Raise(SUndefinedFuzzyVariable);
  if (name.TextView().empty() || name.TextView() == SEmptyFuzzy) return EmptyValue(variable);
  IFuzzySet* const set = variable->FindFuzzySet(name.TextView());
  if (set == nullptr) Raise(SInvalidFuzzyToken, name.ToString());
  return NewFuzzy(Ref<IFuzzySet>(set));
}

// A number as a value of the variable. One outside of its universe has the membership that the ends
// of the terms have, but the defuzzifiers do not look there.
Ref<IFuzzySet> Reading(IFuzzyVariable* variable, const IKBValue& number) {
  if (variable != nullptr && variable->HasUniverse() && variable->GetParser() != nullptr) {
    const double x = number.GetAsNumeric();
    const double from = variable->GetUniverseFrom();
    const double to = variable->GetUniverseTo();
    if (x < from || x > to) {
      variable->GetParser()->Warn(
          FillMessage(SFuzzyReadingOutside, number.ToString(), variable->GetName(), from, to));
    }
  }
  return FuzzySetOfNumber(variable, number);
}

bool HasNumbersAlone(const ISingletonsVector& points) {
  const auto is_number = [](const Ref<IKBValue>& cell) {
    return cell && KBNumericTypes.Has(cell->GetDType());
  };
  for (std::int32_t i = 0; i < points.GetCount(); ++i) {
    if (!is_number(points.GetXValue(i)) || !is_number(points.GetYValue(i))) return false;
  }
  return true;
}

// A set of no variable is shared with whoever made it: what is bound is a copy.
Ref<IKBValue> Bound(IFuzzyVariable* variable, const Ref<IKBValue>& value) {
  const IFuzzySet& set = *value->GetAsFuzzy();
  if (variable == nullptr || set.GetVariable() != nullptr) return value;
  Ref<IFuzzySet> own = set.Clone();
  own->SetVariable(variable);
  own->SetParser(variable->GetParserLink());
  return NewFuzzy(own);
}

}  // namespace

void RequireSameKind(const IFuzzySet& a, const IFuzzySet& b) {
  const IFuzzyVariable* const variable_a = a.GetVariable();
  const IFuzzyVariable* const variable_b = b.GetVariable();
  if (variable_a == variable_b || variable_a == nullptr || variable_b == nullptr) return;
  if (variable_a->HasSameUniverse(*variable_b)) return;
  Raise(SDifferentFuzzyVariables, a.GetName(), variable_a->GetName(), b.GetName(),
        variable_b->GetName());
}

Ref<IKBValue> EvaluateFuzzy(IFuzzyVariable* variable, const Ref<IKBValue>& value, IScope* scope) {
  const DepthGuard guard("fuzzy expression");
  switch (value->GetDType()) {
    case dtNone:
      return EmptyValue(variable);
    case dtAtom:
    case dtString:
      return NamedValue(variable, *value);
    case dtInteger:
    case dtFloat:
      return NewFuzzy(Reading(variable, *value));
    case dtVariable:
    case dtMultiVariable:
    case dtFunCall:
      if (scope == nullptr) return value;
      return EvaluateFuzzy(variable, value->Resolve(scope), scope);
    case dtList:
      return EvaluateList(variable, *value->GetAsList(), scope);
    case dtSingletons: {
      const ISingletonsVector* const points = value->GetAsSingletons();
      if (scope == nullptr && points != nullptr && !HasNumbersAlone(*points)) return value;
      return Bound(variable, value->Resolve(scope));
    }
    case dtFuzzy:
      return Bound(variable, value);
    default:
      if (scope == nullptr) return FCNil;
      Raise(SInvalidFuzzyToken, value->ToString());
  }
}

bool IsKeptExpression(const IValueVector& list) {
  return list.GetTag() == kKeptTag || list.GetTag() == kKeptGroupsTag;
}

bool IsSingleExpression(const IValueVector& list) { return list.GetTag() == kKeptTag; }

namespace {

// A piece of an expression that is being written down again.
struct TPiece {
  TItems items;
  bool is_binary = false;
};

void AppendOperand(TItems& items, const TPiece& operand) {
  if (operand.is_binary) items.push_back(NewAtom(Text("[")));
  items.insert(items.end(), operand.items.begin(), operand.items.end());
  if (operand.is_binary) items.push_back(NewAtom(Text("]")));
}

TItems AsWritten(const TItems& postfix) {
  std::vector<TPiece> pieces;
  const auto take = [&pieces](const IKBValue& word) {
    if (pieces.empty()) Raise(SMissingFuzzyOperand, word.TextView());
    TPiece piece = std::move(pieces.back());
    pieces.pop_back();
    return piece;
  };
  for (const Ref<IKBValue>& item : postfix) {
    switch (KindOf(*item)) {
      case ikOpen:
      case ikClose:
      case ikOperand:
        pieces.push_back({{item}, false});
        break;
      case ikHedge: {
        TPiece hedged{{item}, false};
        AppendOperand(hedged.items, take(*item));
        pieces.push_back(std::move(hedged));
        break;
      }
      case ikOperator:
      case ikKeyword: {
        const TPiece right = take(*item);
        TPiece joined = take(*item);
        joined.items.push_back(item);
        AppendOperand(joined.items, right);
        joined.is_binary = true;
        pieces.push_back(std::move(joined));
      }
    }
  }
  TItems items;
  for (const TPiece& piece : pieces) {
    items.insert(items.end(), piece.items.begin(), piece.items.end());
  }
  return items;
}

}  // namespace

Ref<IValueVector> KeptExpressionAsWritten(const IValueVector& list) {
  Ref<IValueVector> written = NewVector();
  if (list.GetTag() == kKeptTag) {
    for (const Ref<IKBValue>& item : AsWritten(ItemsOf(list))) written->Add(item);
    return written;
  }
  for (const Ref<IKBValue>& member : list) {
    if (member && member->GetDType() == dtList && IsKeptExpression(*member->GetAsList())) {
      written->Append(*KeptExpressionAsWritten(*member->GetAsList()));
    } else {
      written->Add(member);
    }
  }
  return written;
}

}  // namespace reasoner
