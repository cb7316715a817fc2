// Random knowledge bases with every construct of the language, the same for the same seed.

#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "reasoner/engine/Reasoner.h"

namespace reasoner {

class KnowledgeGenerator {
 public:
  KnowledgeGenerator(TReasoner& engine, std::uint32_t seed) : engine_(engine), random_(seed) {}

  // Fills the engine. Rules have saliences of their own, so that what fires does not hang on the
  // order in which they were defined.
  void Generate();
  // Redefines and removes some constructs.
  void Change();

 private:
  struct TSlot {
    std::string name;
    char kind = 'a';  // a, s, i, f, n (a number), l (an atom or a string), z (fuzzy), * (anything)
    bool is_multi = false;
  };
  struct TTemplate {
    std::string name;
    bool is_ordered = false;
    std::vector<TSlot> slots;
  };
  struct TType {
    std::string name;
    char kind = 'a';
  };

  std::uint32_t Below(std::uint32_t count) { return static_cast<std::uint32_t>(random_()) % count; }
  bool OneIn(std::uint32_t count) { return Below(count) == 0; }
  template <class TItems>
  const auto& OneOf(const TItems& items) {
    return items[Below(static_cast<std::uint32_t>(std::size(items)))];
  }

  // In a small world few values are in use, so that facts meet the patterns of rules.
  template <class TItems>
  const auto& Drawn(const TItems& items) {
    const auto count = static_cast<std::uint32_t>(std::size(items));
    return items[Below(is_small_ && !OneIn(6) ? 3U : count)];
  }

  // Runs a text; what the engine refuses is no part of the knowledge base.
  void Try(const std::string& text);
  std::string Comment();
  std::string NewVariable(const std::string& plain);
  std::string OddName(std::string_view prefix);  // empty where the kind has none
  // A value that is written, and one that a host puts in.
  std::string Literal(char kind);
  Ref<IKBValue> Value(char kind);
  std::string Facets(char kind, bool is_multi);
  std::string Expression(const std::vector<std::string>& variables, int depth);
  std::string WrittenFact(const TTemplate& fact_template,
                          const std::vector<std::string>& variables);
  std::string SlotTests(const TSlot& slot, std::vector<std::string>& variables);
  std::string Pattern(const TTemplate& fact_template, std::vector<std::string>& variables);
  std::string Action(const std::vector<std::string>& variables,
                     const std::vector<std::string>& facts);

  void AddType(const std::string& name);
  void AddFuzzyType(const std::string& name);
  void AddTemplate(const std::string& name);
  void AddFunction(const std::string& name);
  void AddGlobal(const std::string& name);
  void AddFactSet(const std::string& name);
  void AddRule(const std::string& name);
  void AddFacts();

  TReasoner& engine_;
  std::mt19937 random_;
  std::vector<TType> types_;
  std::vector<TTemplate> templates_;
  std::vector<std::string> functions_;
  std::vector<std::string> globals_;
  std::vector<std::string> terms_;
  int salience_ = 0;
  bool is_small_ = false;
};

}  // namespace reasoner
