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

void TActivation::SetStrength(float strength) noexcept {
  strength_ = std::clamp(strength, 0.0F, 1.0F);
}

void TActivation::Fire() {
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

void TActivation::SetEntry(std::int32_t salience, const std::string& rule_name) {
  entry_salience_ = salience;
  entry_strength_ = strength_;
  if (!(entry_name_ == rule_name)) entry_name_ = rule_name;
}

}  // namespace reasoner
