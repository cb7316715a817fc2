// Building lists and taking them apart. Indices count from 0. A new list holds clones: but for that
// of rest$ it shares no cell with its source.

#include <string>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

// Adds the members of a list from `from` up to `to`, not included, evaluated.
void AppendMembers(IValueVector& target, const IValueVector& list, std::int32_t from,
                   std::int32_t to, TKBContext& context) {
  for (std::int32_t i = from; i < to && i < list.GetValueCount(); ++i) {
    target.Add(EvaluateMember(list, i, context)->Clone());
  }
}

// A range of indices, both ends included, as two arguments give it.
struct TRange {
  std::int32_t start;
  std::int32_t end;
};

TRange RangeArguments(const IFunCall& fun_call, TKBContext& context) {
  const std::int32_t start = IntegerArgument(fun_call, 1, context);
  const std::int32_t end = IntegerArgument(fun_call, 2, context);
  if (start > end) Raise(SInvalidMFParameters, start, end);
  return {start, end};
}

// A new list without the members of the range. A range outside the list takes nothing away.
Ref<IValueVector> WithoutRange(const IValueVector& list, TRange range, TKBContext& context) {
  Ref<IValueVector> rest = NewVector();
  for (std::int32_t i = 0; i < list.GetValueCount(); ++i) {
    if (i >= range.start && i <= range.end) continue;
    rest->Add(EvaluateMember(list, i, context)->Clone());
  }
  return rest;
}

// Inserts the arguments from `from` on, each at the same index: they come to stand in reverse
// order.
void InsertArguments(IValueVector& target, std::int32_t index, const IFunCall& fun_call,
                     std::int32_t from, TKBContext& context) {
  for (std::int32_t i = from; i < fun_call.GetArgumentCount(); ++i) {
    target.Insert(index, EvaluateArgument(fun_call, i, context)->Clone());
  }
}

class TCreateMFFunction final : public TBuiltinFunction<TCreateMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "create$",
      .syntax = " <expression>*",
      .arguments = AtLeast(0),
      .comment = "Creates and returns a multifield value (list) from the arguments",
      .example = "(create$ a 1 \"x\")"};

  // A list among the arguments stays one member.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IValueVector> list = NewVector();
    list->Reserve(fun_call.GetArgumentCount());
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      list->Add(EvaluateArgument(fun_call, i, context)->Clone());
    }
    result = NewList(list);
  }
};

class TDeleteMFFunction final : public TBuiltinFunction<TDeleteMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "delete$",
      .syntax = " <multifield-expression> <start-integer-expression> <end-integer-expression>",
      .arguments = Exactly(3),
      .comment =
          "Returns a new multifield value that is a clone of the <multifield-expression> where "
          "every item in the range specified by the <start-integer-expression> to "
          "<end-integer-expression> has been deleted.  Note that the first item in the multifield "
          "has an index of 0",
      .example = "(delete$ (create$ a b c d) 1 2)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const TRange range = RangeArguments(fun_call, context);
    const Ref<IValueVector> list = ListArgument(fun_call, 0, context);
    result = NewList(WithoutRange(*list, range, context));
  }
};

class TExplodeMFFunction final : public TBuiltinFunction<TExplodeMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "explode$",
      .syntax = " <string-expression> ",
      .arguments = Exactly(1),
      .comment =
          "Creates a multifield value (list) where every item in the list is a seperate symbol "
          "from the <string-expression>",
      .example = "(explode$ \"the quick fox\")"};

  // Every piece is an atom, digits too.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text argument = TextArgument(fun_call, 0, context);
    const Ref<IValueVector> list = NewVector();
    std::string_view rest = Trim(argument.view());
    while (!rest.empty()) {
      const std::string_view piece = rest.substr(0, rest.find(' '));
      if (!piece.empty()) list->Add(NewAtom(piece));
      rest.remove_prefix(piece.size() < rest.size() ? piece.size() + 1 : piece.size());
    }
    result = NewList(list);
  }
};

class TFirstMFFunction final : public TBuiltinFunction<TFirstMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "first$",
                                       .syntax = " <multifield-expression> ",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns the first item in the <multifield-expression> "
                                           "or NIL if the multifield is empty",
                                       .example = "(first$ (create$ a b c))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IValueVector> list = ListArgument(fun_call, 0, context);
    result = FCNil;
    if (list->GetValueCount() > 0) result = EvaluateMember(*list, 0, context);
  }
};

class TImplodeMFFunction final : public TBuiltinFunction<TImplodeMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "implode$",
      .syntax = " <multifield-expression> ",
      .arguments = Exactly(1),
      .comment =
          "Creates and returns a space delimited string which is the concatenation of all the "
          "items in the <multifield-expression>",
      .example = "(implode$ (create$ a 1 b))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IValueVector> list = ListArgument(fun_call, 0, context);
    std::string text;
    for (std::int32_t i = 0; i < list->GetValueCount(); ++i) {
      if (i > 0) text += ' ';
      AppendText(text, EvaluateMember(*list, i, context)->GetAsString());
    }
    result = NewString(text);
  }
};

class TInsertMFFunction final : public TBuiltinFunction<TInsertMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "insert$",
      .syntax = " <multifield-expression> <integer-expression> <expression>*",
      .arguments = AtLeast(2),
      .comment =
          "Creates and returns a multifield value (list).  The <multifield-expression> is "
          "evaluated and then the subsequent evaluated expressions are inserted into the "
          "multifield at the index specified by <integer-expression>.  The item that previously "
          "occupied that position (and all subsequent items) are moved up",
      .example = "(insert$ (create$ a b c) 1 x)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IValueVector> list = ListArgument(fun_call, 0, context)->Clone();
    const std::int32_t index = IntegerArgument(fun_call, 1, context);
    InsertArguments(*list, index, fun_call, 2, context);
    result = NewList(list);
  }
};

class TLengthMFFunction final : public TBuiltinFunction<TLengthMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "length$",
      .syntax = " <multifield-expression> ",
      .arguments = Exactly(1),
      .comment = "Returns the number of items in the <multifield-expression>",
      .example = "(length$ (create$ a b c))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = NewInteger(ListArgument(fun_call, 0, context)->GetValueCount());
  }
};

class TMemberMFFunction final : public TBuiltinFunction<TMemberMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "member$",
      .syntax = " <expression> <multifield-expression>",
      .arguments = Exactly(2),
      .comment =
          "Returns the index of the first entry in the <multifield-expression> list that equals "
          "the specified <expression>.  The first item has index 0, the second item has index 1, "
          "and so on.  If the expression is not in the list, the function returns FALSE.  If the "
          "expression appears more than once in the multifield, the function returns the index of "
          "the first appearance",
      .example = "(member$ b (create$ a b c))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> wanted = EvaluateArgument(fun_call, 0, context);
    const Ref<IValueVector> list = ListArgument(fun_call, 1, context);
    for (std::int32_t i = 0; i < list->GetValueCount(); ++i) {
      if (!wanted->Equals(*EvaluateMember(*list, i, context))) continue;
      result = NewInteger(i);
      return;
    }
    result = FCFalse;
  }
};

class TNthMFFunction final : public TBuiltinFunction<TNthMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "nth$",
      .syntax = " <integer-expression> <multifield-expression>",
      .arguments = Exactly(2),
      .comment =
          "Returns the value at the specified index in the <multifield-expression> list.  The "
          "first item has index 0, the second item has index 1, and so on",
      .example = "(nth$ 1 (create$ a b c))"};

  // The member as it is stored, not evaluated.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const std::int32_t index = IntegerArgument(fun_call, 0, context);
    result = ListArgument(fun_call, 1, context)->GetItem(index);
  }
};

class TReplaceMFFunction final : public TBuiltinFunction<TReplaceMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "replace$",
      .syntax =
          " <multifield-expression> <start-integer-expression> <end-integer-expression> "
          "<expression>*",
      .arguments = AtLeast(3),
      .comment =
          "Returns a multifield value (list) which is a copy of the <multifield-expression> where "
          "the items in the range of <start-integer-expression> to <end-integer-expression> have "
          "been replaced by the subsequent arguments.  For purposes of the range, the "
          "<multifield-expression> is indexed starting from 0",
      .example = "(replace$ (create$ a b c) 1 1 x)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const TRange range = RangeArguments(fun_call, context);
    const Ref<IValueVector> list = ListArgument(fun_call, 0, context);
    list->GetItem(range.start);  // must lie in the list; the end need not
    const Ref<IValueVector> replaced = WithoutRange(*list, range, context);
    InsertArguments(*replaced, range.start, fun_call, 3, context);
    result = NewList(replaced);
  }
};

class TRestMFFunction final : public TBuiltinFunction<TRestMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "rest$",
                                       .syntax = " <multifield-expression>",
                                       .arguments = Exactly(1),
                                       .comment =
                                           "Returns a multifield value containing all the fields "
                                           "in <multifield-expression> except the first field",
                                       .example = "(rest$ (create$ a b c))"};

  // The one list that has cells of its source: so a walk along a list is not quadratic. The rest of
  // an empty list is an empty list.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = NewList(ListArgument(fun_call, 0, context)->Rest());
  }
};

class TSubSeqMFFunction final : public TBuiltinFunction<TSubSeqMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "subseq$",
      .syntax = " <multifield-expression> <start-integer-expression> <end-integer-expression>",
      .arguments = Exactly(3),
      .comment =
          "Returns a multifield value containing all the fields in <multifield-expression> between "
          "the <start-integer-expression> and <end-integer-expression>.  The multifield is a "
          "zero-based list",
      .example = "(subseq$ (create$ a b c d) 1 2)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IValueVector> list = ListArgument(fun_call, 0, context);
    const TRange range = RangeArguments(fun_call, context);
    list->GetItem(range.start);  // both ends must lie in the list
    list->GetItem(range.end);
    const Ref<IValueVector> part = NewVector();
    AppendMembers(*part, *list, range.start, range.end + 1, context);
    result = NewList(part);
  }
};

class TSubSetpMFFunction final : public TBuiltinFunction<TSubSetpMFFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "subsetp",
      .syntax = " <expression> <multifield-expression>",
      .arguments = Exactly(2),
      .comment =
          "Returns TRUE if the first argument is a subset of the second argument, FALSE otherwise",
      .example = "(subsetp (create$ b c) (create$ a b c))"};

  // A contiguous run in the same order, not a subset as of sets.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> wanted = EvaluateArgument(fun_call, 0, context);
    const Ref<IValueVector> run = NewVector();
    if (wanted->GetDType() == dtList) {
      const Ref<IValueVector> list(wanted->GetAsList());
      AppendMembers(*run, *list, 0, list->GetValueCount(), context);
    } else {
      run->Add(wanted);
    }
    const Ref<IValueVector> list = ListArgument(fun_call, 1, context);
    const Ref<IValueVector> whole = NewVector();
    AppendMembers(*whole, *list, 0, list->GetValueCount(), context);
    result = BooleanValue(Contains(*whole, *run));
  }

 private:
  static bool Contains(const IValueVector& whole, const IValueVector& run) {
    for (std::int32_t at = 0; at + run.GetValueCount() <= whole.GetValueCount(); ++at) {
      std::int32_t same = 0;
      while (same < run.GetValueCount() && run.GetItem(same)->Equals(*whole.GetItem(at + same))) {
        ++same;
      }
      if (same == run.GetValueCount()) return true;
    }
    return false;
  }
};

}  // namespace

void AddMultifieldFunctions(TUserFunctionList& functions) {
  functions.AddNew<TCreateMFFunction, TDeleteMFFunction, TExplodeMFFunction, TFirstMFFunction,
                   TImplodeMFFunction, TInsertMFFunction, TLengthMFFunction, TMemberMFFunction,
                   TNthMFFunction, TReplaceMFFunction, TRestMFFunction, TSubSeqMFFunction,
                   TSubSetpMFFunction>();
}

}  // namespace reasoner
