// Fuzzy sets as the oracle reads them: membership functions of straight lines and edges, worked out
// from their definition without the engine's library.

#pragma once

#include <memory>
#include <string>
#include <vector>

namespace reasoner::oracle {

struct TShape {
  // The limit from the left, the membership, and the limit from the right.
  struct TKnot {
    double x = 0;
    double left = 0;
    double value = 0;
    double right = 0;
  };
  std::vector<TKnot> knots;  // ascending; outside of them the end is held

  TKnot At(double x) const;
};
using TSharedShape = std::shared_ptr<const TShape>;

// The words of a slot: terms of the preamble's type, whole numbers, "not", "or", "and", from left
// to right.
TSharedShape ShapeOf(const std::string& words);

TSharedShape UnionOf(const TShape& a, const TShape& b);
// No membership above the strength, or each scaled by it.
TSharedShape Weakened(const TShape& shape, double strength, bool by_product);
// The greatest of the lesser memberships.
double Possibility(const TShape& a, const TShape& b);

}  // namespace reasoner::oracle
