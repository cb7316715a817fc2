// The compiler: from a rule to nodes, in four passes.
//
// - each pattern's chain: expansions of `$?`, lengths of multislots, literals and calls of the
//   pattern alone
// - comparisons between places of one pattern that hold the same variable
// - the joins, with the comparisons and calls that reach across patterns; negation and tests
// - the terminal node; then the new nodes are fed with the facts that are there
//
// A new rule's facts go to new nodes only: where its chain uses nodes of older rules, throw-away
// copies of these take the facts, so that older rules see nothing and the new nodes get what they
// would have got from the start.

#include <algorithm>
#include <unordered_map>

#include "reasoner/functions/FunctionCall.h"
#include "reasoner/match/ConstantDispatch.h"
#include "reasoner/match/ReteNetwork.h"
#include "reasoner/match/Rule.h"
#include "reasoner/support/Depth.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

class ReteCompiler {
 public:
  ReteCompiler(TReteNetwork& network, TRule& rule, std::vector<TReteNode*>& rule_nodes)
      : network_(network), rule_(rule), plan_(rule.GetPlan()), rule_nodes_(rule_nodes) {}

  void Compile();
  // Raises the first failure when every fact has had its turn.
  void Feed();

 private:
  struct Link {
    TReteNode* from;
    TReteNode* to;
    TCallType call_type;
  };

  void BuildPatternChains();
  void BuildPlaceTests();
  void BuildJoins();
  void BuildTerminal();

  TReteNode& Successor(TReteNode* parent, TPatternMatchTest test, const Ref<IKBValue>& value,
                       const TNodeArgs& args);
  void LinkNodes(TReteNode& from, TReteNode& to, TCallType call_type, bool is_new);
  void Use(TReteNode& node) { rule_nodes_.push_back(&node); }
  void Trace(std::string_view code) { rule_.CompileTrace += code; }

  Ref<IFunCall> CompileCall(const IFunCall& fun_call, std::int32_t fact_index,
                            bool is_test_element = false) const;
  Ref<IFunCall> GlobalTest(const IKBValue& variable, const TKBPattern& pattern, std::int32_t slot,
                           const TKBPatternMatchTest& test, std::int32_t fact_index) const;
  bool IsFuzzyPlace(const TBinding& binding) const;
  bool ReachesBeyond(const IFunCall& fun_call, std::int32_t fact_index) const;
  void PointAtOnlyFact(IFunCall& fun_call) const;
  void AddJoinTests(TTestNode& node, TJoinNode* join, std::int32_t pattern_index);
  TReteNode& FeedNode(TReteNode& node);
  void UnlinkCopies();

  TReteNetwork& network_;
  TRule& rule_;
  const RulePlan& plan_;
  std::vector<TReteNode*>& rule_nodes_;
  std::vector<TReteNode*> roots_;
  std::vector<TReteNode*> tails_;
  std::vector<Link> links_;
  std::unordered_set<TReteNode*> new_nodes_;
  std::unordered_map<TReteNode*, std::unique_ptr<TReteNode>> feed_copies_;
};

void ReteCompiler::LinkNodes(TReteNode& from, TReteNode& to, TCallType call_type, bool is_new) {
  if (is_new) from.AddEdge(to, call_type);
  const bool known = std::any_of(links_.begin(), links_.end(), [&](const Link& link) {
    return link.from == &from && link.to == &to && link.call_type == call_type;
  });
  if (!known) links_.push_back(Link{&from, &to, call_type});
}

TReteNode& ReteCompiler::Successor(TReteNode* parent, TPatternMatchTest test,
                                   const Ref<IKBValue>& value, const TNodeArgs& args) {
  if (value && value->GetDType() == dtFunCall) PointAtOnlyFact(*value->GetAsFunCall());
  const auto serves = [&](TReteNode* node) {
    const auto* pattern_node = dynamic_cast<const TPatternMatchNode*>(node);
    return pattern_node != nullptr && pattern_node->Serves(test, value.get(), args);
  };
  TReteNode* found = nullptr;
  if (parent == nullptr && test == pmtTestClassType) {
    const auto named = network_.named_roots_.find(value->TextView());
    if (named != network_.named_roots_.end()) found = named->second.front();
  } else if (parent == nullptr) {
    const auto root = std::find_if(network_.roots_.begin(), network_.roots_.end(), serves);
    if (root != network_.roots_.end()) found = *root;
  } else if (parent->GetDispatch() != nullptr && value &&
             TConstantDispatch::IsByConstant(test, *value)) {
    found = parent->GetDispatch()->Find(test, *value, args);
  } else {
    const auto edge = std::find_if(parent->GetEdges().begin(), parent->GetEdges().end(),
                                   [&](const TReteEdge& item) { return serves(item.to); });
    if (edge != parent->GetEdges().end()) found = edge->to;
  }
  if (found != nullptr) {
    found->SetRuleUseCount(found->GetRuleUseCount() + 1);
    Use(*found);
    if (parent != nullptr) {
      Trace("=1");
      LinkNodes(*parent, *found, ctSingle, false);
    }
    return *found;
  }
  TReteNode& node = network_.NewNode<TPatternMatchNode>(test, value, args);
  new_nodes_.insert(&node);
  network_.BecomeRoot(node);
  Use(node);
  if (parent != nullptr) LinkNodes(*parent, node, ctSingle, true);
  Trace("+1");
  return node;
}

// A copy of a call in which every variable of the rule is a place in the match. A test element has
// no fact of its own: the one at its index is that of the pattern behind it.
Ref<IFunCall> ReteCompiler::CompileCall(const IFunCall& fun_call, std::int32_t fact_index,
                                        bool is_test_element) const {
  const DepthGuard guard("function call");
  Ref<IFunCall> compiled = fun_call.Clone();
  for (std::int32_t i = 0; i < compiled->GetArgumentCount(); ++i) {
    const Ref<IKBValue> argument = compiled->GetArgument(i);
    if (!argument) continue;
    if (argument->GetDType() == dtFunCall) {
      compiled->SetArgument(
          i, NewFunCallValue(CompileCall(*argument->GetAsFunCall(), fact_index, is_test_element)));
    } else if (KBVariableTypes.Has(argument->GetDType())) {
      const Text name = argument->GetAsVariable();
      const TBinding* const binding = plan_.BindingFor(name, fact_index);
      if (binding != nullptr && !(is_test_element && binding->FactIndex == fact_index)) {
        const Ref<IKBValue> place = Make<TKBValue>();
        place->SetAsOwnedObject(
            new TBindingInfo(binding->FactIndex, binding->SlotIndex, binding->SubIndex));
        compiled->SetArgument(i, place);
      } else if (!network_.GetEngine().HasGlobalVariable(name)) {
        Raise(SUnknownVariable, name.view());
      }
    }
  }
  return compiled;
}

// The comparison of a place with the value of a global.
Ref<IFunCall> ReteCompiler::GlobalTest(const IKBValue& variable, const TKBPattern& pattern,
                                       std::int32_t slot, const TKBPatternMatchTest& test,
                                       std::int32_t fact_index) const {
  IReasoner& engine = network_.GetEngine();
  const bool equals = test.GetSlotTestType() == sttEquals;
  Ref<IFunCall> comparison = Make<TFunctionCall>(&engine, equals ? "eq" : "neq");
  comparison->BindLogicFunction(engine.GetLogicFunction(equals ? lfEq : lfNeq));
  comparison->AddArgument(variable.Clone());
  const Ref<IKBValue> place = Make<TKBValue>();
  place->SetAsOwnedObject(
      new TBindingInfo(fact_index, pattern.GetSlotName(slot), test.GetMultiSlotSubIndex()));
  comparison->AddArgument(place);
  return comparison;
}

static const TBindingInfo* PlaceOf(const IKBValue& value) {
  return value.GetDType() == dtObject ? dynamic_cast<const TBindingInfo*>(value.GetAsObject())
                                      : nullptr;
}

// True when the call, at any depth, reads another fact than the one at `index`.
bool ReteCompiler::ReachesBeyond(const IFunCall& fun_call, std::int32_t fact_index) const {
  const DepthGuard guard("function call");
  for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
    const Ref<IKBValue>& argument = fun_call.GetArgument(i);
    if (!argument) continue;
    if (argument->GetDType() == dtFunCall && ReachesBeyond(*argument->GetAsFunCall(), fact_index))
      return true;
    const TBindingInfo* place = PlaceOf(*argument);
    if (place != nullptr && place->FactIndex != fact_index) return true;
  }
  return false;
}

// A test of one pattern sees one fact, whatever the pattern's place in the rule.
void ReteCompiler::PointAtOnlyFact(IFunCall& fun_call) const {
  const DepthGuard guard("function call");
  for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
    const Ref<IKBValue>& argument = fun_call.GetArgument(i);
    if (!argument) continue;
    if (argument->GetDType() == dtFunCall) PointAtOnlyFact(*argument->GetAsFunCall());
    if (argument->GetDType() != dtObject) continue;
    if (auto* place = dynamic_cast<TBindingInfo*>(argument->GetAsObject())) place->FactIndex = 0;
  }
}

static TPatternMatchTest ValueTest(const TKBPatternMatchTest& test) {
  const bool multi = test.GetMultiSlotSubIndex() != NoSubIndex;
  if (test.GetSlotTestType() == sttEquals) return multi ? pmtTestMultiSlotEqual : pmtTestEqual;
  return multi ? pmtTestMultiSlotNotEqual : pmtTestNotEqual;
}

void ReteCompiler::BuildPatternChains() {
  for (std::int32_t i = 0; i < plan_.GetPatternCount(); ++i) {
    const TKBPattern& pattern = plan_.GetPattern(i);
    const Ref<IKBValue> name = NewAtom(pattern.GetName());
    TReteNode* node =
        &Successor(nullptr, pattern.IsTest() ? pmtUnknown : pmtTestClassType, name, TNodeArgs{});
    roots_.push_back(node);
    if (pattern.IsTest()) {
      tails_.push_back(node);
      continue;
    }
    for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
      std::int32_t expanded = NoSubIndex;
      for (std::int32_t t = 0; t < pattern.GetSlotTestCount(slot); ++t) {
        const TKBPatternMatchTest& test = pattern.GetSlotTest(slot, t);
        // A field of several variables, as in `$?x&~$?y`, is one span.
        if (test.GetSlotValue()->GetDType() != dtMultiVariable ||
            test.GetMultiSlotSubIndex() == expanded) {
          continue;
        }
        expanded = test.GetMultiSlotSubIndex();
        const TNodeArgs args{pattern.GetSlotName(slot), {}, test.GetMultiSlotSubIndex(), 0};
        node = &Successor(node, pmtTestMultiSlotMultiField, nullptr, args);
      }
    }
    for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
      if (pattern.GetSlotLength(slot) < 0) continue;
      const TNodeArgs args{pattern.GetSlotName(slot), {}, pattern.GetSlotLength(slot), 0};
      node = &Successor(node, pmtTestMultiSlotLength, nullptr, args);
    }
    const std::int32_t fact_index = plan_.FactIndexOf(i);
    for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
      for (std::int32_t t = 0; t < pattern.GetSlotTestCount(slot); ++t) {
        const TKBPatternMatchTest& test = pattern.GetSlotTest(slot, t);
        const Ref<IKBValue>& value = test.GetSlotValue();
        const TNodeArgs args{
            pattern.GetSlotName(slot), {}, test.GetMultiSlotSubIndex(), NoSubIndex};
        if (KBVariableTypes.Has(value->GetDType())) {
          const Text variable = value->GetAsVariable();
          if (plan_.BindingFor(variable, fact_index) != nullptr ||
              !network_.GetEngine().HasGlobalVariable(variable)) {
            continue;
          }
          // A call that yields FALSE fails the test, so the comparison carries the sense and the
          // node does not.
          const TPatternMatchTest kind =
              args.first == NoSubIndex ? pmtTestEqual : pmtTestMultiSlotEqual;
          node = &Successor(node, kind,
                            NewFunCallValue(GlobalTest(*value, pattern, slot, test, fact_index)),
                            args);
        } else if (value->GetDType() == dtFunCall) {
          const Ref<IFunCall> call = CompileCall(*value->GetAsFunCall(), fact_index);
          if (ReachesBeyond(*call, fact_index)) continue;
          node = &Successor(node, ValueTest(test), NewFunCallValue(call), args);
        } else {
          node = &Successor(node, ValueTest(test), value, args);
        }
      }
    }
    tails_.push_back(node);
  }
}

// One occurrence of a variable in a pattern.
struct TOccurrence {
  std::int32_t slot;
  const TKBPatternMatchTest* test;
};

// The variables of a pattern in the order of their first occurrence, each with all its occurrences.
static std::vector<std::pair<Text, std::vector<TOccurrence>>> VariablesOf(
    const TKBPattern& pattern) {
  std::vector<std::pair<Text, std::vector<TOccurrence>>> variables;
  for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
    for (std::int32_t t = 0; t < pattern.GetSlotTestCount(slot); ++t) {
      const TKBPatternMatchTest& test = pattern.GetSlotTest(slot, t);
      if (!KBVariableTypes.Has(test.GetSlotValue()->GetDType())) continue;
      const Text name = test.GetSlotValue()->GetAsVariable();
      auto found = std::find_if(variables.begin(), variables.end(),
                                [&name](const auto& variable) { return variable.first == name; });
      if (found == variables.end()) found = variables.insert(found, {name, {}});
      found->second.push_back(TOccurrence{slot, &test});
    }
  }
  return variables;
}

// The occurrence that the others of the pattern are compared with: where the variable is bound,
// else its first plain one. Null when all are negated.
static const TOccurrence* BaseOf(const std::vector<TOccurrence>& occurrences) {
  const auto base =
      std::find_if(occurrences.begin(), occurrences.end(), [](const TOccurrence& occurrence) {
        return occurrence.test->GetSlotTestType() == sttEquals;
      });
  return base == occurrences.end() ? nullptr : &*base;
}

void ReteCompiler::BuildPlaceTests() {
  for (std::int32_t i = 0; i < plan_.GetPatternCount(); ++i) {
    const TKBPattern& pattern = plan_.GetPattern(i);
    if (pattern.IsTest()) continue;
    const std::int32_t fact_index = plan_.FactIndexOf(i);
    for (const auto& [name, occurrences] : VariablesOf(pattern)) {
      const TBinding* binding = plan_.BindingFor(name, fact_index);
      if (binding == nullptr) continue;  // a global: each place is tested by itself
      const TOccurrence* base = BaseOf(occurrences);
      TNodeArgs args;
      if (binding->FactIndex == fact_index) {
        // The binding may lie among the alternatives of a field, which are no occurrences any more.
        args.first_slot = binding->SlotIndex;
        args.first = binding->SubIndex;
        // The variable stands for the fact: each place is compared with the fact's own id.
        if (binding->SlotIndex == SPatternBinding) base = nullptr;
        if (base != nullptr && !(pattern.GetSlotName(base->slot) == args.first_slot &&
                                 base->test->GetMultiSlotSubIndex() == args.first)) {
          base = nullptr;
        }
      } else if (base == nullptr) {
        continue;
      } else {
        args.first_slot = pattern.GetSlotName(base->slot);
        args.first = base->test->GetMultiSlotSubIndex();
      }
      for (const TOccurrence& other : occurrences) {
        if (&other == base) continue;
        args.second_slot = pattern.GetSlotName(other.slot);
        args.second = other.test->GetMultiSlotSubIndex();
        const TPatternMatchTest kind = other.test->GetSlotTestType() == sttEquals
                                           ? pmtTestSlotValueEqual
                                           : pmtTestSlotValueNotEqual;
        TReteNode*& tail = tails_[static_cast<std::size_t>(i)];
        tail = &Successor(tail, kind, nullptr, args);
      }
    }
  }
}

static bool IsFuzzySlot(const TKBPattern& pattern, const Text& name) {
  const IFactSlot* const slot = pattern.GetFactTemplate()->FindSlot(name);
  return slot != nullptr && slot->IsFuzzy();
}

// Whether a variable is bound in a fuzzy slot.
bool ReteCompiler::IsFuzzyPlace(const TBinding& binding) const {
  for (std::int32_t i = 0; i < plan_.GetPatternCount(); ++i) {
    const TKBPattern& pattern = plan_.GetPattern(i);
    if (pattern.IsTest() || plan_.FactIndexOf(i) != binding.FactIndex) continue;
    if (IsFuzzySlot(pattern, binding.SlotIndex)) return true;
  }
  return false;
}

void ReteCompiler::AddJoinTests(TTestNode& node, TJoinNode* join, std::int32_t pattern_index) {
  const TKBPattern& pattern = plan_.GetPattern(pattern_index);
  const std::int32_t fact_index = plan_.FactIndexOf(pattern_index);
  if (join != nullptr) {
    // A fact that is bound to a variable of an earlier pattern is the one that the variable holds.
    const Text bound = pattern.GetBoundName();
    const TBinding* earlier = bound.empty() ? nullptr : plan_.BindingFor(bound, fact_index);
    if (earlier != nullptr && earlier->FactIndex < fact_index && network_.IsTextbook()) {
      join->AddJoinTest(sttEquals, earlier->FactIndex, earlier->SlotIndex, earlier->SubIndex,
                        SPatternBinding, NoSubIndex);
    }
    for (const auto& [name, occurrences] : VariablesOf(pattern)) {
      const TBinding* binding = plan_.BindingFor(name, fact_index);
      if (binding == nullptr) {
        if (network_.GetEngine().HasGlobalVariable(name)) continue;
        Raise(SCorruptedVariable, name.view());
      }
      if (binding->FactIndex == fact_index) continue;  // bound in this very pattern
      const TOccurrence* base = BaseOf(occurrences);
      for (const TOccurrence& occurrence : occurrences) {
        if (base != nullptr && &occurrence != base) continue;
        join->AddJoinTest(
            occurrence.test->GetSlotTestType(), binding->FactIndex, binding->SlotIndex,
            binding->SubIndex, pattern.GetSlotName(occurrence.slot),
            occurrence.test->GetMultiSlotSubIndex(),
            IsFuzzySlot(pattern, pattern.GetSlotName(occurrence.slot)) || IsFuzzyPlace(*binding));
      }
    }
  }
  for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
    for (std::int32_t t = 0; t < pattern.GetSlotTestCount(slot); ++t) {
      const TKBPatternMatchTest& test = pattern.GetSlotTest(slot, t);
      if (test.GetSlotValue()->GetDType() != dtFunCall) continue;
      if (pattern.GetFactTemplate()->IsBackwardChaining())
        Raise(SBackChainFuncallPatterns, pattern.GetName());
      const Ref<IFunCall> call =
          CompileCall(*test.GetSlotValue()->GetAsFunCall(), fact_index, pattern.IsTest());
      if (join == nullptr || ReachesBeyond(*call, fact_index)) {
        node.AddTest(test.GetSlotTestType(), NewFunCallValue(call));
      }
    }
  }
}

// Whether a call decides what leaves the pattern's chain.
static bool AsksCalls(const TReteNode* node) {
  while (const auto* pattern_node = dynamic_cast<const TPatternMatchNode*>(node)) {
    const Ref<IKBValue>& value = pattern_node->GetValue();
    if (value && value->GetDType() == dtFunCall) return true;
    node = pattern_node->GetFirstParent();
  }
  return false;
}

void ReteCompiler::BuildJoins() {
  for (std::int32_t i = 1; i < plan_.GetPatternCount(); ++i) {
    const TKBPattern& pattern = plan_.GetPattern(i);
    TReteNode*& left = tails_[static_cast<std::size_t>(i - 1)];
    TReteNode*& right = tails_[static_cast<std::size_t>(i)];
    const std::int32_t negations = pattern.GetNegatedCount();
    const bool asks = !pattern.IsTest() && TGoalPlan::IsWanted(pattern);
    TReteNode* node = nullptr;
    if (pattern.IsTest()) {
      auto& test_node = network_.NewNode<TTestNode>();
      node = &test_node;
      test_node.SetPatternIndex(i);
      try {
        AddJoinTests(test_node, nullptr, i);
      } catch (...) {
        network_.FreeNode(*node);
        throw;
      }
    } else {
      auto& join = network_.NewNode<TJoinNode>(negations > 0, pattern.IsUnique(), asks,
                                               network_.GetHashKey());
      node = &join;
      join.SetPatternIndex(i);
      try {
        AddJoinTests(join, &join, i);
      } catch (...) {
        network_.FreeNode(*node);
        throw;
      }
      // A join of two of the same tails with the same tests serves both rules. It must hold what a
      // join of the new rule's own would: where a call decides, it may have answered otherwise
      // then, and a unique pattern's partner depends on what was there when.
      const bool may_share =
          negations == 0 && !pattern.IsUnique() && !AsksCalls(left) && !AsksCalls(right);
      TJoinNode* shared = nullptr;
      // The joins of both are among those of the one that has fewer.
      const std::vector<TReteNode*> both = {left, right};
      const TReteNode& fewer = left->GetEdges().size() < right->GetEdges().size() ? *left : *right;
      for (const TReteEdge& edge : fewer.GetEdges()) {
        if (!may_share || shared != nullptr) break;
        auto* candidate = dynamic_cast<TJoinNode*>(edge.to);
        if (candidate != nullptr && candidate->parents_ == both && candidate->Serves(join))
          shared = candidate;
      }
      if (shared != nullptr) {
        network_.FreeNode(join);
        node = shared;
        node->SetRuleUseCount(node->GetRuleUseCount() + 1);
        Use(*node);
        if (asks) shared->AddGoalPlan(TGoalPlan(rule_, i));
        Trace("=2");
        LinkNodes(*left, *node, ctLeft, false);
        LinkNodes(*right, *node, ctRight, false);
        left = right = node;
        continue;
      }
      join.PrepareShortCut();
      if (asks) join.AddGoalPlan(TGoalPlan(rule_, i));
    }
    new_nodes_.insert(node);
    Use(*node);
    LinkNodes(*left, *node, ctLeft, true);
    LinkNodes(*right, *node, ctRight, true);
    Trace("+2");
    // Each further level of negation blocks the left tokens that the level before lets through.
    TReteNode* const first_level = node;
    for (std::int32_t level = 1; !pattern.IsTest() && level < negations; ++level) {
      auto& next = network_.NewNode<TJoinNode>(true, false, false, network_.GetHashKey());
      new_nodes_.insert(&next);
      Use(next);
      LinkNodes(*node, next, ctRight, true);
      LinkNodes(*left, next, ctLeft, true);
      if (network_.IsTextbook()) {
        next.CompareChains();
        if (level % 2 == 1) next.TakeDegreesFrom(static_cast<TJoinNode&>(*first_level));
      }
      next.SetPatternIndex(i);
      next.PrepareShortCut();
      node = &next;
    }
    left = right = node;
  }
}

void ReteCompiler::BuildTerminal() {
  auto& terminal = network_.NewNode<TPatternMatchTerminalNode>(rule_);
  new_nodes_.insert(&terminal);
  Trace("+t");
  Use(terminal);
  LinkNodes(*tails_.back(), terminal, ctActivate, true);
}

void ReteCompiler::Compile() {
  rule_.CompileTrace = rule_.GetRuleName() + ": ";
  BuildPatternChains();
  BuildPlaceTests();
  BuildJoins();
  BuildTerminal();
}

// What stands for a node while the rule is fed: the node itself if it is new, else an empty copy.
TReteNode& ReteCompiler::FeedNode(TReteNode& node) {
  if (new_nodes_.count(&node) != 0) return node;
  std::unique_ptr<TReteNode>& copy = feed_copies_[&node];
  if (!copy) {
    if (const auto* pattern_node = dynamic_cast<const TPatternMatchNode*>(&node)) {
      copy = std::make_unique<TPatternMatchNode>(network_, pattern_node->GetPatternMatchTest(),
                                                 pattern_node->GetValue(), pattern_node->GetArgs());
    } else {
      copy = std::make_unique<TJoinNode>(network_, dynamic_cast<const TJoinNode&>(node));
    }
  }
  return *copy;
}

void ReteCompiler::Feed() {
  std::vector<TReteNode*> roots;
  for (TReteNode* root : roots_) {
    TReteNode* feed = &FeedNode(*root);
    if (std::find(roots.begin(), roots.end(), feed) == roots.end()) roots.push_back(feed);
  }
  struct Unlink {
    // The copies end with their edges: the real nodes forget them as parents.
    ReteCompiler& compiler;
    ~Unlink() { compiler.UnlinkCopies(); }
  } unlink{*this};
  for (const Link& link : links_) {
    if (new_nodes_.count(link.from) == 0)
      FeedNode(*link.from).AddEdge(FeedNode(*link.to), link.call_type);
  }
  const std::vector<Ref<IFact>> facts = network_.GetEngine().SnapshotFacts();
  FirstFailure failures;
  for (const Ref<IFact>& fact : facts) {
    const Ref<TKBToken> token = Make<TKBToken>(taAdd, fact);
    for (TReteNode* root : roots) {
      failures.Try([&] { root->CallNode(token, ctSingle); });
    }
  }
  if (auto* terminal = dynamic_cast<TPatternMatchTerminalNode*>(rule_nodes_.back()))
    terminal->SetInitialized();
  failures.Raise();
}

void ReteCompiler::UnlinkCopies() {
  for (const auto& [node, copy] : feed_copies_) {
    for (const TReteEdge& edge : copy->edges_) {
      std::vector<TReteNode*>& parents = edge.to->parents_;
      parents.erase(std::remove(parents.begin(), parents.end(), copy.get()), parents.end());
    }
  }
  feed_copies_.clear();
}

void TReteNetwork::AddRule(TRule& rule, bool feeds) {
  if (!enabled_) return;
  rule.AddStart();
  if (HasRule(rule)) return;
  std::vector<TReteNode*> nodes;
  ReteCompiler compiler(*this, rule, nodes);
  try {
    compiler.Compile();
    rule_nodes_[&rule] = nodes;
  } catch (...) {
    // What the rule's end raises is less than why it ends.
    FirstFailure failures;
    rule_nodes_[&rule] = nodes;
    ReleaseNodes(CutOffRule(rule, failures));
    throw;
  }
  if (feeds) compiler.Feed();
}

void TReteNetwork::TryRule(IReasoner& engine, TRule& rule) {
  TReteNetwork(engine).AddRule(rule, false);
}

}  // namespace reasoner
