// Running: the agenda's order, the recognise-act cycle, watches and statistics.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/Format.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/Streams.h"
#include "reasoner/vocabulary/KBExceptions.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// Milliseconds of a clock that never goes back.
static double Tick() {
  using std::chrono::duration;
  using std::chrono::steady_clock;
  return std::floor(duration<double, std::milli>(steady_clock::now().time_since_epoch()).count());
}

// Agenda.

// Salience first; among equal ones the newest in front at the top of the agenda for depth first,
// the oldest in front at its bottom for breadth first; inside the agenda in front of the entry that
// the search lands on.
std::int32_t TReasoner::SearchSalience(std::int32_t salience) const {
  if (agenda_->IsEmpty()) return -1;
  // An expression can give each activation a salience of its own: entries are ordered by those. In
  // the literal meaning the last one of the rule counts for all of its entries.
  const bool by_entry = GetTextbookSemantics();
  const auto salience_at = [this, by_entry](std::int32_t index) {
    const TActivation& activation = agenda_->GetActivation(index);
    // One whose rule has ended is on its way out.
    return by_entry || !activation.HasRule() ? activation.GetEntrySalience()
                                             : activation.GetRule().GetSalience();
  };
  const std::int32_t last = agenda_->GetCount() - 1;
  if (strategy_ == ssDepthFirst) {
    if (salience >= salience_at(0)) return 0;
    if (salience < salience_at(last)) return -1;
  } else {
    if (salience <= salience_at(last)) return -1;
    if (salience > salience_at(0)) return 0;
  }
  std::int32_t low = 0;
  std::int32_t high = last;
  while (low <= high) {
    const std::int32_t middle = low + (high - low) / 2;
    const std::int32_t found = salience_at(middle);
    if (salience == found) return middle;
    if (salience > found) {
      high = middle - 1;
    } else {
      low = middle + 1;
    }
  }
  return high + 1;
}

// False when the activation is gone again.
bool TReasoner::PlaceActivation(std::unique_ptr<TActivation> owned) {
  TActivation& activation = *owned;
  const ScopedReport report(*this);
  const std::size_t place = placing_.size();
  placing_.push_back(&activation);
  struct Placing {
    TReasoner& engine;
    std::unique_ptr<TActivation>& owned;
    ~Placing() {
      engine.placing_.pop_back();
      // One that could not be placed ends here, but the one being fired is the run loop's.
      if (owned.get() == engine.current_activation_) owned.release();
    }
  } placing{*this, owned};
  const auto has_gone = [&] { return placing_[place] == nullptr; };
  bool is_placed = false;
  try {
    // A salience that cannot be evaluated takes the activation with it, off its node too. One that
    // was interrupted leaves it the salience that its rule had.
    std::exception_ptr interruption;
    try {
      activation.GetRule().EvaluateSalience();
    } catch (const EKBInterrupted&) {
      interruption = std::current_exception();
    }
    if (has_gone()) return false;  // withdrawn by what its salience ran
    const std::int32_t index = agenda_->Add(std::move(owned));
    is_placed = true;
    if (Watches(cwActivation))
      PrintOut("==> Activation: " + activation.ToString() + std::string(NewLineString));
    OnAddActivation.CallWhile([&] { return !has_gone(); }, *this, index, activation);
    if (interruption) std::rethrow_exception(interruption);
  } catch (const EAbort&) {
    // A host's silent refusal ends here: the match goes on.
  } catch (...) {
    if (in_network_ == 0) throw;
    network_failures_.Keep(std::current_exception());
  }
  return is_placed && !has_gone();
}

void TReasoner::RequireOwn(const TActivation& activation) {
  if (!activation.HasRule()) Raise(SInvalidAgendaItem);
  if (activation.GetRule().GetEngine() != this)
    Raise(SForeignObject, "Rule " + activation.GetRule().GetRuleName());
}

bool TReasoner::AddActivation(TActivation& activation) {
  std::unique_ptr<TActivation> owned(&activation);
  if (in_network_ == 0) RequireOwn(activation);  // the network's are the engine's own
  return PlaceActivation(std::move(owned));
}

void TReasoner::NetworkFailed(std::exception_ptr failure) {
  if (in_network_ == 0) std::rethrow_exception(failure);
  network_failures_.Keep(std::move(failure));
}

std::unique_ptr<TActivation> TReasoner::RemoveActivation(TActivation& activation) {
  if (!agenda_) return nullptr;
  const std::int32_t index = agenda_->IndexOf(activation);
  if (index >= 0) return RemoveActivation(index);
  // Withdrawn while the agenda was being rebuilt.
  for (TActivation*& waiting : rebuilding_) {
    if (waiting != &activation) continue;
    waiting = nullptr;
    if (&activation == current_activation_) return nullptr;  // the run loop's
    return std::unique_ptr<TActivation>(&activation);
  }
  ForgetPlacing(activation);
  return nullptr;
}

// One that goes while it is being placed: whoever places it sees so.
void TReasoner::ForgetPlacing(const TActivation& activation) {
  std::replace(placing_.begin(), placing_.end(), const_cast<TActivation*>(&activation),
               static_cast<TActivation*>(nullptr));
}

std::unique_ptr<TActivation> TReasoner::RemoveActivation(std::int32_t index) {
  if (!agenda_) return nullptr;
  TActivation& activation = agenda_->GetActivation(index);
  const auto take = [this, &activation] {
    const std::int32_t place = agenda_->IndexOf(activation);
    if (place >= 0) agenda_->Extract(place).release();
    ForgetPlacing(activation);
  };
  const ScopedReport report(*this);
  if (activation.IsLeaving()) {
    // Its removal is being reported already: the report's own end frees it.
    take();
    return nullptr;
  }
  activation.SetLeaving();
  // The line is made before the event: a handler may end the rule.
  std::string line;
  if (Watches(cwActivation)) {
    line = "<== Activation: " +
           (activation.HasRule() ? activation.GetRule().GetRuleName() : std::string()) + " : " +
           activation.GetToken()->GetToFactsString() + std::string(NewLineString);
  }
  struct Reported {
    explicit Reported(std::int32_t& reports) : count(reports) { ++count; }
    ~Reported() { --count; }
    std::int32_t& count;
  } const reported(removals_reported_);
  try {
    OnRemoveActivation.CallWhile([&] { return activation.HasRule(); }, *this, index, activation);
    if (!line.empty()) PrintOut(line);
  } catch (...) {
    if (in_network_ == 0) {
      take();
      if (&activation != current_activation_) delete &activation;
      throw;
    }
    network_failures_.Keep(std::current_exception());
  }
  take();
  if (&activation == current_activation_) return nullptr;  // the run loop's
  return std::unique_ptr<TActivation>(&activation);
}

std::unique_ptr<TActivation> TReasoner::RuleFired(TActivation& activation) {
  if (OnRuleFired.IsHeard() && activation.HasRule()) {
    OnRuleFired.CallWhile([&] { return activation.HasRule(); }, *this, activation.GetRule());
  }
  return RemoveActivation(activation);
}

void TReasoner::SetStrategy(TSearchStrategy value) {
  if (value == strategy_) return;
  RequireIdleNetwork("changing the strategy");
  strategy_ = value;
  RebuildAgenda();
}

void TReasoner::SetActivation(std::int32_t index, std::unique_ptr<TActivation> activation) {
  if (!activation) Raise(SInvalidAgendaItem);
  RequireOwn(*activation);
  if (GetActivation(index).IsLeaving()) Raise(SInvalidAgendaItem);
  std::unique_ptr<TActivation> old = agenda_->SetActivations(index, std::move(activation));
  TActivation& placed = GetActivation(index);
  if (placed.GetNode() != nullptr) placed.GetNode()->List(placed);
  if (old.get() == current_activation_) old.release();  // the run loop's
}

void TReasoner::SetAgenda(const TActivationAgenda& source) {
  if (&source == agenda_.get()) return RebuildAgenda();
  RequireIdleNetwork("replacing the agenda");
  const ScopedReport report(*this);
  std::vector<std::unique_ptr<TActivation>> clones;
  for (std::int32_t i = 0; i < source.GetCount(); ++i) {
    if (source.GetActivation(i).HasRule()) clones.push_back(source.GetActivation(i).Clone());
  }
  FirstFailure failures;
  failures.Try([this] { agenda_->Clear(); });
  const auto still_holds = [this](const TActivation& activation) {
    if (!activation.HasRule() || activation.GetNode() == nullptr) return false;
    if (network_->GetTerminal(activation.GetRule()) != activation.GetNode()) return false;
    for (std::int32_t i = 0; i < activation.GetToken()->GetCount(); ++i) {
      const IFact* const fact = activation.GetToken()->GetFacts(i);
      if (fact != nullptr && fact->GetID() >= 0 && !facts_->GetFactByID(fact->GetID()))
        return false;
    }
    return true;
  };
  for (std::unique_ptr<TActivation>& clone : clones) {
    if (!still_holds(*clone)) continue;
    clone->GetNode()->List(*clone);
    failures.Try([&] { PlaceActivation(std::move(clone)); });
  }
  failures.Raise();
}

// Takes the entries off in order and places each anew, unless it was withdrawn meanwhile.
void TReasoner::RebuildAgenda() {
  const std::size_t first = rebuilding_.size();
  while (!agenda_->IsEmpty()) {
    TActivation* const activation = agenda_->Extract(0).release();
    // One whose removal is being reported does not come back: the report's own end frees it.
    if (!activation->IsLeaving()) rebuilding_.push_back(activation);
  }
  FirstFailure failures;
  while (rebuilding_.size() > first) {
    TActivation* activation = rebuilding_[first];
    rebuilding_.erase(rebuilding_.begin() + static_cast<std::ptrdiff_t>(first));
    if (activation == nullptr) continue;
    if (!GetTextbookSemantics()) activation->SetStrength(1.0F);
    failures.Try([&] { PlaceActivation(std::unique_ptr<TActivation>(activation)); });
  }
  failures.Raise();
}

// Run loop.

// The next activation to fire, or -1. An entry whose removal is being reported fires no more.
std::int32_t TReasoner::NextToFire(std::int32_t max_rules) const {
  if (halted_ || rules_fired_ >= max_rules) return -1;
  std::int32_t next = 0;
  while (next < agenda_->GetCount() && agenda_->GetActivation(next).IsLeaving()) ++next;
  return next < agenda_->GetCount() ? next : -1;
}

std::int32_t TReasoner::Run(std::int32_t max_rules) {
  return Flushed([this, max_rules] { return RunRules(max_rules); });
}

std::int32_t TReasoner::RunRules(std::int32_t max_rules) {
  using TGuard = std::lock_guard<std::recursive_mutex>;
  {
    // Another thread may be at work: what it has begun is waited for.
    const TGuard lock(lock_);
    if (running_ || in_network_ > 0 || current_activation_ != nullptr) return 0;
    ForgetFailure();
    running_ = true;
  }
  struct Running {
    TReasoner& engine;
    ~Running() {
      const TGuard lock(engine.lock_);
      engine.running_ = false;
      if (engine.parses_ == 0) engine.placed_failure_ = nullptr;
    }
  } running{*this};
  std::optional<ScopedOperation> operation;
  struct Ending {
    TReasoner& engine;
    std::optional<ScopedOperation>& operation;
    ~Ending() {
      const TGuard lock(engine.lock_);
      operation.reset();
    }
  } ending{*this, operation};
  {
    const TGuard lock(lock_);
    operation.emplace(*this);
    BeginInference();
  }
  // The lock is held for one firing at a time: between two of them other threads get in.
  for (bool going = true; going;) {
    const TGuard lock(lock_);
    const std::int32_t next = NextToFire(max_rules);
    going = next >= 0;
    if (!going) continue;
    if (GetLink()->interrupt_requests.load(std::memory_order_relaxed) != 0)
      throw EKBInterrupted(std::string(SInterrupted.kFormat));
    RunStep(next);
    if (SalienceEvaluation == sEveryTime) RebuildAgenda();
  }
  const TGuard lock(lock_);
  const std::int32_t fired = rules_fired_;
  EndInference();
  return fired;
}

// A run is interrupted between two firings, and a match, which would lose what it has not made yet,
// not at all, unless the host asks again.
void TReasoner::PollInterrupt() {
  const bool insists = GetLink()->interrupt_requests.load(std::memory_order_relaxed) > 1;
  if (!insists && (running_ || in_network_ > 0 || reporting_ > 0)) return;
  // The request is spent, but inside a match not before its end: the tests that are still to come
  // end at once, too.
  if (in_network_ == 0) {
    GetLink()->interrupt_requests.store(0, std::memory_order_relaxed);
  } else {
    match_interrupted_ = true;
  }
  if (current_activation_ != nullptr && current_activation_->HasRule()) {
    throw EKBInterrupted(
        FillMessage(SInterruptedFiring, current_activation_->GetRule().GetRuleName()));
  }
  throw EKBInterrupted(
      std::string(in_network_ > 0 ? SInterruptedMatch.kFormat : SInterrupted.kFormat));
}

void TReasoner::RunStep(std::int32_t index) {
  current_activation_ = &agenda_->GetActivation(index);
  // The order matters: what ends the activation must still see it as the current one.
  struct Firing {
    TReasoner& engine;
    ~Firing() {
      TActivation* activation = engine.current_activation_;
      const std::int32_t place = engine.agenda_->IndexOf(*activation);
      if (place >= 0) engine.agenda_->Extract(place).release();
      delete activation;
      engine.current_activation_ = nullptr;
      engine.FreeDoomed();
    }
  } firing{*this};
  try {
    if (Watches(cwRule)) {
      PrintOut("FIRE " + IntegerToText(rules_fired_) + " " +
               current_activation_->GetRule().GetRuleName() + " " +
               current_activation_->GetToken()->GetToFactsString() + std::string(NewLineString));
    }
    // The watch's line reaches handlers, which may end the rule.
    if (current_activation_->HasRule()) current_activation_->Fire();
  } catch (...) {
    // A firing that failed is withdrawn, and reported as usual.
    const std::exception_ptr failure = std::current_exception();
    try {
      if (current_activation_->HasRule())
        NoteFailedRule(current_activation_->GetRule().GetRuleName());
      if (agenda_->Holds(*current_activation_)) RemoveActivation(*current_activation_);
    } catch (...) {
      // The first failure is the one that counts.
    }
    std::rethrow_exception(failure);
  }
  if (Watch.Has(cwStatistics)) {
    fact_sum_ += static_cast<float>(facts_->GetCount());
    max_facts_ = std::max(max_facts_, facts_->GetCount());
    activation_sum_ += static_cast<float>(agenda_->GetCount());
    max_activations_ = std::max(max_activations_, agenda_->GetCount());
  }
  ++rules_fired_;
}

void TReasoner::BeginInference() {
  OnStartInference(*this);
  run_time_ = Tick();
  rules_fired_ = 0;
  max_facts_ = facts_->GetCount();
  fact_sum_ = 0;
  max_activations_ = agenda_->GetCount();
  activation_sum_ = 0;
  halted_ = false;
}

void TReasoner::EndInference() {
  if (Watch.Has(cwStatistics)) {
    run_time_ = (Tick() - run_time_) / 1000;
    if (rules_fired_ > 0) {
      fact_sum_ /= static_cast<float>(rules_fired_);
      activation_sum_ /= static_cast<float>(rules_fired_);
    }
    if (rules_fired_ >= 1 && OnPrintOut.IsHeard()) {
      const auto line = [this](const std::string& text) {
        PrintOut(text + std::string(NewLineString));
      };
      line(FormatText("%d rules fired.     Run time is %.4f seconds", {rules_fired_, run_time_}));
      line(run_time_ == 0 ? FormatText("%d rules per second", {rules_fired_})
                          : FormatText("%.4f rules per second", {rules_fired_ / run_time_}));
      line(FormatText("%.4f mean number of facts (%d maximum)", {double{fact_sum_}, max_facts_}));
      line(FormatText("%.4f mean number of activations (%d maximum)",
                      {double{activation_sum_}, max_activations_}));
    }
  }
  OnEndInference(*this, rules_fired_);
}

}  // namespace reasoner
