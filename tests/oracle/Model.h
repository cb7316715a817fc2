// The facts and rules of a program as the reading has them, and what operations and actions do to
// them.

#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/oracle/BruteForce.h"

namespace reasoner::oracle {

class TModel {
 public:
  // The program came to what the reading does not model; what it did before agreed.
  struct TLeftOut {};

  struct TLiveRule {
    const TRuleText* text;
    BruteForce reading;
    std::int64_t added;
    std::vector<TReadMatch> read;
    std::multiset<TMatchKey> fired;       // those of `read` that are no longer on the agenda
    std::multiset<TMatchKey> may_return;  // those of `fired` that may be there again
    bool has_changed = true;              // since the last look
  };
  using TShapes = std::vector<std::vector<TSharedShape>>;  // a slot each
  using TSlots = std::vector<std::vector<TWord>>;

  TModel(const TProgram& program, bool textbook)
      : program_(program), textbook_(textbook), evaluator_(program) {}

  std::map<std::string, TLiveRule>& GetRules() { return rules_; }
  TFactHistory& GetFacts() { return facts_; }
  std::size_t CountAlive() const;
  // Of the facts that are alive, but for the initial one.
  TKnownFact* Chosen(std::uint32_t target);

  void AddRule(const TRuleText& text);
  void RemoveRule(const std::string& name) { rules_.erase(name); }
  void Assert(const TFactForm& fact);
  void Assert(std::int32_t fact_template, const TSlots& values);
  void Retract(TKnownFact& fact);
  // The slot gets the value, or what the words mean where it is fuzzy.
  void Change(TKnownFact& fact, std::size_t slot, TWord value, bool is_duplicate);
  void DefineFactSet(std::uint32_t name, const std::vector<TFactForm>& facts);
  void DefineAnew(std::int32_t fact_template);
  void UseIds(std::int32_t count) { next_id_ += count; }
  void AllowDuplicates(bool value) { allows_duplicates_ = value; }
  bool AllowsDuplicates() const { return allows_duplicates_; }
  void Reset();
  void Clear();
  // Does a rule's actions; false if one of them raised.
  bool Fire(const TRuleText& rule, const TReadMatch& match, double strength);

 private:
  bool Perform(const std::vector<TAction>& actions, TEnvironment& environment);
  bool ChangeByAction(const TAction& action, const TEnvironment& environment);
  void Fill(std::vector<TWord>& values, std::vector<TSharedShape>& shapes, bool is_fuzzy,
            const std::vector<TTerm>& terms, const TEnvironment& environment) const;
  void Assert(const TFactForm& fact, const TEnvironment& environment);
  void Enter(std::int32_t fact_template, TSlots values, TShapes shapes);
  void Leave(TKnownFact& fact);
  TKnownFact* Find(double id);
  void Pass(const TKnownFact& fact);
  void Update(std::int32_t fact_template);
  void Update(TLiveRule& rule);

  const TProgram& program_;
  bool textbook_;
  TEvaluator evaluator_;
  std::map<std::string, TLiveRule> rules_;
  TFactHistory facts_;
  std::vector<std::pair<std::uint32_t, std::vector<TFactForm>>> fact_sets_;
  double firing_strength_ = 1;  // what a rule asserts is no truer than what it was fired by
  bool allows_duplicates_ = false;
  std::int32_t next_id_ = 0;
  std::int64_t clock_ = 0;
  std::size_t next_serial_ = 0;
};

}  // namespace reasoner::oracle
