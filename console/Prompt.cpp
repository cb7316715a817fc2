#include "console/Prompt.h"

#include <signal.h>

#include <atomic>
#include <cstdio>
#include <exception>
#include <set>
#include <sstream>

#include "console/LineEditor.h"
#include "reasoner/vocabulary/KBExceptions.h"

namespace console {

using namespace reasoner;

static constexpr const char* kPromptHelp =
    "Type an expression, as (+ 1 2), or a construct, as (deftemplate point (slot x)). It ends "
    "with\n"
    "its last parenthesis, on as many lines as it takes.\n"
    "  help NAME    about a function, or the text of a construct of that name\n"
    "  (functions)  the functions there are\n"
    "  (exit)       leaves, as the end of the input does\n"
    "The tabulator completes names, Ctrl-D gives up an unfinished input. Ctrl-C stops what runs: a\n"
    "run when the rule that fires has finished, or at once when it is pressed again.\n";

// What Ctrl-C stops: the engine that evaluates an input, and nothing while a line is typed.
static std::atomic<TReasoner*> evaluating = nullptr;

static void StopEvaluation(int) {
  if (TReasoner* engine = evaluating.load()) engine->RequestInterrupt();
}

// As long as it lives Ctrl-C does not end the program.
class InterruptHandler {
 public:
  InterruptHandler() {
    struct sigaction action = {};
    action.sa_handler = StopEvaluation;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, &before_);
  }
  ~InterruptHandler() { sigaction(SIGINT, &before_, nullptr); }
  InterruptHandler(const InterruptHandler&) = delete;
  InterruptHandler& operator=(const InterruptHandler&) = delete;

 private:
  struct sigaction before_ = {};
};

// Counts the parentheses of a text that are open, outside strings and comments.
static int OpenParentheses(const std::string& text) {
  int depth = 0;
  bool in_string = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char character = text[i];
    if (character == '\\') {
      ++i;
    } else if (character == '"') {
      in_string = !in_string;
    } else if (!in_string && character == ';') {
      while (i < text.size() && text[i] != '\n') ++i;
    } else if (!in_string && character == '(') {
      ++depth;
    } else if (!in_string && character == ')') {
      --depth;
    }
  }
  return in_string ? depth + 1 : depth;
}

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
  for (const TFactSet* facts : engine.GetFactSets().GetItems()) names.insert(facts->GetName());
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
  const auto add = [&](const auto& found) {
    if (found) text += engine.PrettyPrint(*found);
  };
  add(engine.GetUserFunctions().Find(name));
  add(engine.GetFactTemplates().Find(name));
  add(engine.GetDefinedTypes().Find(name));
  add(engine.GetRules().Find(name));
  for (const TFactSet* facts : engine.GetFactSets().GetItems()) {
    if (facts->GetName() == name) add(facts);
  }
  if (text.empty()) text = "nothing is known by the name " + name;
  return text.ends_with('\n') ? text : text + "\n";
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

static void Evaluate(TReasoner& engine, const std::string& text) {
  struct Evaluation {
    explicit Evaluation(TReasoner& engine) { evaluating = &engine; }
    ~Evaluation() { evaluating = nullptr; }
  } evaluation{engine};
  engine.ClearFailurePlace();
  try {
    engine.Parse(text, true);
  } catch (const EAbort&) {
    throw;
  } catch (const std::exception& failure) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", failure.what());
  }
}

void Converse(TReasoner& engine, Terminal& terminal) {
  const InterruptHandler handler;
  LineEditor editor(terminal,
                    [&engine](const std::string& start) { return NamesFor(engine, start); });
  std::string text;
  std::string line;
  std::string name;
  while (true) {
    if (!editor.ReadLine(text.empty() ? "reasoner> " : "       .. ", line)) {
      terminal.Print("\n");
      if (text.empty()) return;
      text.clear();  // an unfinished input is given up
    } else if (text.empty() && AsksForHelp(line, name)) {
      terminal.Print(HelpOn(engine, name));
    } else {
      text += line + "\n";
      if (OpenParentheses(text) > 0) continue;
      Evaluate(engine, text);
      text.clear();
    }
  }
}

}  // namespace console
