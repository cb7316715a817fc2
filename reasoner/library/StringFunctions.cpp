// Strings and atoms. Positions count from 1, in 16-bit characters.

#include <string>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/language/TextHelpers.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/support/CaseMapping.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

std::string Concatenate(const IFunCall& fun_call, TKBContext& context) {
  std::string text;
  for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
    AppendText(text, TextArgument(fun_call, i, context));
  }
  return text;
}

class TStrFormatFunction final : public TBuiltinFunction<TStrFormatFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "str-format",
                                       .syntax = "<string-expression> <expression>+",
                                       .arguments = AtLeast(2),
                                       .comment =
                                           "Returns a string created by combining the other "
                                           "arguments using a format string in the first argument",
                                       .example = "(str-format \"%d is %6.2f per cent\" 3 1.5)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IValueVector> values = NewVector();
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
      values->Add(EvaluateArgument(fun_call, i, context));
    }
    const Text format = TextArgument(fun_call, 0, context);
    result = NewString(CLIPSFormat(format, *values, HasPlainMeaning(context)));
  }
};

class TLowerCaseFunction final : public TBuiltinFunction<TLowerCaseFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "lowcase",
      .syntax = " <string-or-symbol-expression>",
      .arguments = Exactly(1),
      .comment = "Returns its argument converted to a lower case string",
      .example = "(lowcase \"Hello World\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> value = EvaluateArgument(fun_call, 0, context);
    result = Make<TKBValue>(KitLowerCase(value->GetAsString()), value->GetDType());
  }
};

class TStrCatFunction final : public TBuiltinFunction<TStrCatFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "str-cat",
      .syntax = " <lexeme-expression>*",
      .arguments = AtLeast(0),
      .comment = "Returns all of its arguments concatenated into a string",
      .example = "(str-cat \"abc\" 1 x)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = NewString(Concatenate(fun_call, context));
  }
};

class TStrCompFunction final : public TBuiltinFunction<TStrCompFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "str-compare",
      .syntax = " <lexeme-expression> <lexeme-expression>",
      .arguments = Exactly(2),
      .comment =
          "Returns an integer value for the comparison of the two symbols, with case-sensitivity.  "
          " The return value is less than 0 if argument1 is less than argument2, 0 if argument1 "
          "equals argument2, or greater than 0 if argument1 is greater than argument2",
      .example = "(str-compare abc abd)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text second = TextArgument(fun_call, 1, context);
    const Text first = TextArgument(fun_call, 0, context);
    result = NewInteger(Compare16(first, second));
  }
};

class TStrIndexFunction final : public TBuiltinFunction<TStrIndexFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "str-index",
      .syntax = " <lexeme-expression> <lexeme-expression>",
      .arguments = Exactly(2),
      .comment =
          "Returns an integer value representing the position of the first argument substring "
          "within the second argument, otherwise FALSE if the first argument is not a substring of "
          "the second argument",
      .example = "(str-index \"lo\" \"hello\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text haystack = TextArgument(fun_call, 1, context);
    const Text needle = TextArgument(fun_call, 0, context);
    result = FCFalse;
    if (needle.empty()) return;
    const std::size_t at = ToUtf16(haystack).find(ToUtf16(needle));
    if (at != std::u16string::npos) result = NewInteger(static_cast<std::int32_t>(at) + 1);
  }
};

class TStrLengthFunction final : public TBuiltinFunction<TStrLengthFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "str-length",
      .syntax = " <lexeme-expression>",
      .arguments = Exactly(1),
      .comment = "Returns the length of the argument in characters",
      .example = "(str-length \"hello\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text text = TextArgument(fun_call, 0, context);
    result = NewInteger(static_cast<std::int32_t>(Length16(text)));
  }
};

class TSubStringFunction final : public TBuiltinFunction<TSubStringFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "sub-string",
      .syntax = " <start-integer-expression> <end-integer-expression> <lexeme-expression>",
      .arguments = Exactly(3),
      .comment =
          "Extracts a substring from the <lexeme-expression> from the specified range "
          "(<start-integer-expression> to <end-integer-expression>)",
      .example = "(sub-string 2 4 \"hello\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text text = TextArgument(fun_call, 2, context);
    const std::int32_t start = IntegerArgument(fun_call, 0, context);
    const std::int32_t end = IntegerArgument(fun_call, 1, context);
    // An end right in front of the start is the empty text.
    if (start < 1 || static_cast<std::size_t>(start) > Length16(text) || end < start - 1) {
      Raise(SInvalidSubstrParameters, start, end);
    }
    const auto first = static_cast<std::size_t>(start) - 1;
    result = NewString(Slice16(text, first, static_cast<std::size_t>(end) - first));
  }
};

class TSymCatFunction final : public TBuiltinFunction<TSymCatFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "sym-cat",
      .syntax = " <expression>*",
      .arguments = AtLeast(0),
      .comment = "Returns all of its arguments concatenated into a symbol",
      .example = "(sym-cat room 7)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = NewAtom(Concatenate(fun_call, context));
  }
};

class TUpperCaseFunction final : public TBuiltinFunction<TUpperCaseFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "upcase",
      .syntax = " <lexeme-expression>",
      .arguments = Exactly(1),
      .comment = "Returns its argument converted to an upper case string",
      .example = "(upcase abc)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IKBValue> value = EvaluateArgument(fun_call, 0, context);
    result = Make<TKBValue>(KitUpperCase(value->GetAsString()), value->GetDType());
  }
};

}  // namespace

void AddStringFunctions(TUserFunctionList& functions) {
  functions.AddNew<TStrFormatFunction, TLowerCaseFunction, TStrCatFunction, TStrCompFunction,
                   TStrIndexFunction, TStrLengthFunction, TSubStringFunction, TSymCatFunction,
                   TUpperCaseFunction>();
}

}  // namespace reasoner
