// The flow of control.
//
// These functions run some of their arguments as statements. A statement may call `return`, which
// sets the return flag of the frame: whoever runs statements looks at the flag behind each one and
// stops. The flag stays set, so that every enclosing structure stops in turn, up to the function or
// firing that the frame belongs to.

#include <exception>
#include <new>
#include <optional>
#include <string>

#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/vocabulary/KBExceptions.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

// Runs the arguments from `from` up to `to`, not included. `result` is the last one's value, or
// what was returned. False when a `return` has stopped the statements.
bool RunStatements(const IFunCall& fun_call, std::int32_t from, std::int32_t to,
                   TKBContext& context, Ref<IKBValue>& result) {
  for (std::int32_t i = from; i < to; ++i) {
    result = EvaluateArgument(fun_call, i, context);
    if (!context.HasReturnValue()) continue;
    result = context.GetReturnValue();
    return false;
  }
  return true;
}

void PollInterrupt(const TKBContext& context) {
  if (IReasoner* engine = context.GetEngine()) engine->CheckInterrupt();
}

// Takes a pending `return` of the frame aside, so that statements can run as a whole, and puts it
// back unless one of them has returned itself.
class ScopedReturn {
 public:
  explicit ScopedReturn(TKBContext& context)
      : context_(context), pending_(context.HasReturnValue()), value_(context.GetReturnValue()) {
    context_.ClearReturnValue();
  }
  ~ScopedReturn() {
    if (pending_ && !context_.HasReturnValue()) context_.RestoreReturnValue(true, value_);
  }
  ScopedReturn(const ScopedReturn&) = delete;
  ScopedReturn& operator=(const ScopedReturn&) = delete;

 private:
  TKBContext& context_;
  const bool pending_;
  const Ref<IKBValue> value_;
};

class TIfFunction final : public TBuiltinFunction<TIfFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "if",
      .syntax = " <predicate-expression> then <expression>+ [else <expression>+]",
      .arguments = AtLeast(2),
      .comment =
          "Evaluates the first argument.  If the first argument is TRUE, then it executes the "
          "expressions after the \"then\" keyword.  If the first argument is FALSE and the "
          "\"else\" keyword is present, it executes the expressions after the \"else\" keyword",
      .example = "(if (> 2 1) then yes else no)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    if (!WrittenArgument(fun_call, 1).Equals(*FCThen)) {
      Raise(SSyntaxError, FillMessage(SMissingThen));
    }
    const bool truth = !IsFalse(*EvaluateArgument(fun_call, 0, context));
    result = FCFalse;
    if (truth) {
      RunThen(fun_call, context, result);
    } else {
      RunElse(fun_call, context, result);
    }
  }

 private:
  // The word `else` may be the value of a statement, too: it ends the part all the same.
  static void RunThen(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) {
    for (std::int32_t i = 2; i < fun_call.GetArgumentCount(); ++i) {
      Ref<IKBValue> value = EvaluateArgument(fun_call, i, context);
      if (value->Equals(*FCElse)) return;
      if (context.HasReturnValue()) {
        result = context.GetReturnValue();
        return;
      }
      result = std::move(value);
    }
  }

  // The word right behind `then` is a statement of that part, not the beginning of this one.
  static void RunElse(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) {
    const std::int32_t count = fun_call.GetArgumentCount();
    std::int32_t word = 3;
    while (word < count && !WrittenArgument(fun_call, word).Equals(*FCElse)) ++word;
    RunStatements(fun_call, word + 1, count, context, result);
  }
};

class TWhileFunction final : public TBuiltinFunction<TWhileFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "while",
      .syntax = " <boolean-expression> [do] <expression>*",
      .arguments = AtLeast(2),
      .comment =
          "Evaluates and executes the expressions in a loop as long as the boolean expression "
          "evaluates to TRUE.  The <boolean-expression> is evaluated BEFORE the start of the loop, "
          "including the first time",
      .example = "(while (< ?n 3) do (printout t ?n \" \") (bind ?n (+ ?n 1)))",
      .prelude = "(bind ?n 0)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const std::int32_t body = WrittenArgument(fun_call, 1).Equals(*FCDo) ? 2 : 1;
    result = EvaluateArgument(fun_call, 0, context);
    while (!IsFalse(*result)) {
      PollInterrupt(context);
      if (!RunStatements(fun_call, body, fun_call.GetArgumentCount(), context, result)) return;
      result = EvaluateArgument(fun_call, 0, context);
    }
  }
};

class TForEachFunction final : public TBuiltinFunction<TForEachFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "foreach",
      .syntax = " <variable-name> <list-expression> <expression>*",
      .arguments = AtLeast(2),
      .comment =
          "Executes a loop where a set of statements are applied to a list.  The first argument "
          "specifies a variable name.  Each item in the second argument list is assigned to the "
          "variable and then all the rest of the arguments are executed.  The function returns the "
          "value of the last statement or the return value if a \"return\" statement was found.  "
          "For example, the statement      (foreach i (create$ red green blue) (bind ?x (str-cat "
          "?i \" color\")) (printout t ?x))\nwill print out\n     red color\n     green color\n    "
          " blue color\nand return \"blue color\"",
      .example = "(foreach x (create$ red green) (str-cat ?x \" color\"))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    // The variable may be written as its name or as itself.
    const IKBValue& written = WrittenArgument(fun_call, 0);
    const Text name = written.GetDType() == dtVariable ? written.GetAsString()
                                                       : TextArgument(fun_call, 0, context);
    const Ref<IValueVector> list = ListArgument(fun_call, 1, context);
    result = FCNil;
    // A host's function among the statements may change the list.
    for (std::int32_t i = 0; i < list->GetValueCount(); ++i) {
      PollInterrupt(context);
      context.SetVariable(name, EvaluateMember(*list, i, context));
      if (!RunStatements(fun_call, 2, fun_call.GetArgumentCount(), context, result)) return;
    }
  }
};

class TTryFunction final : public TBuiltinFunction<TTryFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "try",
      .syntax = " [<expression>*] [finally [<expression>*>] [catch|except [<expression>*]]",
      .arguments = AtLeast(1),
      .comment =
          "Evaluates and executes the expressions between the try and the optional finally, catch, "
          "or except keywords.  If the finally or catch keyword exists and an expression raises an "
          "exception, the exception will be caught and execution will resume with the expressions "
          "after the finally keyword (if one exists) and then after the catch keyword (if one "
          "exists).  Either the finally or the catch|except keyword may be optional, but not "
          "both.\n\nNote: if an exception is raised, the exception message will be stored in the "
          "local variable, ?__ERROR",
      .example = "(try (/ 1 0) catch (str-cat \"caught: \" ?__ERROR))"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const TParts parts = FindParts(fun_call);
    TFailure failure;
    failure.Watch([&] { RunStatements(fun_call, 0, parts.body_end, context, result); });
    if (parts.finally_begin < parts.finally_end) {
      failure.Watch([&] { RunFinally(fun_call, parts, context, result); });
    }
    if (failure.passing) std::rethrow_exception(failure.passing);
    if (!failure.message) return;
    result = FCFalse;
    context.SetVariable(SErrorBinding, NewString(*failure.message));
    RunStatements(fun_call, parts.catch_begin, fun_call.GetArgumentCount(), context, result);
  }

 private:
  // What each part runs, from its first argument up to its end. A part that is missing is empty.
  struct TParts {
    std::int32_t body_end;
    std::int32_t finally_begin;
    std::int32_t finally_end;
    std::int32_t catch_begin;
  };

  // The last failure of the body and the finally part.
  struct TFailure {
    std::optional<std::string> message;
    std::exception_ptr passing;  // of a kind that no `catch` may hold up

    template <class TRun>
    void Watch(TRun run) {
      try {
        run();
      } catch (const EAbort&) {
        passing = std::current_exception();
      } catch (const EKBInterrupted&) {
        passing = std::current_exception();
      } catch (const std::bad_alloc&) {
        passing = std::current_exception();
      } catch (const std::exception& failure) {
        message = failure.what();
      } catch (...) {
        message = "Unknown failure";
      }
    }
  };

  static bool IsWord(const IKBValue& value, const TValueConstant& word) {
    return value.GetDType() == dtAtom && value.Equals(*word);
  }

  // A `catch` in front of the `finally` is a statement of the body.
  static TParts FindParts(const IFunCall& fun_call) {
    const std::int32_t count = fun_call.GetArgumentCount();
    std::int32_t finally_word = 0;
    while (finally_word < count && !IsWord(WrittenArgument(fun_call, finally_word), FCFinally)) {
      ++finally_word;
    }
    const bool has_finally = finally_word < count;
    std::int32_t catch_word = has_finally ? finally_word + 1 : 0;
    while (catch_word < count && !IsWord(WrittenArgument(fun_call, catch_word), FCCatch) &&
           !IsWord(WrittenArgument(fun_call, catch_word), FCExcept)) {
      ++catch_word;
    }
    if (!has_finally && catch_word == count) Raise(SMissingCatchStatement);
    if (!has_finally) return {catch_word, catch_word, catch_word, catch_word + 1};
    return {finally_word, finally_word + 1, catch_word, catch_word + 1};
  }

  static void RunFinally(const IFunCall& fun_call, const TParts& parts, TKBContext& context,
                         Ref<IKBValue>& result) {
    {
      const ScopedReturn aside(context);
      RunStatements(fun_call, parts.finally_begin, parts.finally_end, context, result);
    }
    if (context.HasReturnValue()) result = context.GetReturnValue();
  }
};

class TThrowFunction final : public TBuiltinFunction<TThrowFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "throw",
      .syntax = " <lexeme-expression>",
      .arguments = Exactly(1),
      .comment =
          "Raises an exception with the message equal to the <lexeme-expression>.  Unless the "
          "throw statement is inside a try command, the exception will halt execution of the "
          "reasoner",
      .example = "(try (throw \"too hot\") catch ?__ERROR)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>&) override {
    throw Exception(TextArgument(fun_call, 0, context).str());
  }
};

class TReturnFunction final : public TBuiltinFunction<TReturnFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "return",
      .syntax = " <expression>",
      .arguments = Exactly(1),
      .comment =
          "Returns the <expression> specified.  The return command forces execution to break out "
          "of a loop, deffunction, if, or similar structure",
      .example = "(sign -5)",
      .prelude = "(deffunction sign (?x) (if (< ?x 0) then (return minus)) plus)"};

  // The expression is handed up as it is written: the function that returns evaluates it as its
  // last step.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = fun_call.GetArgument(0);
    context.SetReturnValue(result);
  }
};

class TBindFunction final : public TBuiltinFunction<TBindFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "bind",
      .syntax = " <variable> <expression>",
      .arguments = Exactly(2),
      .comment = "Binds a variable to a value and returns the evaluated value",
      .example = "(bind ?x (+ 1 2))"};

  // The value comes first: (bind ?x (+ ?x 1)) sees the old ?x.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    result = EvaluateArgument(fun_call, 1, context);
    const Text name = WrittenArgument(fun_call, 0).GetAsString();
    if (IsGlobal(name, context)) {
      context.AddGlobalBinding(name, result);
    } else {
      context.SetVariable(name, result);
    }
  }

 private:
  // A global that no frame in between hides.
  static bool IsGlobal(const Text& name, const TKBContext& context) {
    if (context.GetEngine() == nullptr || !context.GetEngine()->HasGlobalVariable(name)) {
      return false;
    }
    const TKBContext* frame = &context;
    for (; frame->GetOuter() != nullptr; frame = frame->GetOuter()) {
      if (frame->FindOwnBinding(name) != nullptr) return false;
    }
    return true;
  }
};

}  // namespace

void AddControlFunctions(TUserFunctionList& functions) {
  functions.AddNew<TIfFunction, TWhileFunction, TForEachFunction, TTryFunction, TThrowFunction,
                   TReturnFunction, TBindFunction>();
}

}  // namespace reasoner
