#include "tests/oracle/Runner.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>

#include "reasoner/engine/Reasoner.h"
#include "tests/oracle/BruteForce.h"
#include "tests/support/Integrity.h"

namespace reasoner::oracle {
namespace {

class TDifference : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The program came to what the reading does not model; what it did before agreed.
struct TLeftOut {};

class TRunner {
 public:
  TRunner(const TProgram& program, bool textbook) : program_(program), textbook_(textbook) {
    engine_.OnAddActivation = [this](TReasoner&, std::int32_t index, TActivation& activation) {
      Added(index, activation);
    };
    engine_.OnRemoveActivation = [this](TReasoner&, std::int32_t index, TActivation& activation) {
      Removed(index, activation);
    };
    engine_.SetTextbookSemantics(textbook);
    engine_.SetFuzzyEqualsThreshold(static_cast<float>(program.equals_threshold));
    engine_.SetMinActivationStrength(static_cast<float>(program.least_strength));
    if (program.by_product) engine_.FuzzyCorrelationMethod = fcmProduct;
  }

  TOutcome Run() {
    TOutcome outcome;
    try {
      Do(Preamble() + "(reset)");
      EnterInitialFact();
      for (const TOperation& operation : program_.operations) {
        Operate(operation);
        Compare();
      }
      Finish();
    } catch (const TLeftOut&) {
    } catch (const std::exception& failure) {
      outcome.difference = failure.what();
    }
    outcome.script = script_;
    return outcome;
  }

 private:
  using TShapes = std::vector<std::vector<TSharedShape>>;  // a slot each

  struct TLiveRule {
    const TRuleText* text;
    BruteForce reading;
    std::int64_t added;
    std::vector<TReadMatch> read;
    std::multiset<std::string> matches;
    std::multiset<std::string> fired;  // those of `matches` that are no longer on the agenda
  };

  void Do(const std::string& text) {
    script_ += text + "\n";
    engine_.Parse(text, true);
  }

  // The agenda as it should be, by what comes and goes.

  void Added(std::int32_t index, const TActivation& activation) {
    const std::int32_t salience = activation.GetRule().GetSalience();
    std::int32_t wanted = static_cast<std::int32_t>(agenda_.size());
    if (!agenda_.empty() && salience >= agenda_.front()->GetRule().GetSalience()) {
      wanted = 0;
    } else if (!agenda_.empty() && salience >= agenda_.back()->GetRule().GetSalience()) {
      std::int32_t low = 0;
      std::int32_t high = static_cast<std::int32_t>(agenda_.size()) - 1;
      wanted = -1;
      while (low <= high && wanted < 0) {
        const std::int32_t middle = (low + high) / 2;
        const std::int32_t met = agenda_[static_cast<std::size_t>(middle)]->GetRule().GetSalience();
        if (salience > met) {
          high = middle - 1;
        } else if (salience < met) {
          low = middle + 1;
        } else {
          wanted = middle;
        }
      }
      if (wanted < 0) wanted = high + 1;
    }
    if (index != wanted) agenda_fault_ = "an activation landed at " + std::to_string(index);
    agenda_.insert(agenda_.begin() + wanted, &activation);
  }

  void Removed(std::int32_t index, const TActivation& activation) {
    if (index < 0 || static_cast<std::size_t>(index) >= agenda_.size() ||
        agenda_[static_cast<std::size_t>(index)] != &activation) {
      agenda_fault_ = "an activation went from " + std::to_string(index);
      return;
    }
    agenda_.erase(agenda_.begin() + index);
  }

  void CompareAgenda() {
    if (!agenda_fault_.empty()) throw TDifference(agenda_fault_);
    bool same = static_cast<std::size_t>(engine_.GetAgendaCount()) == agenda_.size();
    for (std::size_t i = 0; same && i < agenda_.size(); ++i) {
      same = &engine_.GetActivation(static_cast<std::int32_t>(i)) == agenda_[i];
    }
    if (!same) throw TDifference("the agenda's order is another one");
  }

  // Facts and matches.

  std::vector<TKnownFact*> Alive() {
    std::vector<TKnownFact*> alive;
    for (TKnownFact& fact : facts_) {
      if (fact.died == TKnownFact::kAlive && fact.fact_template >= 0) alive.push_back(&fact);
    }
    return alive;
  }

  TKnownFact* Chosen(std::uint32_t target) {
    const std::vector<TKnownFact*> alive = Alive();
    return alive.empty() ? nullptr : alive[target % alive.size()];
  }

  void EnterInitialFact() {
    facts_.clear();
    next_id_ = 0;
    facts_.push_back(TKnownFact{next_id_++, -1, {}, {}, ++clock_, TKnownFact::kAlive});
    Update();
  }

  void Enter(std::int32_t fact_template, const std::vector<std::vector<std::string>>& values) {
    TShapes shapes(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (!Templates()[static_cast<std::size_t>(fact_template)].slots[i].is_fuzzy) continue;
      for (const std::string& words : values[i]) shapes[i].push_back(ShapeOf(words));
    }
    Enter(fact_template, values, std::move(shapes));
  }

  // A fuzzy fact is united with the one that differs from it in fuzzy slots alone.
  void Enter(std::int32_t fact_template, std::vector<std::vector<std::string>> values,
             TShapes shapes) {
    const std::vector<TSlotText>& slots =
        Templates()[static_cast<std::size_t>(fact_template)].slots;
    for (TKnownFact* fact : Alive()) {
      if (fact->fact_template != fact_template) continue;
      bool is_equal = true;
      for (std::size_t i = 0; i < slots.size(); ++i)
        is_equal = is_equal && (slots[i].is_fuzzy || fact->values[i] == values[i]);
      if (!is_equal) continue;
      if (!IsFuzzy(fact_template)) return;
      for (std::size_t i = 0; i < slots.size(); ++i) {
        if (shapes[i].size() != fact->shapes[i].size()) continue;
        for (std::size_t k = 0; k < shapes[i].size(); ++k)
          shapes[i][k] = UnionOf(*shapes[i][k], *fact->shapes[i][k]);
      }
      Leave(*fact);
      break;
    }
    for (std::size_t i = 0; i < slots.size(); ++i) {
      if (!slots[i].is_fuzzy) continue;
      values[i].clear();
      for (const TSharedShape& shape : shapes[i]) {
        if (Possibility(*shape, *shape) <= program_.equals_threshold) throw TLeftOut();
        values[i].push_back("<f-" + std::to_string(next_id_) + "." + slots[i].name +
                            std::to_string(values[i].size()) + ">");
      }
    }
    facts_.push_back(TKnownFact{next_id_++, fact_template, std::move(values), std::move(shapes),
                                ++clock_, TKnownFact::kAlive});
    Update();
  }

  void Leave(TKnownFact& fact) {
    fact.died = ++clock_;
    Update();
  }

  // Works out the matches anew; one that has fired is forgotten when it goes.
  void Update() {
    for (auto& [name, rule] : rules_) Update(rule);
  }

  void Update(TLiveRule& rule) {
    rule.read = rule.reading.Matches(facts_, rule.added);
    if (rule.read.size() > 3000) throw std::length_error("too many matches");
    rule.matches.clear();
    for (const TReadMatch& match : rule.read) rule.matches.insert(match.text);
    std::multiset<std::string> fired;
    std::set_intersection(rule.fired.begin(), rule.fired.end(), rule.matches.begin(),
                          rule.matches.end(), std::inserter(fired, fired.end()));
    rule.fired = std::move(fired);
  }

  std::string MatchOf(const TActivation& activation, const BruteForce& reading) {
    std::string text;
    for (std::int32_t i = 0; i < activation.GetToken()->GetCount(); ++i)
      text += " f-" + std::to_string(activation.GetToken()->GetFacts(i)->GetID());
    TKBContext frame(&engine_.GetContext(), &engine_);
    activation.GetRule().Prepare(*activation.GetToken(), frame);
    for (const std::string& variable : reading.GetVariables()) {
      const TBinding* binding =
          frame.FindOwnBinding(Text(variable.substr(variable[0] == '$' ? 2 : 1)));
      text += " " + variable + "=";
      if (binding == nullptr) continue;
      text += binding->Value->GetDType() == dtFuzzy ? "fuzzy" : binding->Value->ToString();
    }
    return text;
  }

  // The reading of an activation's match: of those with its text one with its strength and values.
  const TReadMatch& ReadOf(const TActivation& activation, const TLiveRule& rule,
                           const std::string& text) {
    const float strength = activation.GetStrength();
    TKBContext frame(&engine_.GetContext(), &engine_);
    activation.GetRule().Prepare(*activation.GetToken(), frame);
    std::string difference = "the strength " + std::to_string(strength);
    for (const TReadMatch& match : rule.read) {
      if (match.text != text) continue;
      if (match.strength != TReadMatch::kAnyStrength && std::abs(match.strength - strength) > 1e-5)
        continue;
      difference.clear();
      for (const auto& [variable, value] : match.bindings) {
        if (!value.shape || !difference.empty()) continue;
        difference = Differs(*frame.FindOwnBinding(Text(variable.substr(1)))->Value, *value.shape);
      }
      if (difference.empty()) return match;
    }
    throw TDifference(difference + " of" + text);
  }

  // How a fuzzy value differs from its reading, or nothing.
  static std::string Differs(const IKBValue& value, const TShape& shape) {
    const IFuzzySet& set = *value.GetAsFuzzy();
    for (std::size_t i = 0; i < shape.knots.size(); ++i) {
      const double x = shape.knots[i].x;
      for (const double at : {x, i == 0 ? x - 1 : (shape.knots[i - 1].x + x) / 2, x + 0.5}) {
        const double shown = set.DegreeOfMembership(at);
        const double wanted = shape.At(at).value;
        if (std::abs(shown - wanted) <= 1e-5) continue;
        return "the membership of " + std::to_string(at) + ", " + std::to_string(shown) +
               " and not " + std::to_string(wanted) + ",";
      }
    }
    return "";
  }

  void CompareFuzzyFacts() {
    for (const TKnownFact* fact : Alive()) {
      if (!IsFuzzy(fact->fact_template)) continue;
      const Ref<IFact> shown = engine_.GetFacts().GetFactByID(fact->id);
      if (!shown) throw TDifference("no fact " + std::to_string(fact->id));
      const std::vector<TSlotText>& slots =
          Templates()[static_cast<std::size_t>(fact->fact_template)].slots;
      for (std::size_t i = 0; i < slots.size(); ++i) {
        if (!slots[i].is_fuzzy) continue;
        const Ref<IKBValue> value = shown->GetValue(Text(slots[i].name));
        const Ref<IValueVector> members = slots[i].is_multi ? value->GetAsList() : NewVector();
        if (!slots[i].is_multi) members->Add(value);
        if (static_cast<std::size_t>(members->GetValueCount()) != fact->shapes[i].size())
          throw TDifference("the length of " + value->ToString());
        for (std::size_t k = 0; k < fact->shapes[i].size(); ++k) {
          const std::string difference =
              Differs(*members->GetItem(static_cast<std::int32_t>(k)), *fact->shapes[i][k]);
          if (!difference.empty()) throw TDifference(difference + " of " + fact->values[i][k]);
        }
      }
    }
  }

  // Operations.

  void Operate(const TOperation& operation) {
    constexpr std::int32_t kLastId = 100;  // buckets by id are in order up to here
    constexpr std::size_t kMostFacts = 9;
    const bool is_full = next_id_ >= kLastId || Alive().size() >= kMostFacts;
    switch (operation.kind) {
      case TOperation::kAssert:
        if (is_full) return;
        Do("(assert " + FactText(operation.fact_template, operation.values) + ")");
        return Enter(operation.fact_template, operation.values);
      case TOperation::kRetract: {
        TKnownFact* fact = Chosen(operation.target);
        if (fact == nullptr) return;
        Do("(retract " + std::to_string(fact->id) + ")");
        return Leave(*fact);
      }
      case TOperation::kModify:
      case TOperation::kDuplicate:
        return Change(operation, is_full);
      case TOperation::kAddRule:
        return AddRule(operation.rule);
      case TOperation::kRemoveRule: {
        if (operation.rule >= program_.rules.size()) return;
        const std::string& name = program_.rules[operation.rule].name;
        if (rules_.erase(name) != 0) Do("(undefrule " + name + ")");
        return;
      }
      case TOperation::kReset:
        Do("(reset)");
        for (auto& [name, rule] : rules_) rule.fired.clear();
        return EnterInitialFact();
      case TOperation::kClear:
        Do("(clear)");
        rules_.clear();
        facts_.clear();
        next_id_ = 0;
        return Do(Preamble());
      case TOperation::kStep:
        return Step();
    }
  }

  void Change(const TOperation& operation, bool is_full) {
    TKnownFact* fact = Chosen(operation.target);
    if (fact == nullptr || next_id_ >= 100) return;
    const TTemplateText& described = Templates()[static_cast<std::size_t>(fact->fact_template)];
    if (described.is_ordered || (is_full && operation.kind == TOperation::kDuplicate)) return;
    const std::size_t slot = operation.target % described.slots.size();
    std::vector<std::vector<std::string>> values = fact->values;
    TShapes shapes = fact->shapes;
    if (described.slots[slot].is_fuzzy) {
      if (operation.words.empty()) return;
      values[slot] = {operation.words};
      shapes[slot] = {ShapeOf(operation.words)};
    } else {
      values[slot] = {operation.values.back().empty() ? "b" : operation.values.back().front()};
    }
    const bool is_duplicate = operation.kind == TOperation::kDuplicate;
    Do((is_duplicate ? "(duplicate " : "(modify ") + std::to_string(fact->id) + " (" +
       described.slots[slot].name + " " + values[slot].front() + "))");
    const std::int32_t fact_template = fact->fact_template;
    if (!is_duplicate) Leave(*fact);
    Enter(fact_template, std::move(values), std::move(shapes));
  }

  void AddRule(std::uint32_t number) {
    if (number >= program_.rules.size()) return;
    const TRuleText& text = program_.rules[number];
    rules_.erase(text.name);
    Do(text.ToString());
    const auto [live, is_new] = rules_.emplace(
        text.name, TLiveRule{&text, BruteForce(text, program_, textbook_), ++clock_, {}, {}, {}});
    Update(live->second);
  }

  void Step() {
    Compare();
    if (engine_.GetAgendaCount() == 0) return Do("(run 1)");
    const TActivation& next = engine_.GetActivation(0);
    const std::string name = next.GetRule().GetRuleName();
    const float strength = next.GetStrength();
    TLiveRule& rule = rules_.at(name);
    const std::string text = MatchOf(next, rule.reading);
    rule.fired.insert(text);
    std::map<std::string, TValue> bindings;
    for (const auto& [variable, value] : ReadOf(next, rule, text).bindings)
      bindings.emplace(variable, value);
    Do("(run 1)");
    for (const TAction& action : rule.text->actions) {
      if (action.kind == TAction::kRetract) {
        const std::string id = bindings.at(action.terms.front().text).items.front();
        for (TKnownFact* fact : Alive()) {
          if ("<Fact-" + std::to_string(fact->id) + ">" == id) {
            Leave(*fact);
            break;
          }
        }
        continue;
      }
      std::vector<TValue> fields;
      for (const TTerm& term : action.terms)
        fields.push_back(term.IsVariable() ? bindings.at(term.text) : TValue::Single(term.text));
      if (action.kind == TAction::kAssert) {
        std::vector<std::string> values;
        for (const TValue& field : fields) values.push_back(field.items.front());
        Enter(0, {values});
        continue;
      }
      // What a rule asserts is no truer than what it was fired by.
      std::vector<TSharedShape> members;
      for (std::size_t i = 0; i < 2; ++i) {
        members.push_back(fields[i].shape ? fields[i].shape : ShapeOf(fields[i].items.front()));
        if (strength != 1.0F)
          members[i] = Weakened(*members[i], double{strength}, program_.by_product);
      }
      members.push_back(nullptr);
      TShapes shapes = BySlot(action, members);
      shapes.back().clear();
      std::vector<std::vector<std::string>> values(shapes.size());
      values.back() = fields[2].items;
      Enter(action.fact_template, std::move(values), std::move(shapes));
    }
  }

  // After each operation.
  void Compare() {
    CompareAgenda();
    std::map<std::string, std::multiset<std::string>> shown;
    for (std::int32_t i = 0; i < engine_.GetAgendaCount(); ++i) {
      const TActivation& activation = engine_.GetActivation(i);
      const std::string name = activation.GetRule().GetRuleName();
      const auto rule = rules_.find(name);
      if (rule == rules_.end()) throw TDifference("an activation of no rule: " + name);
      const std::string text = MatchOf(activation, rule->second.reading);
      // A match that should not be here is told below.
      if (rule->second.matches.count(text) > 0) ReadOf(activation, rule->second, text);
      shown[name].insert(text);
    }
    CompareFuzzyFacts();
    for (auto& [name, rule] : rules_) {
      std::multiset<std::string> wanted;
      std::set_difference(rule.matches.begin(), rule.matches.end(), rule.fired.begin(),
                          rule.fired.end(), std::inserter(wanted, wanted.end()));
      if (rule.reading.HasDeepNegation() && shown[name] != wanted) {
        // In the midst of a token the match may have gone and come back.
        for (const std::string& match : std::multiset<std::string>(rule.fired)) {
          if (shown[name].count(match) <= wanted.count(match)) continue;
          rule.fired.erase(rule.fired.find(match));
          wanted.insert(match);
        }
      }
      if (shown[name] == wanted) continue;
      std::string difference = name + ":";
      for (const std::string& match : wanted) {
        if (shown[name].count(match) < wanted.count(match)) difference += " missing" + match;
      }
      for (const std::string& match : shown[name]) {
        if (shown[name].count(match) > wanted.count(match)) difference += " too many" + match;
      }
      throw TDifference(difference);
    }
    CheckSoundness();
  }

  void CheckSoundness() {
    ::testing::TestPartResultArray results;
    {
      const ::testing::ScopedFakeTestPartResultReporter reporter(
          ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
      CheckIntegrity(engine_, "integrity");
    }
    if (results.size() > 0) throw TDifference(results.GetTestPartResult(0).message());
  }

  // Everything goes: nothing stays behind.
  void Finish() {
    while (TKnownFact* fact = Chosen(7)) {
      Do("(retract " + std::to_string(fact->id) + ")");
      Leave(*fact);
    }
    Compare();
    if (engine_.GetFacts().GetCount() > 0) Do("(retract 0)");
    for (const TReteNode* node : engine_.GetReteNetwork().GetNodes()) {
      const auto* join = dynamic_cast<const TJoinNode*>(node);
      if (join == nullptr) continue;
      if (join->GetLeftMemory()->GetCount() + join->GetRightMemory()->GetCount() > 0)
        throw TDifference("a memory is not empty: " + join->ToString());
    }
    if (engine_.GetAgendaCount() > 0) throw TDifference("the agenda is not empty");
    for (const auto& [name, rule] : rules_) Do("(undefrule " + name + ")");
    if (engine_.GetReteNetwork().GetNodeCount() > 0) throw TDifference("nodes are left");
  }

  const TProgram& program_;
  bool textbook_;
  TReasoner engine_;
  std::string script_;
  std::map<std::string, TLiveRule> rules_;
  std::vector<TKnownFact> facts_;
  std::int32_t next_id_ = 0;
  std::int64_t clock_ = 0;
  std::vector<const TActivation*> agenda_;
  std::string agenda_fault_;
};

}  // namespace

TOutcome RunProgram(const TProgram& program, bool textbook) {
  TOutcome outcome;
  try {
    outcome = TRunner(program, textbook).Run();
  } catch (const std::exception& failure) {
    outcome.difference = failure.what();
  }
  return outcome;
}

}  // namespace reasoner::oracle
