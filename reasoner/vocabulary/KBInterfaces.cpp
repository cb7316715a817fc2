#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

IReasoner::IReasoner() : link_(Make<TReasonerLink>()) { link_->engine = this; }

IReasoner::~IReasoner() { link_->engine = nullptr; }

}  // namespace reasoner
