#include "reasoner/match/Token.h"

#include <vector>

#include "reasoner/support/Numbers.h"
#include "reasoner/support/Streams.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

static constexpr std::uint32_t kMostFacts = (1U << 30) - 1;

// Mixes an id into the hash of the chain before it.
static std::uint32_t MixIdentity(std::uint32_t hash, std::uint32_t id) {
  std::uint64_t mixed = (std::uint64_t{hash} << 32 | id) * 0x9E3779B97F4A7C15u;
  mixed ^= mixed >> 29;
  return static_cast<std::uint32_t>(mixed * 0xBF58476D1CE4E5B9u >> 32);
}

// A fact that was not expanded, and an id of 32 bits, leave the hash as it is.
static std::uint32_t MixSplit(std::uint64_t split, TFactId id) {
  const auto whole = static_cast<std::uint64_t>(id);
  return static_cast<std::uint32_t>(whole + (whole >> 32) * 0x9E3779B9u + (split >> 32));
}

TKBToken::TKBToken(TTokenAction tag, Ref<IFact> fact, std::uint64_t split)
    : count_(1),
      tag_(tag & 3U),
      fact_(std::move(fact)),
      split_(split),
      fact_id_(fact_ ? fact_->GetID() : -1) {
  sort_code_ = static_cast<std::uint32_t>(fact_id_);
  identity_ = MixIdentity(0, MixSplit(split_, fact_id_));
}

TKBToken::TKBToken(const Ref<TKBToken>& parent, Ref<IFact> fact, std::uint64_t split)
    : count_((parent->count_ + 1) & kMostFacts),
      tag_(parent->tag_),
      fact_(std::move(fact)),
      parent_(parent),
      split_(split),
      strength_(parent->strength_),
      fact_id_(fact_ ? fact_->GetID() : -1) {
  sort_code_ = parent->sort_code_ * 8 + (fact_ ? static_cast<std::uint32_t>(fact_id_) : 0);
  identity_ = MixIdentity(parent->identity_, MixSplit(split_, fact_id_));
}

TKBToken::TKBToken(const TKBToken& source)
    : count_(source.count_),
      tag_(source.tag_),
      fact_(source.fact_),
      parent_(source.parent_),
      split_(source.split_),
      strength_(source.strength_),
      sort_code_(source.sort_code_),
      identity_(source.identity_),
      fact_id_(source.fact_id_) {}

IFact* TKBToken::GetFacts(std::int32_t index) const noexcept {
  const TKBToken* token = this;
  while (token->GetCount() - index >= 2 && token->parent_) token = token->parent_.get();
  return token->fact_.get();
}

void TKBToken::SetTag(TTokenAction tag) {
  if (tag == GetTag()) return;
  if (tag != taClear && !fact_) Raise(SInvalidTokenAction);
  tag_ = tag & 3U;
}

bool TKBToken::EqualsChain(const TKBToken& other, bool strengths) const noexcept {
  const TKBToken* a = this;
  const TKBToken* b = &other;
  if (a->identity_ != b->identity_ || a->count_ != b->count_) return a == b;
  while (true) {
    if (a == b) return true;
    if (a->sort_code_ != b->sort_code_ || a->fact_id_ != b->fact_id_ || a->split_ != b->split_)
      return false;
    if (strengths && a->strength_ != b->strength_) return false;
    if (!a->parent_) return true;
    if (!b->parent_) return false;
    a = a->parent_.get();
    b = b->parent_.get();
  }
}

std::string TKBToken::ToString() const {
  std::string text(kTokenActionNames[tag_]);
  text += " cnt=" + IntegerToText(GetCount()) + " negcnt=" + IntegerToText(negated_count_);
  for (const TKBToken* token = this; token != nullptr; token = token->parent_.get()) {
    text += NewLineString;
    if (token->fact_) text += token->fact_->ToString();
  }
  return text;
}

std::string TKBToken::GetToFactsString() const {
  std::vector<const TKBToken*> chain;
  for (const TKBToken* token = this; token != nullptr && token->count_ > 0;
       token = token->parent_.get()) {
    chain.push_back(token);
  }
  std::string text;
  for (auto token = chain.rbegin(); token != chain.rend(); ++token) {
    if (!text.empty()) text += ", ";
    text += "f-" + IntegerToText((*token)->fact_id_);
  }
  return text;
}

}  // namespace reasoner
