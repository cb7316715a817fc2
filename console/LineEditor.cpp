#include "console/LineEditor.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "reasoner/support/Unicode.h"

#if defined(REASONER_EDITLINE)
#include <editline/readline.h>
#elif defined(REASONER_READLINE)
#include <readline/history.h>
#include <readline/readline.h>
#endif

namespace console {

#if defined(REASONER_EDITLINE) || defined(REASONER_READLINE)

namespace {

constexpr int kMostLines = 1000;

LineEditor::Completion names_for;      // the library's calls take no object along
std::vector<std::string> completions;  // of the word at hand

// One completion a call, from number 0 on, for the library to free; then null.
char* NextCompletion(const char* start, int number) {
  static std::size_t next = 0;
  try {
    if (number == 0) {
      next = 0;
      completions = names_for(start);
    }
    return next < completions.size() ? strdup(completions[next++].c_str()) : nullptr;
  } catch (const std::exception&) {
    return nullptr;  // no exception may pass through the library
  }
}

char** Complete(const char* start, int, int) {
  rl_attempted_completion_over = 1;  // no names of files instead
  return rl_completion_matches(start, NextCompletion);
}

}  // namespace

LineEditor::LineEditor(Terminal& terminal, Completion completion) : terminal_(terminal) {
  names_for = std::move(completion);
  rl_readline_name = "reasoner";
  rl_basic_word_break_characters = " \t\n\"()&|~;";
  rl_attempted_completion_function = Complete;
  using_history();
  stifle_history(kMostLines);
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    history_file_ = std::string(home) + "/.reasoner_history";
    read_history(history_file_.c_str());
  }
}

LineEditor::~LineEditor() {
  if (!history_file_.empty()) write_history(history_file_.c_str());
  clear_history();
  names_for = nullptr;
  completions.clear();
}

bool LineEditor::ReadLine(const std::string& prompt, std::string& line) {
  std::fflush(stdout);
  const std::unique_ptr<char, void (*)(void*)> read(readline(prompt.c_str()), &std::free);
  if (!read) return false;
  line = reasoner::CleanUtf8(read.get(), true);
  const HIST_ENTRY* last =
      history_length > 0 ? history_get(history_base + history_length - 1) : nullptr;
  const bool is_new = last == nullptr || line != last->line;
  if (is_new && line.find_first_not_of(" \t") != std::string::npos) add_history(line.c_str());
  return true;
}

#else

LineEditor::LineEditor(Terminal& terminal, Completion) : terminal_(terminal) {}

LineEditor::~LineEditor() = default;

bool LineEditor::ReadLine(const std::string& prompt, std::string& line) {
  std::fputs(prompt.c_str(), stdout);
  if (terminal_.ReadLine(line)) return true;
  std::clearerr(stdin);  // a terminal goes on after the end of an input
  return false;
}

#endif

}  // namespace console
