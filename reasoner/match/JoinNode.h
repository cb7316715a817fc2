// Nodes that see whole tokens: the test node, and the join with its two memories.
//
//            left tokens (earlier patterns)      right tokens (the pattern that the join adds)
//                      |                                   |
//                left memory  <---- tests, hash ---->  right memory
//                      |
//                 extended tokens
//
// A join stores every token that arrives, compares it with the tokens of the other memory that its
// tests allow, and passes on extended tokens. A negated join counts matches instead, and passes a
// left token on, with the marker fact in the pattern's place, exactly while it has none.
//
// A test that raises has not passed. The pair is no match, whatever the test's sense: a plain join
// does not extend it, a negated one is not blocked by it, a unique one goes on to the next partner.
// Both tokens stay in their memories and meet the partners that come later. The first failure is
// raised when the node has done its work for all other pairs. A pair is not tested again when one
// of its tokens leaves: a plain join sends the removal on, and the nodes behind hold no such token;
// a negated one has a list of what blocks each left token.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "reasoner/match/BlockerDegrees.h"
#include "reasoner/match/Goal.h"
#include "reasoner/match/ReteNode.h"
#include "reasoner/match/SlotTest.h"
#include "reasoner/match/TokenTree.h"
#include "reasoner/support/FirstFailure.h"

namespace reasoner {

// The node of a `test` pattern: a token goes on unchanged if all tests pass.
class TTestNode : public TReteNode {
 public:
  using TReteNode::TReteNode;

  // A test of a function call. A node without tests passes everything.
  void AddTest(TSlotTestType test_type, const Ref<IKBValue>& call);
  std::int32_t GetTestCount() const noexcept { return static_cast<std::int32_t>(tests_.size()); }
  const TKBSlotTest& GetTest(std::int32_t index) const {
    return *tests_.at(static_cast<std::size_t>(index));
  }

  bool CallNode(const Ref<TKBToken>& token, TCallType call_type) override;
  // Which of its rule's patterns the node stands for.
  std::int32_t GetPatternIndex() const noexcept { return pattern_index_; }
  void SetPatternIndex(std::int32_t index) noexcept { pattern_index_ = index; }

  std::string ClassName() const override { return "TTestNode"; }
  std::string ToString() const override;

 protected:
  void CopyTests(const TTestNode& source);

  std::vector<std::unique_ptr<TKBSlotTest>> tests_;
  // Calls, or comparisons by degree: who passes them may change.
  bool has_calls_ = false;
  std::int32_t pattern_index_ = 0;
};

class TJoinNode final : public TTestNode {
 public:
  TJoinNode(TReteNetwork& rete, bool negated, bool unique, bool asks_for_goals,
            std::int32_t hash_key);
  // An empty node with the settings and tests of `source`.
  TJoinNode(TReteNetwork& rete, const TJoinNode& source);

  bool IsNegatedPattern() const noexcept { return negated_; }
  bool IsUnique() const noexcept { return unique_; }
  // For a further level of negation, whose right tokens are left tokens that the level before has
  // let through: each blocks the left token that it is made of, and no other. That level is the
  // node's first parent.
  void CompareChains();
  bool ComparesChains() const noexcept { return compares_chains_; }
  // For a level of negation that passes a left token while the first level has found facts for it:
  // the token is as true as the greatest degree of these. The first level tells when that changes.
  void TakeDegreesFrom(TJoinNode& first_level);
  std::int32_t GetHashKey() const noexcept { return hash_key_; }
  // Tokens of the last call that went on as matches.
  std::int32_t GetPassCount() const noexcept { return pass_count_; }

  using TTestNode::AddTest;
  void AddJoinTest(TSlotTestType test_type, std::int32_t token_index, const Text& left,
                   std::int32_t left_sub_index, const Text& right, std::int32_t right_sub_index,
                   bool is_fuzzy = false);
  // A rule whose pattern asks for goals uses the join from now on. The first such rule speaks for
  // all of them; when it goes, the next one does.
  void AddGoalPlan(TGoalPlan plan) { goal_plans_.push_back(std::move(plan)); }
  void ForgetRule(const TRule& rule);
  // The rule that speaks, or null.
  const TRule* GetGoalRule() const noexcept {
    return goal_plans_.empty() ? nullptr : goal_plans_.front().GetRule();
  }
  // Chooses an equality to hash on, once all tests are there.
  void PrepareShortCut();
  bool UsesShortCut() const noexcept { return use_short_cut_; }
  // Whether the node can serve a rule that wants `other`: the same tests in any order, none of them
  // a call.
  bool Serves(const TJoinNode& other) const;

  bool CallNode(const Ref<TKBToken>& token, TCallType call_type) override;
  void StrengthChanged(const Ref<TKBToken>& token, TCallType call_type) override;
  // Empties both memories, making them if need be.
  void ClearMemory();
  const TKBTokenTree* GetLeftMemory() const noexcept { return left_.get(); }
  const TKBTokenTree* GetRightMemory() const noexcept { return right_.get(); }

  std::string ClassName() const override { return "TJoinNode"; }
  std::string ToString() const override;

 private:
  using Entry = TKBTokenTree::Entry;

  bool RunTests(const TKBToken& left, const Ref<IFact>& right, bool with_calls);
  // With the calls. What a test raises is kept, and the pair is no match.
  bool Matches(const TKBToken& left, const Ref<IFact>& right, FirstFailure& failures);
  template <class TVisit>
  void VisitRight(const Ref<TKBToken>& left, TVisit visit);
  template <class TVisit>
  void VisitLeft(const TKBToken& right, TVisit visit);
  std::vector<Entry*> PartnersOf(const Ref<TKBToken>& token, bool is_left, FirstFailure& failures);
  void OfferNextPartner(Entry& left, FirstFailure& failures);
  void AskForGoal(const TKBToken& left);
  void LeftCame(const Ref<TKBToken>& token);
  void LeftGoes(const Ref<TKBToken>& token);
  void RightCame(const Ref<TKBToken>& token);
  void RightGoes(const Ref<TKBToken>& token);
  static Ref<TKBToken> PairOf(const Ref<TKBToken>& left, const TKBToken& right);
  // The left token with the marker fact in the place of the negated pattern. `last_degree` is that
  // of the fact that blocked it last.
  Ref<TKBToken> UnmatchedOf(const Ref<TKBToken>& left, float last_degree) const;
  void PassPair(const Ref<TKBToken>& left, const TKBToken& right, TTokenAction tag);
  void PassUnmatched(const Ref<TKBToken>& left, float last_degree, TTokenAction tag);
  // The blockers of a left token have changed, the greatest degree among them was another before.
  float GreatestDegree(const Entry& left) const { return degrees_ ? degrees_->Greatest(left) : 1; }
  void TellDegree(const Entry& left, float before);
  void DegreeChanged(const TKBToken& token);

  bool negated_;
  bool unique_;
  bool compares_chains_ = false;
  TJoinNode* next_level_ = nullptr;  // of negation, which compares chains
  bool one_partner_ = false;         // textbook: a unique pattern has one partner at any time
  bool textbook_;  // a negation is crisp, and does not mind which fact blocked last
  bool asks_for_goals_;
  bool use_short_cut_ = false;
  std::int32_t hash_key_;
  std::int32_t pass_count_ = 0;
  const TKBJoinTest* short_cut_ = nullptr;  // the test hashed on, the first one of the list
  std::unique_ptr<TKBTokenTree> right_;
  std::unique_ptr<TKBTokenTree> left_;
  std::vector<TGoalPlan> goal_plans_;
  // Of a first level of negation: what it keeps for the levels that take degrees from it.
  std::unique_ptr<TBlockerDegrees> degrees_;
  std::vector<TJoinNode*> degree_takers_;
  // Of such a level. All levels of a pattern belong to one rule and end together.
  const TJoinNode* first_level_ = nullptr;
};

}  // namespace reasoner
