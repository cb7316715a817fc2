#include "reasoner/match/TerminalNode.h"

#include <memory>

#include "reasoner/match/ReteNetwork.h"
#include "reasoner/match/Rule.h"
#include "reasoner/support/FirstFailure.h"

namespace reasoner {

TPatternMatchTerminalNode::TPatternMatchTerminalNode(TReteNetwork& rete, TRule& rule)
    : TReteNode(rete), rule_(&rule) {}

TPatternMatchTerminalNode::~TPatternMatchTerminalNode() {
  while (last_ != nullptr) Unlist(*last_);
}

void TPatternMatchTerminalNode::Unlist(TActivation& activation) noexcept {
  if (activation.node_ != this) return;
  chains_.Remove(activation);
  TActivation*& before =
      activation.list_previous_ == nullptr ? first_ : activation.list_previous_->list_next_;
  TActivation*& behind =
      activation.list_next_ == nullptr ? last_ : activation.list_next_->list_previous_;
  before = activation.list_next_;
  behind = activation.list_previous_;
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

void TPatternMatchTerminalNode::AddActivation(const Ref<TKBToken>& token) {
  if (rule_ == nullptr) return;
  if (token->GetTag() == taAdd && ((rule_->OneShot && rule_->HasFired()) || !rule_->Enabled))
    return;
  if (token->GetTag() == taUpdate && initialized_) return;
  auto made = std::make_unique<TActivation>(*rule_, token, this, token->GetStrength());
  TActivation& activation = *made;
  activation.identity_ = token->GetIdentityHash();
  chains_.Insert(activation);
  activation.list_previous_ = last_;
  (last_ == nullptr ? first_ : last_->list_next_) = &activation;
  last_ = &activation;
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

std::string TPatternMatchTerminalNode::ToString() const {
  return TReteNode::ToString() + " Rule: " + (rule_ == nullptr ? "" : rule_->GetRuleName());
}

}  // namespace reasoner
