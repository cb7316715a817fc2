#include "reasoner/vocabulary/KBInterfaces.h"

#include "reasoner/vocabulary/KBExceptions.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

IReasoner::IReasoner() : link_(Make<TReasonerLink>()) { link_->engine = this; }

IReasoner::~IReasoner() { link_->engine = nullptr; }

void IReasoner::RaiseInterrupted() {
  link_->interrupt_requested.store(false, std::memory_order_relaxed);
  throw EKBInterrupted(std::string(SInterrupted.kFormat));
}

}  // namespace reasoner
