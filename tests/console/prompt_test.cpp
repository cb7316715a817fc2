// The conversation at a prompt, on a terminal of its own.

#ifdef REASONER_CONSOLE

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace console_test {
namespace {

class PromptTest : public ::testing::Test {
 protected:
  void SetUp() override { Start(); }
  void TearDown() override {
    if (child_ > 0) {
      kill(child_, SIGKILL);
      End();
    }
  }

  void Start() {
    folder_.Write("inputrc", "set enable-bracketed-paste off\n");
    child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (child_ < 0) GTEST_SKIP() << "this machine gives no terminal";
    if (child_ == 0) {
      setenv("HOME", folder_.GetPath().c_str(), 1);
      setenv("TERM", "xterm", 1);
      setenv("INPUTRC", (folder_ / "inputrc").c_str(), 1);
      execl(REASONER_CONSOLE, REASONER_CONSOLE, nullptr);
      _exit(127);
    }
    Expect("reasoner> ");
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

  // Types the keys at the prompt, and waits until the text is shown after them.
  void Type(const std::string& keys, const std::string& text) {
#ifdef REASONER_LINE_EDITING
    // The prompt is there before the terminal leaves the keys to the editor.
    termios mode = {};
    for (int wait = 0; wait < 20'000; ++wait) {
      ASSERT_EQ(tcgetattr(terminal_, &mode), 0);
      if ((mode.c_lflag & ICANON) == 0) break;
      usleep(1'000);
    }
#endif
    Press(keys, text);
  }

  void Press(const std::string& keys, const std::string& text) {
    shown_.clear();
    ASSERT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    Expect(text);
  }

  void Expect(const std::string& text) {
    constexpr int kMilliseconds = 20'000;
    while (shown_.find(text) == std::string::npos) {
      pollfd wanted = {terminal_, POLLIN, 0};
      char buffer[512];
      const ssize_t count =
          poll(&wanted, 1, kMilliseconds) > 0 ? read(terminal_, buffer, sizeof(buffer)) : 0;
      ASSERT_GT(count, 0) << "no " << text << " in: " << shown_;
      shown_.append(buffer, static_cast<std::size_t>(count));
    }
  }

  reasoner::TemporaryFolder folder_;
  int terminal_ = -1;
  pid_t child_ = 0;
  std::string shown_;
};

TEST_F(PromptTest, EvaluatesHelpsAndGoesOnAfterWhatWentWrong) {
  Type("(+ 40\r", "       .. ");
  Type("2)\r", "\n42\r\nreasoner> ");
  Type("(no-such)\r", "no-such\r\nreasoner> ");
  Type("help sqrt\r", "<numeric-expression>)\r\nreasoner> ");
  Type("help no-such\r", "by the name no-such\r\nreasoner> ");
  Type("help\r", "input.\r\nreasoner> ");
  // The end of the input gives up what is unfinished, and leaves otherwise.
  Type("(bind ?x\r", "       .. ");
  Type("\x04", "reasoner> ");
  Type("(exit)\r", "\n");
  EXPECT_EQ(End(), 0);
}

TEST_F(PromptTest, AnInterruptStopsWhatRunsAndNothingElse) {
  Type("(deffunction turn () (printout t (sym-cat go ing) crlf) (while TRUE do (bind ?y 1)))\r",
       "reasoner> ");
  Type("(turn)\r", "going");
  Press("\x03", "reasoner> ");
  Type("(+ 40 2)\r", "\n42\r\nreasoner> ");
}

#ifdef REASONER_LINE_EDITING
TEST_F(PromptTest, NamesAreCompletedAndLinesRemembered) {
  Type("(defglobal ?*altitude* = 7)\r", "reasoner> ");
  Type("(str-len\t\"four\")\r", "\n4\r\nreasoner> ");
  Type("?*alt\t\r", "\n7\r\nreasoner> ");
  Type("\x04", "\n");
  EXPECT_EQ(End(), 0);
  Start();
  Type("\x1b[A\x1b[A\r", "\n4\r\nreasoner> ");
}
#endif

}  // namespace
}  // namespace console_test

#endif
