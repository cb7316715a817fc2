// Which rules the oracle looks at.

#pragma once

#include "tests/oracle/Program.h"

namespace reasoner::oracle {

// Whether the variables of a rule are bound where they are named.
bool IsWellFormed(const TRuleText& rule);

// Whether the engine's own semantics show more of a rule than the brute-force reading models.
bool IsLeftOut(const TRuleText& rule, bool textbook);

// Whether what two fields of a fuzzy list say is read as two: words behind words are, where each
// stand alone in their field.
bool IsApart(const TField& field, const TField& next);

// The variables that are bound in fuzzy slots only, so that none of these values gets elsewhere.
bool IsFuzzyName(TWord variable);

}  // namespace reasoner::oracle
