// Files: opened as logical streams, removed and renamed, loaded, saved, and run as batches.

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>

#include "reasoner/engine/Reasoner.h"
#include "reasoner/functions/UserPackage.h"
#include "reasoner/library/Builtin.h"
#include "reasoner/library/Families.h"
#include "reasoner/support/FileOperations.h"
#include "reasoner/support/Streams.h"
#include "reasoner/support/WholeFile.h"
#include "reasoner/vocabulary/Messages.h"

namespace reasoner {
namespace {

class TOpenFunction final : public TBuiltinFunction<TOpenFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "open",
      .syntax = " <filename> <logical-name> [a|r|w|r+]",
      .arguments = Between(2, 3),
      .comment =
          "Opens the filename and associates the logical name with the file.  The optional third "
          "argument specifies the mode to open the file in:\n         r     read only (default)\n  "
          "       w     write only\n         a     append\n         r+    read and write",
      .example = "(readline notes)",
      .prelude =
          "(open \"notes.txt\" notes \"w\")\n"
          "(printout notes \"milk, eggs\" crlf)\n"
          "(close notes)\n"
          "(open \"notes.txt\" notes)"};

  // Each argument is evaluated once, the mode first. A name in use is dealt with before the file is
  // touched.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    TMode mode = kModes[0];
    if (fun_call.GetArgumentCount() > 2) mode = FindMode(TextArgument(fun_call, 2, context));
    const Text file_name = TextArgument(fun_call, 0, context);
    const Ref<IKBValue> name = EvaluateArgument(fun_call, 1, context);
    const Text logical_name = name->GetAsString();
    result = name->Clone();
    if (engine.GetIOStreams().ContainsKey(logical_name)) {
      if (engine.DuplicateConstructs == dcError) Raise(SDuplicateStreamNames, logical_name.view());
      if (engine.DuplicateConstructs == dcIgnore) return;
    }
    engine.FlushStreams();  // the file may be open already
    engine.GetIOStreams().Add(logical_name, OpenStream(engine, file_name.str(), mode));
  }

 private:
  struct TMode {
    std::string_view word;
    TFileMode file_mode;
    bool is_reader;  // makes tokens
    bool appends;
  };
  static constexpr std::array<TMode, 4> kModes{{{"r", fmOpenRead, true, false},
                                                {"w", fmCreate, false, false},
                                                {"r+", fmOpenReadWrite, true, false},
                                                {"a", fmCreate, false, true}}};

  static TMode FindMode(const Text& word) {
    for (const TMode& mode : kModes) {
      if (word == mode.word) return mode;
    }
    Raise(SInvalidFileAccess, word.view());
  }

  static std::unique_ptr<TGTextStream> OpenStream(TReasoner& engine, const std::string& file_name,
                                                  const TMode& mode) {
    if (mode.is_reader) return engine.NewTokenizer(file_name, mode.file_mode);
    const bool exists = mode.appends && FileExists(file_name);
    auto stream =
        std::make_unique<TFileStream>(file_name, exists ? fmOpenReadWrite : mode.file_mode);
    if (exists) stream->SetPosition(stream->GetSize());
    return std::make_unique<TGTextStream>(std::move(stream));
  }
};

class TCloseFunction final : public TBuiltinFunction<TCloseFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "close",
      .syntax = " [<logical-name>+]",
      .arguments = AtLeast(0),
      .comment =
          "Closes the files associated with the logical name arguments.  If no logical name is "
          "specified, all files are closed",
      .example = "(close notes)",
      .prelude = "(open \"notes.txt\" notes \"w\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TIOStreams& streams = EngineOf(context).GetIOStreams();
    if (fun_call.GetArgumentCount() == 0) streams.Clear();
    for (std::int32_t i = 0; i < fun_call.GetArgumentCount(); ++i) {
      streams.Remove(TextArgument(fun_call, i, context));
    }
    result = FCTrue;
  }
};

class TRemoveFunction final : public TBuiltinFunction<TRemoveFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "remove",
      .syntax = " [<file-name>]",
      .arguments = Exactly(1),
      .comment =
          "Deletes the specified file.  Returns TRUE if the file was deleted, FALSE if the file "
          "couldn't be deleted or does not exist",
      .example = "(remove \"missing.txt\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text file_name = TextArgument(fun_call, 0, context);
    EngineOf(context).FlushStreams();
    result = BooleanValue(RemoveFile(file_name.str()));
  }
};

class TRenameFunction final : public TBuiltinFunction<TRenameFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "rename",
      .syntax = " [<old-file-name> <new-file-name>]",
      .arguments = Exactly(2),
      .comment =
          "Renames the file <old-file-name> to <new-file-name>.   If the operation succeeds, it "
          "returns TRUE.  If it cannot rename the file (for example, if a file called "
          "<new-file-name> already exists), it returns FALSE",
      .example = "(rename \"colors.clp\" \"paints.clp\")"};

  // The new name is evaluated first.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text new_name = TextArgument(fun_call, 1, context);
    const Text old_name = TextArgument(fun_call, 0, context);
    EngineOf(context).FlushStreams();
    result = BooleanValue(RenameFile(old_name.str(), new_name.str()));
  }
};

class TLoadFunction final : public TBuiltinFunction<TLoadFunction> {
 public:
  static constexpr TFunctionInfo kInfo{.name = "load",
                                       .syntax = " <filename>",
                                       .arguments = Exactly(1),
                                       .comment = "Loads the specified file into the reasoner",
                                       .example = "(load \"colors.clp\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text file_name = TextArgument(fun_call, 0, context);
    EngineOf(context).LoadFromFile(file_name.str());
    result = FCTrue;
  }
};

class TSaveFunction final : public TBuiltinFunction<TSaveFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "save",
      .syntax = " <filename>",
      .arguments = Exactly(1),
      .comment =
          "Saves the expert system to the file specified by <filename>.  This includes fact "
          "templates, facts, fact sets, rules and deffunctions",
      .example = "(save \"all.clp\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text file_name = TextArgument(fun_call, 0, context);
    EngineOf(context).SaveToFile(file_name.str());
    result = FCTrue;
  }
};

class TLoadFactsFunction final : public TBuiltinFunction<TLoadFactsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "load-facts",
      .syntax = " <filename>",
      .arguments = Exactly(1),
      .comment = "Loads the facts contained in the file specified by the <filename> argument",
      .example = "(load-facts \"facts.clp\")",
      .prelude =
          "(assert (color red))\n"
          "(save-facts \"facts.clp\" color)\n"
          "(retract 1)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text file_name = TextArgument(fun_call, 0, context);
    EngineOf(context).LoadFacts(file_name.str());
    result = FCTrue;
  }
};

class TSaveFactsFunction final : public TBuiltinFunction<TSaveFactsFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "save-facts",
      .syntax = " <file-name> [<fact-template-name>+]",
      .arguments = AtLeast(1),
      .comment =
          "Saves facts currently in the fact base to the file specified by <filename>.  If fact "
          "template names are specified, all facts based on the given fact templates will be "
          "saved.  If no fact template names are specified, all facts are saved",
      .example = "(save-facts \"facts.clp\" color)",
      .prelude = "(assert (color red))"};

  // The file is written when all is known that comes into it.
  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    TReasoner& engine = EngineOf(context);
    const Text file_name = TextArgument(fun_call, 0, context);
    result = FCTrue;
    if (fun_call.GetArgumentCount() == 1) return engine.SaveFacts(file_name.str());
    TKitStringStream stream;
    for (std::int32_t i = 1; i < fun_call.GetArgumentCount(); ++i) {
      const Text template_name = TextArgument(fun_call, i, context);
      engine.SaveFacts(stream, template_name.view());
    }
    engine.FlushStreams();
    WriteFileWhole(file_name.str(), stream.GetText());
  }
};

class TBatchFunction final : public TBuiltinFunction<TBatchFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "batch",
      .syntax = " <filename>",
      .arguments = Exactly(1),
      .comment =
          "Allows batch processing of interactive commands by replacing standard input with the "
          "contents of <filename>.  Returns TRUE if the file was successfully executed, FALSE "
          "otherwise",
      .example = "(batch \"greet.bat\")",
      .prelude =
          "(open \"greet.bat\" b \"w\")\n"
          "(printout b \"(printout t (str-cat Hello (readline)) crlf)\" crlf \", Ada\" crlf)\n"
          "(close b)"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text file_name = TextArgument(fun_call, 0, context);
    result = BooleanValue(EngineOf(context).Batch(file_name.str()));
  }
};

class TDribbleOnFunction final : public TBuiltinFunction<TDribbleOnFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "dribble-on",
      .syntax = " <filename>",
      .arguments = Exactly(1),
      .comment =
          "Starts capturing of all standard output to the capture file specified by <filename>.  "
          "Returns TRUE if the capture file was successfully opened, FALSE otherwise",
      .example = "(dribble-on \"log.txt\")"};

  void Call(const IFunCall& fun_call, TKBContext& context, Ref<IKBValue>& result) override {
    const Text file_name = TextArgument(fun_call, 0, context);
    result = BooleanValue(EngineOf(context).StartCapture(file_name.str()));
  }
};

class TDribbleOffFunction final : public TBuiltinFunction<TDribbleOffFunction> {
 public:
  static constexpr TFunctionInfo kInfo{
      .name = "dribble-off",
      .syntax = "",
      .arguments = Exactly(0),
      .comment = "Stops capture of standard output started with the \"dribble-on\" command",
      .example = "(dribble-off)",
      .prelude =
          "(dribble-on \"log.txt\")\n"
          "(printout t \"not seen here\" crlf)"};

  void Call(const IFunCall&, TKBContext& context, Ref<IKBValue>& result) override {
    result = BooleanValue(EngineOf(context).StopCapture());
  }
};

}  // namespace

void AddFileFunctions(TUserFunctionList& functions) {
  functions.AddNew<TOpenFunction, TCloseFunction, TRemoveFunction, TRenameFunction, TLoadFunction,
                   TSaveFunction, TLoadFactsFunction, TSaveFactsFunction, TBatchFunction,
                   TDribbleOnFunction, TDribbleOffFunction>();
}

}  // namespace reasoner
