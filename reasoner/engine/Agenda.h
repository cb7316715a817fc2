// The agenda: the ordered list of activations; the first one fires next.

#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "reasoner/match/Activation.h"
#include "reasoner/support/CountedSequence.h"

namespace reasoner {

class TReasoner;

// A list of activations that owns them. Without an engine entries stay in the order of their
// adding.
class TActivationAgenda : public TPersistent {
 public:
  ~TActivationAgenda() override;

  std::int32_t GetCount() const noexcept { return static_cast<std::int32_t>(entries_.size()); }
  bool IsEmpty() const noexcept { return entries_.empty(); }
  // Raises "List index out of bounds (%d)".
  TActivation& GetActivation(std::int32_t index) const;
  // The index of a listed activation, or -1.
  std::int32_t IndexOf(const TActivation& activation) const noexcept;
  bool Holds(const TActivation& activation) const noexcept { return activation.IsLinked(); }

  // Takes ownership and places the activation; its text is the one of this moment. Gives the index.
  std::int32_t Add(std::unique_ptr<TActivation> activation);
  // Puts an activation in the place of that of an entry, whose text stays, and gives the old one.
  // Null raises "Invalid object, agenda can only accept TActivation objects".
  std::unique_ptr<TActivation> SetActivations(std::int32_t index,
                                              std::unique_ptr<TActivation> activation);
  // Takes an entry out without ending its activation.
  std::unique_ptr<TActivation> Extract(std::int32_t index);
  void Delete(std::int32_t index) { Extract(index); }
  // Ends the entries from the front.
  virtual void Clear();

  // Replaces the entries by clones of those of another agenda, in the same order: a list of what
  // waits there.
  void Assign(const TPersistent& source) override;
  // The entries' texts, a line each.
  std::string ToString() const override;

 protected:
  // Where a new entry goes; -1 appends.
  virtual std::int32_t FindInsertion(const TActivation&) const { return -1; }

 private:
  CountedSequence<TActivation> entries_;
};

// The agenda of an engine, ordered by salience and strategy.
class TKBAgenda : public TActivationAgenda {
 public:
  explicit TKBAgenda(TReasoner* engine) : engine_(engine) {}
  // Takes the entries off one by one, with their events and lines.
  void Clear() override;

 protected:
  std::int32_t FindInsertion(const TActivation& activation) const override;

 private:
  TReasoner* engine_;  // owns the agenda
};

}  // namespace reasoner
