#include "tests/oracle/Runner.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>

#include "reasoner/engine/Reasoner.h"
#include "tests/oracle/Model.h"
#include "tests/support/Integrity.h"

namespace reasoner::oracle {
namespace {

class TDifference : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

TWord WordOf(const IKBValue& value) {
  switch (value.GetDType()) {
    case dtInteger:
      return TWord(std::to_string(value.GetAsInteger()));
    case dtFloat:
      return TWord::Float(value.GetAsFloat());
    case dtFactId:
      return TWord::FactId(static_cast<std::int32_t>(value.GetAsFactId()));
    case dtString:
      return TWord("\"" + std::string(value.TextView()) + "\"");
    case dtAtom:
      return value.TextView().empty() ? TWord("nil") : TWord(value.TextView());
    default:
      return TWord("<" + value.ToString() + ">");
  }
}

// A fuzzy value's shape is looked at elsewhere.
TValue ValueOf(const IKBValue& value) {
  if (value.GetDType() == dtFuzzy) return TValue{false, {}, {}, ShapeOf("1")};
  if (value.GetDType() != dtList) return TValue::Single(WordOf(value));
  TValue list{true, {}, {}, nullptr};
  const Ref<IValueVector> members = value.GetAsList();
  for (std::int32_t i = 0; i < members->GetValueCount(); ++i)
    list.items.push_back(WordOf(*members->GetItem(i)));
  return list;
}

Text NameOf(TWord variable) {
  return Text(variable.Text().substr(variable.IsMultiVariable() ? 2 : 1));
}

class TRunner {
 public:
  TRunner(const TProgram& program, bool textbook, bool check_always)
      : program_(program),
        model_(program, textbook),
        textbook_(textbook),
        check_always_(check_always) {
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
    try {
      Do(Preamble(program_) + "(reset)");
      model_.Reset();
      std::int32_t done = 0;
      for (const TOperation& operation : program_.operations) {
        if (!Operate(operation)) continue;
        Compare();
        if (++done % 4 == 0 || check_always_) CheckSoundness();
      }
      Finish();
    } catch (const TModel::TLeftOut&) {
      outcome_.left_out = true;
    } catch (const BruteForce::TTooMany&) {
      outcome_.left_out = true;
    } catch (const std::exception& failure) {
      outcome_.difference = failure.what();
    }
    return std::move(outcome_);
  }

 private:
  using TLiveRule = TModel::TLiveRule;
  struct TWaiting {
    const TActivation* activation;
    std::int32_t salience;
    bool is_seen = false;  // it has been read, and its values looked at
    bool is_rebuilt = false;
    TLiveRule* rule = nullptr;
    TMatchKey key;
  };

  // Whether it raised, where that may be.
  bool Do(const std::string& text, bool may_raise = false) {
    outcome_.script += text + "\n";
    try {
      engine_.Parse(text, true);
    } catch (const std::exception&) {
      if (!may_raise && !program_.may_raise) throw;
      ++outcome_.failures;
      return true;
    }
    return false;
  }

  // The agenda as it should be, by what comes and goes.

  // Higher saliences stand before lower ones. Depth first the newest of the highest salience is the
  // first of all, breadth first the newest of the lowest one the last.
  bool Fits(std::size_t at, std::int32_t salience) const {
    if (at > agenda_.size()) return false;
    if (agenda_.empty()) return true;
    if (!is_breadth_ && salience >= agenda_.front().salience) return at == 0;
    if (is_breadth_ && salience <= agenda_.back().salience) return at == agenda_.size();
    return (at == 0 || agenda_[at - 1].salience >= salience) &&
           (at == agenda_.size() || agenda_[at].salience <= salience);
  }

  void Added(std::int32_t index, const TActivation& activation) {
    const std::int32_t salience = activation.GetRule().GetSalience();
    if (!Fits(static_cast<std::size_t>(index), salience)) {
      agenda_fault_ = "an activation landed at " + std::to_string(index);
      return;
    }
    agenda_.insert(agenda_.begin() + index,
                   TWaiting{&activation, salience, false, is_rebuilding_, nullptr, {}});
    Touch(activation);
  }

  void Removed(std::int32_t index, const TActivation& activation) {
    if (index < 0 || static_cast<std::size_t>(index) >= agenda_.size() ||
        agenda_[static_cast<std::size_t>(index)].activation != &activation) {
      agenda_fault_ = "an activation went from " + std::to_string(index);
      return;
    }
    agenda_.erase(agenda_.begin() + index);
    Touch(activation);
  }

  void Touch(const TActivation& activation) { touched_.insert(activation.GetRule().GetRuleName()); }

  void CompareAgenda() {
    if (!agenda_fault_.empty()) throw TDifference(agenda_fault_);
    bool same = static_cast<std::size_t>(engine_.GetAgendaCount()) == agenda_.size();
    for (std::size_t i = 0; same && i < agenda_.size(); ++i)
      same = &engine_.GetActivation(static_cast<std::int32_t>(i)) == agenda_[i].activation;
    if (!same) throw TDifference("the agenda's order is another one");
  }

  // Matches.

  TMatchKey KeyOf(const TActivation& activation, const BruteForce& reading) {
    TMatchKey key;
    for (std::int32_t i = 0; i < activation.GetToken()->GetCount(); ++i)
      key.push_back(static_cast<std::int32_t>(activation.GetToken()->GetFacts(i)->GetID()));
    if (reading.GetVariables().empty()) return key;
    TKBContext frame(&engine_.GetContext(), &engine_);
    activation.GetRule().Prepare(*activation.GetToken(), frame);
    for (const TWord& variable : reading.GetVariables()) {
      const TBinding* binding = frame.FindOwnBinding(NameOf(variable));
      if (binding == nullptr) throw TDifference("no value for " + variable.Text());
      AddToKey(ValueOf(*binding->Value), key);
    }
    return key;
  }

  static std::string Describe(const TMatchKey& key) {
    std::string text;
    for (const std::int32_t part : key) text += " " + std::to_string(part);
    return text;
  }
  static std::string Describe(const TReadMatch& match, const TMatchKey& key) {
    std::string text = Describe(key) + ":";
    for (const auto& [variable, value] : match.bindings)
      text += " " + variable.Text() + "=" + value.ToString();
    return text;
  }

  // The reading of an activation: of the matches with its key one with its strength and values.
  const TReadMatch* ReadOf(const TWaiting& waiting, bool with_shapes, std::string& difference) {
    const float strength = waiting.activation->GetStrength();
    const std::vector<TReadMatch>& read = waiting.rule->read;
    const auto is_before = [](const TReadMatch& match, const TMatchKey& key) {
      return match.key < key;
    };
    auto match = std::lower_bound(read.begin(), read.end(), waiting.key, is_before);
    if (match == read.end() || match->key != waiting.key) return nullptr;
    for (; match != read.end() && match->key == waiting.key; ++match) {
      const double wanted = waiting.is_rebuilt && !textbook_ ? 1 : match->strength;
      difference = "the strength " + std::to_string(strength) + " and not " +
                   std::to_string(wanted) + " of" + Describe(*match, match->key);
      if (wanted != TReadMatch::kAnyStrength && std::abs(wanted - double{strength}) > 1e-5)
        continue;
      difference.clear();
      if (with_shapes) difference = FuzzyDifference(*waiting.activation, *match);
      if (difference.empty()) return &*match;
    }
    return nullptr;
  }

  std::string FuzzyDifference(const TActivation& activation, const TReadMatch& match) {
    std::optional<TKBContext> frame;
    for (const auto& [variable, value] : match.bindings) {
      if (!value.shape) continue;
      if (!frame) {
        frame.emplace(&engine_.GetContext(), &engine_);
        activation.GetRule().Prepare(*activation.GetToken(), *frame);
      }
      const std::string difference =
          Differs(*frame->FindOwnBinding(NameOf(variable))->Value, *value.shape);
      if (!difference.empty()) return difference + " of " + variable.Text();
    }
    return "";
  }

  // How a fuzzy value differs from its reading, or nothing.
  static std::string Differs(const IKBValue& value, const TShape& shape) {
    if (value.GetDType() != dtFuzzy) return "a value that is not fuzzy";
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

  // Facts that have not been looked at yet; no fact changes.
  void CompareFacts() {
    std::size_t alive = 0;
    for (const TKnownFact& fact : model_.GetFacts()) {
      if (!fact.IsAlive()) continue;
      ++alive;
      if (fact.serial < next_serial_ || fact.fact_template < 0) continue;
      const Ref<IFact> shown = engine_.GetFacts().GetFactByID(fact.id);
      if (!shown) throw TDifference("no fact " + std::to_string(fact.id));
      const TTemplateText& described = TemplateAt(fact.fact_template);
      if (shown->GetTemplate()->GetTemplateName() != described.name)
        throw TDifference("the template of fact " + std::to_string(fact.id));
      for (std::size_t i = 0; i < described.slots.size(); ++i)
        CompareSlot(*shown, fact, i, described.slots[i]);
    }
    for (const TKnownFact& fact : model_.GetFacts())
      next_serial_ = std::max(next_serial_, fact.serial + 1);
    if (static_cast<std::size_t>(engine_.GetFacts().GetCount()) != alive) {
      throw TDifference("there are " + std::to_string(engine_.GetFacts().GetCount()) +
                        " facts and not " + std::to_string(alive));
    }
  }

  static void CompareSlot(IFact& shown, const TKnownFact& fact, std::size_t slot,
                          const TSlotText& described) {
    const Ref<IKBValue> value = shown.GetValue(Text(described.name));
    const Ref<IValueVector> members = described.is_multi ? value->GetAsList() : NewVector();
    if (!described.is_multi) members->Add(value);
    bool same = static_cast<std::size_t>(members->GetValueCount()) == fact.values[slot].size();
    for (std::size_t k = 0; same && k < fact.values[slot].size(); ++k) {
      const IKBValue& member = *members->GetItem(static_cast<std::int32_t>(k));
      if (described.is_fuzzy) {
        const std::string difference = Differs(member, *fact.shapes[slot][k]);
        if (!difference.empty())
          throw TDifference(difference + " of " + fact.values[slot][k].Text());
      } else {
        same = WordOf(member) == fact.values[slot][k];
      }
    }
    if (!same) throw TDifference("slot " + described.name + " of " + shown.ToString());
  }

  // Operations.

  // Whether there was something to do.
  bool Operate(const TOperation& operation) {
    const bool is_full = model_.CountAlive() > program_.most_facts;
    switch (operation.kind) {
      case TOperation::kAssert:
        if (is_full) return false;
        Do("(assert " + FactText(operation.fact_template, operation.values) + ")");
        model_.Assert(operation.fact_template, operation.values);
        return true;
      case TOperation::kRetract: {
        TKnownFact* fact = model_.Chosen(operation.target);
        if (fact == nullptr) return false;
        Do("(retract " + std::to_string(fact->id) + ")");
        model_.Retract(*fact);
        return true;
      }
      case TOperation::kModify:
      case TOperation::kDuplicate:
        return Change(operation, is_full);
      case TOperation::kAddRule: {
        if (operation.rule >= program_.rules.size()) return false;
        const TRuleText& text = program_.rules[operation.rule];
        touched_.insert(text.name);  // it takes the place of one of that name
        Do(text.ToString());
        model_.AddRule(text);
        return true;
      }
      case TOperation::kRemoveRule: {
        if (operation.rule >= program_.rules.size()) return false;
        const std::string& name = program_.rules[operation.rule].name;
        if (model_.GetRules().count(name) == 0) return false;
        Do("(undefrule " + name + ")");
        model_.RemoveRule(name);
        return true;
      }
      case TOperation::kFactSet: {
        std::string text = "(deffacts s" + std::to_string(operation.target % 2);
        for (const TFactForm& fact : operation.facts) text += " " + fact.ToString();
        Do(text + ")");
        model_.DefineFactSet(operation.target % 2, operation.facts);
        return true;
      }
      case TOperation::kTemplateAnew: {
        const auto anew = static_cast<std::int32_t>(operation.target % Templates().size());
        const std::string& text = TemplateAt(anew).text;
        if (text.empty()) return false;
        Do(text);
        model_.DefineAnew(anew);
        return true;
      }
      case TOperation::kUseIds: {
        const auto count = static_cast<std::int32_t>(90 + operation.target % 120);
        // A fact that is there already would be retracted.
        if (model_.AllowsDuplicates()) return false;
        Do("(use-ids " + std::to_string(count) + ")");
        model_.UseIds(count);
        return true;
      }
      case TOperation::kStrategy:
        is_breadth_ = !is_breadth_;
        outcome_.script += std::string("; ") + (is_breadth_ ? "breadth" : "depth") + " first\n";
        agenda_.clear();
        is_rebuilding_ = true;
        engine_.SetStrategy(is_breadth_ ? ssBreadthFirst : ssDepthFirst);
        is_rebuilding_ = false;
        return true;
      case TOperation::kDuplicates:
        model_.AllowDuplicates(!model_.AllowsDuplicates());
        Do(std::string("(set-fact-duplication ") +
           (model_.AllowsDuplicates() ? "FALSE)" : "TRUE)"));
        return true;
      case TOperation::kReset:
        Do("(reset)");
        model_.Reset();
        return true;
      case TOperation::kClear:
        Do("(clear)");
        model_.Clear();
        Do(Preamble(program_));
        return true;
      case TOperation::kStep:
        return Step();
    }
    return false;
  }

  bool Change(const TOperation& operation, bool is_full) {
    TKnownFact* fact = model_.Chosen(operation.target);
    if (fact == nullptr) return false;
    const TTemplateText& described = TemplateAt(fact->fact_template);
    const bool is_duplicate = operation.kind == TOperation::kDuplicate;
    if (described.is_ordered || (is_full && is_duplicate)) return false;
    const std::size_t slot = operation.target % described.slots.size();
    TWord value = operation.words;
    if (!described.slots[slot].is_fuzzy)
      value = operation.values.back().empty() ? TWord("b") : operation.values.back().front();
    if (value.IsEmpty()) return false;
    Do((is_duplicate ? "(duplicate " : "(modify ") + std::to_string(fact->id) + " (" +
       described.slots[slot].name + " " + value.Text() + "))");
    model_.Change(*fact, slot, value, is_duplicate);
    return true;
  }

  bool Step() {
    if (agenda_.empty()) {
      Do("(run 1)");
      return true;
    }
    if (model_.CountAlive() > program_.most_facts + 5) return false;
    TWaiting& next = agenda_.front();
    std::string difference;
    const TReadMatch* read = ReadOf(next, true, difference);
    if (read == nullptr) throw TDifference("no match fires");
    const TReadMatch match = *read;
    const TRuleText& rule = *next.rule->text;
    const double strength = next.activation->GetStrength();
    next.rule->fired.insert(match.key);
    next.rule->has_changed = true;
    ++outcome_.firings;
    const bool has_raised = Do("(run 1)", true);
    const bool is_done = model_.Fire(rule, match, strength);
    if (has_raised == is_done && !program_.may_raise)
      throw TDifference(is_done ? "an action raised" : "no action raised");
    return true;
  }

  // After each operation.
  void Compare() {
    CompareAgenda();
    CompareFacts();
    std::map<TLiveRule*, std::vector<TWaiting*>> shown;
    for (auto& [name, rule] : model_.GetRules()) {
      if (rule.has_changed || touched_.count(name) > 0) shown[&rule];
    }
    for (TWaiting& waiting : agenda_) {
      if (!waiting.is_seen || touched_.count(waiting.activation->GetRule().GetRuleName()) > 0) {
        const std::string name = waiting.activation->GetRule().GetRuleName();
        const auto rule = model_.GetRules().find(name);
        if (rule == model_.GetRules().end()) throw TDifference("an activation of no rule: " + name);
        waiting.rule = &rule->second;
        if (!waiting.is_seen) waiting.key = KeyOf(*waiting.activation, rule->second.reading);
      }
      const auto found = shown.find(waiting.rule);
      if (found != shown.end()) found->second.push_back(&waiting);
    }
    touched_.clear();
    for (auto& [rule, waiting] : shown) Compare(*rule, waiting);
  }

  void Compare(TLiveRule& rule, const std::vector<TWaiting*>& waiting) {
    rule.has_changed = false;
    std::vector<const TMatchKey*> wanted;
    for (const TWaiting* item : waiting) {
      const auto returning = rule.may_return.find(item->key);
      if (returning == rule.may_return.end()) continue;
      rule.may_return.erase(returning);
      const auto found = rule.fired.find(item->key);
      if (found != rule.fired.end()) rule.fired.erase(found);
    }
    rule.may_return.clear();
    std::multiset<TMatchKey> fired = rule.fired;
    for (const TReadMatch& match : rule.read) {
      const auto found = fired.find(match.key);
      found == fired.end() ? wanted.push_back(&match.key) : static_cast<void>(fired.erase(found));
    }
    std::vector<const TMatchKey*> shown;
    for (const TWaiting* item : waiting) shown.push_back(&item->key);
    const auto is_before = [](const TMatchKey* a, const TMatchKey* b) { return *a < *b; };
    std::sort(shown.begin(), shown.end(), is_before);
    const auto is_same = [](const TMatchKey* a, const TMatchKey* b) { return *a == *b; };
    if (!std::equal(shown.begin(), shown.end(), wanted.begin(), wanted.end(), is_same)) {
      std::string difference = rule.text->name + ":";
      const auto tell = [&](const char* what, const auto& some, const auto& others) {
        std::vector<const TMatchKey*> only;
        std::set_difference(some.begin(), some.end(), others.begin(), others.end(),
                            std::back_inserter(only), is_before);
        for (const TMatchKey* key : only) difference += what + Describe(*key);
      };
      tell(" missing", wanted, shown);
      tell(" too many", shown, wanted);
      throw TDifference(difference);
    }
    for (TWaiting* item : waiting) {
      std::string difference = "nothing";
      if (ReadOf(*item, !item->is_seen, difference) == nullptr) throw TDifference(difference);
      item->is_seen = true;
    }
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
    while (TKnownFact* fact = model_.Chosen(7)) {
      Do("(retract " + std::to_string(fact->id) + ")");
      model_.Retract(*fact);
    }
    Compare();
    CheckSoundness();
    if (engine_.GetFacts().GetCount() > 0) Do("(retract 0)");
    for (const TReteNode* node : engine_.GetReteNetwork().GetNodes()) {
      const auto* join = dynamic_cast<const TJoinNode*>(node);
      if (join == nullptr) continue;
      if (join->GetLeftMemory()->GetCount() + join->GetRightMemory()->GetCount() > 0)
        throw TDifference("a memory is not empty: " + join->ToString());
    }
    if (engine_.GetAgendaCount() > 0) throw TDifference("the agenda is not empty");
    for (const auto& [name, rule] : model_.GetRules()) Do("(undefrule " + name + ")");
    if (engine_.GetReteNetwork().GetNodeCount() > 0) throw TDifference("nodes are left");
  }

  const TProgram& program_;
  TModel model_;
  bool textbook_;
  bool check_always_;
  TReasoner engine_;
  TOutcome outcome_;
  std::vector<TWaiting> agenda_;
  std::string agenda_fault_;
  std::set<std::string> touched_;  // rules of which activations came or went
  std::size_t next_serial_ = 0;    // facts before it have been looked at
  bool is_breadth_ = false;
  bool is_rebuilding_ = false;
};

}  // namespace

TOutcome RunProgram(const TProgram& program, bool textbook, bool check_always) {
  return TRunner(program, textbook, check_always).Run();
}

}  // namespace reasoner::oracle
