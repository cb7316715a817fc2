// The nodes of the match network and what they have in common.
//
// Tokens enter at the roots and flow along edges. Every node that a token passes decides by itself
// what to do and calls its children at once, in the order in which its edges were added: the
// network is walked depth first, and the whole of it within the call that brought the token in. A
// token's tag says what happens (add, remove, clear); the edge says by which input it comes.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "reasoner/functions/Context.h"
#include "reasoner/match/Token.h"

namespace reasoner {

class TConstantDispatch;
class TReteNetwork;
class TReteNode;

struct TReteEdge {
  TReteNode* to;
  TCallType call_type;
};

// The network owns its nodes. A node outlives the edges that lead to it.
class TReteNode : public TObject {
 public:
  explicit TReteNode(TReteNetwork& rete);
  ~TReteNode() override;

  TReteNetwork& GetRete() const noexcept { return rete_; }
  const std::string& GetName() const noexcept { return name_; }
  // How many rules use the node, each use counting.
  std::int32_t GetRuleUseCount() const noexcept { return rule_use_count_; }
  void SetRuleUseCount(std::int32_t count) noexcept { rule_use_count_ = count < 0 ? 0 : count; }
  TKBContext& GetContext() noexcept { return context_; }

  const std::vector<TReteEdge>& GetEdges() const noexcept { return edges_; }
  const TReteNode* GetFirstParent() const noexcept {
    return parents_.empty() ? nullptr : parents_.front();
  }
  TReteNode* GetFirstParent() noexcept { return parents_.empty() ? nullptr : parents_.front(); }
  std::int32_t GetInDegree() const noexcept { return static_cast<std::int32_t>(parents_.size()); }
  void AddEdge(TReteNode& to, TCallType call_type);

  // The one entry of every node.
  virtual bool CallNode(const Ref<TKBToken>& token, TCallType call_type) = 0;
  // The children by their constants, where there are many; else null.
  const TConstantDispatch* GetDispatch() const noexcept { return dispatch_.get(); }
  // Calls each child that the token may pass, in the order of the edges.
  void CallChildren(const Ref<TKBToken>& token);
  // A match that went through here has another strength now: the one of this token of the same
  // facts. Nodes that keep it take the strength over, and all tell their children.
  virtual void StrengthChanged(const Ref<TKBToken>& token, TCallType call_type);
  void TellChildrenStrength(const Ref<TKBToken>& token);

  // True while the node is one of the network's roots: it has no edge that leads to it.
  bool IsRoot() const noexcept { return root_number_ != 0; }
  std::uint64_t GetRootNumber() const noexcept { return root_number_; }

  // The name, the degrees and the use count; nodes of each kind append their own.
  std::string ToString() const override;

 private:
  friend class ReteCompiler;
  friend class TReteNetwork;

  void RemoveEdges(const TReteNode& to);

  TReteNetwork& rete_;
  std::string name_;
  std::vector<TReteEdge> edges_;
  std::int32_t constant_children_ = 0;
  std::unique_ptr<TConstantDispatch> dispatch_;  // once there are enough of them
  std::vector<TReteNode*> parents_;              // a parent with two edges stands twice
  std::int32_t rule_use_count_ = 1;
  std::uint64_t root_number_ = 0;
  TKBContext context_;
};

}  // namespace reasoner
