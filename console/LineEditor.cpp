#include "console/LineEditor.h"

#include <langinfo.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <exception>
#include <memory>
#include <string_view>
#include <utility>

#include "reasoner/support/Unicode.h"
#include "reasoner/vocabulary/KBExceptions.h"

#if defined(REASONER_EDITLINE)
#include <editline/readline.h>
#elif defined(REASONER_READLINE)
#include <readline/history.h>
#include <readline/readline.h>
#endif

namespace console {

// What terminals put around what is pasted, where a program has told them to.
static constexpr std::string_view kPasteBegin = "\x1b[200~";
static constexpr std::string_view kPasteEnd = "\x1b[201~";

#if defined(REASONER_EDITLINE) || defined(REASONER_READLINE)

namespace {

constexpr int kMostLines = 1000;
constexpr char kTabulator = '\t';
constexpr char kQuoteNext = '\x16';  // Ctrl-V, in both libraries: the next key stands for itself
// Nobody types on that soon after a tabulator: what comes then was pasted, or typed ahead.
constexpr int kPasteMilliseconds = 30;

// The library's calls take no object along.
LineEditor::Completion names_for;
std::vector<std::string> completions;  // of the word at hand
Terminal* keyboard = nullptr;
std::string keys;          // that have been looked at already
bool quoting = false;      // the tabulator behind a kQuoteNext is to come
bool pasting = false;      // between the marks
bool interrupted = false;  // while the present line was typed

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

int TakeByte(void (*deliver)()) {
  if (keys.empty()) return keyboard->NextByte(deliver);
  const int key = static_cast<unsigned char>(keys.front());
  keys.erase(0, 1);
  return key;
}

#if defined(REASONER_READLINE)

constexpr int kNoKey = READERR;          // ends the line at once
constexpr bool kQuotesInPastes = false;  // the library takes what is pasted as it is

int TakeKey() {
  const int key = TakeByte(rl_check_signals);
  static std::string last;
  last += static_cast<char>(key);
  if (last.size() > kPasteBegin.size()) last.erase(0, 1);
  if (last == kPasteBegin) pasting = true;
  if (last == kPasteEnd) pasting = false;
  return key;
}

int WholeCharacter(int key) { return key; }

// With bracketed pastes the library ends the screen line of an input that ended or broke off.
bool EndsScreenLine() {
  const char* const value = rl_variable_value("enable-bracketed-paste");
  return RL_READLINE_VERSION >= 0x0801 && value != nullptr && std::strcmp(value, "on") == 0;
}

#else

constexpr char kEscape = '\x1b';
constexpr int kNoKey = EOF;
constexpr bool kQuotesInPastes = true;

// The library does not know the marks around what is pasted: they are taken out here.
int TakeKey() {
  while (true) {
    const int key = TakeByte(nullptr);
    if (key != kEscape || !keys.empty()) return key;
    const std::string_view mark = pasting ? kPasteEnd : kPasteBegin;
    std::string seen(1, kEscape);
    while (seen.size() < mark.size() && mark.starts_with(seen) &&
           keyboard->HasByte(kPasteMilliseconds)) {
      const int next = keyboard->NextByte();
      if (next == Terminal::kEnd) break;
      seen += static_cast<char>(next);
    }
    if (seen != mark) {
      keys = seen.substr(1);
      return key;
    }
    pasting = !pasting;
  }
}

// The library wants wide characters, and not bytes.
int WholeCharacter(int key) {
  constexpr wchar_t kReplacement = 0xFFFD;
  std::mbstate_t state = {};
  for (; key != Terminal::kEnd; key = TakeByte(nullptr)) {
    const char byte = static_cast<char>(key);
    wchar_t character = 0;
    const std::size_t length = std::mbrtowc(&character, &byte, 1, &state);
    if (length == static_cast<std::size_t>(-1)) return kReplacement;
    if (length != static_cast<std::size_t>(-2)) return static_cast<int>(character);
  }
  return kNoKey;
}

bool EndsScreenLine() { return false; }

#endif

// The library reads its keys by this. A tabulator that was not typed is no wish for completion.
int NextKey(std::FILE*) {
  if (interrupted) return kNoKey;
  try {
    if (std::exchange(quoting, false)) return kTabulator;
    const int key = TakeKey();
    if (key == Terminal::kEnd) return EOF;
    if (key != kTabulator) return WholeCharacter(key);
    quoting = pasting ? kQuotesInPastes : keyboard->HasByte(kPasteMilliseconds);
    return quoting ? kQuoteNext : kTabulator;
  } catch (const std::exception&) {
    interrupted = true;  // no exception may pass through the library
    return kNoKey;
  }
}

// Keys and text are UTF-8, whatever the environment says or fails to say.
void UseUtf8() {
  std::setlocale(LC_CTYPE, "");
  if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) std::setlocale(LC_CTYPE, "C.UTF-8");
}

}  // namespace

LineEditor::LineEditor(Terminal& terminal, Completion completion) : terminal_(terminal) {
  UseUtf8();
  names_for = std::move(completion);
  keyboard = &terminal;
  rl_readline_name = "reasoner";
  rl_basic_word_break_characters = " \t\n\"()&|~;";
  rl_attempted_completion_function = Complete;
  rl_getc_function = NextKey;
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
  keyboard = nullptr;
  completions.clear();
}

LineEditor::TOutcome LineEditor::ReadLine(const std::string& prompt, std::string& line) {
  std::fflush(stdout);
  interrupted = false;
  const std::unique_ptr<char, void (*)(void*)> read(readline(prompt.c_str()), &std::free);
  if (interrupted) {
    quoting = false;
    pasting = false;
    keys.clear();
    terminal_.DropInput();
  }
  if (interrupted || !read) {
    if (!EndsScreenLine()) terminal_.Print("\n");
    return interrupted ? kInterrupted : kEnd;
  }
  line = reasoner::CleanUtf8(read.get(), true);
  const HIST_ENTRY* last =
      history_length > 0 ? history_get(history_base + history_length - 1) : nullptr;
  const bool is_new = last == nullptr || line != last->line;
  if (is_new && line.find_first_not_of(" \t") != std::string::npos) add_history(line.c_str());
  return kLine;
}

#else

LineEditor::LineEditor(Terminal& terminal, Completion) : terminal_(terminal) {}

LineEditor::~LineEditor() = default;

LineEditor::TOutcome LineEditor::ReadLine(const std::string& prompt, std::string& line) {
  std::fputs(prompt.c_str(), stdout);
  try {
    if (terminal_.ReadLine(line)) {
      for (const std::string_view mark : {kPasteBegin, kPasteEnd}) {
        for (std::size_t at = 0; (at = line.find(mark)) != std::string::npos;)
          line.erase(at, mark.size());
      }
      return kLine;
    }
  } catch (const reasoner::EKBInterrupted&) {
    terminal_.DropInput();
    terminal_.Print("\n");
    return kInterrupted;
  }
  terminal_.Print("\n");
  return kEnd;
}

#endif

}  // namespace console
