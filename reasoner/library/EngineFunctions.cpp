// Driving the engine from the language.

#include <array>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

class TGenSymStarFunction final : public TBuiltinFunction<TGenSymStarFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "gensym*",
      .syntax = "",
      .arguments = Exactly(0),
      .comment =
          "Returns a sequenced symbol of the form \"genX\" where X is an integer.  Repeated calls "
          "will return monotonically increasing values for X",
      .example = "(gensym*)"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    result = NewAtom(EngineOf(context).GenerateSymbol(SGeneratedAtomPrefix));
  }
};

class TVersionFunction final : public TBuiltinFunction<TVersionFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "version",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Returns a floating point number for the reasoner version being executed",
      .example = "(version)"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    result = NewFloat(static_cast<double>(EngineOf(context).GetVersion()));
  }
};

struct TWatchWord {
  std::string_view word;
  TConstructWatches watches;
};

constexpr std::array kWatchWords{TWatchWord{"activations", cwActivation},
                                 TWatchWord{"facts", cwFact},
                                 TWatchWord{"rules", cwRule},
                                 TWatchWord{"compilations", cwCompilation},
                                 TWatchWord{"statistics", cwStatistics},
                                 TWatchWord{"all", kAllWatches}};

// What a word stands for; nothing for an unknown one.
TConstructWatches FindWatches(std::string_view word) {
  for (const TWatchWord& entry : kWatchWords) {
    if (entry.word == word) return entry.watches;
  }
  return {};
}

class TWatchFunction final : public TBuiltinFunction<TWatchFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "watch",
      .syntax = " all|rules|facts|activations|compilations|statistics",
      .arguments = Exactly(1),
      .comment =
          "Sets up watches on the specified reasoner operations.  Watches are like events and "
          "force the reasoner to output (using OnPrintOut event) information as they occur\n     "
          "activations - watch rule activations and deletions\n     facts - watch fact assertions "
          "and retractions\n     rules - watch rule additions and removals\n     compilations - "
          "watch rule compilations\n     statistics - watch execution statistics\n",
      .example = "(watch facts)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text word = TextArgument(fun_call, 0, context);
    const TConstructWatches watches = FindWatches(word);
    if (watches.empty()) Raise(SCannotWatch, word.view());
    EngineOf(context).Watch += watches;
    result = FCTrue;
  }
};

class TUnwatchFunction final : public TBuiltinFunction<TUnwatchFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "unwatch",
      .syntax = " all|rules|facts|activations|compilations|statistics",
      .arguments = Exactly(1),
      .comment =
          "Deletes the watches on the specified reasoner operations.  Watches are like events and "
          "force the reasoner to output (using OnPrintOut event) information as they occur\n     "
          "activations - watch rule activations and deletions\n     facts - watch fact assertions "
          "and retractions\n     rules - watch rule additions and removals\n     compilations - "
          "watch rule compilations\n     statistics - watch execution statistics\n",
      .example = "(unwatch facts)",
      .prelude = "(watch all)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text word = WrittenArgument(fun_call, 0).GetAsString();
    const TConstructWatches watches = FindWatches(word);
    if (watches.empty()) Raise(SCannotUnWatch, word.view());
    EngineOf(context).Watch -= watches;
    result = FCTrue;
  }
};

class THaltFunction final : public TBuiltinFunction<THaltFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "halt",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Halts the execution of the reasoner",
      .example = "(run)",
      .prelude =
          "(defrule stop (name ?n) => (printout t \"Only \" ?n crlf) (halt))\n"
          "(assert (name Ada))\n"
          "(assert (name Bob))"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    EngineOf(context).SetHalted(true);
    result = FCTrue;
  }
};

class TRunFunction final : public TBuiltinFunction<TRunFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "run",
      .syntax = " [<integer-expression>]",
      .arguments = Between(0, 1),
      .comment =
          "Executes the reasoner and returns the number of steps executed.  If the optional "
          "argument is specified, the reasoner will execute AT MOST <integer-expression> steps",
      .example = "(run)",
      .prelude =
          "(defrule greet (name ?n) => (printout t \"Hello, \" ?n crlf))\n"
          "(assert (name Ada))"};

  // The count is read as it is written.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const std::int32_t fired = fun_call.GetArgumentCount() > 0
                                   ? engine.Run(WrittenArgument(fun_call, 0).GetAsInteger())
                                   : engine.Run();
    result = NewInteger(fired);
  }
};

class TResetFunction final : public TBuiltinFunction<TResetFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "reset",
      .syntax = "",
      .arguments = Exactly(0),
      .comment =
          "Resets the reasoner.  First, the agenda is cleared, all facts are deleted, and all "
          "global variables are removed.  If the ResetGlobals property of the reasoner is true, "
          "the global variables are reset to their initial values.  Any Fact sets available have "
          "their facts asserted.  Finally, the initial fact is asserted to start the whole "
          "inference process over again",
      .example = "(reset)",
      .prelude = "(assert (color red))"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    EngineOf(context).Reset();
    result = FCTrue;
  }
};

class TClearFunction final : public TBuiltinFunction<TClearFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "clear",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Clears the reasoner of all fact templates, facts, and rules",
      .example = "(clear)",
      .prelude =
          "(defrule greet (name ?n) => (printout t \"Hello, \" ?n crlf))\n"
          "(assert (name Ada))"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    EngineOf(context).Clear();
    result = FCTrue;
  }
};

class TExitFunction final : public TBuiltinFunction<TExitFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "exit",
                                       .syntax = "",
                                       .arguments = Exactly(0),
                                       .comment = "Immediately stops execution of the reasoner",
                                       .example = "(exit)"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>&) override {
    EngineOf(context).FlushStreams();
    throw EAbort();
  }
};

class TDoBackwardChainingFunction final : public TBuiltinFunction<TDoBackwardChainingFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "do-backward-chaining",
      .syntax = " <fact-template-name>*",
      .arguments = AtLeast(0),
      .comment =
          "Prepares the reasoner for backward chaining on a particular fact template or series of "
          "fact templates.  The command creates backward chaining templates to match the fact "
          "template arguments",
      .example = "(do-backward-chaining reading)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      const Text argument = TextArgument(fun_call, i, context);
      const std::string name(argument.view());
      if (name == STestCE || name == "not") Raise(SBackChainCE, name);
      const Ref<IFactTemplate> wanted = engine.CreateFactTemplate(name);
      wanted->SetBackwardChaining(true);
      engine.GetFactTemplates().Add(engine.NewGoalTemplate(wanted));
    }
    result = FCTrue;
  }
};

}  // namespace

void AddEngineFunctions(TUserFunctionList& functions) {
  functions.AddNew<TGenSymStarFunction, TVersionFunction, TWatchFunction, TUnwatchFunction,
                   THaltFunction, TRunFunction, TResetFunction, TClearFunction, TExitFunction,
                   TDoBackwardChainingFunction>();
}

}  // namespace reasoner
