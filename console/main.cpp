// The program `reasoner`: a host of the library like any other.

#include <unistd.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "console/Interrupts.h"
#include "console/Options.h"
#include "console/Prompt.h"
#include "console/Report.h"
#include "console/Terminal.h"
#include "reasoner/engine/Reasoner.h"
#include "reasoner/library/Packages.h"
#include "reasoner/support/WholeFile.h"
#include "reasoner/support/membership/FuzzyPicture.h"
#include "reasoner/vocabulary/KBExceptions.h"

namespace console {

using namespace reasoner;

static constexpr int kSuccess = 0;
static constexpr int kFailure = 1;
static constexpr int kUsageError = 2;
static constexpr int kInterrupted = 130;  // as a shell tells of a program that Ctrl-C has ended

// A program that comes from standard input: each expression is evaluated as soon as it is there,
// and what follows a failure is read all the same. Tells whether nothing has failed.
static void ReadProgram(TReasoner& engine, Terminal& terminal, const Evaluation& evaluation,
                        bool& failed) {
  std::string text;
  TTextPlace start;
  while (terminal.ReadExpression(text, start)) {
    try {
      engine.Parse(text, true, start);
    } catch (const EAbort&) {
      throw;
    } catch (const EKBInterrupted&) {
      throw;
    } catch (const std::exception& failure) {
      Report(engine, failure);
      engine.ClearFailurePlace();
      failed = true;
    }
    evaluation.RaiseIfInterrupted();
  }
}

// Up to the first source with a failure.
static void LoadSources(TReasoner& engine, Terminal& terminal, const Options& options,
                        const Evaluation& evaluation, bool& failed) {
  for (const Source& source : options.sources) {
    if (source.is_text) {
      engine.Parse(source.value, true);
    } else if (source.value == "-") {
      ReadProgram(engine, terminal, evaluation, failed);
      if (failed) return;
    } else {
      engine.LoadFromFile(source.value);
    }
    evaluation.RaiseIfInterrupted();
  }
}

static void DrawPlots(TReasoner& engine, const Options& options) {
  engine.ClearFailurePlace();
  for (const Plot& plot : options.plots) {
    const Ref<IKBDefinedType> type = engine.FindDefinedType(plot.type);
    if (!type || !type->GetFuzzyType())
      throw std::runtime_error("no fuzzy type to draw: " + plot.type);
    WriteFileWhole(plot.file, FuzzyPicture(*type->GetFuzzyType()));
  }
}

static int Main(const std::vector<std::string>& arguments) {
  Options options;
  try {
    options = ReadOptions(arguments);
  } catch (const std::invalid_argument& failure) {
    std::fprintf(stderr, "reasoner: %s\nTry 'reasoner --help'.\n", failure.what());
    return kUsageError;
  }
  if (options.instead != nullptr) return options.instead();

  Terminal terminal;
  TReasoner engine;
  new TExtensionPackage(&engine);  // the engine's
  terminal.Attach(engine);
  engine.OnWarning = [](TReasoner&, const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "warning: %s\n", text.c_str());
  };
  engine.SetStrategy(options.strategy);
  engine.SetTextbookSemantics(options.textbook);
  engine.SetDynamicChecks(options.strict);
  engine.Watch = options.watch;
  engine.OnDropped = [](TReasoner&, const std::string& what, const std::string& reason) {
    std::fflush(stdout);
    std::fprintf(stderr, "dropped: %s: %s\n", what.c_str(), reason.c_str());
  };
  const bool prompts = options.sources.empty() && isatty(STDIN_FILENO) != 0;
  if (options.sources.empty()) options.sources.push_back(Source{false, "-"});
  bool failed = false;
  try {
    if (prompts) Converse(engine, terminal);
    const InterruptHandler handler(InterruptHandler::kNoPrompt);
    const Evaluation evaluation(engine);
    if (!prompts) LoadSources(engine, terminal, options, evaluation, failed);
    if (options.run && !failed) {
      engine.Reset();
      engine.Run(options.limit);
      evaluation.RaiseIfInterrupted();
    }
    if (!failed) DrawPlots(engine, options);
  } catch (const EAbort&) {
    // (exit): what follows is left out.
  } catch (const EKBInterrupted& failure) {
    Report(engine, failure);
    return kInterrupted;
  } catch (const std::exception& failure) {
    Report(engine, failure);
    failed = true;
  }
  if (failed) return kFailure;
  return std::fflush(stdout) == 0 ? kSuccess : kFailure;
}

}  // namespace console

int main(int argc, char** argv) {
  return console::Main(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
