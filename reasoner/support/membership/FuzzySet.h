// A fuzzy set: a membership function with a name, the shape it was made in, and the variable on
// whose universe it lives.
//
// Sets are shared and are values once they have been made: whoever changes one does so on a Clone,
// or takes the new set that an operation gives. What changes a set in place (AddPoint, the shapes,
// Hedge, the setters) is for building one.
//
// A variable holds its sets; a set knows its variable through a link that the variable empties at
// its end. A set that outlives its variable keeps its points and its name.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "reasoner/support/Cloneable.h"
#include "reasoner/support/membership/FuzzyParser.h"
#include "reasoner/support/membership/FuzzyWords.h"
#include "reasoner/support/membership/PiecewiseLinear.h"

namespace reasoner {

// What the points of a set were made as. The printer knows them by their ordinals.
enum TFuzzySetType : std::uint8_t {
  fstPoints,    // no shape
  fstTriangle,  // tri
  fstDecline,   // z
  fstPi,        // pi
  fstBeta,      // beta
  fstGrowth     // s
};

// The threshold of a set that has no variable.
inline constexpr double kDefaultFuzzyThreshold = 0.01;
// The inflection of a beta curve that names none, as a distance from its centre.
constexpr double BetaDefaultWidth(double range) noexcept { return range / 2; }
// The branch of a curve that the language's shape functions ask for has this many points.
inline constexpr std::int32_t kShapePoints = 7;

class TIFuzzySet : public ICloneable {
 public:
  // The variable may be null; it does not take the set in.
  explicit TIFuzzySet(IFuzzyVariable* variable = nullptr, std::string_view name = {});

  // A set of the same class with the same points, shape, texts, variable and parser. It is no term
  // and counts as undecidable until it is defuzzified.
  Ref<IFuzzySet> Clone() const;

  // What the set is called: its given name, else the expression it came from, else its shape or its
  // points, numbers with four decimals.
  std::string GetName() const;
  // The given name alone, as a term or a number has it; may be empty.
  const std::string& GetGivenName() const noexcept { return name_; }
  // A set that a variable holds is found under its new name from then on; a name that another set
  // of it has raises EKitException.
  void SetName(std::string_view name);
  // The fuzzy expression whose result the set is; empty when there is none.
  const std::string& GetExpression() const noexcept { return expression_; }
  // True for an expression of two operands, which needs brackets inside of another.
  bool IsBinaryExpression() const noexcept {
    return expression_.empty() ? sum_height_ > 1 : binary_;
  }
  // Above kMaxExpression characters the expression is forgotten: the points tell as much.
  void SetExpression(std::string text, bool binary);
  static constexpr std::size_t kMaxExpression = 200;

  // Null without one, and when it is gone.
  IFuzzyVariable* GetVariable() const noexcept { return link_ ? link_->variable : nullptr; }
  // Raises EKitException for a set that a variable holds.
  void SetVariable(IFuzzyVariable* variable);
  IFuzzyParser* GetParser() const noexcept { return parser_ ? parser_->parser : nullptr; }
  const Ref<TFuzzyParserLink>& GetParserLink() const noexcept { return parser_; }
  void SetParser(Ref<TFuzzyParserLink> parser) noexcept { parser_ = std::move(parser); }
  // Whether the variable has a set of this one's name with its points.
  bool IsHeldTerm() const;
  // True for the terms of a variable.
  bool IsTerm() const noexcept { return term_; }
  void SetTerm(bool term) noexcept { term_ = term; }

  // The points. An index outside raises EKitException "invalid fuzzy value".
  std::int32_t GetCount() const noexcept;
  double GetXValue(std::int32_t index) const { return PointAt(index).x; }
  double GetYValue(std::int32_t index) const { return PointAt(index).y; }
  double GetLowestX() const noexcept;  // 0 without points
  double GetHighestX() const noexcept;
  const PiecewiseLinear& GetFunction() const noexcept { return function_; }
  // Points may come in any order; inside of BeginUpdate and EndUpdate they are put in when the last
  // update ends, all at once. See PiecewiseLinear.
  void AddPoint(double x, double y);
  void SetFunction(PiecewiseLinear function);
  // How high the sum was that the points show divided by its height; 1 for what is no such sum. A
  // further sum goes on from there, so that the order in which values are added does not matter.
  // Every other operation and hedge takes the points as they are.
  double GetSumHeight() const noexcept { return sum_height_; }
  void SetSumHeight(double height);
  void BeginUpdate() noexcept { ++updates_; }
  void EndUpdate();

  // The shapes, of 0 to 1 and back. Numbers may come in any order; one that is not finite raises
  // EKitException "invalid fuzzy value". A shape without width is a peak. `count` is the number of
  // points of one branch.
  void SetToTriangle(double left, double centre, double right);
  // Growing from a to b, or declining, with half membership in the middle.
  void SetToSCurve(double a, double b, double middle, std::int32_t count, bool growth);
  void SetToPi(double left, double right, double centre, std::int32_t count);
  void SetToPi(double range, double centre, std::int32_t count);
  // Bell curves with half membership at `width` from the centre; 0 stands for half the range.
  void SetToBeta(double range, double centre, double width, std::int32_t count);
  void SetToBeta(double range, double centre, double width, double weight, std::int32_t count);

  TFuzzySetType GetType() const noexcept { return shape_.type; }
  // Of a set without shape the crisp number.
  double GetCentre() const { return shape_.type == fstPoints ? GetCrisp() : shape_.centre; }
  double GetWidth() const noexcept { return shape_.width; }
  double GetWeight() const noexcept { return shape_.weight; }
  double GetRange() const noexcept { return shape_.range; }  // from the centre to an end
  // True if the language's own shape functions make these very points out of type, centre, width
  // and weight.
  bool IsStandardShape() const noexcept { return shape_.standard; }

  // Memberships.
  double DegreeOfMembership(double x) const noexcept { return function_.At(x); }
  // The universe of the variable; without one from the first to the last point.
  Interval GetDomain() const noexcept;
  bool Iterate(const IFuzzySet& other, const TFuzzyOperator& visit) const {
    return function_.Iterate(other.function_, visit);
  }
  // Operators for Iterate: True when the smaller membership is above the threshold.
  bool FuzzyOperatorMinThreshold(double x_this, double y_this, double x_other,
                                 double y_other) const noexcept;
  // Raises the running maximum to the smaller membership; True when it cannot be raised further.
  bool FuzzyOperatorMaxOfMin(double x_this, double y_this, double x_other,
                             double y_other) const noexcept;
  double GetRunningMaximum() const noexcept { return running_maximum_; }
  // Of the variable, of `other`'s where there is none, or the default.
  double GetThreshold(const IFuzzySet* other = nullptr) const noexcept;

  // Whether both overlap by more than the threshold. Anything but a fuzzy set is unequal. Never
  // raises.
  bool Equals(const ICloneable& other) const override;
  // How far both overlap, from 0 to 1. Leaves the result in the running maximum. Never raises.
  virtual float FuzzyEquals(const ICloneable& other) const;
  // The same without a look at what `other` is.
  bool EqualsSet(const IFuzzySet& other) const;
  float FuzzyEqualsSet(const IFuzzySet& other) const;
  // The same with a number.
  bool EqualsNumber(double x) const noexcept { return DegreeOfMembership(x) > GetThreshold(); }
  float FuzzyEqualsNumber(double x) const noexcept;
  bool SamePoints(const IFuzzySet& other) const noexcept {
    return function_.SamePoints(other.function_);
  }
  std::uint32_t GetHashCode() const override;

  // Changes the set: its points, and its name unless a variable holds it.
  void Hedge(TFuzzyHedge hedge);
  // New sets without name, of this set's variable and parser, or else of the other's. `flag` False
  // asks for the inverse of a hedge. A power of a power is taken of what the first one was taken
  // of, so that a root gives back exactly what a power has bent.
  Ref<IFuzzySet> ApplyBaseHedge(TBaseFuzzyHedge hedge, bool flag, double number) const;
  // The mean or the extreme of a set and itself is a clone of it.
  Ref<IFuzzySet> Union(const IFuzzySet& other, TFuzzyOperation operation) const;
  Ref<IFuzzySet> Intersection(const IFuzzySet& other, TFuzzyOperation operation) const;

  // Numbers out of the set, over its domain. Never NaN, never a failure.
  double GetCrisp() const;            // the centre of gravity, kept until the set changes
  double GetCentreOfGravity() const;  // this and the next set the undecidable mark
  double GetMeanOfMaxima() const;
  bool IsUndecidable() const noexcept { return undecidable_; }
  // The membership at the centre of gravity.
  double GetCompatibilityIndex() const;

  // The name, which reads back in a slot of the variable; nothing for the empty set.
  std::string ToString() const override;
  // The same with every number exact.
  std::string ToSource() const;

 protected:
  ~TIFuzzySet() override;

  // A new set of the object's own class, without anything.
  virtual Ref<IFuzzySet> NewInstance() const;

 private:
  friend class TIFuzzyVariable;

  struct Shape {
    TFuzzySetType type = fstPoints;
    bool standard = false;
    double centre = 0;
    double width = 0;
    double weight = 1;
    double range = 0;
  };
  // What the points are a power of.
  struct PowerOf {
    PiecewiseLinear source;
    double exponent;
  };
  struct CrispNumber {
    bool known = false;
    Interval domain;
    double value = 0;
  };

  const FuzzyPoint& PointAt(std::int32_t index) const;
  // Whether there was a variable that is gone.
  bool LostVariable() const noexcept { return link_ && link_->variable == nullptr; }
  void PointsChanged() noexcept;
  void SetToHedged(const IFuzzySet& operand, const THedgeMeaning& hedge);
  void SetToShape(const Shape& shape, std::vector<FuzzyPoint> points);
  Ref<IFuzzySet> NewResult(PiecewiseLinear function, const IFuzzySet* other) const;
  Ref<IFuzzySet> Combined(const IFuzzySet& other, TFuzzyOperation operation, bool is_union) const;

  PiecewiseLinear function_;
  Shape shape_;
  std::string name_;
  std::string expression_;
  Ref<TFuzzyVariableLink> link_;
  Ref<TFuzzyParserLink> parser_;
  std::shared_ptr<const PowerOf> power_of_;
  double sum_height_ = 1;
  std::vector<FuzzyPoint> coming_;  // points of an update under way
  std::int32_t updates_ = 0;
  std::int32_t place_ = -1;  // in the list of the variable that holds the set
  bool binary_ = false;
  bool term_ = false;
  mutable bool undecidable_ = true;
  mutable CrispNumber crisp_;
  mutable double running_maximum_ = 0;
};

}  // namespace reasoner
