// The conversation at a prompt, on a terminal of its own.

#ifdef REASONER_CONSOLE

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace console_test {
namespace {

struct TPrompt {
  const char* editor;
  const char* program;
};
// With each library that there was when the program was built, and without one.
constexpr TPrompt kPrompts[] = {REASONER_PROMPTS};

class PromptTest : public ::testing::TestWithParam<TPrompt> {
 protected:
  void TearDown() override {
    if (child_ > 0) {
      kill(child_, SIGKILL);
      End();
    }
  }

  bool HasEditor() const { return std::string(GetParam().editor) != "plain"; }

  void Start(const std::string& bracketed_paste = "off") {
    folder_.Write("inputrc", "set enable-bracketed-paste " + bracketed_paste + "\n");
    child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (child_ < 0) GTEST_SKIP() << "this machine gives no terminal";
    if (child_ == 0) {
      setenv("HOME", folder_.GetPath().c_str(), 1);
      setenv("TERM", "xterm", 1);
      setenv("INPUTRC", (folder_ / "inputrc").c_str(), 1);
      execl(GetParam().program, GetParam().program, nullptr);
      _exit(127);
    }
    Expect("reasoner> ");
  }

  // With its three streams at the other end of a line that is no terminal.
  void StartAsCoprocess(const std::string& argument = "-") {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    terminal_ = ends[0];
    child_ = fork();
    ASSERT_GE(child_, 0);
    if (child_ == 0) {
      for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(ends[1], stream);
      close(ends[0]);
      close(ends[1]);
      signal(SIGINT, SIG_DFL);  // a test that runs in the background may have it ignored
      execl(GetParam().program, GetParam().program, argument.c_str(), "--run", nullptr);
      _exit(127);
    }
    close(ends[1]);
  }

  // Waits for the program to end; the exit status.
  int End() {
    char buffer[512];
    while (read(terminal_, buffer, sizeof(buffer)) > 0) {
    }
    int status = 0;
    waitpid(child_, &status, 0);
    close(terminal_);
    child_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // Waits for the prompt, types the keys at it, and waits until the text is shown after them. What
  // the line before has left to print would be taken for the answer to this one otherwise.
  void Type(const std::string& keys, const std::string& text) {
    while (!IsAtPrompt()) ASSERT_NO_FATAL_FAILURE(ReadMore("a prompt"));
    // The prompt is there before the terminal leaves the keys to the editor.
    termios mode = {};
    for (int wait = 0; HasEditor() && wait < 20'000; ++wait) {
      ASSERT_EQ(tcgetattr(terminal_, &mode), 0);
      if ((mode.c_lflag & ICANON) == 0) break;
      usleep(1'000);
    }
    Press(keys, text);
  }

  void Press(const std::string& keys, const std::string& text) {
    shown_.clear();
    ASSERT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    Expect(text);
  }

  void Expect(const std::string& text) {
    while (shown_.find(text) == std::string::npos) ASSERT_NO_FATAL_FAILURE(ReadMore(text));
  }

  void ReadMore(const std::string& text) {
    constexpr int kMilliseconds = 20'000;
    pollfd wanted = {terminal_, POLLIN, 0};
    char buffer[512];
    const ssize_t count =
        poll(&wanted, 1, kMilliseconds) > 0 ? read(terminal_, buffer, sizeof(buffer)) : 0;
    ASSERT_GT(count, 0) << "no " << text << " in: " << shown_;
    shown_.append(buffer, static_cast<std::size_t>(count));
  }

  // Whether the last line shown begins with a prompt; editors add control sequences around it.
  bool IsAtPrompt() const {
    const std::string line = shown_.substr(shown_.rfind('\n') + 1);
    return line.find("reasoner> ") != std::string::npos || line.find(" .. ") != std::string::npos;
  }

  reasoner::TemporaryFolder folder_;
  int terminal_ = -1;
  pid_t child_ = 0;
  std::string shown_;
};

TEST_P(PromptTest, EvaluatesAndGoesOnAfterWhatWentWrong) {
  Start();
  Type("(+ 40\r", "       .. ");
  Type("2)\r", "\n42\r\nreasoner> ");
  Type("(no-such)\r", "1:9: Function is unimplemented or unassigned: no-such\r\nreasoner> ");
  // The end of the input gives up what is unfinished, and leaves otherwise.
  Type("(bind ?x\r", "       .. ");
  Type("\x04", "reasoner> ");
  Type("(exit)\r", "\n");
  EXPECT_EQ(End(), 0);
}

TEST_P(PromptTest, HelpTellsWhatIsKnownByAName) {
  Start();
  Type("help sqrt\r", "<numeric-expression>)\r\nreasoner> ");
  Type("help no-such\r", "by the name no-such\r\nreasoner> ");
  Type("help\r", "input too.\r\nreasoner> ");
  // The function that the help names is there.
  EXPECT_NE(shown_.find("  (list-deffunctions)"), std::string::npos);
  Type("help list-deffunctions\r", "Displays the functions");
  Type(
      "(deftemplate pair (slot x)) (deffacts paired (a 1)) (deffacts pair (a 2)) (defglobal "
      "?*pair* = 2)\r",
      "\nreasoner> ");
  Type("help pair\r", "\n   (slot x )\r\n)\r\n\r\n(deffacts pair\r\n");
  if (HasEditor()) {
    Type("hel\t", "p ");
    Press("paire\t", "d ");
    Press("\r", "(deffacts paired");
  }
  Type("help ?*pair*\r", "\n(defglobal ?*pair* = 2)\r\nreasoner> ");
}

TEST_P(PromptTest, AnInterruptStopsWhatRunsAndNothingElse) {
  Start();
  Type("(deffunction turn () (printout t (sym-cat go ing) crlf) (while TRUE do (bind ?y 1)))\r",
       "reasoner> ");
  Type("(turn)\r", "going");
  Press("\x03", "interrupted\r\nreasoner> ");
  Type("(printout t (sym-cat ask ing) crlf) (readline)\r", "asking");
  Press("\x03", "interrupted\r\nreasoner> ");
  Type("(+ 40 2)\r", "\n42\r\nreasoner> ");
}

TEST_P(PromptTest, AnInterruptDropsAllLinesThatAreUnfinished) {
  for (const char* const bracketed_paste : {"off", "on"}) {
    Start(bracketed_paste);
    Type("(bind ?x\r", "       .. ");
    Type("(+ 1 7", "(+ 1 7");
    Press("\x03", "reasoner> ");
    Press("\x03", "reasoner> ");
    Type("(+ 40 2)\r", "42\r\n");
    Expect("reasoner> ");
    Type("\x04", "\n");
    EXPECT_EQ(End(), 0);
  }
}

TEST_P(PromptTest, ATabulatorThatIsPastedIsNoWishForCompletion) {
  for (const char* const bracketed_paste : {"off", "on"}) {
    Start(bracketed_paste);
    Type("(create$ food\tx)\r", "food x \r\n");
    Type("(str-length \"a\tb\")\r", "3\r\n");
    Type("\x1b[200~(create$ hood\tx)\x1b[201~\r", "hood x \r\n");
    Type("\x1b[200~(str-length \"ab\tb\")\x1b[201~\r", "4\r\n");
    Type("(str-cat (readline) \".\")\rtwo words\r(str-length \"äü€\")\r", "\"two words.\"\r\n");
    Expect("3\r\n");
    Type("\x04", "\n");
    EXPECT_EQ(End(), 0);
  }
}

TEST_P(PromptTest, NamesAreCompletedAndLinesRemembered) {
  if (!HasEditor()) GTEST_SKIP() << "no line editor";
  Start();
  Type("(defg\t", "lobal ");
  Press("?*altitude* = 7)\r", "reasoner> ");
  Type("?*alt\t", "itude*");
  Press("\r", "\n7\r\nreasoner> ");
  Type("\x04", "\n");
  EXPECT_EQ(End(), 0);
  Start();
  Type("\x1b[A\x1b[A\x1b[A\r", "reasoner> ");
  Type("\x1b[A\x1b[A\r", "\n7\r\nreasoner> ");
}

TEST_P(PromptTest, AnInputThatIsNoTerminalIsAnsweredExpressionByExpression) {
  StartAsCoprocess();
  Press("(+ 1 2)", "3\n");
  Press("\n(foo)", "2:5: Function is unimplemented or unassigned: foo\n");
  Press(" (str-cat a\n", "");
  Press("b)", "\"ab\"\n");
  Press("(sym-cat (readline) (read)) (+ 40 2)\nline\n12 dropped\n", "line12\n42\n");
  Press("(bind ?x 5) ?x ", "5\n5\n");
  Press("?y;", "6:16: Unknown variable name: y\n");
  shutdown(terminal_, SHUT_WR);
  EXPECT_EQ(End(), 1);
}

// A run ends between two firings, all else at once, and what follows is left out. The program tells
// by a file that it is where it is to be interrupted.
TEST_P(PromptTest, WithoutAPromptAnInterruptEndsTheProgram) {
  constexpr int kStatus = 130;
  const std::string mark = folder_ / "mark";
  const std::string here = "(open \"" + mark + "\" m \"w\")";
  folder_.Write("run.clp",
                "(deffacts start (n 0))\n"
                "(defrule next ?n <- (n ?i) =>\n"
                "  (retract ?n) (assert (n (+ ?i 1))) (if (= ?i 0) then " +
                    here + "))\n");
  const std::string file = folder_ / "run.clp";
  const std::string at_end = "Execution was interrupted\n";
  const struct {
    std::string file, input;
    int interrupts;
    std::string told;
  } rows[] = {
      {file, "", 1, at_end},
      {"-", "(load \"" + file + "\")\n(reset) (run)\n(+ 1 2)\n", 1, "TRUE\n2:13: " + at_end},
      {"-", here + "(defrule turn => " + here + "(while TRUE do 1))(reset) (run) (+ 1 2)", 2,
       "inside the firing of rule turn\n"},
      {"-", here + " (foo) (+ 40 2) (", 1, "42\n" + at_end},
      {"-", here + " (+ 40 2) (readline)", 1, ": " + at_end},
  };
  for (const auto& row : rows) {
    std::filesystem::remove(mark);
    StartAsCoprocess(row.file);
    Press(row.input, "");
    for (int wait = 0; !std::filesystem::exists(mark) && wait < 20'000; ++wait) usleep(1'000);
    for (int i = 0; i < row.interrupts; ++i) {
      usleep(100'000);
      ASSERT_EQ(kill(child_, SIGINT), 0);
    }
    Expect(row.told);
    EXPECT_EQ(shown_.substr(shown_.size() - row.told.size()), row.told) << row.input;
    EXPECT_EQ(End(), kStatus) << row.input;
  }
}

std::string EditorOf(const ::testing::TestParamInfo<TPrompt>& prompt) {
  return prompt.param.editor;
}

INSTANTIATE_TEST_SUITE_P(Editors, PromptTest, ::testing::ValuesIn(kPrompts), EditorOf);

}  // namespace
}  // namespace console_test

#endif
