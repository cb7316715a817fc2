// The language in which fuzzy values are written: the names of terms, numbers, shapes and points,
// with hedges in front of them (`very hot`), words between them (`cold or warm`), and the fuzzy
// brackets `[` and `]`.
//
// A text is read without a context. What needs one, because a variable stands in it, is kept as a
// list of its items in postfix order, marked in the list's tag, and evaluated with the fact that it
// stands in.

#pragma once

#include "reasoner/support/membership/FuzzyVariable.h"
#include "reasoner/values/KBValue.h"
#include "reasoner/values/ValueVector.h"

namespace reasoner {

// A value as a fuzzy value of a variable, which may be null where no term is named:
//
//   nil, the empty text     the variable's empty set
//   an atom or a string     its set of that name
//   a number                a peak on it
//   points                  the set through them
//   a variable or a call    what it yields; itself without a scope
//   a list                  an expression; several of them beside each other are a list of results
//   a fuzzy value           itself; one of no variable yet comes back as one of this variable
//
// Anything else raises, and is nil without a scope. Results stand in new cells; no set that anybody
// else may hold is changed.
Ref<IKBValue> EvaluateFuzzy(IFuzzyVariable* variable, const Ref<IKBValue>& value, IScope* scope);

// Raises for sets of two variables whose universes or units differ: no number is in both.
void RequireSameKind(const IFuzzySet& a, const IFuzzySet& b);

// An expression that waits for a context, or several of them.
bool IsKeptExpression(const IValueVector& list);
bool IsSingleExpression(const IValueVector& list);
// Its items as they were written.
Ref<IValueVector> KeptExpressionAsWritten(const IValueVector& list);

}  // namespace reasoner
