#include "reasoner/match/ReteNetwork.h"

#include <algorithm>

#include "reasoner/match/ConstantDispatch.h"
#include "reasoner/match/Rule.h"
#include "reasoner/support/Depth.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// Nodes.

TReteNode::TReteNode(TReteNetwork& rete)
    : rete_(rete),
      name_("Node" + IntegerToText(static_cast<std::int64_t>(++rete.node_number_))),
      context_(&rete.GetEngine().GetContext(), &rete.GetEngine()) {}

TReteNode::~TReteNode() = default;

void TReteNode::AddEdge(TReteNode& to, TCallType call_type) {
  edges_.push_back(TReteEdge{&to, call_type});
  to.parents_.push_back(this);
  rete_.LeaveRoots(to);
  if (TConstantDispatch::IsByConstant(to)) ++constant_children_;
  if (dispatch_) {
    dispatch_->Add(edges_.back());
  } else if (constant_children_ == TConstantDispatch::kLeast) {
    dispatch_ = std::make_unique<TConstantDispatch>();
    for (const TReteEdge& edge : edges_) dispatch_->Add(edge);
  }
}

void TReteNode::RemoveEdges(const TReteNode& to) {
  const std::size_t before = edges_.size();
  edges_.erase(std::remove_if(edges_.begin(), edges_.end(),
                              [&to](const TReteEdge& edge) { return edge.to == &to; }),
               edges_.end());
  if (edges_.size() == before) return;  // removed already: two edges led there
  if (TConstantDispatch::IsByConstant(to))
    constant_children_ -= static_cast<std::int32_t>(before - edges_.size());
  if (dispatch_) dispatch_->Remove(to);
  if (constant_children_ == 0) dispatch_.reset();
}

void TReteNode::CallChildren(const Ref<TKBToken>& token) {
  const DepthGuard guard("match");
  const std::size_t count = edges_.size();
  // What fails on one edge stops no other: rules that share a node are each other's strangers.
  FirstFailure failures;
  const auto call = [&](TReteEdge edge) {
    failures.Try([&] { edge.to->CallNode(token, edge.call_type); });
  };
  if (dispatch_ && token->GetTag() != taClear) {
    dispatch_->Visit(*token->GetFact(), call);
  } else {
    for (std::size_t i = 0; i < count && i < edges_.size(); ++i) call(edges_[i]);
  }
  failures.Raise();
}

void TReteNode::StrengthChanged(const Ref<TKBToken>& token, TCallType) {
  TellChildrenStrength(token);
}

void TReteNode::TellChildrenStrength(const Ref<TKBToken>& token) {
  const DepthGuard guard("match");
  for (const TReteEdge& edge : edges_) edge.to->StrengthChanged(token, edge.call_type);
}

std::string TReteNode::ToString() const {
  return name_ + " In/Out#: " + IntegerToText(GetInDegree()) + "/" +
         IntegerToText(static_cast<std::int64_t>(edges_.size())) +
         " RuleUse: " + IntegerToText(rule_use_count_);
}

// Network.

TReteNetwork::TReteNetwork(IReasoner& engine) : engine_(engine) {}

TReteNetwork::~TReteNetwork() {
  OnActivation.Close();
  OnDeactivation.Close();
  OnRuleFired.Close();
  Clear();
}

void TReteNetwork::Clear() {
  rule_nodes_.clear();
  roots_.clear();
  named_roots_.clear();
  template_roots_.clear();
  std::unordered_set<TReteNode*> doomed;
  doomed.swap(nodes_);
  FirstFailure failures;
  for (TReteNode* node : doomed) {
    if (auto* terminal = dynamic_cast<TPatternMatchTerminalNode*>(node)) {
      terminal->Deafen();
      failures.Try([terminal] { terminal->StandDown(); });
    }
  }
  for (TReteNode* node : doomed) delete node;
  failures.Raise();
}

static std::string_view RootName(const TReteNode& node) {
  const auto* pattern = dynamic_cast<const TPatternMatchNode*>(&node);
  if (pattern == nullptr || pattern->GetPatternMatchTest() != pmtTestClassType) return {};
  return pattern->GetValue()->TextView();
}

void TReteNetwork::BecomeRoot(TReteNode& node) {
  node.root_number_ = ++root_count_;
  roots_.push_back(&node);
  const std::string_view name = RootName(node);
  if (name.empty()) return;  // no fact asks for it
  named_roots_[name].push_back(&node);
  template_roots_.clear();
}

void TReteNetwork::LeaveRoots(TReteNode& node) {
  if (!node.IsRoot()) return;
  node.root_number_ = 0;
  // Every node is a root until it gets its first edge: most that leave came last.
  roots_.erase(std::next(std::find(roots_.rbegin(), roots_.rend(), &node)).base());
  const auto named = named_roots_.find(RootName(node));
  if (named == named_roots_.end()) return;
  template_roots_.clear();
  std::vector<TReteNode*>& list = named->second;
  list.erase(std::remove(list.begin(), list.end(), &node), list.end());
  if (!list.empty()) {
    // The key's text belongs to a node that may be this one.
    std::vector<TReteNode*> kept = std::move(list);
    named_roots_.erase(named);
    named_roots_.emplace(RootName(*kept.front()), std::move(kept));
  } else {
    named_roots_.erase(named);
  }
}

void TReteNetwork::FreeNode(TReteNode& node) {
  if (auto* terminal = dynamic_cast<TPatternMatchTerminalNode*>(&node)) terminal->StandDown();
  LeaveRoots(node);
  for (TReteNode* parent : node.parents_) parent->RemoveEdges(node);
  for (const TReteEdge& edge : node.edges_) {
    std::vector<TReteNode*>& parents = edge.to->parents_;
    parents.erase(std::remove(parents.begin(), parents.end(), &node), parents.end());
    if (parents.empty() && !edge.to->IsRoot()) BecomeRoot(*edge.to);
  }
  nodes_.erase(&node);
  delete &node;
}

const std::vector<TReteNode*>& TReteNetwork::RootsOf(const IFactTemplate& fact_template) {
  const auto is_current = [&fact_template](const TTemplateRoots& known) {
    const IFactTemplate* item = &fact_template;
    for (const std::uint64_t layout : known.layouts) {
      if (item == nullptr || item->GetLayout() != layout) return false;
      item = item->GetParent().get();
    }
    return item == nullptr;
  };
  const auto found = template_roots_.find(fact_template.GetLayout());
  if (found != template_roots_.end() && is_current(found->second)) return found->second.roots;
  if (template_roots_.size() > 4096) template_roots_.clear();  // layouts that are gone
  TTemplateRoots known;
  for (const IFactTemplate* item = &fact_template; item != nullptr;
       item = item->GetParent().get()) {
    known.layouts.push_back(item->GetLayout());
    const auto named = named_roots_.find(item->GetTemplateName());
    if (named == named_roots_.end()) continue;
    for (TReteNode* root : named->second) {
      if (std::find(known.roots.begin(), known.roots.end(), root) == known.roots.end())
        known.roots.push_back(root);
    }
  }
  std::sort(known.roots.begin(), known.roots.end(), [](const TReteNode* a, const TReteNode* b) {
    return a->GetRootNumber() < b->GetRootNumber();
  });
  return (template_roots_[fact_template.GetLayout()] = std::move(known)).roots;
}

bool TReteNetwork::ProcessToken(const Ref<TKBToken>& token) {
  const TTokenAction tag = Given(token, "token").GetTag();
  if (tag != taClear) Given(Given(token->GetFact(), "fact").GetTemplate(), "template");
  if (!enabled_ && (tag == taAdd || tag == taUpdate)) return false;
  bool passed = false;
  const std::vector<TReteNode*> roots =
      tag == taClear ? roots_ : RootsOf(*token->GetFact()->GetTemplate());
  FirstFailure failures;
  for (TReteNode* root : roots) {
    failures.Try([&] { passed = root->CallNode(token, ctSingle) || passed; });
  }
  failures.Raise();
  return passed;
}

void TReteNetwork::SetEnabled(bool enabled) {
  if (enabled == enabled_) return;
  engine_.RequireIdleNetwork("switching the network");
  enabled_ = enabled;
  if (!enabled_) engine_.ClearNetwork();
}

void TReteNetwork::SetMinActivationStrength(float value) noexcept {
  min_activation_strength_ = std::clamp(value, 0.0F, 1.0F);
}

const std::vector<TReteNode*>* TReteNetwork::GetRuleNodes(const TRule& rule) const {
  const auto found = rule_nodes_.find(&rule);
  return found == rule_nodes_.end() ? nullptr : &found->second;
}

std::vector<TReteNode*> TReteNetwork::CutOffRule(TRule& rule, FirstFailure& failures) {
  const auto found = rule_nodes_.find(&rule);
  if (found == rule_nodes_.end()) return {};
  std::vector<TReteNode*> nodes = std::move(found->second);
  rule_nodes_.erase(found);
  for (TReteNode* node : nodes) {
    if (auto* join = dynamic_cast<TJoinNode*>(node)) join->ForgetRule(rule);
    auto* terminal = dynamic_cast<TPatternMatchTerminalNode*>(node);
    if (terminal == nullptr) continue;
    terminal->Deafen();
    failures.Try([terminal] { terminal->StandDown(); });
  }
  return nodes;
}

void TReteNetwork::ReleaseNodes(const std::vector<TReteNode*>& nodes) {
  // From the terminal upward: a chain is built from its root downward.
  for (auto node = nodes.rbegin(); node != nodes.rend(); ++node) {
    (*node)->SetRuleUseCount((*node)->GetRuleUseCount() - 1);
    if ((*node)->GetRuleUseCount() == 0) FreeNode(**node);
  }
}

void TReteNetwork::RemoveRule(TRule& rule) {
  FirstFailure failures;
  ReleaseNodes(CutOffRule(rule, failures));
  failures.Raise();
}

TPatternMatchTerminalNode* TReteNetwork::GetTerminal(const TRule& rule) const {
  const std::vector<TReteNode*>* nodes = GetRuleNodes(rule);
  return nodes == nullptr || nodes->empty()
             ? nullptr
             : dynamic_cast<TPatternMatchTerminalNode*>(nodes->back());
}

static void AddNodeTree(TCaptionNode& tree, std::string caption, const TReteNode& node) {
  const DepthGuard guard("network");
  TCaptionNode& own = tree.Add(std::move(caption));
  for (const TReteEdge& edge : node.GetEdges()) {
    AddNodeTree(own, std::string(kCallTypeNames[edge.call_type]) + " " + edge.to->ToString(),
                *edge.to);
  }
}

void TReteNetwork::FillTreeView(TCaptionNode& tree) const {
  tree.children.clear();
  for (const TReteNode* root : roots_) AddNodeTree(tree, root->ToString(), *root);
}

void TReteNetwork::Activate(TActivation& activation) {
  if (!engine_.AddActivation(activation) || !OnActivation.IsHeard()) return;
  // A handler may end the activation: then those behind it are not called. The node stays as long
  // as a token is inside the network.
  const TPatternMatchTerminalNode* const node = activation.GetNode();
  const std::uint32_t identity = activation.GetToken()->GetIdentityHash();
  Report(OnActivation, activation,
         [&] { return node != nullptr && node->Holds(&activation, identity); });
}

void TReteNetwork::Deactivate(TActivation& activation) {
  const std::unique_ptr<TActivation> kept = engine_.RemoveActivation(activation);
  Report(OnDeactivation, activation, [] { return true; });
}

void TReteNetwork::RuleFired(TActivation& activation) {
  const std::unique_ptr<TActivation> kept = engine_.RuleFired(activation);
  Report(OnRuleFired, activation, [] { return true; });
}

template <class TPredicate>
void TReteNetwork::Report(const TActivationEvent& event, TActivation& activation,
                          TPredicate is_valid) {
  if (!event.IsHeard()) return;
  try {
    event.CallWhile(is_valid, *this, activation);
  } catch (...) {
    engine_.NetworkFailed(std::current_exception());
  }
}

}  // namespace reasoner
