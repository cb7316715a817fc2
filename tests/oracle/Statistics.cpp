#include "tests/oracle/Statistics.h"

#include <algorithm>
#include <iomanip>
#include <set>

namespace reasoner::oracle {
namespace {

// The features of one program.
class TFeatures {
 public:
  explicit TFeatures(const TProgram& program) {
    Add("9 and more rules", program.rules.size() >= 9);
    Add("globals", !program.globals.empty());
    Add("tests that may raise", program.may_raise);
    for (const TRuleText& rule : program.rules) {
      facts_.clear();
      for (const TElement& element : rule.elements) Look(element);
      Look(rule.actions);
    }
    for (const TOperation& operation : program.operations) Look(operation);
  }

  const std::set<std::string>& Get() const { return features_; }

 private:
  void Add(const char* name, bool has) {
    if (has) features_.insert(name);
  }

  void Look(const TWord& word) {
    const TWord::Kind kind = word.GetKind();
    Add("integers", kind == TWord::kInteger);
    Add("floats", kind == TWord::kFloat);
    Add("-0.0", word.Text() == "-0.0");
    Add("strings", kind == TWord::kString);
    Add("texts of 16 and more", !word.IsVariable() && word.Content().size() >= 16);
    Add("nil", word.Text() == "nil");
  }

  void Look(const TElement& element) {
    if (element.is_test) return Look(element.test);
    Add("not", element.negations == 1);
    Add("exists", element.negations == 2);
    Add("deeper negations", element.negations > 2);
    Add("unique", element.unique);
    Add("fuzzy patterns", IsFuzzy(element.fact_template));
    Add("pattern on a parent", element.fact_template == 1 || element.fact_template == 3);
    for (const TSlotPattern& slot : element.slots) {
      for (const TField& field : slot.fields) {
        Add("spans", field.is_span);
        Add("| in spans", field.is_span && field.HasBar());
        Add("| in fields", !field.is_span && field.HasBar());
        for (const TConstraint& constraint : field.constraints) {
          if (constraint.call) Look(*constraint.call);
          Add("=( )", constraint.kind == TConstraint::kEquation);
          Add("globals in fields", constraint.text.GetKind() == TWord::kGlobal);
          Add("fact variables in fields", facts_.count(constraint.text.Text()) > 0);
          Add("patterns that name their own fact", constraint.kind == TConstraint::kVariable &&
                                                       !element.bound.IsEmpty() &&
                                                       constraint.text == element.bound);
        }
      }
    }
    if (!element.bound.IsEmpty()) facts_.insert(element.bound.Text());
  }

  void Look(const TCall& call) {
    for (const TTerm& term : call.terms) {
      if (term.call) {
        Look(*term.call);
      } else {
        Add("globals in tests", term.text.GetKind() == TWord::kGlobal);
        Add("fact variables in tests", facts_.count(term.text.Text()) > 0);
      }
    }
  }

  void Look(const std::vector<TAction>& actions) {
    static const char* const kNames[] = {"action assert",    "action retract", "action modify",
                                         "action duplicate", "action bind",    "action if",
                                         "action undefrule", "action reset"};
    for (const TAction& action : actions) {
      Add(kNames[action.kind], true);
      Add("several facts asserted", action.facts.size() > 1);
      for (const TFactForm& fact : action.facts) {
        for (const std::vector<TTerm>& slot : fact.slots) {
          for (const TTerm& term : slot)
            Add("fact ids in slots", facts_.count(term.text.Text()) > 0);
        }
      }
      Look(action.actions);
      Look(action.otherwise);
    }
  }

  void Look(const TOperation& operation) {
    static const char* const kNames[] = {"assert",
                                         "retract",
                                         "modify",
                                         "duplicate",
                                         "defrule",
                                         "undefrule",
                                         "deffacts",
                                         "deftemplate anew",
                                         "ids used up",
                                         "strategy changed",
                                         "duplicates allowed",
                                         "reset",
                                         "clear",
                                         "step"};
    Add(kNames[operation.kind], true);
    for (const std::vector<TWord>& slot : operation.values) {
      for (const TWord& word : slot) Look(word);
    }
  }

  std::set<std::string> features_;
  std::set<std::string> facts_;
};

}  // namespace

void TStatistics::Count(const TProgram& program, const TOutcome& outcome) {
  ++programs_;
  const TFeatures features(program);
  for (const std::string& feature : features.Get()) ++having_[feature];
  having_["ends where the reading ends"] += outcome.left_out ? 1 : 0;
  having_["ids beyond 200"] += outcome.highest_id > 200 ? 1 : 0;
  having_["40 facts and more"] += outcome.most_facts >= 40 ? 1 : 0;
  having_["something fires"] += outcome.firings > 0 ? 1 : 0;
  having_["something raises"] += outcome.failures > 0 ? 1 : 0;
  sums_["firings"] += outcome.firings;
  sums_["activations"] += outcome.activations;
  sums_["facts"] += outcome.facts;
  sums_["failures"] += outcome.failures;
  sums_["rules"] += static_cast<std::int64_t>(program.rules.size());
  sums_["operations"] += static_cast<std::int64_t>(program.operations.size());
}

void TStatistics::Print(std::ostream& stream) const {
  const auto programs = static_cast<double>(std::max<std::int64_t>(programs_, 1));
  stream << programs_ << " programs\n" << std::fixed;
  for (const auto& [name, sum] : sums_) {
    stream << std::setw(10) << std::setprecision(2) << static_cast<double>(sum) / programs << "  "
           << name << " a program\n";
  }
  for (const auto& [name, count] : having_) {
    stream << std::setw(9) << std::setprecision(1) << 100 * static_cast<double>(count) / programs
           << "%  " << name << "\n";
  }
}

}  // namespace reasoner::oracle
