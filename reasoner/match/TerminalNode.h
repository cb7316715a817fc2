// TPatternMatchTerminalNode: turns complete matches of one rule into activations.

#pragma once

#include <cstdint>
#include <string>

#include "reasoner/match/Activation.h"
#include "reasoner/match/ReteNode.h"
#include "reasoner/support/HashChains.h"

namespace reasoner {

// Lists exactly the activations of its rule that are on the agenda or being fired, in the order of
// their making, and finds the one of a token by hash. The activations belong to the agenda.
class TPatternMatchTerminalNode final : public TReteNode {
 public:
  TPatternMatchTerminalNode(TReteNetwork& rete, TRule& rule);
  ~TPatternMatchTerminalNode() override;

  TRule* GetRule() const noexcept { return rule_; }
  bool IsInitialized() const noexcept { return initialized_; }
  void SetInitialized() noexcept { initialized_ = true; }
  // Lets nothing through any more: the rule is ending.
  void Deafen() noexcept;

  std::int32_t GetActivationCount() const noexcept {
    return static_cast<std::int32_t>(chains_.size());
  }
  TActivation* GetFirstActivation() const noexcept { return first_; }
  static TActivation* GetNextActivation(const TActivation& activation) noexcept {
    return activation.list_next_;
  }
  bool Lists(const TActivation& activation) const noexcept {
    return activation.GetNode() == this && !activation.loose_;
  }
  // The same for an activation that may have ended: only its address is looked at.
  bool Holds(const TActivation* activation, std::uint32_t identity) const noexcept;
  // Keeps a copy of a listed activation in mind, to tell it of the rule's end.
  void AddLoose(TActivation& activation) noexcept;
  // Lists a copy that goes on the agenda.
  void List(TActivation& activation);

  bool CallNode(const Ref<TKBToken>& token, TCallType call_type) override;
  void StrengthChanged(const Ref<TKBToken>& token, TCallType call_type) override;
  // Takes away the first activation of an equal token.
  void StandDown(const TKBToken& token);
  // Takes all away, the last first; all but one, if given.
  void StandDown(const TActivation* spared = nullptr);
  void Deactivate(TActivation& activation);
  // The activation has fired: it leaves list and agenda.
  void RuleFired(TActivation& activation);
  void Unlist(TActivation& activation) noexcept;

  std::string ClassName() const override { return "TPatternMatchTerminalNode"; }
  std::string ToString() const override;

 private:
  void AddActivation(const Ref<TKBToken>& token);
  TActivation* FindActivation(const TKBToken& token) const noexcept;

  TRule* rule_;  // its node goes when the rule does
  bool initialized_ = false;
  TActivation* first_ = nullptr;
  TActivation* last_ = nullptr;
  TActivation* loose_ = nullptr;  // copies, by their list links
  HashChains<TActivation, &TActivation::chain_next_, &TActivation::identity_> chains_;
};

}  // namespace reasoner
