// A rule that a host edits means what its text says: after every edit, taken or refused, a rule
// that another engine reads from the text has the same activations.

#include <algorithm>
#include <cstdlib>
#include <random>

#include "reasoner/values/Constants.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

constexpr char kTemplates[] =
    "(deftemplate a (slot x) (slot y)) (deftemplate b (slot x) (slot y) (slot f (type FLOAT)))"
    "(deftemplate m (slot k) (multislot l)) (deftemplate goal (slot x))"
    "(deftype heat extends (type FUZZY) (range 0 9) (values (term hot ((5 0) (8 1)))))"
    "(deftemplate room (slot x) (slot air (type heat)))";

constexpr const char* kPatterns[] = {"(a (x ?v) (y ?w))",           "(b (x ?v))",
                                     "(b (x 1|2) (y ?w&~3))",       "(m (k ?v) (l ? $?r))",
                                     "(m (l 1 ?p&2|3 ?))",          "(o ?v ?)",
                                     "(not (a (x ?v) (y ?)))",      "(exists (b (x ?v)))",
                                     "(test (> (+ ?v 1) 2))",       "(o $?s&:(> (length$ ?s) 1))",
                                     "(not (test (= ?v 2)))",       "?g <- (b (y ~1&~2))",
                                     "(unique (a (x ?v)))",         "(m (l))",
                                     "(b (x =(+ ?v 1)|~=(+ 1 1)))", "(room (x ?v) (air hot))"};

class RuleEditorTest : public ::testing::TestWithParam<std::uint32_t> {
 protected:
  std::uint32_t Draw(std::uint32_t end) { return static_cast<std::uint32_t>(random_() % end); }

  std::string RandomFact() {
    const auto n = [this] { return std::to_string(1 + Draw(3)); };
    switch (Draw(5)) {
      case 4:
        return "(room (x " + n() + ") (air hot))";
      case 0:
        return "(a (x " + n() + ") (y " + n() + "))";
      case 1:
        return "(b (x " + n() + ") (y " + n() + ") (f 1.0))";
      case 2:
        return "(m (k " + n() + ") (l" + (Draw(3) > 0 ? " " + n() : "") +
               (Draw(2) > 0 ? " " + n() + " " + n() : "") + "))";
      default:
        return "(o " + n() + (Draw(2) > 0 ? " " + n() : "") + (Draw(3) == 0 ? " " + n() : "") + ")";
    }
  }

  std::string RandomRule(const std::string& name) {
    std::string text = "(defrule " + name + " (a (x ?v) (y ?w))";
    for (std::uint32_t i = Draw(4); i > 0; --i) text += std::string(" ") + kPatterns[Draw(16)];
    return text + " => (printout t ?v))";
  }

  Ref<IKBValue> RandomValue(TReasoner& engine) {
    static constexpr const char* kNames[] = {"v", "w", "p", "r", "new"};
    switch (Draw(6)) {
      case 0:
        return NewInteger(static_cast<std::int32_t>(1 + Draw(3)));
      case 1:
        if (Draw(8) == 0) return Draw(2) == 0 ? NewAtom("nil") : NewList(NewVector());
        return Draw(2) == 0 ? NewAtom("red") : NewFloat(1);
      case 2:
      case 3:
        return Make<TKBValue>(Text(kNames[Draw(5)]), dtVariable);
      case 4:
        return Make<TKBValue>(Text(kNames[Draw(5)]), dtMultiVariable);
      default:
        return NewFunCallValue(
            engine.ParseFunCall(Draw(2) == 0 ? "(numberp ?v)" : "(neq ?v (+ 1 1))"));
    }
  }

  std::int32_t RandomField(const TKBPattern& pattern, std::int32_t slot) {
    const bool is_multi =
        pattern.GetSlotName(slot) == "l" || pattern.GetSlotName(slot) == SDefaultSlotName;
    return is_multi != (Draw(20) == 0) ? static_cast<std::int32_t>(Draw(4)) - (Draw(9) == 0 ? 1 : 0)
                                       : NoSubIndex;
  }

  void Edit(TReasoner& engine, TRule& rule) {
    const auto count = static_cast<std::uint32_t>(rule.GetPatternCount());
    if (count == 0 || Draw(6) == 0) {
      const std::unique_ptr<TRule> other = engine.ParseRule(RandomRule("other"));
      switch (Draw(6)) {
        case 0:
          return rule.SetPatterns(*other);
        case 1:
          return rule.ClearPatterns();
        case 2:
          other->SetRuleName("r");
          return rule.Assign(*other);
        default:
          return rule.AddPattern(other->GetPattern(other->GetPatternCount() - 1).Clone(&engine));
      }
    }
    if (Draw(12) == 0) return rule.SetSalience(static_cast<std::int32_t>(Draw(3)));
    if (Draw(12) == 0) return rule.AddAction(engine.ParseFunCall("(printout t ?w)"));
    const auto index = static_cast<std::int32_t>(Draw(count));
    TKBPattern& pattern = rule.GetPattern(index);
    const auto slot =
        static_cast<std::int32_t>(Draw(static_cast<std::uint32_t>(pattern.GetSlotCount())));
    const auto tests = static_cast<std::uint32_t>(pattern.GetSlotTestCount(slot));
    switch (Draw(11)) {
      case 0:
        return rule.RemovePattern(index);
      case 1:
        return pattern.SetNegatedCount(static_cast<std::int32_t>(Draw(4)));
      case 2:
        return Draw(2) == 0 ? pattern.SetUnique(Draw(2) == 0) : pattern.SetExplicit(Draw(2) == 0);
      case 3:
        return pattern.SetBoundName(Draw(2) == 0 ? "" : "bound");
      case 4:
        return pattern.SetSlotLength(slot, static_cast<std::int32_t>(Draw(5)) - 1);
      case 5:
        return pattern.SetName(Draw(2) == 0 ? "a" : Draw(2) == 0 ? "b" : "unknown");
      case 6:
      case 7:
        return pattern.AddTest(pattern.GetSlotName(slot).view(), RandomValue(engine),
                               RandomField(pattern, slot), Draw(3) == 0, Draw(2) == 0,
                               Draw(2) == 0);
      default:
        break;
    }
    if (tests == 0) return;
    const auto place = static_cast<std::int32_t>(Draw(tests));
    TKBPatternMatchTest& test = pattern.GetSlotTest(slot, place);
    switch (Draw(7)) {
      case 6:
        return test.SetWildcard(Draw(2) == 0);
      case 0:
        return pattern.RemoveTest(slot, place);
      case 1:
        return pattern.SetSlotTest(
            slot, place,
            std::make_unique<TKBPatternMatchTest>(nullptr, Draw(2) == 0 ? sttEquals : sttNotEquals,
                                                  RandomField(pattern, slot), RandomValue(engine)));
      case 2:
        return test.SetSlotTestType(Draw(2) == 0 ? sttEquals : sttNotEquals);
      case 3:
        return test.SetSlotValue(RandomValue(engine));
      case 4:
        return test.SetMultiSlotSubIndex(RandomField(pattern, slot));
      default:
        return Draw(2) == 0 ? test.SetConjunction(Draw(2) == 0) : test.SetJoinedByAnd(Draw(2) == 0);
    }
  }

  // Some edits come in one row: all of them, or none.
  void EditRow(TReasoner& engine, TRule& rule) {
    if (Draw(5) != 0) return Edit(engine, rule);
    rule.BeginUpdate();
    for (std::uint32_t i = Draw(4); i > 0; --i) {
      try {
        Edit(engine, rule);
      } catch (const EKBException&) {
        // Refused at once.
      }
    }
    rule.EndUpdate();
  }

  // What a host may hold of a rule.
  static std::vector<const void*> Parts(const TRule& rule) {
    std::vector<const void*> parts;
    for (std::int32_t i = 0; i < rule.GetPatternCount(); ++i) {
      const TKBPattern& pattern = rule.GetPattern(i);
      parts.push_back(&pattern);
      for (std::int32_t slot = 0; slot < pattern.GetSlotCount(); ++slot) {
        for (std::int32_t t = 0; t < pattern.GetSlotTestCount(slot); ++t)
          parts.push_back(&pattern.GetSlotTest(slot, t));
      }
    }
    return parts;
  }

  static std::string Activations(TReasoner& engine) {
    std::vector<std::string> lines;
    for (std::int32_t i = 0; i < engine.GetAgendaCount(); ++i)
      lines.push_back(engine.GetActivation(i).ToString());
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
  }

  static std::unique_ptr<TReasoner> NewEngine(bool textbook, const std::string& facts) {
    auto engine = std::make_unique<TReasoner>();
    engine->SetTextbookSemantics(textbook);
    engine->Parse(kTemplates, true);
    engine->Parse("(assert " + facts + ")", true);
    return engine;
  }

  void RunCase(bool textbook, std::uint32_t seed) {
    random_.seed(seed);
    std::string facts;
    for (std::uint32_t i = 3 + Draw(8); i > 0; --i) facts += RandomFact();
    const std::unique_ptr<TReasoner> live = NewEngine(textbook, facts);
    live->Parse(RandomRule("r"), true);
    TRule& rule = *live->GetRules().Find("r");
    for (int step = 0; step < 40; ++step) {
      const std::string before = rule.ToString();
      const std::vector<const void*> parts = Parts(rule);
      std::string refused;
      try {
        EditRow(*live, rule);
      } catch (const EKBException& failure) {
        refused = failure.what();
      }
      const std::string text = rule.ToString();
      const std::string when = "seed " + std::to_string(seed) + " step " + std::to_string(step) +
                               " refused: " + refused + "\n" + before + "\n" + text + "\n" + facts;
      ASSERT_EQ(live->GetRules().Find("r"), &rule) << when;
      const std::unique_ptr<TReasoner> read = NewEngine(textbook, facts);
      std::string failed;
      try {
        read->Parse(text, true);
      } catch (const EKBException& failure) {
        failed = failure.what();
      }
      ASSERT_EQ(failed, "") << when;
      ASSERT_EQ(Activations(*live), Activations(*read)) << when;
      if (!refused.empty()) {
        ASSERT_EQ(Parts(rule), parts) << when;
        ASSERT_EQ(text, before) << when;
        read->Parse("(undefrule r)" + before, true);
        ASSERT_EQ(Activations(*live), Activations(*read)) << "refused, but changed: " << when;
      }
    }
  }

  std::mt19937 random_;
};

TEST_P(RuleEditorTest, AnEditedRuleMeansWhatItsTextSays) {
  const char* const rules = std::getenv("REASONER_EDITED_RULES");
  const std::uint32_t count = rules == nullptr ? 25 : static_cast<std::uint32_t>(std::atoi(rules));
  for (std::uint32_t i = 0; i < count && !HasFailure(); ++i)
    RunCase(i % 2 == 0, GetParam() + 4 * i);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RuleEditorTest, ::testing::Range(1u, 5u));

}  // namespace
}  // namespace reasoner
