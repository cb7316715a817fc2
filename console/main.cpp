// The program `reasoner`: a host of the library like any other.

#include <unistd.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "console/FunctionReference.h"
#include "console/Options.h"
#include "console/Prompt.h"
#include "console/Terminal.h"
#include "reasoner/engine/Reasoner.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/support/WholeFile.h"
#include "reasoner/support/membership/FuzzyPicture.h"
#include "reasoner/vocabulary/KBExceptions.h"

namespace console {

using namespace reasoner;

static constexpr int kSuccess = 0;
static constexpr int kFailure = 1;
static constexpr int kUsageError = 2;

// "FILE:LINE:COLUMN: " as far as these are known, and the rule that failed.
static std::string DescribePlace(const TFailurePlace& place) {
  std::string text;
  if (!place.file.empty()) text += place.file + ":";
  if (place.line > 0) text += IntegerToText(place.line) + ":";
  if (place.line > 0 && place.column > 0) text += IntegerToText(place.column) + ":";
  if (!place.rule.empty()) text += (text.empty() ? "" : " ") + ("rule " + place.rule + ":");
  if (!text.empty()) text += " ";
  return text;
}

static void Report(const TFailurePlace& place, const char* message) {
  std::fflush(stdout);
  std::fprintf(stderr, "%s%s\n", DescribePlace(place).c_str(), message);
}

static TFailurePlace PlaceOf(const TReasoner& engine, const EKBParseException& failure) {
  TFailurePlace place = engine.GetFailurePlace();
  if (failure.LineNumber <= 0) return place;
  place.file = failure.File;
  place.line = failure.LineNumber;
  place.column = failure.Column;
  return place;
}

static void LoadSources(TReasoner& engine, Terminal& terminal, const Options& options) {
  for (const Source& source : options.sources) {
    engine.ClearFailurePlace();
    if (source.is_text) {
      engine.Parse(source.value, true);
    } else if (source.value == "-") {
      engine.Parse(terminal.ReadAll(), true);
    } else {
      engine.LoadFromFile(source.value);
    }
  }
  if (!options.sources.empty()) return;
  if (isatty(STDIN_FILENO) != 0) {
    Converse(engine, terminal);
  } else {
    engine.Parse(terminal.ReadAll(), true);
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

static int PrintFunctionReference() {
  try {
    return std::fputs(FunctionReference().c_str(), stdout) < 0 ? kFailure : kSuccess;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "reasoner: %s\n", failure.what());
    return kFailure;
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
  if (options.help) return std::fputs(kUsage, stdout) < 0 ? kFailure : kSuccess;
  if (options.version) return std::puts("reasoner " REASONER_VERSION) < 0 ? kFailure : kSuccess;

  if (options.function_reference) return PrintFunctionReference();

  Terminal terminal;
  TReasoner engine;
  terminal.Attach(engine);
  engine.OnWarning = [](TReasoner&, const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "warning: %s\n", text.c_str());
  };
  engine.SetStrategy(options.strategy);
  engine.SetTextbookSemantics(options.textbook);
  engine.Watch = options.watch;
  engine.OnDropped = [](TReasoner&, const std::string& what, const std::string& reason) {
    std::fflush(stdout);
    std::fprintf(stderr, "dropped: %s: %s\n", what.c_str(), reason.c_str());
  };
  try {
    LoadSources(engine, terminal, options);
    if (options.run) {
      engine.ClearFailurePlace();
      engine.Reset();
      engine.Run(options.limit);
    }
    DrawPlots(engine, options);
  } catch (const EAbort&) {
    // (exit): all went as the program wanted.
  } catch (const EKBParseException& failure) {
    Report(PlaceOf(engine, failure), failure.what());
    return kFailure;
  } catch (const std::exception& failure) {
    Report(engine.GetFailurePlace(), failure.what());
    return kFailure;
  }
  return std::fflush(stdout) == 0 ? kSuccess : kFailure;
}

}  // namespace console

int main(int argc, char** argv) {
  return console::Main(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
