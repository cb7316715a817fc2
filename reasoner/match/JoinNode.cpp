#include "reasoner/match/JoinNode.h"

#include <algorithm>

#include "reasoner/match/ReteNetwork.h"
#include "reasoner/match/TestFailure.h"
#include "reasoner/support/Depth.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {

// Test node.

void TTestNode::AddTest(TSlotTestType test_type, const Ref<IKBValue>& call) {
  tests_.push_back(std::make_unique<TKBPatternMatchTest>(nullptr, test_type, NoSubIndex, call));
  has_calls_ = true;
}

void TTestNode::CopyTests(const TTestNode& source) {
  pattern_index_ = source.pattern_index_;
  for (const std::unique_ptr<TKBSlotTest>& test : source.tests_) tests_.push_back(test->Clone());
  has_calls_ = source.has_calls_;
}

bool TTestNode::CallNode(const Ref<TKBToken>& token, TCallType) {
  // What is taken away passes: it is looked up by its facts further down.
  if (token->GetTag() == taAdd || token->GetTag() == taUpdate) {
    const ScopedMatch match(GetContext(), token, nullptr);
    try {
      for (const std::unique_ptr<TKBSlotTest>& test : tests_) {
        if (!test->PerformTest(GetContext())) return false;
      }
    } catch (Exception& failure) {
      TellMatch(failure, *this, token.get(), nullptr);
      throw;
    }
  }
  CallChildren(token);
  return true;
}

std::string TTestNode::ToString() const {
  std::string text = TReteNode::ToString() + " NumTests: " + IntegerToText(GetTestCount());
  for (const std::unique_ptr<TKBSlotTest>& test : tests_) text += " (" + test->ToString() + ")";
  return text;
}

// Join.

TJoinNode::TJoinNode(TReteNetwork& rete, bool negated, bool unique, bool asks_for_goals,
                     std::int32_t hash_key)
    : TTestNode(rete),
      negated_(negated),
      unique_(unique),
      one_partner_(unique && !negated && rete.IsTextbook()),
      textbook_(rete.IsTextbook()),
      asks_for_goals_(asks_for_goals),
      hash_key_(hash_key) {}

TJoinNode::TJoinNode(TReteNetwork& rete, const TJoinNode& source)
    : TJoinNode(rete, source.negated_, source.unique_, source.asks_for_goals_, source.hash_key_) {
  CopyTests(source);
  compares_chains_ = source.compares_chains_;
  PrepareShortCut();
}

void TJoinNode::AddJoinTest(TSlotTestType test_type, std::int32_t token_index, const Text& left,
                            std::int32_t left_sub_index, const Text& right,
                            std::int32_t right_sub_index, bool is_fuzzy) {
  tests_.push_back(std::make_unique<TKBJoinTest>(test_type, token_index, left, left_sub_index,
                                                 right, right_sub_index, is_fuzzy));
  has_calls_ = has_calls_ || is_fuzzy;
}

void TJoinNode::PrepareShortCut() {
  for (const TTemplateSlotType wanted : {tstSlot, tstMultiSlot}) {
    for (std::unique_ptr<TKBSlotTest>& test : tests_) {
      const auto* join_test = dynamic_cast<const TKBJoinTest*>(test.get());
      if (join_test == nullptr || join_test->GetJoinTestType() != wanted ||
          join_test->GetSlotTestType() != sttEquals || join_test->ComparesFactIds() ||
          join_test->IsFuzzy) {
        continue;
      }
      short_cut_ = join_test;
      use_short_cut_ = true;
      std::swap(test, tests_.front());
      ClearMemory();
      return;
    }
  }
  ClearMemory();
}

void TJoinNode::CompareChains() {
  compares_chains_ = true;
  if (auto* const before = dynamic_cast<TJoinNode*>(GetFirstParent())) before->next_level_ = this;
}

void TJoinNode::TakeDegreesFrom(TJoinNode& first_level) {
  first_level_ = &first_level;
  first_level.degree_takers_.push_back(this);
  if (!first_level.degrees_) first_level.degrees_ = std::make_unique<TBlockerDegrees>();
}

void TJoinNode::ClearMemory() {
  if (degrees_) degrees_->Clear();
  if (left_) {
    left_->Clear();
  } else {
    const Text slot = short_cut_ == nullptr ? Text() : short_cut_->LeftIndex;
    left_ = std::make_unique<TKBTokenTree>(
        hash_key_, short_cut_ == nullptr ? -1 : short_cut_->TokenIndex,
        short_cut_ == nullptr ? NoSubIndex : short_cut_->LeftSubIndex, slot, short_cut_ == nullptr);
  }
  if (right_) {
    right_->Clear();
  } else {
    const Text slot = short_cut_ == nullptr ? Text() : short_cut_->RightIndex;
    // The first partner is the first in the order of the facts: with one bucket no id goes before
    // an older one.
    right_ = std::make_unique<TKBTokenTree>(
        one_partner_ ? 1 : hash_key_, 0,
        short_cut_ == nullptr ? NoSubIndex : short_cut_->RightSubIndex, slot, false);
  }
}

bool TJoinNode::Serves(const TJoinNode& other) const {
  if (negated_ || other.negated_ || unique_ != other.unique_ ||
      asks_for_goals_ != other.asks_for_goals_ || has_calls_ || other.has_calls_ ||
      tests_.size() != other.tests_.size()) {
    return false;
  }
  // A test may stand twice: what the one tests, the other must, and the other way round.
  const auto covers = [](const TJoinNode& all, const TJoinNode& some) {
    return std::all_of(some.tests_.begin(), some.tests_.end(), [&all](const auto& wanted) {
      return std::any_of(all.tests_.begin(), all.tests_.end(),
                         [&wanted](const auto& test) { return test->Equals(*wanted); });
    });
  };
  return covers(*this, other) && covers(other, *this);
}

bool TJoinNode::RunTests(const TKBToken& left, const Ref<IFact>& right, bool with_calls) {
  for (const std::unique_ptr<TKBSlotTest>& test : tests_) {
    if (const auto* join_test = dynamic_cast<const TKBJoinTest*>(test.get())) {
      if (join_test->IsFuzzy && !with_calls) continue;
      if (!join_test->Compare(left, *right)) return false;
    } else if (with_calls) {
      const ScopedMatch match(GetContext(), Ref<const IMatch>(&left), right);
      if (!test->PerformTest(GetContext())) return false;
    }
  }
  return true;
}

bool TJoinNode::Matches(const TKBToken& left, const Ref<IFact>& right, FirstFailure& failures) {
  try {
    return RunTests(left, right, true);
  } catch (Exception& failure) {
    if (failures.IsEmpty()) TellMatch(failure, *this, &left, right.get());
    failures.Keep(std::current_exception());
  } catch (...) {
    failures.Keep(std::current_exception());
  }
  return false;
}

// Calls visit(entry) for each right token that the tests may allow with a left one, in the order of
// the memory, until it answers false. The memory does not change meanwhile.
template <class TVisit>
void TJoinNode::VisitRight(const Ref<TKBToken>& left, TVisit visit) {
  if (compares_chains_) {
    const TKBToken unmatched(left, GetRete().GetEngine().GetNotOrTestFact());
    if (Entry* entry = right_->Find(unmatched)) visit(*entry);
    return;
  }
  if (use_short_cut_) {
    IFact* fact = left->GetFacts(short_cut_->TokenIndex);
    const Ref<IKBValue> value = fact == nullptr ? Ref<IKBValue>() : short_cut_->LeftValue(*fact);
    for (Entry* entry = right_->FirstWithKey(TokenKeyOf(value.get())); entry != nullptr;
         entry = entry->group_next) {
      if (!visit(*entry)) return;
    }
    return;
  }
  for (std::int32_t bucket = right_->GetLowestBucket(); bucket <= right_->GetHighestBucket();
       ++bucket) {
    for (Entry* entry = right_->FirstInBucket(bucket); entry != nullptr;
         entry = entry->bucket_next) {
      if (!visit(*entry)) return;
    }
  }
}

template <class TVisit>
void TJoinNode::VisitLeft(const TKBToken& right, TVisit visit) {
  if (compares_chains_) {
    if (Entry* entry = left_->Find(*right.GetParent())) visit(*entry);
    return;
  }
  if (use_short_cut_) {
    IFact* fact = right.GetFacts(0);
    const Ref<IKBValue> value = fact == nullptr ? Ref<IKBValue>() : short_cut_->RightValue(*fact);
    for (Entry* entry = left_->FirstWithKey(TokenKeyOf(value.get())); entry != nullptr;
         entry = entry->group_next) {
      visit(*entry);
    }
    return;
  }
  for (std::int32_t bucket = left_->GetLowestBucket(); bucket <= left_->GetHighestBucket();
       ++bucket) {
    for (Entry* entry = left_->FirstInBucket(bucket); entry != nullptr; entry = entry->bucket_next)
      visit(*entry);
  }
}

Ref<TKBToken> TJoinNode::PairOf(const Ref<TKBToken>& left, const TKBToken& right) {
  Ref<TKBToken> pair = Make<TKBToken>(left, right.GetFact(), right.GetSplit());
  pair->SetStrength(std::min(left->GetStrength(), right.GetStrength()));
  return pair;
}

Ref<TKBToken> TJoinNode::UnmatchedOf(const Ref<TKBToken>& left, float last_degree) const {
  float strength = textbook_ ? 1.0F : last_degree;
  if (first_level_ != nullptr) {
    if (const Entry* found = first_level_->left_->Find(*left)) {
      strength = first_level_->GreatestDegree(*found);
    }
  }
  Ref<TKBToken> unmatched = Make<TKBToken>(left, GetRete().GetEngine().GetNotOrTestFact());
  unmatched->SetStrength(std::min(left->GetStrength(), strength));
  return unmatched;
}

void TJoinNode::PassPair(const Ref<TKBToken>& left, const TKBToken& right, TTokenAction tag) {
  const Ref<TKBToken> pair = PairOf(left, right);
  pair->SetTag(tag);
  CallChildren(pair);
}

void TJoinNode::PassUnmatched(const Ref<TKBToken>& left, float last_degree, TTokenAction tag) {
  const Ref<TKBToken> unmatched = UnmatchedOf(left, last_degree);
  unmatched->SetTag(tag);
  CallChildren(unmatched);
}

void TJoinNode::TellDegree(const Entry& left, float before) {
  if (GreatestDegree(left) == before) return;
  for (TJoinNode* level : degree_takers_) level->DegreeChanged(*left.token);
}

void TJoinNode::DegreeChanged(const TKBToken& token) {
  const Entry* const entry = left_ ? left_->Find(token) : nullptr;
  if (entry == nullptr || entry->token->GetNegatedCount() != 0) return;
  TellChildrenStrength(UnmatchedOf(entry->token, 1.0F));
}

// What a negation passes on is as true as its left token; the right ones come with the strength
// that their pattern gave them, once and for all.
void TJoinNode::StrengthChanged(const Ref<TKBToken>& token, TCallType call_type) {
  if (call_type != ctLeft || !left_) return;
  const Entry* const entry = left_->Find(*token);
  if (entry == nullptr || entry->token->GetStrength() == token->GetStrength()) return;
  const Ref<TKBToken> match = entry->token;
  match->SetStrength(token->GetStrength());
  if (negated_) {
    if (match->GetNegatedCount() == 0) TellChildrenStrength(UnmatchedOf(match, 1.0F));
  } else if (one_partner_) {
    if (!entry->blockers.empty()) TellChildrenStrength(PairOf(match, *entry->blockers.front()));
  } else {
    // A pair that a call has refused is not found further down.
    VisitRight(match, [&](Entry& right) {
      if (RunTests(*match, right.token->GetFact(), false))
        TellChildrenStrength(PairOf(match, *right.token));
      return true;
    });
  }
}

// The entries of the other memory that the tests allow: all calls run before any pair goes on.
std::vector<TJoinNode::Entry*> TJoinNode::PartnersOf(const Ref<TKBToken>& token, bool is_left,
                                                     FirstFailure& failures) {
  std::vector<Entry*> partners;
  if (is_left) {
    VisitRight(token, [&](Entry& right) {
      if (Matches(*token, right.token->GetFact(), failures)) partners.push_back(&right);
      return partners.empty() || !unique_ || negated_;
    });
  } else {
    VisitLeft(*token, [&](Entry& left) {
      if (Matches(*left.token, token->GetFact(), failures)) partners.push_back(&left);
    });
  }
  return partners;
}

void TJoinNode::ForgetRule(const TRule& rule) {
  goal_plans_.erase(
      std::remove_if(goal_plans_.begin(), goal_plans_.end(),
                     [&rule](const TGoalPlan& plan) { return plan.GetRule() == &rule; }),
      goal_plans_.end());
}

// The left token found no partner: what it waits for is asked for, once the network is idle again.
void TJoinNode::AskForGoal(const TKBToken& left) {
  IReasoner& engine = GetRete().GetEngine();
  const Ref<IFact> goal = goal_plans_.front().MakeGoal(engine, left);
  // A goal that brought the token here is there: with equal facts allowed it would be asked for
  // without end.
  if (!left.GetFact()->EqualsFact(*goal)) engine.AddPendingFact(goal, true);
}

void TJoinNode::LeftCame(const Ref<TKBToken>& token) {
  const Ref<TKBToken> stored = Make<TKBToken>(*token);
  Entry* entry = left_->Add(stored);
  if (entry == nullptr) return;
  // What fails further down stops nobody else: this node has done its whole work when it raises.
  FirstFailure failures;
  const auto pass = [&](const Entry& right) {
    ++pass_count_;
    if (one_partner_) entry->blockers.push_back(right.token);
    failures.Try([&] { PassPair(stored, *right.token, token->GetTag()); });
  };
  const auto block = [&](const Entry& right) {
    stored->SetNegatedCount(stored->GetNegatedCount() + 1);
    if (degrees_) degrees_->Add(*entry, right.token->GetStrength());
    if (has_calls_) entry->blockers.push_back(right.token);
  };
  if (has_calls_) {
    for (const Entry* right : PartnersOf(token, true, failures)) {
      negated_ ? block(*right) : pass(*right);
    }
  } else {
    VisitRight(token, [&](Entry& right) {
      if (!RunTests(*token, right.token->GetFact(), false)) return true;
      negated_ ? block(right) : pass(right);
      return negated_ || !unique_;
    });
  }
  if (negated_ && stored->GetNegatedCount() == 0) {
    ++pass_count_;
    failures.Try([&] { PassUnmatched(stored, 1.0F, token->GetTag()); });
  }
  if (pass_count_ == 0 && !goal_plans_.empty()) failures.Try([&] { AskForGoal(*stored); });
  failures.Raise();
}

void TJoinNode::LeftGoes(const Ref<TKBToken>& token) {
  Entry* entry = left_->Find(*token);
  if (entry == nullptr) return;
  const Ref<TKBToken> stored = entry->token;
  Ref<TKBToken> partner;
  if (one_partner_ && !entry->blockers.empty()) partner = entry->blockers.front();
  if (degrees_) degrees_->Forget(*entry);
  left_->Remove(*entry);
  if (negated_) {
    // The next level of negation has the token, too. It is to forget it before it hears that its
    // blocker has gone: for a moment the token would pass it.
    FirstFailure failures;
    if (next_level_ != nullptr) {
      failures.Try([&] {
        const DepthGuard guard("match");
        next_level_->LeftGoes(token);
      });
    }
    if (stored->GetNegatedCount() == 0)
      failures.Try([&] { PassUnmatched(stored, 1.0F, taRemove); });
    return failures.Raise();
  }
  if (one_partner_) {
    if (partner) PassPair(stored, *partner, taRemove);
    return;
  }
  FirstFailure failures;
  VisitRight(stored, [&](Entry& right) {
    if (RunTests(*stored, right.token->GetFact(), false))
      failures.Try([&] { PassPair(stored, *right.token, taRemove); });
    return true;
  });
  failures.Raise();
}

void TJoinNode::RightCame(const Ref<TKBToken>& token) {
  const Ref<TKBToken> stored = Make<TKBToken>(*token);
  if (right_->Add(stored) == nullptr) return;
  FirstFailure failures;
  const auto meet = [&](Entry& left) {
    const Ref<TKBToken> match = left.token;
    if (!negated_) {
      if (one_partner_) {
        if (!left.blockers.empty()) return;
        left.blockers.push_back(stored);
      }
      return failures.Try([&] { PassPair(match, *token, token->GetTag()); });
    }
    const float before = GreatestDegree(left);
    match->SetNegatedCount(match->GetNegatedCount() + 1);
    if (degrees_) degrees_->Add(left, stored->GetStrength());
    if (has_calls_) left.blockers.push_back(stored);
    if (match->GetNegatedCount() != 1) return failures.Try([&] { TellDegree(left, before); });
    failures.Try([&] { PassUnmatched(match, token->GetStrength(), taRemove); });
  };
  if (has_calls_) {
    for (Entry* left : PartnersOf(token, false, failures)) meet(*left);
  } else {
    VisitLeft(*token, [&](Entry& left) {
      if (RunTests(*left.token, token->GetFact(), false)) meet(left);
    });
  }
  failures.Raise();
}

// The left token has lost its only partner: the next one in the memory takes its place.
void TJoinNode::OfferNextPartner(Entry& left, FirstFailure& failures) {
  const Ref<TKBToken> match = left.token;
  VisitRight(match, [&](Entry& right) {
    if (!Matches(*match, right.token->GetFact(), failures)) return true;
    left.blockers.push_back(right.token);
    return false;
  });
  if (left.blockers.empty()) return;
  failures.Try([&] { PassPair(match, *left.blockers.front(), match->GetTag()); });
}

void TJoinNode::RightGoes(const Ref<TKBToken>& token) {
  Entry* entry = right_->Find(*token);
  if (entry == nullptr) return;
  const Ref<TKBToken> stored = entry->token;
  right_->Remove(*entry);
  FirstFailure failures;
  VisitLeft(*stored, [&](Entry& left) {
    const Ref<TKBToken> match = left.token;
    if (one_partner_) {
      if (left.blockers.empty() || left.blockers.front() != stored) return;
      left.blockers.clear();
      failures.Try([&] { PassPair(match, *stored, taRemove); });
      return OfferNextPartner(left, failures);
    }
    if (!negated_) {
      if (RunTests(*match, stored->GetFact(), false))
        failures.Try([&] { PassPair(match, *stored, taRemove); });
      return;
    }
    if (has_calls_) {
      const auto found = std::find(left.blockers.begin(), left.blockers.end(), stored);
      if (found == left.blockers.end()) return;
      left.blockers.erase(found);
    } else if (!RunTests(*match, stored->GetFact(), false)) {
      return;
    }
    const float before = GreatestDegree(left);
    match->SetNegatedCount(match->GetNegatedCount() - 1);
    if (degrees_) degrees_->Remove(left, stored->GetStrength());
    if (match->GetNegatedCount() > 0) return failures.Try([&] { TellDegree(left, before); });
    failures.Try([&] { PassUnmatched(match, stored->GetStrength(), match->GetTag()); });
  });
  failures.Raise();
}

bool TJoinNode::CallNode(const Ref<TKBToken>& token, TCallType call_type) {
  pass_count_ = 0;
  if (token->GetTag() == taClear) {
    ClearMemory();
    CallChildren(token);
    return false;
  }
  if (!left_ || !right_) ClearMemory();
  const bool comes = token->GetTag() != taRemove;
  switch (call_type) {
    case ctLeft:
      comes ? LeftCame(token) : LeftGoes(token);
      break;
    case ctRight:
      comes ? RightCame(token) : RightGoes(token);
      break;
    default:
      Raise(SInvalidCallType, kCallTypeNames[call_type]);
  }
  return true;
}

std::string TJoinNode::ToString() const {
  std::string text = TTestNode::ToString();
  if (negated_) text += " *NEGATED*";
  text += " Left Memory: ";
  if (left_) text += left_->GetToFactsString();
  text += " Right Memory: ";
  if (right_) text += right_->GetToFactsString();
  return text;
}

}  // namespace reasoner
