#include "reasoner/match/Activation.h"

#include <algorithm>

#include "reasoner/match/Rule.h"
#include "reasoner/match/TerminalNode.h"
#include "reasoner/support/Format.h"
#include "reasoner/support/Numbers.h"

namespace reasoner {

TActivation::TActivation(TRule& rule, Ref<TKBToken> token, TPatternMatchTerminalNode* node,
                         float strength)
    : rule_(&rule), token_(std::move(token)), node_(node), strength_(strength) {}

TActivation::~TActivation() {
  if (node_ != nullptr) node_->Unlist(*this);
}

void TActivation::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TActivation*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  if (other == this) return;
  if (node_ != nullptr) node_->Unlist(*this);
  rule_ = other->rule_;
  token_ = other->token_;
  strength_ = other->strength_;
  if (other->node_ != nullptr) other->node_->AddLoose(*this);
}

std::unique_ptr<TActivation> TActivation::Clone() const {
  auto clone = std::make_unique<TActivation>(*rule_, token_, nullptr, 1.0F);
  if (node_ != nullptr) node_->AddLoose(*clone);
  return clone;
}

void TActivation::SetStrength(float strength) noexcept {
  strength_ = std::clamp(strength, 0.0F, 1.0F);
}

void TActivation::TakeStrength(const Ref<TKBToken>& token) noexcept {
  if (firing_) return;
  token_ = token;
  SetStrength(token->GetStrength());
  entry_strength_ = strength_;
}

void TActivation::Fire() {
  firing_ = true;
  IReasoner* engine = rule_->GetEngine();
  rule_->Fire(token_);
  if (node_ != nullptr) {
    node_->RuleFired(*this);
  } else if (engine != nullptr) {
    engine->RuleFired(*this);
  }
}

std::string TActivation::TextWith(std::int32_t salience, const std::string& rule_name,
                                  float strength) const {
  return IntegerToText(salience) + " " + rule_name + " : " + token_->GetToFactsString() + " (" +
         FormatText("%.4f", {double{strength}}) + ")";
}

std::string TActivation::ToString() const {
  return TextWith(rule_->GetSalience(), rule_->GetRuleName(), strength_);
}

std::string TActivation::GetEntryText() const {
  return TextWith(entry_salience_, entry_name_.str(), entry_strength_);
}

void TActivation::TakeEntry(const TActivation& other) {
  entry_salience_ = other.entry_salience_;
  entry_strength_ = other.entry_strength_;
  entry_name_ = other.entry_name_;
}

void TActivation::SetEntry(std::int32_t salience, const std::string& rule_name) {
  entry_salience_ = salience;
  entry_strength_ = strength_;
  if (!(entry_name_ == rule_name)) entry_name_ = rule_name;
}

}  // namespace reasoner
