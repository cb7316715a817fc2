// All small cases: every left side of one or two patterns over two templates and a few forms of a
// field, plain, negated and doubly negated, with every set of up to three facts, added and removed
// in every order, the rule added before, between and after them.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>

#include "reasoner/engine/Reasoner.h"
#include "tests/oracle/BruteForce.h"
#include "tests/support/Integrity.h"

namespace reasoner::oracle {
namespace {

// The facts (o a), (o b), (w a), (w b).
constexpr std::array<std::int32_t, 2> kTemplates = {0, 4};
const std::array<std::string, 2> kValues = {"a", "b"};
constexpr std::size_t kFacts = 4;

std::int32_t TemplateOf(std::size_t fact) { return kTemplates[fact / 2]; }
std::vector<std::vector<TWord>> ValuesOf(std::size_t fact) { return {{kValues[fact % 2]}}; }

TElement Element(std::int32_t fact_template, std::int32_t form, std::int32_t negations) {
  const auto constraint = [](TConstraint::Kind kind, bool negated, const char* text) {
    TConstraint made;
    made.kind = kind;
    made.negated = negated;
    made.text = text;
    return made;
  };
  TField field;
  if (form == 1 || form == 4)
    field.constraints.push_back(constraint(TConstraint::kVariable, false, "?x"));
  if (form == 2) field.constraints.push_back(constraint(TConstraint::kVariable, false, "?y"));
  if (form == 0) field.constraints.push_back(constraint(TConstraint::kLiteral, false, "a"));
  if (form == 3 || form == 4)
    field.constraints.push_back(constraint(TConstraint::kLiteral, true, "a"));
  TElement element;
  element.fact_template = fact_template;
  element.negations = negations;
  element.slots.push_back(TSlotPattern{true, {field}});
  return element;
}

class ExhaustiveOracleTest : public ::testing::TestWithParam<bool> {
 protected:
  ExhaustiveOracleTest() { engine_.SetTextbookSemantics(GetParam()); }

  // One left side with everything that can be done around it.
  void Try(const TRuleText& rule) {
    rule_ = &rule;
    for (std::uint32_t mask = 0; mask < 1u << kFacts; ++mask) {
      TFactHistory facts = {TKnownFact{0, -1, {}, {}, 0, TKnownFact::kAlive, kFacts}};
      for (std::size_t i = 0; i < kFacts; ++i) {
        if ((mask >> i & 1u) == 0) continue;
        facts.push_back(TKnownFact{static_cast<std::int32_t>(i) + 1,
                                   TemplateOf(i),
                                   ValuesOf(i),
                                   {},
                                   static_cast<std::int64_t>(i) + 1,
                                   TKnownFact::kAlive,
                                   i});
      }
      std::vector<TMatchKey> matches;
      for (const TReadMatch& match : BruteForce(rule, TProgram(), GetParam()).Matches(facts, 0)) {
        matches.push_back(match.key);
        matches.back().resize(match.key.size() - match.bindings.size());
      }
      std::sort(matches.begin(), matches.end());
      wanted_[mask] = std::move(matches);
    }
    for (std::uint32_t mask = 0; mask < 1u << kFacts; ++mask) {
      std::vector<std::size_t> added;
      for (std::size_t i = 0; i < kFacts; ++i) {
        if ((mask >> i & 1u) != 0) added.push_back(i);
      }
      if (added.size() > 3) continue;
      do {
        std::vector<std::size_t> removed = added;
        std::sort(removed.begin(), removed.end());
        do {
          for (std::size_t before = 0; before <= added.size() && !HasFailure(); ++before)
            Walk(added, removed, before);
        } while (std::next_permutation(removed.begin(), removed.end()));
      } while (std::next_permutation(added.begin(), added.end()));
    }
  }

  void Walk(const std::vector<std::size_t>& added, const std::vector<std::size_t>& removed,
            std::size_t before) {
    std::uint32_t mask = 0;
    ids_.fill(-1);
    std::string done;
    for (std::size_t i = 0; i <= added.size(); ++i) {
      if (i == before) {
        engine_.Parse(rule_->ToString(), false);
        done += " rule";
        Compare(mask, done);
      }
      if (i == added.size()) break;
      const Ref<IFact> fact = Fact(added[i]);
      ids_[added[i]] = static_cast<std::int32_t>(engine_.Assert(fact));
      done += " +" + std::to_string(added[i]);
      mask |= 1u << added[i];
      if (i >= before) Compare(mask, done);
    }
    for (const std::size_t fact : removed) {
      engine_.Retract(ids_[fact]);
      done += " -" + std::to_string(fact);
      mask &= ~(1u << fact);
      Compare(mask, done);
    }
    std::size_t stored = 0;
    for (const TReteNode* node : engine_.GetReteNetwork().GetNodes()) {
      const auto* join = dynamic_cast<const TJoinNode*>(node);
      if (join != nullptr)
        stored = std::max(
            stored, join->GetRightMemory()->GetCount() * 2 + join->GetLeftMemory()->GetCount());
    }
    EXPECT_LE(stored, 3u) << rule_->ToString() << done;  // of the initial fact
    engine_.GetRules().Remove(rule_->name);
  }

  Ref<IFact> Fact(std::size_t fact) {
    if (!facts_[fact]) facts_[fact] = engine_.ParseFact(FactText(TemplateOf(fact), ValuesOf(fact)));
    return facts_[fact]->Clone();
  }

  void Compare(std::uint32_t mask, const std::string& done) {
    std::vector<TMatchKey> shown;
    for (std::int32_t i = 0; i < engine_.GetAgendaCount(); ++i) {
      const TKBToken& token = *engine_.GetActivation(i).GetToken();
      TMatchKey key;
      for (std::int32_t k = 0; k < token.GetCount(); ++k) {
        const auto id = static_cast<std::int32_t>(token.GetFacts(k)->GetID());
        const auto known = std::find(ids_.begin(), ids_.end(), id);
        const std::int32_t number =
            id <= 0 ? id : static_cast<std::int32_t>(known - ids_.begin() + 1);
        key.push_back(number);
      }
      shown.push_back(std::move(key));
    }
    std::sort(shown.begin(), shown.end());
    if (shown != wanted_[mask]) {
      EXPECT_EQ(shown, wanted_[mask]) << rule_->ToString() << done;
    }
  }

  TReasoner engine_;
  const TRuleText* rule_ = nullptr;
  std::array<std::vector<TMatchKey>, 1u << kFacts> wanted_;
  std::array<TFactId, kFacts> ids_{};
  std::array<Ref<IFact>, kFacts> facts_;
};

TEST_P(ExhaustiveOracleTest, AllLeftSidesOfTwoPatternsMatchAsTheyRead) {
#if defined(__SANITIZE_ADDRESS__)
  constexpr std::size_t kStep = 37;  // a sample: sanitizers cost a factor of twenty
#else
  constexpr std::size_t kStep = 1;
#endif
  std::vector<TElement> elements;
  for (const std::int32_t fact_template : kTemplates) {
    for (std::int32_t form = 0; form < 5; ++form) {
      for (std::int32_t negations = 0; negations < 3; ++negations)
        elements.push_back(Element(fact_template, form, negations));
    }
  }
  TRuleText rule;
  rule.name = "r";
  std::size_t tried = 0;
  for (const TElement& first : elements) {
    // The templates are alike: one stands first.
    if (first.fact_template != kTemplates[0]) continue;
    rule.elements = {first};
    if (tried++ % kStep == 0) Try(rule);
    for (const TElement& second : elements) {
      rule.elements = {first, second};
      if (tried++ % kStep == 0) Try(rule);
      if (HasFailure()) return;
    }
  }
  CheckIntegrity(engine_, "at the end");
}

INSTANTIATE_TEST_SUITE_P(Small, ExhaustiveOracleTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& semantics) {
                           return semantics.param ? "Textbook" : "Own";
                         });

}  // namespace
}  // namespace reasoner::oracle
