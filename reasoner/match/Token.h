// TKBToken: a partial match, a chain of facts with what is to be done about it.
//
// Every fact that enters the network travels as a token, join nodes store tokens, and an activation
// holds the token that caused it. Tokens are shared between all nodes that received them: a node
// that wants to change one makes a copy. Two tokens are equal when they are the same chain of fact
// ids with the same strengths; the sort code, and a better mixed hash beside it, settle most
// comparisons without a walk.

#pragma once

#include <cstdint>
#include <string>

#include "reasoner/facts/Fact.h"
#include "reasoner/support/Pool.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

class TKBToken final : public IMatch, public Pooled {
 public:
  // A clear token: no facts.
  TKBToken() = default;
  // A chain of one. `split` tells apart the expansions of one fact where they are to count each by
  // itself; 0 is the fact as it is.
  TKBToken(TTokenAction tag, Ref<IFact> fact, std::uint64_t split = 0);
  // The parent's chain and one fact more (or none), with the parent's tag and strength.
  TKBToken(const Ref<TKBToken>& parent, Ref<IFact> fact, std::uint64_t split = 0);
  // A copy, with no negations counted.
  explicit TKBToken(const TKBToken& source);

  std::int32_t GetCount() const noexcept override { return static_cast<std::int32_t>(count_); }
  IFact* GetFacts(std::int32_t index) const noexcept override;
  const Ref<IFact>& GetFact() const noexcept { return fact_; }
  const Ref<TKBToken>& GetParent() const noexcept { return parent_; }
  TTokenAction GetTag() const noexcept { return static_cast<TTokenAction>(tag_); }
  std::int32_t GetNegatedCount() const noexcept { return negated_count_; }
  float GetStrength() const noexcept { return strength_; }
  // Wraps in 32 bits: the parent's times 8 and the fact's id.
  std::uint32_t GetSortCode() const noexcept { return sort_code_; }
  // A hash of the chain of ids that differs where sort codes collide.
  std::uint32_t GetIdentityHash() const noexcept { return identity_; }
  std::uint64_t GetSplit() const noexcept { return split_; }
  // The id that the last fact had when the token was made.
  TFactId GetFactID() const noexcept { return fact_id_; }

  // A tag other than the present one and taClear needs a fact: "Invalid Token Action".
  void SetTag(TTokenAction tag);
  void SetNegatedCount(std::int32_t count) noexcept { negated_count_ = count < 0 ? 0 : count; }
  void SetStrength(float strength) noexcept { strength_ = strength < 0 ? 0 : strength; }

  bool Equals(const TKBToken& other) const noexcept { return EqualsChain(other, true); }
  // The same chain of ids (and splits), whatever the strengths.
  bool EqualsFacts(const TKBToken& other) const noexcept { return EqualsChain(other, false); }

  // The tag's name, " cnt=" and " negcnt=" with the counts, and the facts, the last first, a line
  // each.
  std::string ToString() const;
  // "f-1, f-7": the ids from first to last.
  std::string GetToFactsString() const;

 private:
  bool EqualsChain(const TKBToken& other, bool strengths) const noexcept;

  // A token fills 64 bytes: the tag shares a word with the count.
  std::uint32_t count_ : 30 = 0;
  std::uint32_t tag_ : 2 = taClear;
  std::int32_t negated_count_ = 0;
  Ref<IFact> fact_;
  Ref<TKBToken> parent_;
  std::uint64_t split_ = 0;
  float strength_ = 1.0F;
  std::uint32_t sort_code_ = 0;
  std::uint32_t identity_ = 0;
  TFactId fact_id_ = -1;
};

}  // namespace reasoner
