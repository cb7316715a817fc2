#include "reasoner/engine/Facts.h"

#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/Streams.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// From this many facts on a fact is looked for by its id, below that by identity alone.
static constexpr std::int32_t kSearchByIdFrom = 5;

TFacts::TFacts(TReasoner* engine) : engine_(engine) {}

TFacts::~TFacts() { ClearDirect(); }

TFacts::Entry& TFacts::At(std::int32_t index) const {
  if (index < 0 || index >= GetCount()) Raise(SListIndexError, index);
  return *entries_.At(static_cast<std::size_t>(index));
}

const Ref<IFact>& TFacts::Get(std::int32_t index) const { return At(index).fact; }

void TFacts::Put(std::int32_t index, const Ref<IFact>& fact) {
  Entry& entry = At(index);
  Given(fact, "fact");
  if (entry.fact == fact) return;
  Ref<IFact> put = engine_ == nullptr ? fact : engine_->OwnFact(fact);
  if (engine_ != nullptr) {
    if (put->IsListed()) put = put->Clone();  // one object stands in one list, and once
    put->SetID(entry.id);
    put->EnterList();
    entry.fact->LeaveList();
  }
  entry.fact = put;
}

TFacts::Entry* TFacts::FindEntry(TFactId id) const noexcept {
  const auto key = static_cast<std::uint32_t>(id);
  for (Entry* entry = ids_.Chain(key); entry != nullptr; entry = entry->id_next) {
    if (entry->id == id && !entry->leaving) return entry;
  }
  return nullptr;
}

TFacts::Entry* TFacts::FindEntry(const IFact& fact) const noexcept {
  const auto key = static_cast<std::uint32_t>(fact.GetID());
  for (Entry* entry = ids_.Chain(key); entry != nullptr; entry = entry->id_next) {
    if (entry->fact == &fact) return entry;
  }
  return nullptr;
}

TFacts::Entry* TFacts::FindEqual(const IFact& fact, std::uint32_t hash) const {
  if (IsFiled(fact)) {
    for (Entry* entry = hashes_.Chain(hash); entry != nullptr; entry = entry->hash_next) {
      if (entry->hash == hash && !entry->leaving && entry->fact->EqualsFact(fact)) return entry;
    }
    return nullptr;
  }
  for (Entry* entry = entries_.First(); entry != nullptr;
       entry = CountedSequence<Entry>::Next(*entry)) {
    if (!entry->leaving && entry->fact->EqualsFact(fact)) return entry;
  }
  return nullptr;
}

static std::int32_t IndexOrNone(const TFacts::Entry* entry) {
  return entry == nullptr
             ? -1
             : static_cast<std::int32_t>(CountedSequence<TFacts::Entry>::IndexOf(*entry));
}

Ref<IFact> TFacts::GetFactByID(TFactId id) const {
  const Entry* entry = FindEntry(id);
  return entry == nullptr ? Ref<IFact>() : entry->fact;
}

std::int32_t TFacts::FindFact(TFactId id) const { return IndexOrNone(FindEntry(id)); }

std::int32_t TFacts::FindFact(const IFact& fact) const {
  return IndexOrNone(FindEqual(fact, HashOf(fact)));
}

std::int32_t TFacts::IndexOf(const IFact& fact) const {
  if (GetCount() >= kSearchByIdFrom && fact.GetID() != -1) return FindFact(fact.GetID());
  return IndexOrNone(FindEntry(fact));
}

void TFacts::InsertDirect(std::int32_t index, const Ref<IFact>& fact, std::uint32_t hash) {
  auto entry = std::make_unique<Entry>();
  if (engine_ != nullptr) fact->EnterList();
  entry->fact = fact;
  entry->id = fact->GetID();
  entry->id_key = static_cast<std::uint32_t>(entry->id);
  entry->hash = hash;
  ids_.Insert(*entry);
  if (IsFiled(*fact)) {
    try {
      hashes_.Insert(*entry);
    } catch (...) {
      ids_.Remove(*entry);
      if (engine_ != nullptr) fact->LeaveList();
      throw;
    }
    entry->hashed = true;
  }
  entries_.Insert(static_cast<std::size_t>(index), *entry.release());
}

void TFacts::MarkLeaving(Entry& entry) {
  entry.leaving = true;
  if (entry.hashed) hashes_.Remove(entry);
  entry.hashed = false;
}

void TFacts::DeleteDirect(Entry& entry) {
  MarkLeaving(entry);
  ids_.Remove(entry);
  entries_.Erase(entry);
  if (engine_ != nullptr) entry.fact->LeaveList();
  delete &entry;
}

void TFacts::ClearDirect() {
  ids_.Clear();
  hashes_.Clear();
  while (Entry* last = entries_.Last()) {
    entries_.Erase(*last);
    if (engine_ != nullptr) last->fact->LeaveList();
    delete last;
  }
  highest_id_ = 0;
}

std::int32_t TFacts::Add(const Ref<IFact>& fact) {
  Given(fact, "fact");
  if (engine_ == nullptr) {
    InsertDirect(GetCount(), fact, HashOf(*fact));
    return GetCount() - 1;
  }
  const TFactId id = fact->GetID();
  if (PreserveIDs && id != -1 && FindEntry(id) == nullptr) {
    // The fact keeps its id; the next one goes on behind the highest.
    engine_->kept_fact_id_ = id;
    struct Forget {
      TReasoner& engine;
      ~Forget() { engine.kept_fact_id_ = -1; }  // a duplicate has not used it
    } forget{*engine_};
    engine_->Assert(fact);
    highest_id_ = std::max(highest_id_, id);
  } else {
    engine_->Assert(fact);
    highest_id_ = std::max(highest_id_, fact->GetID());
  }
  return GetCount() - 1;
}

void TFacts::Insert(std::int32_t index, const Ref<IFact>& fact) {
  if (index < 0 || index > GetCount()) Raise(SListIndexError, index);
  Given(fact, "fact");
  if (engine_ == nullptr) return InsertDirect(index, fact, HashOf(*fact));
  const TFactId id = engine_->Assert(fact);
  Entry* entry = id == -1 ? nullptr : FindEntry(id);
  if (entry == nullptr) return;
  entries_.Erase(*entry);
  entries_.Insert(static_cast<std::size_t>(std::min(index, GetCount())), *entry);
}

void TFacts::Delete(std::int32_t index) {
  Entry& entry = At(index);
  if (engine_ == nullptr) {
    DeleteDirect(entry);
  } else {
    engine_->RetractFact(index);
  }
}

void TFacts::Clear() {
  if (engine_ != nullptr) engine_->RequireIdleNetwork("clearing facts");
  ClearDirect();
  if (engine_ != nullptr) engine_->RetractFacts();
}

void TFacts::SetCacheHashCodes(bool value) {
  if (value == cache_hash_codes_) return;
  cache_hash_codes_ = value;
  hashes_.Clear();
  for (Entry* entry = entries_.First(); entry != nullptr;
       entry = CountedSequence<Entry>::Next(*entry)) {
    entry->hash_next = nullptr;
    entry->hashed = IsFiled(*entry->fact) && !entry->leaving;
    if (!entry->hashed) continue;
    entry->hash = HashOf(*entry->fact);
    hashes_.Insert(*entry);
  }
}

void TFacts::Assign(const TPersistent& source) {
  const auto* other = dynamic_cast<const TFacts*>(&source);
  if (other == nullptr) return TPersistent::Assign(source);
  if (other == this) return;
  Clear();
  FirstFailure failures;  // of rules that cannot test a fact: it is there, and the others follow
  for (const Ref<IFact>& fact : other->Snapshot()) {
    Ref<IFact> own = fact;
    if (engine_ != nullptr && fact->GetTemplate()) own = engine_->OwnFact(fact);
    if (own == fact) own = fact->Clone();
    failures.Try([&] { Add(own); });
  }
  failures.Raise();
}

std::string TFacts::ToString() const {
  std::string text;
  for (const Entry* entry = entries_.First(); entry != nullptr;
       entry = CountedSequence<Entry>::Next(*entry)) {
    if (!text.empty()) text += NewLineString;
    text += entry->fact->ToString();
  }
  return text;
}

std::string TFacts::GetToIDString() const {
  std::string text;
  for (const Entry* entry = entries_.First(); entry != nullptr;
       entry = CountedSequence<Entry>::Next(*entry)) {
    if (!text.empty()) text += NewLineString;
    text += entry->fact->ToIDString();
  }
  return text;
}

std::vector<Ref<IFact>> TFacts::Snapshot() const {
  std::vector<Ref<IFact>> facts;
  facts.reserve(static_cast<std::size_t>(GetCount()));
  for (const Entry* entry = entries_.First(); entry != nullptr;
       entry = CountedSequence<Entry>::Next(*entry)) {
    if (!entry->leaving) facts.push_back(entry->fact);
  }
  return facts;
}

}  // namespace reasoner
