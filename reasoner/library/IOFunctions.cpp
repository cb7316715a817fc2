// Printing and reading through the engine's logical streams.

#include <string>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/language/TextHelpers.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/support/Streams.h"
#include "reasoner/support/Unicode.h"

namespace reasoner {
namespace {

class TPrintOutFunction final : public TBuiltinFunction<TPrintOutFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "printout",
      .syntax = " <logical-name> <expression>*",
      .arguments = AtLeast(0),
      .comment =
          "Creates a string and outputs it to the device specified by logical name.  The "
          "subsequent arguments are evaluated and concatenated into one string",
      .example = "(printout t \"2 + 3 = \" (+ 2 3) crlf)"};

  // The name of the stream is evaluated last, and all of one call goes out at once.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    std::string text;
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
      AppendPrinted(text, *EvaluateArgument(fun_call, i, context));
    }
    std::string out_id;
    if (fun_call.GetArgumentCount() > 0) out_id = TextArgument(fun_call, 0, context).str();
    EngineOf(context).PrintOut(out_id, text);
    result = FCNil;
  }

 private:
  static void AppendPrinted(std::string& text, const IKBValue& value) {
    switch (value.GetDType()) {
      case dtAtom:
        AppendText(text, value.TextView() == "crlf" ? NewLineString : value.TextView());
        return;
      case dtString:
        AppendText(text, value.TextView());
        return;
      case dtList:
        text += '(';
        AppendText(text, value.ToString());
        text += ')';
        return;
      default:
        AppendText(text, value.ToString());
    }
  }
};

class TFormatFunction final : public TBuiltinFunction<TFormatFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "format",
      .syntax = " <logical-name> <string-expression> <expression>*",
      .arguments = AtLeast(2),
      .comment =
          "Creates a string and outputs it to the device specified by logical name.  The second "
          "argument specifies a control string for formatting the evaluated following arguments",
      .example = "(format t \"%-6s|%5d|%6.2f%n\" abc 42 3.14159)"};

  // The format text is read as it is written.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Ref<IValueVector> values = NewVector();
    for (std::int32_t i = 2; i < fun_call.GetArgumentCount(); ++i) {
      values->Add(EvaluateArgument(fun_call, i, context));
    }
    const Text format = WrittenArgument(fun_call, 1).GetAsString();
    const std::string text = CLIPSFormat(format, *values, HasPlainMeaning(context));
    EngineOf(context).PrintOut(TextArgument(fun_call, 0, context).str(), text);
    result = FCNil;
  }
};

// The logical name that an optional first argument gives; without one the terminal.
std::string InputName(const IFunCall& fun_call, TKBContext& context) {
  if (fun_call.GetArgumentCount() == 0) return "";
  return TextArgument(fun_call, 0, context).str();
}

class TReadFunction final : public TBuiltinFunction<TReadFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "read",
                                       .syntax = " [<logical-name>]",
                                       .arguments = Between(0, 1),
                                       .comment =
                                           "Reads and returns a single field or token from the "
                                           "device specified by the logical name",
                                       .example = "(read)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const std::string name = InputName(fun_call, context);
    const Ref<IStreamToken> token = EngineOf(context).ReadToken(name);
    if (token) result = token->Value();
  }
};

class TReadLineFunction final : public TBuiltinFunction<TReadLineFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "readline",
      .syntax = " [<logical-name>]",
      .arguments = Between(0, 1),
      .comment =
          "Reads and returns an entire line from the device specified by the logical name.  If no "
          "input is available, the function returns EOF",
      .example = "(readline)"};

  // In the literal meaning an empty line and the end of the input read alike.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const std::string name = InputName(fun_call, context);
    TReasoner& engine = EngineOf(context);
    const std::string line = engine.ReadLine(name);
    const bool ended = HasPlainMeaning(context) ? engine.HasInputEnded() : line.empty();
    if (ended) {
      result = FCEOF;
    } else {
      result = NewString(line);
    }
  }
};

}  // namespace

void AddIOFunctions(TUserFunctionList& functions) {
  functions.AddNew<TPrintOutFunction, TFormatFunction, TReadFunction, TReadLineFunction>();
}

}  // namespace reasoner
