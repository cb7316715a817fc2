#include "console/Prompt.h"

#include <exception>
#include <set>
#include <sstream>
#include <string_view>

#include "console/ExpressionScanner.h"
#include "console/Interrupts.h"
#include "console/LineEditor.h"
#include "console/Report.h"
#include "reasoner/vocabulary/KBExceptions.h"

namespace console {

using namespace reasoner;

static constexpr const char* kPromptHelp =
    "Type an expression, as (+ 1 2), or a construct, as (deftemplate point (slot x)). It ends "
    "with\n"
    "its last parenthesis, on as many lines as it takes.\n"
    "  help NAME    about a function, or the text of a construct of that name\n"
    "  (list-deffunctions)\n"
    "               the names of all functions\n"
    "  (exit)       leaves, as the end of the input does\n"
    "The tabulator completes names. Ctrl-C drops what is being typed, or stops what runs: a run "
    "when\n"
    "the rule that fires has finished, or at once when it is pressed again. Ctrl-D on an empty "
    "line\n"
    "drops an unfinished input too.\n";

std::vector<std::string> NamesFor(TReasoner& engine, const std::string& start) {
  std::set<std::string> names = {"deffacts",  "deffunction", "defglobal", "defrule", "deftemplate",
                                 "deftype",   "declare",     "salience",  "exists",  "unique",
                                 "multislot", "slot",        "extends",   "default"};
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

std::string HelpOn(TReasoner& engine, const std::string& name) {
  if (name.empty()) return kPromptHelp;
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

// "help" or "help NAME", which are no expressions that anybody needs.
static bool AsksForHelp(const std::string& line, std::string& name) {
  std::istringstream words(line);
  std::string word;
  std::string rest;
  name.clear();
  if (!(words >> word) || word != "help") return false;
  words >> name;
  return !(words >> rest);
}

static void Evaluate(TReasoner& engine, Terminal& terminal, const std::string& text) {
  const Evaluation evaluation(engine);
  try {
    engine.Parse(text, true);
  } catch (const EAbort&) {
    throw;
  } catch (const EKBInterrupted& failure) {
    terminal.DropInput();
    terminal.Print("\n");  // behind the terminal's own "^C"
    Report(engine, failure);
  } catch (const std::exception& failure) {
    Report(engine, failure);
  }
}

void Converse(TReasoner& engine, Terminal& terminal) {
  const InterruptHandler handler(InterruptHandler::kPrompt);
  LineEditor editor(terminal,
                    [&engine](const std::string& start) { return NamesFor(engine, start); });
  std::string text;
  ExpressionScanner scanner;  // has seen the text
  std::string line;
  std::string name;
  while (true) {
    const LineEditor::TOutcome outcome =
        editor.ReadLine(text.empty() ? "reasoner> " : "       .. ", line);
    if (outcome == LineEditor::kEnd && text.empty()) return;
    if (outcome != LineEditor::kLine) {
      text.clear();  // an unfinished input is given up
      scanner = ExpressionScanner();
    } else if (text.empty() && AsksForHelp(line, name)) {
      terminal.Print(HelpOn(engine, name));
    } else {
      line += '\n';
      text += line;
      for (const char character : line) scanner.Take(character);
      if (scanner.IsOpen()) continue;
      Evaluate(engine, terminal, text);
      text.clear();
      scanner = ExpressionScanner();
    }
  }
}

}  // namespace console
