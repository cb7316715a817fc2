#include "console/Options.h"

#include <optional>
#include <stdexcept>

#include "reasoner/support/Numbers.h"

namespace console {

const char* const kUsage =
    "Usage: reasoner [OPTION]... [FILE]...\n"
    "Loads each FILE of rules in the order given. Without a FILE or a TEXT the program is read "
    "from\n"
    "standard input, at a prompt when that is a terminal.\n"
    "\n"
    "  -e TEXT           parses and executes TEXT, in its place among the files\n"
    "  --run             after loading, resets the engine and runs its rules\n"
    "  --limit N         runs at most N rules (with --run)\n"
    "  --strategy NAME   orders rules of equal salience: depth (the default) or breadth\n"
    "  --literal         rules and functions have their literal meaning, see docs/semantics.md\n"
    "  --strict          types, ranges and cardinalities hold for computed values, too\n"
    "  --textbook        rules and functions mean what a plain reading says (the default)\n"
    "  --watch LIST      reports what happens; LIST is one or more of facts, rules, activations,\n"
    "                    compilations, statistics and all, with commas between them\n"
    "  --plot TYPE FILE  at the end, draws the terms of the fuzzy TYPE into FILE as SVG\n"
    "  --function-reference\n"
    "                    prints a reference of all built-in functions as Markdown and ends\n"
    "  --version         prints the version and ends\n"
    "  --help            prints this text and ends\n"
    "\n"
    "Exit status: 0 if all went well, to the end or to (exit), 1 if something failed, 2 for a "
    "command\n"
    "line that cannot be followed, 130 after Ctrl-C. A failure at the prompt is told and "
    "forgotten.\n";

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

Options ReadOptions(const std::vector<std::string>& arguments) {
  Options options;
  bool only_files = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (only_files || argument.empty() || argument[0] != '-' || argument == "-") {
      options.sources.push_back(Source{false, argument});
      continue;
    }
    // A value stands behind its option, or behind a "=" for a long one.
    const std::size_t equals = argument.starts_with("--") ? argument.find('=') : std::string::npos;
    const std::string name = argument.substr(0, equals);
    const auto value = [&]() -> std::string {
      if (equals != std::string::npos) return argument.substr(equals + 1);
      if (i + 1 >= arguments.size()) throw std::invalid_argument(name + " wants a value behind it");
      return arguments[++i];
    };
    if (name == "--") {
      only_files = true;
    } else if (name == "-e") {
      options.sources.push_back(Source{true, value()});
    } else if (name == "--run") {
      options.run = true;
    } else if (name == "--limit") {
      options.limit = ReadLimit(value());
    } else if (name == "--strategy") {
      options.strategy = ReadStrategy(value());
    } else if (name == "--textbook") {
      options.textbook = true;
    } else if (name == "--strict") {
      options.strict = true;
    } else if (name == "--literal") {
      options.textbook = false;
    } else if (name == "--watch") {
      options.watch += ReadWatches(value());
    } else if (name == "--plot") {
      const std::string type = value();
      if (i + 1 >= arguments.size()) throw std::invalid_argument("--plot wants a type and a file");
      options.plots.push_back(Plot{type, arguments[++i]});
    } else if (name == "--function-reference") {
      options.function_reference = true;
    } else if (name == "--version") {
      options.version = true;
    } else if (name == "--help" || name == "-h") {
      options.help = true;
    } else {
      throw std::invalid_argument("unknown option: " + argument);
    }
  }
  return options;
}

}  // namespace console
