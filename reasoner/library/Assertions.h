// What `assert` and its kin have in common: a call that asserts several facts.

#pragma once

#include <exception>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/FirstFailure.h"

namespace reasoner {

// Asserts the facts of a call one by one. A failure of rules that cannot test a fact waits: the
// fact is there, and the others follow. One that keeps a fact out ends the call.
class TAssertions {
 public:
  explicit TAssertions(TReasoner& engine) : engine_(engine) {}

  // make_fact() gives the fact, assert_fact(fact) asserts it and gives its id.
  template <class TMakeFact, class TAssertFact>
  void Add(TMakeFact make_fact, TAssertFact assert_fact) {
    Ref<IFact> fact;
    try {
      fact = make_fact();
      id_ = assert_fact(fact);
    } catch (...) {
      failures_.Keep(std::current_exception());
      if (!fact || !engine_.GetFacts().Lists(*fact)) failures_.Raise();
    }
  }
  template <class TMakeFact>
  void Add(TMakeFact make_fact) {
    Add(make_fact, [this](const Ref<IFact>& fact) { return engine_.Assert(fact); });
  }
  // The id of the last fact, or -1; raises what has waited.
  TFactId Finish() {
    failures_.Raise();
    return id_;
  }

 private:
  TReasoner& engine_;
  TFactId id_ = -1;
  FirstFailure failures_;
};

}  // namespace reasoner
