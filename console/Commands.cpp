#include "console/Commands.h"

#include <iterator>
#include <set>
#include <sstream>
#include <string_view>

#include "console/Entry.h"
#include "reasoner/language/TextHelpers.h"

namespace console {

using namespace reasoner;

static std::string HelpOn(TReasoner& engine, const std::string& name);

namespace {

// A command is its name, alone or with one word behind it.
struct Command {
  std::string_view name;
  std::string_view argument;  // as the help shows it
  std::string_view about;
  std::string (*answer)(TReasoner& engine, const std::string& argument);
};

constexpr Command kCommands[] = {
    {"help", "NAME", "about a function, or the text of a construct of that name", HelpOn},
};

// Calls that the help names.
struct Hint {
  std::string_view call;
  std::string_view about;
};

constexpr Hint kHints[] = {
    {"(list-deffunctions)", "the names of all functions"},
    {"(exit)", "leaves, as the end of the input does"},
};

// Words inside of constructs that name no function.
constexpr const char* kInnerWords[] = {"cardinality", "declare", "default",   "enabled", "exists",
                                       "explicit",    "extends", "multislot", "oneshot", "range",
                                       "salience",    "slot",    "unique",    "units"};

}  // namespace

static std::string PromptHelp() {
  constexpr std::size_t kColumn = 15;
  std::string text =
      "Type an expression, as (+ 1 2), or a construct, as (deftemplate point (slot x)). It ends "
      "with\n"
      "its last parenthesis, on as many lines as it takes.\n";
  for (const Command& command : kCommands)
    text += Entry(command.name, command.argument, command.about, kColumn);
  for (const Hint& hint : kHints) text += Entry(hint.call, "", hint.about, kColumn);
  return text +
         "The tabulator completes names. Ctrl-C drops what is being typed, or stops what runs: a "
         "run when\n"
         "the rule that fires has finished, or at once when it is pressed again. Ctrl-D on an "
         "empty line\n"
         "drops an unfinished input too.\n";
}

// The help on a function, the text of a construct. Without a name, how to use the prompt.
static std::string HelpOn(TReasoner& engine, const std::string& name) {
  if (name.empty()) return PromptHelp();
  std::string text;
  // Constructs of different kinds may have one name: an empty line stands between their texts.
  const auto append = [&text](const std::string& found) {
    if (!text.empty()) text += "\n";
    text += found;
    if (!text.ends_with('\n')) text += '\n';
  };
  const auto add = [&](const auto& found) {
    if (found) append(engine.PrettyPrint(*found));
  };
  add(engine.GetUserFunctions().Find(name));
  add(engine.GetFactTemplates().Find(name));
  add(engine.GetDefinedTypes().Find(name));
  add(engine.GetRules().Find(name));
  for (const TFactSet* facts : engine.GetFactSets().GetItems()) {
    if (facts->GetFactSetName() == name) add(facts);
  }
  for (const std::string_view prefix : {"$?", "?", ""}) {
    if (!name.starts_with(prefix)) continue;
    const std::string variable = name.substr(prefix.size());
    Ref<IKBValue> value;
    if (engine.GetGlobalVariables().ContainsKey(variable, value) && value)
      append("(defglobal " + engine.PrettyPrint(variable, *value) + ")");
    break;
  }
  return text.empty() ? "nothing is known by the name " + name + "\n" : text;
}

std::optional<std::string> AnswerCommand(TReasoner& engine, const std::string& line) {
  std::istringstream words(line);
  std::string name;
  std::string argument;
  std::string rest;
  words >> name >> argument;
  if (words >> rest) return std::nullopt;
  for (const Command& command : kCommands) {
    if (name != command.name || (command.argument.empty() && !argument.empty())) continue;
    return command.answer(engine, argument);
  }
  return std::nullopt;
}

std::vector<std::string> NamesFor(TReasoner& engine, const std::string& start) {
  std::set<std::string> names(std::begin(kInnerWords), std::end(kInnerWords));
  for (const std::string_view word : ConstructWords()) names.emplace(word);
  for (const Command& command : kCommands) names.emplace(command.name);
  const auto add = [&names](const std::vector<std::string>& keys) {
    names.insert(keys.begin(), keys.end());
  };
  add(engine.GetUserFunctions().GetNames());
  add(engine.GetFactTemplates().GetNames());
  add(engine.GetDefinedTypes().GetNames());
  add(engine.GetRules().GetNames());
  for (const TFactSet* facts : engine.GetFactSets().GetItems())
    names.insert(facts->GetFactSetName());
  for (const std::string& name : engine.GetGlobalVariables().GetKeys()) names.insert("?" + name);
  std::vector<std::string> found;
  if (start.empty()) return found;
  for (auto name = names.lower_bound(start); name != names.end() && name->starts_with(start);
       ++name) {
    if (!name->starts_with("__")) found.push_back(*name);
  }
  return found;
}

}  // namespace console
