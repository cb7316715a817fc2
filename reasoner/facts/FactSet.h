// TFactSet: a named group of facts that every reset asserts, the run-time form of `deffacts`.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/facts/Fact.h"
#include "reasoner/support/Component.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

// A line is the text of one fact, with the parsed fact beside it once there is an engine. A host
// may own a set as a plain object; it leaves its engine when it dies.
class TFactSet : public TComponent {
 public:
  struct TLine {
    std::string text;
    Ref<IFact> fact;  // null while the line is not parsed
  };

  // With an engine as owner the set belongs to that engine's fact sets at once.
  explicit TFactSet(TComponent* owner = nullptr);
  ~TFactSet() override;

  std::string ClassName() const override { return "TFactSet"; }
  const std::string& GetFactSetName() const noexcept { return fact_set_name_; }
  // Raises for the name of another set of the engine.
  void SetFactSetName(std::string_view name);
  std::string Comment;

  TComponent* GetEngine() const noexcept { return engine_; }
  // Joins the engine's fact sets and parses each line there. A set of the same name gives way, or
  // this one stays outside, or it raises, as DuplicateConstructs tells. A line that does not parse
  // raises. Null leaves the engine.
  void SetEngine(TComponent* engine);
  // The same without joining and without parsing.
  void SetEngineNoParse(TComponent* engine);

  std::int32_t GetCount() const noexcept { return static_cast<std::int32_t>(lines_.size()); }
  const std::vector<TLine>& GetLines() const noexcept { return lines_; }
  std::int32_t AddFact(const Ref<IFact>& fact);
  // The fact of a line, parsed now if it was not; null without an engine.
  Ref<IFact> GetFact(std::int32_t index);
  // Leaves the text. Null: the line is to be parsed anew.
  void SetFact(std::int32_t index, const Ref<IFact>& fact);
  // Replaces all lines; with an engine each is parsed, and one that does not parse raises before
  // anything changes.
  void SetFacts(const std::vector<std::string>& texts);
  std::int32_t IndexOf(const IFact& fact) const;  // by identity, or -1
  std::int32_t Remove(const IFact& fact);         // the line's index, or -1
  void Delete(std::int32_t index);                // the line at the index
  void Clear() { lines_.clear(); }

  // Asserts a clone of each fact, evaluated anew. A line that does not parse is passed over; a call
  // that fails raises, and the message ends with the set's name.
  void Reset();

  // Takes over comment, name and lines. With an engine as owner the facts are read anew there.
  void Assign(const TPersistent& source) override;
  // A copy that belongs to the component, or to the caller without one. It is in no engine yet.
  TFactSet* Clone(TComponent* owner) const;
  void Notification(TComponent& component, TOperation operation) override;
  std::string ToString() const override;

 private:
  IReasoner* Reasoner() const noexcept { return reasoner_ ? reasoner_->engine : nullptr; }
  TLine& LineAt(std::int32_t index);

  TComponent* engine_ = nullptr;  // watched
  Ref<TReasonerLink> reasoner_;   // while the engine is one
  std::string fact_set_name_ = "FactSet";
  std::vector<TLine> lines_;
};

}  // namespace reasoner
