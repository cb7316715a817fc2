// Facts: the road of a fact from its assertion through the network, and back.
//
// While a token is inside the network a fact that is asserted gets its id and its place in the list
// at once, but its token waits in a queue; a retraction waits likewise, and its fact is no longer
// found. The outermost call works the queue off, each entry whole: token, pending goals, event.

#include <algorithm>
#include <limits>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/Depth.h"
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

template <class TStep>
void TReasoner::InNetwork(TStep step) {
  FirstFailure failures;
  {
    const ScopedNetwork inside(*this);
    failures.Try(step);
  }
  if (in_network_ == 0) {
    if (std::exchange(match_interrupted_, false))
      GetLink()->interrupt_requests.store(0, std::memory_order_relaxed);
    network_failures_.Raise();
  }
  failures.Raise();
}

static constexpr TFactId kLastFactId = std::numeric_limits<TFactId>::max();

// A fact that is taken out to come back changed must be able to.
void TReasoner::RequireFactId() const {
  if (next_fact_id_ == kLastFactId) Raise(SFactIdsExhausted);
}

TFactId TReasoner::NewFactId() {
  if (const TFactId id = std::exchange(kept_fact_id_, -1); id >= 0) {
    if (id >= next_fact_id_) next_fact_id_ = id == kLastFactId ? id : id + 1;
    return id;
  }
  RequireFactId();
  return next_fact_id_++;
}

// The fact on this engine's template: itself, or the copy that a fact of another engine comes over
// as, with the template that it needs.
Ref<IFact> TReasoner::OwnFact(const Ref<IFact>& fact) {
  const Ref<IFactTemplate>& written = Given(fact, "fact").GetTemplate();
  if (!written) Raise(SNoTemplate);
  if (written->GetReasoner() == this) return fact;
  Ref<IFactTemplate> own = FindFactTemplate(written->GetTemplateName());
  if (!own) {
    fact_templates_->Add(written);
    own = FindFactTemplate(written->GetTemplateName());
    if (written->GetReasoner() == this) return fact;  // it had no engine
  } else if (!own->Equals(*written)) {
    Raise(SFactTemplatesDifferent, own->GetTemplateName(), written->GetTemplateName());
  }
  const Ref<IFact> crossing = Make<TFact>(own);
  crossing->Assign(*fact);
  return crossing;
}

TFactId TReasoner::Assert(const Ref<IFact>& asserted, bool unconditional) {
  ForgetFailure();
  const ScopedOperation operation(*this);
  Ref<IFact> fact = OwnFact(asserted);
  fact->FitToSlots();
  if (fact->GetTemplate()->IsFuzzy()) return AssertFuzzy(fact, unconditional);
  const std::uint32_t hash = facts_->HashOf(*fact);
  // The fact that starts rules without patterns is there once: a document brings it, too.
  const bool once =
      !fact_duplication_ || fact->GetTemplate()->GetTemplateName() == SInitialFactPattern;
  if (once && facts_->FindEqual(*fact, hash) != nullptr) return -1;
  // One object stands in the list once.
  if (fact->IsListed()) {
    if (!fact_duplication_) return -1;
    fact = fact->Clone();
  }
  return EnterFact(fact, hash);
}

// Gives a fact its id and its place, and sends it into the network.
TFactId TReasoner::EnterFact(const Ref<IFact>& fact, std::uint32_t hash) {
  const TFactId id = NewFactId();
  fact->SetID(id);
  facts_->InsertDirect(facts_->GetCount(), fact, hash);
  // The token waits before anyone hears of the fact: a handler that adds a rule gets it once.
  work_.push_back(TNetworkWork{TNetworkWork::kAssertion, fact, nullptr, {}});
  FirstFailure failures;
  if (Watches(cwFact)) {
    failures.Try([&] { PrintOut(" ==> " + fact->ToIDString() + std::string(NewLineString)); });
  }
  if (in_network_ == 0) failures.Try([&] { DrainWork(); });
  failures.Raise();
  return id;
}

TFactId TReasoner::Assert(std::string_view text) {
  TFactId id = -1;
  FirstFailure failures;  // of rules that cannot test a fact: it is there, and the others follow
  for (const Ref<IFact>& fact : ParseFacts(text)) {
    context_->Resolve(*fact);
    try {
      id = Assert(fact);
    } catch (const EKBException&) {
      if (!facts_->Lists(*fact)) throw;
      failures.Keep(std::current_exception());
    }
  }
  failures.Raise();
  return id;
}

TFactId TReasoner::AssertResolved(const Ref<IFact>& fact) {
  const Ref<IFact> own = OwnFact(fact);
  context_->Resolve(*own);
  return Assert(own);
}

void TReasoner::PostWork(TNetworkWork work) {
  work_.push_back(std::move(work));
  if (in_network_ == 0) DrainWork();
}

void TReasoner::DrainWork() {
  FirstFailure failures;
  while (!work_.empty()) {
    const TNetworkWork work = std::move(work_.front());
    work_.pop_front();
    failures.Try([&] { DoWork(work); });
  }
  FreeDoomed();
  failures.Raise();
}

void TReasoner::DoWork(const TNetworkWork& work) {
  switch (work.kind) {
    case TNetworkWork::kAssertion:
      break;
    case TNetworkWork::kRetraction:
      if (TFacts::Entry* entry = facts_->FindEntry(*work.fact)) RetractEntry(*entry);
      return;
    case TNetworkWork::kCompilation:
      return FeedRule(*work.rule);
    case TNetworkWork::kRelease:
      return network_->ReleaseNodes(work.nodes);
  }
  // Cleared away while it waited, or retracted by a handler that heard of it before the network
  // did.
  const TFacts::Entry* const entry = facts_->FindEntry(*work.fact);
  if (entry == nullptr || entry->out) return;
  const DepthGuard guard("assertion");
  InNetwork([&] { network_->ProcessToken(Make<TKBToken>(taAdd, work.fact)); });
  if (chaining_) return unheard_.push_back(work.fact);
  ProcessPendingFacts();
  OnAssertion(*this, work.fact);
}

void TReasoner::RetractEntry(TFacts::Entry& listed) {
  const DepthGuard guard("retraction");
  const Ref<IFact> fact = listed.fact;
  const TFactId id = fact->GetID();
  // A handler may retract the fact itself and assert the same object again, as another fact.
  const auto entry_of_fact = [&] {
    return fact->GetID() == id ? facts_->FindEntry(*fact) : nullptr;
  };
  // A retraction that has begun is carried through, and one that has waited has begun.
  const bool has_waited = listed.leaving;
  FirstFailure failures;
  if (OnRetraction.IsHeard()) failures.Try([&] { OnRetraction(*this, fact); });
  if (!has_waited) failures.Raise();
  TFacts::Entry* leaving = entry_of_fact();
  if (leaving == nullptr) return failures.Raise();  // a handler has retracted it
  facts_->MarkLeaving(*leaving);
  leaving->out = true;
  failures.Try([&] { InNetwork([&] { network_->ProcessToken(Make<TKBToken>(taRemove, fact)); }); });
  if (Watches(cwFact)) {
    failures.Try([&] { PrintOut(" <== " + fact->ToIDString() + std::string(NewLineString)); });
  }
  if (TFacts::Entry* entry = entry_of_fact()) facts_->DeleteDirect(*entry);
  failures.Try([&] {
    // What waits behind one that has waited is its caller's.
    if (in_network_ == 0 && !work_.empty() && !has_waited) DrainWork();
    ProcessPendingFacts();
  });
  failures.Raise();
}

void TReasoner::RetractListed(TFacts::Entry& entry) {
  const ScopedOperation operation(*this);
  if (in_network_ == 0) return RetractEntry(entry);
  if (entry.leaving) return;
  facts_->MarkLeaving(entry);
  PostWork(TNetworkWork{TNetworkWork::kRetraction, entry.fact, nullptr, {}});
}

void TReasoner::RetractFact(std::int32_t index) {
  if (index != -1) RetractListed(facts_->At(index));
}

void TReasoner::RetractFact(const Ref<IFact>& fact) {
  if (TFacts::Entry* entry = facts_->FindEntry(Given(fact, "fact"))) return RetractListed(*entry);
  // Another object with the id of a listed fact stands for that one, unless it is another engine's.
  if (fact->GetTemplate() && fact->GetTemplate()->GetReasoner() == this)
    RetractFact(facts_->IndexOf(*fact));
}

void TReasoner::Retract(TFactId id) {
  if (TFacts::Entry* entry = facts_->FindEntry(id)) RetractListed(*entry);
}

void TReasoner::Retract(const Ref<IFact>& fact) {
  Given(fact, "fact");
  if (TFacts::Entry* entry = facts_->FindEqual(*fact, facts_->HashOf(*fact))) RetractListed(*entry);
}

void TReasoner::Retract(std::string_view text) {
  for (const Ref<IFact>& fact : ParseFacts(text)) {
    context_->Resolve(*fact);
    Retract(fact);
  }
}

void TReasoner::RetractFacts() {
  const ScopedOperation operation(*this);
  FirstFailure failures;
  failures.Try([&] { InNetwork([&] { network_->ProcessToken(Make<TKBToken>()); }); });
  failures.Try([&] {
    if (!work_.empty()) DrainWork();
  });
  if (OnClearFacts.IsHeard()) failures.Try([&] { OnClearFacts(*this); });
  failures.Raise();
}

void TReasoner::BeginFactModify(const Ref<IFact>& fact) {
  RequireIdleNetwork("modifying a fact");
  Given(fact, "fact");
  RequireFactId();
  if (facts_->Lists(*fact)) {
    RetractFact(fact);
  } else {
    Retract(fact);
  }
}

TFactId TReasoner::EndFactModify(const Ref<IFact>& fact) { return Assert(fact); }

void TReasoner::AddPendingFact(const Ref<IFact>& fact, bool assertion) {
  Given(fact, "fact");
  (assertion ? pending_assertions_ : pending_retractions_).push_back(fact);
}

// A pending fact is heard of when those that were pending behind it have been asserted and heard
// of: the facts to be heard of stand on a stack of their own, so that their number costs no depth.
void TReasoner::ProcessPendingFacts() {
  if (chaining_) return;  // the loop that is running takes them
  const std::size_t first = unheard_.size();
  FirstFailure failures;
  const auto chain = [&](std::deque<Ref<IFact>>& pending, auto step) {
    const Ref<IFact> fact = pending.front();
    pending.pop_front();
    chaining_ = true;
    failures.Try([&] { step(fact); });
    chaining_ = false;
  };
  for (;;) {
    if (!pending_assertions_.empty()) {
      chain(pending_assertions_, [this](const Ref<IFact>& fact) { Assert(fact); });
    } else if (!pending_retractions_.empty()) {
      chain(pending_retractions_, [this](const Ref<IFact>& fact) { Retract(fact); });
    } else if (unheard_.size() > first) {
      const Ref<IFact> fact = unheard_.back();
      unheard_.pop_back();
      if (OnAssertion.IsHeard()) failures.Try([&] { OnAssertion(*this, fact); });
    } else {
      break;
    }
  }
  failures.Raise();
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

// Rules and the network.

// Compiles and feeds a rule, at once or when the network is idle again.
void TReasoner::CompileRule(TRule& rule) {
  if (in_network_ > 0) {
    work_.push_back(TNetworkWork{TNetworkWork::kCompilation, nullptr, &rule, {}});
    return;
  }
  const ScopedOperation operation(*this);
  FirstFailure failures;
  failures.Try([&] { InNetwork([&] { network_->AddRule(rule); }); });
  failures.Try([&] {
    if (!work_.empty()) DrainWork();
    ProcessPendingFacts();
  });
  failures.Raise();
}

// A rule that had to wait: one that cannot be compiled is no rule.
void TReasoner::FeedRule(TRule& rule) {
  const ScopedReport report(*this);
  const std::string name = rule.GetRuleName();
  // A handler may free a rule that is its own: then nothing of it is touched any more.
  const auto is_held = [&] { return rules_->Find(name) == &rule; };
  FirstFailure failures;
  failures.Try([&] { InNetwork([&] { network_->AddRule(rule); }); });
  failures.Try([&] { ProcessPendingFacts(); });
  if (!IsCompiled(rule) && is_held()) failures.Try([&] { rules_->Remove(name); });
  failures.Raise();
  if (is_held() && Watches(cwCompilation)) PrintOut(rule.CompileTrace + std::string(NewLineString));
}

// Takes a rule out of the network: its activations go at once, its nodes when no token is inside.
void TReasoner::UncompileRule(TRule& rule) {
  work_.erase(std::remove_if(work_.begin(), work_.end(),
                             [&rule](const TNetworkWork& work) { return work.rule == &rule; }),
              work_.end());
  if (!network_->HasRule(rule)) return;
  FirstFailure failures;
  failures.Try([&] {
    InNetwork([&] {
      std::vector<TReteNode*> nodes = network_->CutOffRule(rule, failures);
      work_.push_back(TNetworkWork{TNetworkWork::kRelease, nullptr, nullptr, std::move(nodes)});
    });
  });
  if (in_network_ == 0) failures.Try([&] { DrainWork(); });
  failures.Raise();
}

// Frees all nodes. Compilations that wait are for rules that are going, too.
void TReasoner::ClearNetwork() {
  FirstFailure failures;
  failures.Try([this] { InNetwork([this] { network_->Clear(); }); });
  work_.erase(std::remove_if(work_.begin(), work_.end(),
                             [](const TNetworkWork& work) {
                               return work.rule != nullptr || work.kind == TNetworkWork::kRelease;
                             }),
              work_.end());
  failures.Try([this] { DrainWork(); });
  failures.Raise();
}

void TReasoner::RuleMarkedFired(TRule& rule) {
  if (TPatternMatchTerminalNode* terminal = network_->GetTerminal(rule)) {
    FirstFailure failures;
    failures.Try([&] { InNetwork([&] { terminal->StandDown(current_activation_); }); });
    if (in_network_ == 0) failures.Try([&] { DrainWork(); });
    failures.Raise();
  }
}

}  // namespace reasoner
