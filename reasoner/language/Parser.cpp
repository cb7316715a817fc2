#include "reasoner/language/Parser.h"

namespace reasoner {

TKBType TVariableTable::Enter(std::string_view name, TKBType kind) {
  return kinds_.emplace(std::string(name), kind).first->second;
}

void TKBParser::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TKBParser*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  if (other == this) return;
  SetStream(other->stream_);
  StrictFacts = other->StrictFacts;
  StaticChecks = other->StaticChecks;
  ErrorHandling = other->ErrorHandling;
  MaxErrors = other->MaxErrors;
}

}  // namespace reasoner
