#include "reasoner/engine/Agenda.h"

#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/FirstFailure.h"
#include "reasoner/support/Streams.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

TActivationAgenda::~TActivationAgenda() { TActivationAgenda::Clear(); }

TActivation& TActivationAgenda::GetActivation(std::int32_t index) const {
  if (index < 0 || index >= GetCount()) Raise(SListIndexError, index);
  return *entries_.At(static_cast<std::size_t>(index));
}

std::int32_t TActivationAgenda::IndexOf(const TActivation& activation) const noexcept {
  if (!Holds(activation)) return -1;
  return static_cast<std::int32_t>(CountedSequence<TActivation>::IndexOf(activation));
}

std::int32_t TActivationAgenda::Add(std::unique_ptr<TActivation> activation) {
  if (!activation) Raise(SInvalidAgendaItem);
  activation->SetEntry(activation->GetRule().GetSalience(), activation->GetRule().GetRuleName());
  std::int32_t index = FindInsertion(*activation);
  if (index == -1) index = GetCount();
  entries_.Insert(static_cast<std::size_t>(index), *activation.release());
  return index;
}

std::unique_ptr<TActivation> TActivationAgenda::SetActivations(
    std::int32_t index, std::unique_ptr<TActivation> activation) {
  if (!activation || activation->IsLinked()) Raise(SInvalidAgendaItem);
  TActivation& old = GetActivation(index);
  activation->TakeEntry(old);
  entries_.Replace(old, *activation.release());
  return std::unique_ptr<TActivation>(&old);
}

void TActivationAgenda::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TActivationAgenda*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  if (other == this) return;
  Clear();
  for (std::int32_t i = 0; i < other->GetCount(); ++i) {
    if (!other->GetActivation(i).HasRule()) continue;
    std::unique_ptr<TActivation> clone = other->GetActivation(i).Clone();
    clone->TakeEntry(other->GetActivation(i));
    entries_.Append(*clone.release());
  }
}

std::unique_ptr<TActivation> TActivationAgenda::Extract(std::int32_t index) {
  TActivation& activation = GetActivation(index);
  entries_.Erase(activation);
  return std::unique_ptr<TActivation>(&activation);
}

void TActivationAgenda::Clear() {
  while (!IsEmpty()) Delete(GetCount() - 1);
}

std::string TActivationAgenda::ToString() const {
  std::string text;
  for (const TActivation* item = entries_.First(); item != nullptr;
       item = CountedSequence<TActivation>::Next(*item)) {
    text += item->GetEntryText();
    text += NewLineString;
  }
  return text;
}

std::int32_t TKBAgenda::FindInsertion(const TActivation& activation) const {
  if (IsEmpty() || engine_ == nullptr) return -1;
  return engine_->SearchSalience(activation.HasRule() ? activation.GetRule().GetSalience()
                                                      : activation.GetEntrySalience());
}

void TKBAgenda::Clear() {
  if (engine_ == nullptr) return TActivationAgenda::Clear();
  // As many as there are now: what handlers bring meanwhile is the business of who clears.
  FirstFailure failures;
  for (std::int32_t count = GetCount(); count > 0 && !IsEmpty(); --count) {
    failures.Try([this] { engine_->RemoveActivation(0); });
  }
  failures.Raise();
}

}  // namespace reasoner
