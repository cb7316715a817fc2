// A fuzzy variable: a universe of numbers and the named sets on it, such as `cold` and `hot` of a
// temperature.
//
// The variable holds its sets. What it hands out are its own sets, not copies: matching compares
// them by the thousand. They are not to be changed but by the one who builds the variable.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "reasoner/support/membership/FuzzySet.h"

namespace reasoner {

class TIFuzzyVariable : public ICloneable {
 public:
  // The class of a variable's sets, as the function that makes one.
  using TSetClass = Ref<IFuzzySet> (*)(IFuzzyVariable* variable, std::string_view name);

  explicit TIFuzzyVariable(std::string_view name = {});

  // Everything, with a clone of every set under the same name, at the same place, with its mark.
  Ref<IFuzzyVariable> Clone() const;

  const std::string& GetName() const noexcept { return name_; }
  void SetName(std::string_view name) { name_ = name; }
  double GetUniverseFrom() const noexcept { return from_; }
  double GetUniverseTo() const noexcept { return to_; }
  // Raise EKitException "invalid fuzzy value" for a number that is not finite.
  void SetUniverseFrom(double from);
  void SetUniverseTo(double to);
  // Crossed bounds are swapped.
  void SetUniverse(double from, double to);
  bool HasUniverse() const noexcept { return from_ < to_; }
  const std::string& GetUnits() const noexcept { return units_; }
  void SetUnits(std::string_view units) { units_ = units; }
  double GetThreshold() const noexcept { return threshold_; }
  // A NaN is refused as "invalid fuzzy value".
  void SetThreshold(double threshold);
  IFuzzyParser* GetParser() const noexcept { return parser_ ? parser_->parser : nullptr; }
  const Ref<TFuzzyParserLink>& GetParserLink() const noexcept { return parser_; }
  void SetParser(Ref<TFuzzyParserLink> parser) noexcept { parser_ = std::move(parser); }
  TSetClass GetSetClass() const noexcept { return set_class_; }

  // A new set of this variable's class and under this name in the variable; it is not marked as a
  // term.
  Ref<IFuzzySet> NewFuzzySet(std::string_view name);
  // The variable's own set, or null.
  IFuzzySet* FindFuzzySet(std::string_view name) const noexcept;
  // The set without points that stands for no value; made when it is not there.
  Ref<IFuzzySet> GetEmptySet();
  std::int32_t GetSetCount() const noexcept { return static_cast<std::int32_t>(sets_.size()); }
  // In the order in which the names came. An index outside raises EKitException.
  const Ref<IFuzzySet>& GetSet(std::int32_t index) const;
  // Takes the set in under its given name, in the place of a set of that name. A set that another
  // variable holds is cloned; the result is the set that is in the variable now.
  Ref<IFuzzySet> Add(Ref<IFuzzySet> set);
  // Makes the automatic terms, each if there is none of its name: `low` falls over the universe,
  // `medium` is a triangle on it, `high` rises.
  void AddAutoTerms();
  // Whether a term is one of these, by its name and its points: in a text that was saved they stand
  // as all others do.
  bool IsAutoTerm(const IFuzzySet& term) const;
  bool HasAutoTerms() const noexcept;  // all three names are known

  // A text as a set of this variable: by the parser, or without one the name of a set, a shape, a
  // point list or a number. Raises EKitException for a text that is none.
  Ref<IFuzzySet> EvalFuzzyExpression(std::string_view text);

  // Whether values of both are of one kind: the same universe and units.
  bool HasSameUniverse(const IFuzzyVariable& other) const noexcept;
  // The same universe and units, and terms of the same names with the same points.
  bool Equals(const ICloneable& other) const override;
  std::uint32_t GetHashCode() const override;
  // The clauses of the variable's definition.
  std::string ToString() const override;

 protected:
  ~TIFuzzyVariable() override;

  void SetSetClass(TSetClass set_class) noexcept { set_class_ = set_class; }
  // A new variable of the object's own class.
  virtual Ref<IFuzzyVariable> NewInstance() const;

 private:
  friend class TIFuzzySet;

  struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const noexcept {
      return std::hash<std::string_view>{}(name);
    }
  };

  void Rename(IFuzzySet& set, std::string_view name);

  std::string name_;
  double from_ = 0;  // a universe of no width is none
  double to_ = 0;
  std::string units_;
  double threshold_ = kDefaultFuzzyThreshold;
  Ref<TFuzzyParserLink> parser_;
  TSetClass set_class_;
  std::vector<Ref<IFuzzySet>> sets_;
  std::unordered_map<std::string, std::size_t, NameHash, std::equal_to<>> index_;
  Ref<TFuzzyVariableLink> link_;  // what the sets know of this variable
};

}  // namespace reasoner
