// TKBDefinedType: what values a slot may hold.
//
// The object behind `deftype` and behind the facets written inside a slot: primitive types, allowed
// values, a range, and how many members a multislot may have. A slot that has facets of its own
// holds an anonymous type named "implicit"; named types live in the engine's registry and are
// shared by the slots that name them.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "reasoner/support/Event.h"
#include "reasoner/values/ValueVector.h"
#include "reasoner/vocabulary/KBInterfaces.h"

namespace reasoner {

// Within 0.0001 of each other, bounds included.
bool FloatEquals(double a, double b, double tolerance = 0.0001);

class TKBDefinedType final : public ICloneable {
 public:
  // The engine, if any, prints the type as long as it lives.
  explicit TKBDefinedType(IReasoner* reasoner);

  const std::string& GetName() const noexcept { return name_; }
  const std::string& GetComment() const noexcept { return comment_; }
  const std::string& GetUnits() const noexcept { return units_; }
  TKBTypes GetBaseTypes() const noexcept { return base_types_; }
  double GetMinRange() const noexcept { return min_range_; }
  double GetMaxRange() const noexcept { return max_range_; }
  bool IsRangeLimited() const noexcept { return range_limited_; }
  std::int32_t GetMinCardinality() const noexcept { return min_cardinality_; }
  std::int32_t GetMaxCardinality() const noexcept { return max_cardinality_; }
  bool IsCardinalityLimited() const noexcept { return cardinality_limited_; }
  TValueConstraints GetConstraints() const noexcept { return constraints_; }
  bool IsImplicit() const noexcept { return implicit_; }
  const Ref<IKBDefinedType>& GetAncestor() const noexcept { return ancestor_; }
  // The variable of a fuzzy type, which is the type's alone; null for any other.
  const Ref<IFuzzyVariable>& GetFuzzyType() const noexcept { return fuzzy_type_; }
  IReasoner* GetReasoner() const noexcept { return reasoner_ ? reasoner_->engine : nullptr; }
  std::int32_t GetTag() const noexcept { return tag_; }

  void SetName(const std::string& name);
  void SetComment(const std::string& comment);
  void SetUnits(const std::string& units);
  // Keeps the members of KBSlotTypesWithFuzzy. FUZZY beside anything else raises; FUZZY alone makes
  // a variable of the type's name, range and units, and any other set ends the one that is there.
  void SetBaseTypes(TKBTypes types);
  // A bound beyond the other one takes it along. Setting a bound does not turn the limit on.
  void SetMinRange(double value);
  void SetMaxRange(double value);
  void SetRangeLimited(bool limited);
  void SetMinCardinality(std::int32_t value);  // negative counts as 0
  void SetMaxCardinality(std::int32_t value);
  void SetCardinalityLimited(bool limited);
  // Makes the type a fuzzy one with the variable's range and units; null ends the variable alone.
  void SetFuzzyType(const Ref<IFuzzyVariable>& variable);
  void SetImplicit(bool implicit);
  // Ends `Implicit`. A chain that comes back to this type raises.
  void SetAncestor(const Ref<IKBDefinedType>& ancestor);
  void SetReasoner(IReasoner* reasoner);
  void SetTag(std::int32_t tag) noexcept { tag_ = tag; }

  // Allowed values, a list a kind; the list exists while the kind is among the constraints.
  void SetConstraints(TValueConstraints kinds);
  void ClearConstraints();
  void ClearConstraints(TValueConstraints kinds);
  // A value of a kind that is not switched on raises, and so does a value of no kind.
  void AddConstraint(const Ref<IKBValue>& value);
  void RemoveConstraint(const IKBValue& value);
  void DeleteConstraint(std::int32_t index, TValueConstraint kind);
  // True when the value is among the allowed ones of its kind, which is given.
  bool IsConstraint(const IKBValue& value, TValueConstraint& kind) const;
  std::int32_t GetConstraintAtomsCount() const noexcept {
    return static_cast<std::int32_t>(atoms_.size());
  }
  std::int32_t GetConstraintStringsCount() const noexcept {
    return static_cast<std::int32_t>(strings_.size());
  }
  std::int32_t GetConstraintIntegersCount() const noexcept {
    return static_cast<std::int32_t>(integers_.size());
  }
  std::int32_t GetConstraintFloatsCount() const noexcept {
    return static_cast<std::int32_t>(floats_.size());
  }
  const std::string& GetConstraintAtom(std::int32_t index) const;
  const std::string& GetConstraintString(std::int32_t index) const;
  std::int32_t GetConstraintInteger(std::int32_t index) const;
  const Ref<IKBValue>& GetConstraintFloat(std::int32_t index) const;
  bool ConstraintsEqual(const TKBDefinedType& other) const;

  bool IsValid(const IKBValue& value) const;
  // Why the value is not valid; empty for a valid one.
  std::string GetInvalidValueString(const IKBValue& value) const;
  // A value that is valid: the first allowed one, or one within the range, or an empty one of the
  // first type.
  Ref<IKBValue> CreateValidDefault(bool is_multi) const;

  void BeginUpdate() { ++update_count_; }
  void EndUpdate();
  Event<void(TKBDefinedType& sender)> OnChange;  // after each real change

  // Takes over everything but the engine; the ancestor only from a type of the same engine.
  void Assign(const TKBDefinedType& source);
  Ref<IKBDefinedType> Clone() const;
  bool Equals(const ICloneable& other) const override;
  std::uint32_t GetHashCode() const override { return CalculateHash(name_); }
  std::string ToString() const override;

  static constexpr double kNoMinRange = -2147483648.0;
  static constexpr double kNoMaxRange = 2147483647.0;
  static constexpr std::int32_t kNoMaxCardinality = 2147483647;

 private:
  ~TKBDefinedType() override;
  void TellFuzzyType();
  std::optional<TValueConstraint> KindOf(const IKBValue& value) const;
  TValueConstraint KindOrRaise(const IKBValue& value) const;
  std::int32_t IndexOfAllowed(const IKBValue& value, TValueConstraint kind) const;
  void RequireConstraint(TValueConstraint kind, std::string_view name) const;
  void Change();
  std::string Wrapped(const IKBValue& value, const std::string& reason) const;

  TKBTypes base_types_ = KBSlotTypes;
  std::string name_{SImplicitDefinedType};
  double max_range_ = kNoMaxRange;
  double min_range_ = kNoMinRange;
  std::int32_t max_cardinality_ = kNoMaxCardinality;
  std::int32_t min_cardinality_ = 0;
  TValueConstraints constraints_;
  std::int32_t tag_ = 0;
  std::vector<std::string> atoms_;
  std::vector<std::int32_t> integers_;
  std::vector<std::string> strings_;
  std::vector<Ref<IKBValue>> floats_;
  Ref<TReasonerLink> reasoner_;
  bool range_limited_ = false;
  bool cardinality_limited_ = false;
  std::string comment_;
  std::string units_;
  bool implicit_ = false;
  Ref<IKBDefinedType> ancestor_;
  Ref<IFuzzyVariable> fuzzy_type_;
  std::int32_t update_count_ = 0;
};

// The upper-case names of types, as reasons and printed type clauses show them.
std::string UpperTypeNames(TKBTypes types, std::string_view separator);
// A new cell with an empty value of the first type of the set, in the order in which defaults are
// looked for.
Ref<IKBValue> CreateEmptyValue(TKBTypes types);

}  // namespace reasoner
