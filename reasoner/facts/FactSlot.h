// TFactSlot: one slot of a template, with its allowed types and its default.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "reasoner/facts/DefinedType.h"
#include "reasoner/values/KBValue.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

// A slot enters its template by being named. The template keeps its slots alive; a slot that has
// left its template, or whose template has ended, has none.
class TFactSlot final : public ICloneable, private IKBValueListener {
 public:
  explicit TFactSlot(TFactTemplate* fact_template = nullptr);

  const Text& GetName() const noexcept { return name_; }
  TKBTypes GetSlotType() const noexcept { return slot_type_; }
  const Ref<IKBValue>& GetSlotDefault() const noexcept { return slot_default_; }
  const Ref<IKBDefinedType>& GetExtendedTypeInfo() const noexcept { return extended_type_info_; }
  bool IsDefaultDynamic() const noexcept { return default_dynamic_; }
  bool IsFuzzy() const noexcept { return slot_type_.Has(dtFuzzy); }
  bool IsMulti() const noexcept { return slot_type_.Has(dtMultiSlot); }
  std::int32_t GetTag() const noexcept { return tag_; }
  IFactTemplate* GetTemplate() const noexcept { return template_; }
  std::string GetTemplateName() const;

  // Raises for a name that the language could not read back; else the slot enters its template
  // under it.
  void SetName(const Text& name);
  // Takes a clone of the value. With dynamic checks an invalid one raises.
  void SetSlotDefault(const Ref<IKBValue>& value);
  // A default that is no longer valid gives way to a valid one. FUZZY beside another type raises.
  void SetSlotType(TKBTypes types);
  // Takes over the base types of the type, too.
  void SetExtendedTypeInfo(const Ref<IKBDefinedType>& type);
  // The default is evaluated each time it is filled in, not copied.
  void SetDefaultDynamic(bool dynamic) noexcept { default_dynamic_ = dynamic; }
  void SetTag(std::int32_t tag) noexcept { tag_ = tag; }

  bool IsValid(const IKBValue* value) const;
  // Why the value is not valid; empty when no reason is found.
  std::string GetInvalidValueString(const IKBValue& value) const;
  Ref<IKBValue> CreateValidDefault(bool is_multi) const;

  // The variable of a fuzzy slot; null for any other, and for one that names no type.
  IFuzzyVariable* GetFuzzyVariable() const noexcept;
  // A value as this slot, which is fuzzy, holds it: evaluated in the context, and in a multislot a
  // list. Several values raise where there is no multislot.
  Ref<IKBValue> EvalFuzzyValue(IReasoner& engine, const Ref<IKBValue>& value,
                               TKBContext& context) const;
  // A value of another fuzzy slot, such as one of another engine: its sets become this slot's, by
  // name where there is such a set. The names of sets that are not of the other slot's own variable
  // do not count; without another slot all names do.
  Ref<IKBValue> TakeFuzzyValue(const IKBValue& value, const IFactSlot* from) const;

  // Takes over name, types and default; the name registers this slot in its template.
  void Assign(const TFactSlot& source);
  // A new slot of the same template: it takes this one's place there.
  Ref<IFactSlot> Clone() const;
  bool Equals(const ICloneable& other) const override;
  std::uint32_t GetHashCode() const override { return name_.Hash(); }
  std::string ToString() const override;

 private:
  friend class TFactTemplate;

  ~TFactSlot() override;
  void ValueChanged(const Ref<IKBValue>& value) override;
  void TellThreshold() const;
  void AssignType(const TFactSlot& source, IReasoner& reasoner, const Ref<IKBDefinedType>& own);
  IReasoner* DynamicChecker() const;  // the engine, if values are checked at run time

  TFactTemplate* template_ = nullptr;  // emptied when the slot leaves it or it ends
  Ref<IKBValue> slot_default_;
  Text name_;
  TKBTypes slot_type_;
  std::int32_t tag_ = 0;
  Ref<IKBDefinedType> extended_type_info_;
  bool default_dynamic_ = false;
};

// Numbers as a slot of these types holds them, so that equal ones are equal: an integer becomes a
// float where floats alone are taken. In the plain meaning a float without a fraction becomes an
// integer where integers alone are. A list is not changed but replaced.
void FitNumbers(Ref<IKBValue>& value, TKBTypes types, bool plain);

}  // namespace reasoner
