// A fact template: the named set of slots that every fact of one kind has.
//
// The sorted order of the slot names is the order of filling, printing, hashing and comparing
// facts. Beside it each slot has an ordinal, its place in a fact's array of values: it is given
// when the slot comes and never used again when the slot goes, so that a fact made before a change
// reads right after it. `GetLayout()` is a number that no other layout of any template ever has:
// nodes and bindings keep it beside an ordinal that they have looked up.
//
// Templates form chains by GetParent(): a fact matches the patterns of its template and of each
// ancestor.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reasoner/facts/FactSlot.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

class TFactTemplate final : public ICloneable {
 public:
  // The owner is an engine as a rule, else any component, which must outlive the template, or null.
  // The name is taken unchecked. With a parent its slots are copied first.
  explicit TFactTemplate(TComponent* owner, std::string_view name = {},
                         std::string_view comment = {}, const Ref<IFactTemplate>& parent = nullptr);

  const std::string& GetTemplateName() const noexcept { return template_name_; }
  const std::string& GetComment() const noexcept { return comment_; }
  const Ref<IFactTemplate>& GetParent() const noexcept { return parent_; }
  bool IsBackwardChaining() const noexcept { return backward_chaining_; }
  // Fewer than two slots and one of them the unnamed list: facts are written as a list of values.
  bool IsOrdered() const noexcept { return ordered_; }
  // True when a slot is fuzzy.
  bool IsFuzzy() const { return fuzzy_stale_ ? FindFuzzy() : fuzzy_; }
  TComponent* GetOwner() const noexcept;
  IReasoner* GetReasoner() const noexcept { return reasoner_ ? reasoner_->engine : nullptr; }
  std::int32_t GetTag() const noexcept { return tag_; }

  // Raises for a name that the language could not read back; tells the engine.
  void SetTemplateName(std::string_view name);
  void SetComment(std::string_view comment) { comment_ = comment; }
  // A chain back to this template raises, and so does a parent of another engine.
  void SetParent(const Ref<IFactTemplate>& parent);
  // The engine becomes the owner of a template that has none: it has entered its registry.
  void Adopt(IReasoner& engine) { reasoner_ = engine.GetLink(); }
  void SetBackwardChaining(bool chaining) noexcept { backward_chaining_ = chaining; }
  void SetTag(std::int32_t tag) noexcept { tag_ = tag; }

  // Slots by name.
  std::int32_t GetSlotCount() const noexcept { return static_cast<std::int32_t>(sorted_.size()); }
  bool ContainsSlot(std::string_view name) const { return OrdinalOf(name) >= 0; }
  // The slot, or null.
  IFactSlot* FindSlot(std::string_view name) const;
  // Raises "No such slot name: "%s"".
  const Ref<IFactSlot>& GetSlot(std::string_view name) const;
  void SetSlot(std::string_view name,
               const Ref<IFactSlot>& slot);  // the slot's name must be this name
  void AddSlot(std::string_view name, const Ref<IKBValue>& slot_default);
  void AddMultiSlot(std::string_view name, const Ref<IKBValue>& slot_default);
  void AddSlot(const IFactSlot& slot);  // adds a copy
  void RemoveSlot(std::string_view name);
  void ClearSlots();
  // The first slot in table order that has this very type, or null.
  IFactSlot* FindSlotOfType(const IKBDefinedType& type) const;
  // The slots in the order in which they came, and sorted by name.
  std::vector<Ref<IFactSlot>> GetSlots() const;
  std::vector<Text> GetSlotNames() const;

  // Slots by ordinal.
  std::int32_t OrdinalOf(std::string_view name) const noexcept;  // -1 for an unknown name
  std::int32_t GetOrdinalCount() const noexcept { return static_cast<std::int32_t>(slots_.size()); }
  IFactSlot* SlotAt(std::int32_t ordinal) const noexcept {
    return slots_[static_cast<std::size_t>(ordinal)].get();
  }
  const std::vector<std::int32_t>& SortedOrdinals() const noexcept { return sorted_; }
  std::uint64_t GetLayout() const noexcept { return layout_; }

  // True when this template or an ancestor has the name.
  bool DescendsFrom(std::string_view name) const;

  // A new fact with all its defaults.
  Ref<IFact> NewFact();
  // Puts a copy of each default, dynamic ones evaluated, into the fact.
  void FillFactWithDefaults(IFact& fact);

  // Takes over everything; the parent only if it has this template's owner. The name goes through
  // SetTemplateName.
  void Assign(const TFactTemplate& source);
  Ref<IFactTemplate> Clone() const;
  Ref<IFactTemplate> Clone(TComponent* owner) const;
  // The same name, and each of this template's slots has its equal there; more slots there do not
  // count.
  bool Equals(const ICloneable& other) const override;
  std::uint32_t GetHashCode() const override;
  std::string ToString() const override;

 private:
  friend class TFactSlot;

  ~TFactTemplate() override;
  void NewSlotName(IFactSlot& slot, const Text& name);
  void SlotTypeChanged() noexcept { fuzzy_stale_ = true; }
  bool FindFuzzy() const;
  void LayoutChanged();
  void SettleOrdered();
  void AddCheckedSlot(std::string_view name, const Ref<IKBValue>& slot_default, TKBTypes types);
  void RemoveOrdinal(std::int32_t ordinal);
  void InsertSorted(std::int32_t ordinal);
  bool OwnedAlike(const TFactTemplate& other) const noexcept {
    return GetOwner() == other.GetOwner();
  }

  bool backward_chaining_ = false;
  bool ordered_ = false;
  mutable bool fuzzy_stale_ = true;
  mutable bool fuzzy_ = false;
  mutable bool hash_stale_ = true;
  mutable std::uint32_t hash_ = 0;
  std::int32_t tag_ = 0;
  Ref<IFactTemplate> parent_;
  std::string comment_;
  std::string template_name_;
  std::vector<Ref<IFactSlot>> slots_;  // by ordinal; null where a slot has gone
  std::vector<std::int32_t> sorted_;   // ordinals in the order of names
  Ref<TReasonerLink> reasoner_;        // while an engine is the owner
  TComponent* owner_ = nullptr;        // another owner, which outlives this template
  std::uint64_t layout_ = 0;
};

// The ordinal of a slot, looked up once a layout: what nodes and bindings keep in place of a name.
class TSlotAccess {
 public:
  TSlotAccess() = default;
  explicit TSlotAccess(Text name) : name_(std::move(name)) {}

  const Text& GetName() const noexcept { return name_; }
  // The slot's ordinal in facts of this template, or -1.
  std::int32_t In(const IFactTemplate& fact_template) const {
    if (layout_ != fact_template.GetLayout()) {
      layout_ = fact_template.GetLayout();
      ordinal_ = fact_template.OrdinalOf(name_);
    }
    return ordinal_;
  }

 private:
  Text name_;
  mutable std::uint64_t layout_ = 0;
  mutable std::int32_t ordinal_ = -1;
};

}  // namespace reasoner
