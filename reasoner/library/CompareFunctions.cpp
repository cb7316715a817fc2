// Logic and comparison. Each function evaluates its arguments one at a time and stops as soon as
// the answer is decided: what stands behind is not evaluated then.

#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"

namespace reasoner {
namespace {

class TAndFunction final : public TBuiltinFunction<TAndFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "and",
      .syntax = " <expression>*",
      .arguments = AtLeast(0),
      .comment = "Returns TRUE if every argument evaluates to TRUE, FALSE otherwise",
      .example = "(and TRUE (> 2 1))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      if (!IsFalse(*EvaluateArgument(fun_call, i, context))) continue;
      result = FCFalse;
      return;
    }
    result = FCTrue;
  }
};

class TOrFunction final : public TBuiltinFunction<TOrFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "or",
      .syntax = " <expression>*",
      .arguments = AtLeast(0),
      .comment = "Returns TRUE if any argument evaluates to anything but FALSE, FALSE otherwise",
      .example = "(or FALSE (> 2 1))"};

  // In the literal meaning TRUE alone counts as true: (or 1) is FALSE, although (and 1) is TRUE.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const bool plain = HasPlainMeaning(context);
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      const Ref<IKBValue> value = EvaluateArgument(fun_call, i, context);
      if (plain ? IsFalse(*value) : !value->Equals(*FCTrue)) continue;
      result = FCTrue;
      return;
    }
    result = FCFalse;
  }
};

class TNotFunction final : public TBuiltinFunction<TNotFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "not",
      .syntax = " <expression>",
      .arguments = Exactly(1),
      .comment = "Returns TRUE if the argument evaluates to FALSE, otherwise it returns FALSE",
      .example = "(not (> 2 1))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = BooleanValue(IsFalse(*EvaluateArgument(fun_call, 0, context)));
  }
};

// TRUE if `Holds` is true of the first argument and each of the others.
template <class TSelf>
class TFirstWithEach : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> first = EvaluateArgument(fun_call, 0, context);
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
      if (TSelf::Holds(*first, *EvaluateArgument(fun_call, i, context))) continue;
      result = FCFalse;
      return;
    }
    result = FCTrue;
  }
};

class TEqFunction final : public TFirstWithEach<TEqFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "eq",
                                       .syntax = " <expression> <expression>+",
                                       .arguments = AtLeast(1),
                                       .comment =
                                           "Returns TRUE if the first argument equals (in type and "
                                           "value) all of the following arguments",
                                       .example = "(eq a a a)"};

  static bool Holds(const IKBValue& a, const IKBValue& b) { return a.Equals(b); }
};

// In the literal meaning each argument is read as the first one's type, and one that cannot be read
// so raises: (eq* 1 1.5) is TRUE, and (eq* 1 x) fails.
class TEqStarFunction final : public TBuiltinFunction<TEqStarFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "eq*",
      .syntax = " <expression> <expression>+",
      .arguments = AtLeast(1),
      .comment =
          "Returns TRUE if the first argument equals (in value) all of the following arguments.  "
          "Note that the types may differ",
      .example = "(eq* 1 1.0)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const bool plain = HasPlainMeaning(context);
    const Ref<IKBValue> first = EvaluateArgument(fun_call, 0, context);
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
      const Ref<IKBValue> value = EvaluateArgument(fun_call, i, context);
      if (plain ? first->EqualsInValue(*value) : first->EqualsStar(*value)) continue;
      result = FCFalse;
      return;
    }
    result = FCTrue;
  }
};

class TNeqFunction final : public TFirstWithEach<TNeqFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "neq",
      .syntax = " <expression> <expression>*",
      .arguments = AtLeast(1),
      .comment = "Returns TRUE if the first argument equals none of the following arguments",
      .example = "(neq a b c)"};

  static bool Holds(const IKBValue& a, const IKBValue& b) { return !a.Equals(b); }
};

// The same for numbers.
template <class TSelf>
class TFirstNumberWithEach : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const double first = NumericArgument(fun_call, 0, context);
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
      if (TSelf::Holds(first, NumericArgument(fun_call, i, context))) continue;
      result = FCFalse;
      return;
    }
    result = FCTrue;
  }
};

class TEqualsFunction final : public TFirstNumberWithEach<TEqualsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "=",
                                       .syntax = " <numeric-expression> <numeric-expression>+",
                                       .arguments = AtLeast(1),
                                       .comment =
                                           "Returns TRUE if the first numeric argument equals all "
                                           "of the following numeric arguments",
                                       .example = "(= 1 1.0)"};

  static bool Holds(double a, double b) { return a == b; }
};

class TNotEqualsFunction final : public TFirstNumberWithEach<TNotEqualsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "<>",
                                       .syntax = " <numeric-expression> <numeric-expression>*",
                                       .arguments = AtLeast(1),
                                       .comment =
                                           "Returns TRUE if the numeric first argument equals none "
                                           "of the following numeric arguments",
                                       .example = "(<> 1 2 3)"};

  static bool Holds(double a, double b) { return a != b; }
};

// TRUE if `Holds` is true of each argument and its successor.
template <class TSelf>
class TChainFunction : public TBuiltinFunction<TSelf> {
 public:
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    double left = NumericArgument(fun_call, 0, context);
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
      const double right = NumericArgument(fun_call, i, context);
      if (!TSelf::Holds(left, right)) {
        result = FCFalse;
        return;
      }
      left = right;
    }
    result = FCTrue;
  }
};

class TGtFunction final : public TChainFunction<TGtFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = ">",
      .syntax = " <numeric-expression> <numeric-expression>+",
      .arguments = AtLeast(2),
      .comment = "Returns TRUE if, for all arguments, argument n is greater than argument n + 1",
      .example = "(> 3 2 1)"};

  static bool Holds(double left, double right) { return left > right; }
};

class TGtOrEqFunction final : public TChainFunction<TGtOrEqFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = ">=",
                                       .syntax = " <numeric-expression> <numeric-expression>+",
                                       .arguments = AtLeast(2),
                                       .comment =
                                           "Returns TRUE if, for all arguments, argument n is "
                                           "greater than or equal to argument n + 1",
                                       .example = "(>= 3 3 1)"};

  static bool Holds(double left, double right) { return left >= right; }
};

class TLtFunction final : public TChainFunction<TLtFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "<",
      .syntax = " <numeric-expression> <numeric-expression>+",
      .arguments = AtLeast(2),
      .comment = "Returns TRUE if, for all arguments, argument n is less than argument n + 1",
      .example = "(< 1 2 2)"};

  static bool Holds(double left, double right) { return left < right; }
};

class TLtOrEqFunction final : public TChainFunction<TLtOrEqFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "<=",
      .syntax = " <numeric-expression> <numeric-expression>+",
      .arguments = AtLeast(2),
      .comment =
          "Returns TRUE if, for all arguments, argument n is less than or equal to argument n + 1",
      .example = "(<= 1 2 2)"};

  static bool Holds(double left, double right) { return left <= right; }
};

class TMemberFunction final : public TBuiltinFunction<TMemberFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "member",
      .syntax = " <to-find-expression> <expression>+",
      .arguments = AtLeast(2),
      .comment =
          "Returns the index of the argument that matches the first argument, or FALSE if the "
          "first argument is not found.  The index returned is 0-based",
      .example = "(member b a b c)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> wanted = EvaluateArgument(fun_call, 0, context);
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
      if (!wanted->Equals(*EvaluateArgument(fun_call, i, context))) continue;
      result = NewInteger(i - 1);
      return;
    }
    result = FCFalse;
  }
};

}  // namespace

void AddLogicFunctions(TUserFunctionList& functions) {
  functions.AddNew<TAndFunction, TOrFunction, TNotFunction>();
}

void AddCompareFunctions(TUserFunctionList& functions) {
  functions.AddNew<TEqFunction, TEqStarFunction, TNeqFunction, TEqualsFunction, TNotEqualsFunction,
                   TGtFunction, TGtOrEqFunction, TLtFunction, TLtOrEqFunction, TMemberFunction>();
}

}  // namespace reasoner
