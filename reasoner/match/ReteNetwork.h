// TReteNetwork: the graph of all nodes; it compiles rules into nodes and is the door of all
// matching.
//
// The compiled form of a rule is a left-deep chain. Each pattern gets a chain of pattern nodes that
// starts at a root; the chain of the first pattern and that of the second meet in a join, that join
// and the third chain in the next one, and the last node leads to a terminal node. Nodes that other
// rules have built already are shared.
//
//   roots:      (a ...)        (b ...)        (c ...)
//                  |              |              |
//               tests          tests          tests
//                   \            /               |
//                       join                    /
//                            \                 /
//                                   join
//                                     |
//                                 terminal

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "reasoner/match/JoinNode.h"
#include "reasoner/match/PatternNode.h"
#include "reasoner/match/TerminalNode.h"
#include "reasoner/support/CaptionTree.h"
#include "reasoner/support/Event.h"
#include "reasoner/support/FirstFailure.h"
#include "reasoner/support/Object.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

class TReteNetwork : public TPersistent {
 public:
  using TActivationEvent = Event<void(TReteNetwork& sender, TActivation& activation)>;

  // The engine owns the network.
  explicit TReteNetwork(IReasoner& engine);
  ~TReteNetwork() override;

  IReasoner& GetEngine() const noexcept { return engine_; }
  // Which semantics new nodes follow; those that are there were made under it.
  bool IsTextbook() const noexcept { return engine_.GetLink()->textbook_semantics; }

  // Compiles the rule and feeds it with the facts that are there. What cannot be compiled leaves no
  // trace; where a test raises, the rule stays with all its other matches, and the first failure is
  // raised in the end. A rule without patterns gets the initial one.
  void AddRule(TRule& rule, bool feeds = true);
  void RemoveRule(TRule& rule);
  // Compiles the rule in a network that is thrown away: raises what AddRule would raise before it
  // feeds the rule.
  static void TryRule(IReasoner& engine, TRule& rule);
  // The two halves of RemoveRule, for a rule that goes while a token is inside: cut off, it hears
  // and does nothing any more; its nodes stay until they are released.
  std::vector<TReteNode*> CutOffRule(TRule& rule, FirstFailure& failures);
  void ReleaseNodes(const std::vector<TReteNode*>& nodes);
  // The rule's terminal node, or null if the network does not know the rule.
  TPatternMatchTerminalNode* GetTerminal(const TRule& rule) const;
  bool HasRule(const TRule& rule) const { return rule_nodes_.find(&rule) != rule_nodes_.end(); }
  // Forgets all rules and frees all nodes.
  void Clear();

  // Sends a token to the roots that its fact can pass; a clear token to all.
  bool ProcessToken(const Ref<TKBToken>& token);

  // A disabled network takes no facts and no rules; disabling empties it.
  bool IsEnabled() const noexcept { return enabled_; }
  void SetEnabled(bool enabled);
  // The bucket count of joins made from now on.
  std::int32_t GetHashKey() const noexcept { return hash_key_; }
  void SetHashKey(std::int32_t value) noexcept { hash_key_ = value < 1 ? 1 : value; }
  float GetMinActivationStrength() const noexcept { return min_activation_strength_; }
  void SetMinActivationStrength(float value) noexcept;

  // Nodes without incoming edges, in the order in which they became so.
  const std::vector<TReteNode*>& GetRoots() const noexcept { return roots_; }
  // Every node that the rule uses, once a use, in order; null if the network does not know the
  // rule.
  const std::vector<TReteNode*>* GetRuleNodes(const TRule& rule) const;
  std::size_t GetNodeCount() const noexcept { return nodes_.size(); }
  const std::unordered_set<TReteNode*>& GetNodes() const noexcept { return nodes_; }

  // A tree for each root, with the nodes behind it: a node with two parents shows under both.
  void FillTreeView(TCaptionNode& tree) const;

  // Called by terminal nodes: the engine first, then the event.
  void Activate(TActivation& activation);
  void Deactivate(TActivation& activation);
  void RuleFired(TActivation& activation);

  TActivationEvent OnActivation;
  TActivationEvent OnDeactivation;
  TActivationEvent OnRuleFired;

 private:
  friend class TReteNode;
  friend class ReteCompiler;

  template <class TPredicate>
  void Report(const TActivationEvent& event, TActivation& activation, TPredicate is_valid);
  // Takes ownership.
  template <class TNode, class... TArgs>
  TNode& NewNode(TArgs&&... args) {
    auto node = std::make_unique<TNode>(*this, std::forward<TArgs>(args)...);
    nodes_.insert(node.get());
    return *node.release();
  }
  void FreeNode(TReteNode& node);
  void BecomeRoot(TReteNode& node);
  void LeaveRoots(TReteNode& node);
  const std::vector<TReteNode*>& RootsOf(const IFactTemplate& fact_template);

  IReasoner& engine_;
  std::unordered_set<TReteNode*> nodes_;  // owned
  std::vector<TReteNode*> roots_;
  std::uint64_t root_count_ = 0;
  // Roots by the name of the template that they take, and the roots of each template with its
  // ancestors', looked up once a layout. The second is dropped whenever a root comes or goes.
  std::unordered_map<std::string_view, std::vector<TReteNode*>> named_roots_;
  struct TTemplateRoots {
    std::vector<std::uint64_t> layouts;  // of the template and its ancestors, as they were
    std::vector<TReteNode*> roots;
  };
  std::unordered_map<std::uint64_t, TTemplateRoots> template_roots_;
  std::unordered_map<const TRule*, std::vector<TReteNode*>> rule_nodes_;
  std::uint64_t node_number_ = 0;
  std::int32_t hash_key_ = 101;
  float min_activation_strength_ = 0;
  bool enabled_ = true;
};

}  // namespace reasoner
