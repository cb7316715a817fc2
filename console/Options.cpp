#include "console/Options.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "console/Entry.h"
#include "console/FunctionReference.h"
#include "reasoner/support/Numbers.h"

namespace console {

static reasoner::TConstructWatches ReadWatches(const std::string& list) {
  using namespace reasoner;
  static constexpr std::pair<std::string_view, TConstructWatches> kWords[] = {
      {"facts", cwFact},
      {"rules", cwRule},
      {"activations", cwActivation},
      {"compilations", cwCompilation},
      {"statistics", cwStatistics},
      {"all", kAllWatches}};
  TConstructWatches watches;
  std::size_t begin = 0;
  while (begin <= list.size()) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    const std::string word = list.substr(begin, end - begin);
    bool known = false;
    for (const auto& [name, members] : kWords) {
      if (word != name) continue;
      watches += members;
      known = true;
    }
    if (!known) throw std::invalid_argument("unknown word for --watch: '" + word + "'");
    begin = end + 1;
  }
  return watches;
}

static reasoner::TSearchStrategy ReadStrategy(const std::string& name) {
  if (name == "depth") return reasoner::ssDepthFirst;
  if (name == "breadth") return reasoner::ssBreadthFirst;
  throw std::invalid_argument("unknown strategy: '" + name + "'");
}

static std::int32_t ReadLimit(const std::string& text) {
  const std::optional<std::int32_t> limit = reasoner::TextToInteger(text);
  if (!limit || *limit < 0)
    throw std::invalid_argument("--limit wants a number from 0 on, not '" + text + "'");
  return *limit;
}

static int PrintUsage();

static int PrintVersion() { return std::puts("reasoner " REASONER_VERSION) < 0 ? 1 : 0; }

static int PrintFunctionReference() {
  try {
    return std::fputs(FunctionReference().c_str(), stdout) < 0 ? 1 : 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "reasoner: %s\n", failure.what());
    return 1;
  }
}

namespace {

using Values = std::vector<std::string>;

struct Option {
  std::string_view name;
  std::string_view values;  // a word for each
  std::string_view about;
  void (*apply)(Options& options, const Values& values);
  std::string_view short_name = {};
};

constexpr Option kOptions[] = {
    {"-e", "TEXT", "parses and executes TEXT, in its place among the files",
     [](Options& options, const Values& values) {
       options.sources.push_back(Source{true, values[0]});
     }},
    {"--run", "", "after loading, resets the engine and runs its rules",
     [](Options& options, const Values&) { options.run = true; }},
    {"--limit", "N", "runs at most N rules (with --run)",
     [](Options& options, const Values& values) { options.limit = ReadLimit(values[0]); }},
    {"--strategy", "NAME", "orders rules of equal salience: depth (the default) or breadth",
     [](Options& options, const Values& values) { options.strategy = ReadStrategy(values[0]); }},
    {"--literal", "", "rules and functions have their literal meaning, see docs/semantics.md",
     [](Options& options, const Values&) { options.textbook = false; }},
    {"--strict", "", "types, ranges and cardinalities hold for computed values, too",
     [](Options& options, const Values&) { options.strict = true; }},
    {"--textbook", "", "rules and functions mean what a plain reading says (the default)",
     [](Options& options, const Values&) { options.textbook = true; }},
    {"--watch", "LIST",
     "reports what happens; LIST is one or more of facts, rules, activations,\n"
     "compilations, statistics and all, with commas between them",
     [](Options& options, const Values& values) { options.watch += ReadWatches(values[0]); }},
    {"--plot", "TYPE FILE", "at the end, draws the terms of the fuzzy TYPE into FILE as SVG",
     [](Options& options, const Values& values) {
       options.plots.push_back(Plot{values[0], values[1]});
     }},
    {"--function-reference", "",
     "prints a reference of all built-in functions as Markdown and ends",
     [](Options& options, const Values&) { options.instead = PrintFunctionReference; }},
    {"--version", "", "prints the version and ends",
     [](Options& options, const Values&) { options.instead = PrintVersion; }},
    {"--help", "", "prints this text and ends",
     [](Options& options, const Values&) { options.instead = PrintUsage; }, "-h"},
};

}  // namespace

static int PrintUsage() {
  constexpr std::size_t kColumn = 20;
  std::string text =
      "Usage: reasoner [OPTION]... [FILE]...\n"
      "Loads each FILE of rules in the order given. Without a FILE or a TEXT the program is read "
      "from\n"
      "standard input, at a prompt when that is a terminal.\n"
      "\n";
  for (const Option& option : kOptions)
    text += Entry(option.name, option.values, option.about, kColumn);
  text +=
      "\n"
      "Exit status: 0 if all went well, to the end or to (exit), 1 if something failed, 2 for a "
      "command\n"
      "line that cannot be followed, 130 after Ctrl-C. A failure at the prompt is told and "
      "forgotten.\n";
  return std::fputs(text.c_str(), stdout) < 0 ? 1 : 0;
}

static const Option& FindOption(const std::string& name, const std::string& argument) {
  for (const Option& option : kOptions) {
    if (name == option.name || (!name.empty() && name == option.short_name)) return option;
  }
  throw std::invalid_argument("unknown option: " + argument);
}

static std::ptrdiff_t CountValues(const Option& option) {
  if (option.values.empty()) return 0;
  return std::count(option.values.begin(), option.values.end(), ' ') + 1;
}

Options ReadOptions(const std::vector<std::string>& arguments) {
  Options options;
  bool only_files = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (only_files || argument.empty() || argument[0] != '-' || argument == "-") {
      options.sources.push_back(Source{false, argument});
      continue;
    }
    if (argument == "--") {
      only_files = true;
      continue;
    }
    // The values stand behind their option, the first one of a long option perhaps behind a "=".
    const std::size_t equals = argument.starts_with("--") ? argument.find('=') : std::string::npos;
    const std::string name = argument.substr(0, equals);
    const Option& option = FindOption(name, argument);
    const std::ptrdiff_t wanted = CountValues(option);
    Values values;
    if (equals != std::string::npos) values.push_back(argument.substr(equals + 1));
    if (std::ssize(values) > wanted) throw std::invalid_argument(name + " takes no value");
    while (std::ssize(values) < wanted) {
      if (++i == arguments.size())
        throw std::invalid_argument(name + " wants " + std::string(option.values) + " behind it");
      values.push_back(arguments[i]);
    }
    option.apply(options, values);
  }
  return options;
}

}  // namespace console
