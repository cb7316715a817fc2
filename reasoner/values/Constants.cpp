#include "reasoner/values/Constants.h"

#include "reasoner/values/ValueVector.h"

namespace reasoner {

static TValueConstant MakeConstant(Ref<IKBValue> cell) {
  cell->MakeConstant();
  return TValueConstant(cell.Detach());
}

static TValueConstant MakeNilList() {
  const Ref<IValueVector> vector = NewVector();
  vector->MakeConstant();
  return MakeConstant(NewList(vector));
}

// Before every other static object: a host may have an engine among its own.
#define REASONER_CONSTANT [[gnu::init_priority(110)]] const TValueConstant

REASONER_CONSTANT FCTrue = MakeConstant(NewAtom("TRUE"));
REASONER_CONSTANT FCFalse = MakeConstant(NewAtom("FALSE"));
REASONER_CONSTANT FCNil = MakeConstant(NewAtom(""));
REASONER_CONSTANT FCEmptyString = MakeConstant(NewAtom(""));
REASONER_CONSTANT FCNilList = MakeNilList();
REASONER_CONSTANT FCCatch = MakeConstant(NewAtom("catch"));
REASONER_CONSTANT FCExcept = MakeConstant(NewAtom("except"));
REASONER_CONSTANT FCFinally = MakeConstant(NewAtom("finally"));
REASONER_CONSTANT FCElse = MakeConstant(NewAtom("else"));
REASONER_CONSTANT FCDo = MakeConstant(NewAtom("do"));
REASONER_CONSTANT FCEOF = MakeConstant(NewAtom("EOF"));
REASONER_CONSTANT FCThen = MakeConstant(NewAtom("then"));
REASONER_CONSTANT FCPI = MakeConstant(NewFloat(3.141592653589793));
REASONER_CONSTANT FCZero = MakeConstant(NewFloat(0.0));

}  // namespace reasoner
