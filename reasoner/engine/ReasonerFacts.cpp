// Facts: the road of a fact from its assertion through the network, and back.
//
// While a token is inside the network a fact that is asserted gets its id and its place in the list
// at once, but its token waits in a queue; a retraction waits likewise, and its fact is no longer
// found. The outermost call works the queue off, each entry whole: token, pending goals, event.

#include <algorithm>
#include <limits>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/Streams.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// A token or a rule's feed is inside the network.
class TReasoner::ScopedNetwork {
 public:
  explicit ScopedNetwork(TReasoner& engine) : engine_(engine) { ++engine_.in_network_; }
  ~ScopedNetwork() { --engine_.in_network_; }
  ScopedNetwork(const ScopedNetwork&) = delete;
  ScopedNetwork& operator=(const ScopedNetwork&) = delete;

 private:
  TReasoner& engine_;
};

std::int32_t TReasoner::NewFactId() {
  if (next_fact_id_ == std::numeric_limits<std::int32_t>::max()) Raise(SFactIdsExhausted);
  return next_fact_id_++;
}

std::int32_t TReasoner::Assert(const Ref<IFact>& asserted, bool) {
  if (!asserted->GetTemplate()) Raise(SNoTemplate);
  const ScopedMaxDepth depth(max_depth_);
  const std::uint32_t hash = facts_->HashOf(*asserted);
  if (!fact_duplication_ && facts_->FindEqual(*asserted, hash) != nullptr) return -1;
  // One object stands in the list once.
  Ref<IFact> fact = asserted;
  if (facts_->FindEntry(*fact) != nullptr) {
    if (!fact_duplication_) return -1;
    fact = fact->Clone();
  }
  const std::int32_t id = NewFactId();
  fact->SetID(id);
  facts_->InsertDirect(facts_->GetCount(), fact, hash);
  if (Watches(cwFact)) PrintOut(" ==> " + fact->ToIDString() + std::string(NewLineString));
  PostWork(TNetworkWork{TNetworkWork::kAssertion, fact});
  return id;
}

std::int32_t TReasoner::Assert(std::string_view text) {
  const Ref<IFact> fact = ParseFact(text);
  context_->Resolve(*fact);
  return Assert(fact);
}

std::int32_t TReasoner::AssertResolved(const Ref<IFact>& fact) {
  context_->Resolve(*fact);
  return Assert(fact);
}

void TReasoner::PostWork(TNetworkWork work) {
  work_.push_back(std::move(work));
  if (in_network_ == 0) DrainWork();
}

void TReasoner::DrainWork() {
  std::exception_ptr first_failure;
  while (!work_.empty()) {
    const TNetworkWork work = std::move(work_.front());
    work_.pop_front();
    try {
      DoWork(work);
    } catch (...) {
      if (!first_failure) first_failure = std::current_exception();
    }
  }
  if (first_failure) std::rethrow_exception(first_failure);
}

void TReasoner::DoWork(const TNetworkWork& work) {
  if (work.kind == TNetworkWork::kRetraction) {
    if (TFacts::Entry* entry = facts_->FindEntry(*work.fact)) RetractEntry(*entry);
    return;
  }
  {
    const ScopedNetwork inside(*this);
    network_->ProcessToken(Make<TKBToken>(taAdd, work.fact));
  }
  ProcessPendingFacts();
  if (OnAssertion) OnAssertion(*this, work.fact);
}

void TReasoner::RetractEntry(TFacts::Entry& listed) {
  const Ref<IFact> fact = listed.fact;
  if (OnRetraction) OnRetraction(*this, fact);
  if (facts_->FindEntry(*fact) == nullptr) return;  // the handler was faster
  {
    const ScopedNetwork inside(*this);
    network_->ProcessToken(Make<TKBToken>(taRemove, fact));
  }
  if (Watches(cwFact)) PrintOut(" <== " + fact->ToIDString() + std::string(NewLineString));
  if (TFacts::Entry* entry = facts_->FindEntry(*fact)) facts_->DeleteDirect(*entry);
  if (in_network_ == 0 && !work_.empty()) DrainWork();
  ProcessPendingFacts();
}

void TReasoner::RetractListed(TFacts::Entry& entry) {
  const ScopedMaxDepth depth(max_depth_);
  if (in_network_ == 0) return RetractEntry(entry);
  if (entry.leaving) return;
  facts_->MarkLeaving(entry);
  PostWork(TNetworkWork{TNetworkWork::kRetraction, entry.fact});
}

void TReasoner::RetractFact(std::int32_t index) { RetractListed(facts_->At(index)); }

void TReasoner::RetractFact(const Ref<IFact>& fact) {
  if (TFacts::Entry* entry = facts_->FindEntry(*fact)) return RetractListed(*entry);
  RetractFact(facts_->IndexOf(*fact));
}

void TReasoner::Retract(std::int32_t id) {
  if (TFacts::Entry* entry = facts_->FindEntry(id)) RetractListed(*entry);
}

void TReasoner::Retract(const Ref<IFact>& fact) {
  if (TFacts::Entry* entry = facts_->FindEqual(*fact, facts_->HashOf(*fact))) RetractListed(*entry);
}

void TReasoner::Retract(std::string_view text) {
  const Ref<IFact> fact = ParseFact(text);
  context_->Resolve(*fact);
  Retract(fact);
}

void TReasoner::RetractFacts() {
  const ScopedMaxDepth depth(max_depth_);
  {
    const ScopedNetwork inside(*this);
    network_->ProcessToken(Make<TKBToken>());
  }
  if (!work_.empty()) DrainWork();
  if (OnClearFacts) OnClearFacts(*this);
}

void TReasoner::BeginFactModify(const Ref<IFact>& fact) {
  RequireIdleNetwork("modifying a fact");
  if (facts_->Lists(*fact)) {
    RetractFact(fact);
  } else {
    Retract(fact);
  }
}

std::int32_t TReasoner::EndFactModify(const Ref<IFact>& fact) { return Assert(fact); }

void TReasoner::AddPendingFact(const Ref<IFact>& fact, bool assertion) {
  (assertion ? pending_assertions_ : pending_retractions_).push_back(fact);
}

void TReasoner::ProcessPendingFacts() {
  while (!pending_assertions_.empty()) {
    const Ref<IFact> fact = pending_assertions_.front();
    pending_assertions_.pop_front();
    Assert(fact);
  }
  while (!pending_retractions_.empty()) {
    const Ref<IFact> fact = pending_retractions_.front();
    pending_retractions_.pop_front();
    Retract(fact);
  }
}

std::vector<Ref<IFact>> TReasoner::SnapshotFacts() {
  std::vector<Ref<IFact>> facts = facts_->Snapshot();
  if (work_.empty()) return facts;
  // Facts whose token still waits reach a new rule by that token.
  const auto waits = [this](const Ref<IFact>& fact) {
    return std::any_of(work_.begin(), work_.end(), [&fact](const TNetworkWork& work) {
      return work.kind == TNetworkWork::kAssertion && work.fact == fact;
    });
  };
  facts.erase(std::remove_if(facts.begin(), facts.end(), waits), facts.end());
  return facts;
}

void TReasoner::CompileRule(TRule& rule) {
  RequireIdleNetwork("compiling a rule");
  const ScopedMaxDepth depth(max_depth_);
  {
    const ScopedNetwork inside(*this);
    network_->AddRule(rule);
  }
  if (!work_.empty()) DrainWork();
  ProcessPendingFacts();
}

}  // namespace reasoner
