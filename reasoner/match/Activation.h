// TActivation: a rule with a complete match, ready to fire.

#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "reasoner/match/Token.h"
#include "reasoner/support/CountedSequence.h"
#include "reasoner/support/Object.h"
#include "reasoner/support/Pool.h"

namespace reasoner {

class TPatternMatchTerminalNode;

// The agenda owns its activations, and the terminal node that made one finds it when its match is
// withdrawn. While one is being fired it may be off the agenda already: the run loop owns it then.
class TActivation final : public TPersistent, public CountedNode, public Pooled {
 public:
  TActivation(TRule& rule, Ref<TKBToken> token, TPatternMatchTerminalNode* node, float strength);
  ~TActivation() override;  // takes itself off its node

  TRule& GetRule() const noexcept { return *rule_; }
  // False once the rule has ended while this activation was being fired.
  bool HasRule() const noexcept { return rule_ != nullptr; }
  void ForgetRule() noexcept { rule_ = nullptr; }
  // True while its removal is being reported: whoever began it ends it.
  bool IsLeaving() const noexcept { return leaving_; }
  void SetLeaving() noexcept { leaving_ = true; }
  const Ref<TKBToken>& GetToken() const noexcept { return token_; }
  TPatternMatchTerminalNode* GetNode() const noexcept { return node_; }
  float GetStrength() const noexcept { return strength_; }
  void SetStrength(float strength) noexcept;  // clamped to 0..1
  // The match's strength has changed while the activation waits: it keeps its place with another
  // strength, which its text shows. One that is being fired keeps the strength that it began with.
  void TakeStrength(const Ref<TKBToken>& token) noexcept;

  // Takes over rule, token, node and strength of another activation. It is on no agenda then, and
  // is not withdrawn with its match.
  void Assign(const TPersistent& source) override;
  // The same match, with the strength 1, as Assign leaves it. It forgets its rule when that ends.
  std::unique_ptr<TActivation> Clone() const;

  // Runs the rule's actions, then leaves node and agenda.
  void Fire();

  // The rule's salience, its name, the facts and the strength: "10 my-rule : f-1, f-4 (1.0000)".
  std::string ToString() const override;
  // The same with what held when the activation was placed on the agenda.
  std::string GetEntryText() const;
  std::int32_t GetEntrySalience() const noexcept { return entry_salience_; }
  void SetEntry(std::int32_t salience, const std::string& rule_name);
  void TakeEntry(const TActivation& other);

 private:
  friend class TPatternMatchTerminalNode;

  std::string TextWith(std::int32_t salience, const std::string& rule_name, float strength) const;

  TRule* rule_;  // lives until the firing of its activations has ended
  Ref<TKBToken> token_;
  TPatternMatchTerminalNode* node_;  // emptied when the node lists this activation no longer
  float strength_;
  std::int32_t entry_salience_ = 0;
  float entry_strength_ = 0;
  bool leaving_ = false;
  bool firing_ = false;
  bool loose_ = false;  // a copy: its node knows it, but does not withdraw it
  Text entry_name_;
  // The node's list, and its chain of activations of one identity.
  TActivation* list_previous_ = nullptr;
  TActivation* list_next_ = nullptr;
  TActivation* chain_next_ = nullptr;
  std::uint32_t identity_ = 0;
};

}  // namespace reasoner
