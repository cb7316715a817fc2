#include "reasoner/vocabulary/KBInterfaces.h"

#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

void IScope::RaiseUnknown(const Text& name) const { Raise(SCorruptedVariable, name.view()); }

IReasoner::IReasoner() : link_(Make<TReasonerLink>()) { link_->engine = this; }

IReasoner::~IReasoner() { link_->engine = nullptr; }

}  // namespace reasoner
