#include "reasoner/match/TerminalNode.h"

#include <memory>
#include <utility>

#include "reasoner/match/ReteNetwork.h"
#include "reasoner/match/Rule.h"
#include "reasoner/support/FirstFailure.h"

namespace reasoner {

TPatternMatchTerminalNode::TPatternMatchTerminalNode(TReteNetwork& rete, TRule& rule)
    : TReteNode(rete), rule_(&rule) {}

TPatternMatchTerminalNode::~TPatternMatchTerminalNode() {
  while (last_ != nullptr) Unlist(*last_);
  Deafen();
}

void TPatternMatchTerminalNode::Deafen() noexcept {
  rule_ = nullptr;
  while (loose_ != nullptr) {
    loose_->ForgetRule();
    Unlist(*loose_);
  }
}

void TPatternMatchTerminalNode::AddLoose(TActivation& activation) noexcept {
  activation.node_ = this;
  activation.loose_ = true;
  activation.list_next_ = loose_;
  if (loose_ != nullptr) loose_->list_previous_ = &activation;
  loose_ = &activation;
}

void TPatternMatchTerminalNode::List(TActivation& activation) {
  if (activation.node_ != nullptr) activation.node_->Unlist(activation);
  activation.identity_ = activation.token_->GetIdentityHash();
  chains_.Insert(activation);
  activation.node_ = this;
  activation.list_previous_ = last_;
  (last_ == nullptr ? first_ : last_->list_next_) = &activation;
  last_ = &activation;
}

void TPatternMatchTerminalNode::Unlist(TActivation& activation) noexcept {
  if (activation.node_ != this) return;
  const bool is_loose = std::exchange(activation.loose_, false);
  if (!is_loose) chains_.Remove(activation);
  TActivation* const previous = activation.list_previous_;
  TActivation* const next = activation.list_next_;
  (previous != nullptr ? previous->list_next_ : is_loose ? loose_ : first_) = next;
  if (next != nullptr) {
    next->list_previous_ = previous;
  } else if (!is_loose) {
    last_ = previous;
  }
  activation.list_previous_ = activation.list_next_ = nullptr;
  activation.node_ = nullptr;
}

TActivation* TPatternMatchTerminalNode::FindActivation(const TKBToken& token) const noexcept {
  const std::uint32_t identity = token.GetIdentityHash();
  TActivation* by_facts = nullptr;
  for (TActivation* item = chains_.Chain(identity); item != nullptr; item = item->chain_next_) {
    if (item->identity_ != identity) continue;
    if (item->token_->Equals(token)) return item;
    if (by_facts == nullptr && item->token_->EqualsFacts(token)) by_facts = item;
  }
  return by_facts;
}

bool TPatternMatchTerminalNode::Holds(const TActivation* activation,
                                      std::uint32_t identity) const noexcept {
  const TActivation* item = chains_.Chain(identity);
  while (item != nullptr && item != activation) item = item->chain_next_;
  return item != nullptr;
}

void TPatternMatchTerminalNode::AddActivation(const Ref<TKBToken>& token) {
  if (rule_ == nullptr) return;
  if (token->GetTag() == taAdd && ((rule_->OneShot && rule_->HasFired()) || !rule_->Enabled))
    return;
  if (token->GetTag() == taUpdate && initialized_) return;
  auto made = std::make_unique<TActivation>(*rule_, token, nullptr, token->GetStrength());
  TActivation& activation = *made;
  List(activation);
  made.release();  // the agenda's from here on
  GetRete().Activate(activation);
}

void TPatternMatchTerminalNode::Deactivate(TActivation& activation) {
  if (!Lists(activation)) return;
  Unlist(activation);
  GetRete().Deactivate(activation);
}

void TPatternMatchTerminalNode::StandDown(const TKBToken& token) {
  if (TActivation* activation = FindActivation(token)) Deactivate(*activation);
}

void TPatternMatchTerminalNode::StandDown(const TActivation* spared) {
  FirstFailure failures;
  while (true) {
    TActivation* activation = last_;
    if (activation != nullptr && activation == spared) activation = activation->list_previous_;
    if (activation == nullptr) break;
    failures.Try([&] { Deactivate(*activation); });
  }
  failures.Raise();
}

void TPatternMatchTerminalNode::RuleFired(TActivation& activation) {
  Unlist(activation);
  GetRete().RuleFired(activation);
}

bool TPatternMatchTerminalNode::CallNode(const Ref<TKBToken>& token, TCallType) {
  switch (token->GetTag()) {
    case taClear:
      StandDown();
      break;
    case taAdd:
    case taUpdate:
      AddActivation(token);
      break;
    case taRemove:
      StandDown(*token);
      break;
  }
  return true;
}

void TPatternMatchTerminalNode::StrengthChanged(const Ref<TKBToken>& token, TCallType) {
  if (TActivation* activation = FindActivation(*token)) activation->TakeStrength(token);
}

std::string TPatternMatchTerminalNode::ToString() const {
  return TReteNode::ToString() + " Rule: " + (rule_ == nullptr ? "" : rule_->GetRuleName());
}

}  // namespace reasoner
