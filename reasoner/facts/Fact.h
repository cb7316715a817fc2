// TFact: one record of working memory: a template, a value a slot, and an id.
//
// Values lie in an array by slot ordinal. A slot that was never written reads as its default:
// reading through GetValue stores a clone of the default in the fact, comparing and hashing do not.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/facts/FactTemplate.h"
#include "reasoner/support/Pool.h"

namespace reasoner {

class TFact final : public ICloneable, public Pooled {
 public:
  // A fact with no value filled in and the id -1. With a source, its content follows: see Assign.
  explicit TFact(Ref<IFactTemplate> fact_template, const TFact* source = nullptr);

  // -1 until the fact base gives one. Setting another id raises while the fact is listed.
  TFactId GetID() const noexcept { return id_; }
  void SetID(TFactId id);
  // A listed fact is filed by its id and its values: what would change either raises, writing to
  // its cells too, until the fact has left the list.
  bool IsListed() const noexcept { return listed_; }
  std::int32_t GetTag() const noexcept { return tag_; }
  void SetTag(std::int32_t tag) noexcept { tag_ = tag; }

  const Ref<IFactTemplate>& GetTemplate() const noexcept { return template_; }
  // Keeps the values of slots that both templates have, fills the others with defaults. Null
  // empties the fact.
  void SetTemplate(const Ref<IFactTemplate>& fact_template);

  // The stored cell; a slot not written yet gets a clone of its default first. A fact that has left
  // its list gets a cell of its own, which can be written. Raises without a template or for an
  // unknown name.
  const Ref<IKBValue>& GetValue(std::string_view name);
  // The stored cell, or a filled-in default; null for a slot that the template lacks.
  Ref<IKBValue> ContainsKey(std::string_view name);
  // Stores the cell itself, null as FCNil. Numbers are made to fit the slot, see FitNumbers: an
  // integer becomes a float with dynamic checks in the given cell, else in a new one. With those
  // checks an invalid value raises with the slot's reason.
  void SetValue(std::string_view name, const Ref<IKBValue>& value);
  // Makes numbers fit that came into their slots otherwise, as by a cell that was changed in place.
  // The engine calls it at assertion.
  void FitToSlots();

  const Ref<IKBValue>& GetValueAt(std::int32_t ordinal);
  // Stores a cell that is known to be right for the slot; nothing is checked.
  void PutValueAt(std::int32_t ordinal, Ref<IKBValue> value);
  // What the slot shows, without storing anything: its value, its default, or null.
  const IKBValue* PeekAt(std::int32_t ordinal) const noexcept;
  // True when the slot has a value of its own, written or read before.
  bool HasValueAt(std::int32_t ordinal) const noexcept {
    return ordinal < capacity_ && values_[ordinal].get() != nullptr;
  }
  // The names that have a value of their own, in sorted order.
  std::vector<Text> GetSlotNames() const;

  // Takes clones of all values. Both need the same template.
  void AssignValues(const TFact& source);
  // Takes over content, id and tag of a fact of the same engine or without one.
  void Assign(const TFact& source);
  Ref<IFact> Clone();
  // A fact with this one's id and cells, shared, but for one slot: for the network, which changes
  // no cell.
  Ref<IFact> CloneWith(std::int32_t ordinal, Ref<IKBValue> value);

  // The same template and strictly equal values, fuzzy slots apart. Ids take no part.
  bool Equals(const ICloneable& other) const override;
  bool EqualsFact(const TFact& other) const;
  std::uint32_t GetHashCode() const override;
  // The same without the fuzzy slots: alike for facts that are equal.
  std::uint32_t GetCrispHash() const;
  std::string ToString() const override;
  // "f-", the id padded to the width of the engine's next one, a blank and the fact.
  std::string ToIDString() const;

 private:
  friend class TFacts;

  ~TFact() override;
  // The fact base's alone: the fact enters the list or leaves it.
  void EnterList();
  void LeaveList() noexcept { listed_ = false; }
  void RequireUnlisted() const;
  void Grow(std::int32_t count);
  void AssignCrossing(const TFact& source);
  void ClearValues() noexcept;
  IFactTemplate& RequireTemplate() const;
  std::int32_t RequireOrdinal(std::string_view name) const;

  Ref<IFactTemplate> template_;
  Ref<IKBValue>* values_ = nullptr;  // from the pool
  std::int32_t capacity_ = 0;
  TFactId id_ = -1;
  std::int32_t tag_ = 0;
  bool listed_ = false;
};

// The text of a fact, as the printer shows it.
std::string FactToText(const IFact& fact);

}  // namespace reasoner
