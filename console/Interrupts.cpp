#include "console/Interrupts.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace console {

using namespace reasoner;

static std::atomic<TReasoner*> evaluating = nullptr;
static std::atomic<bool> waiting = false;      // for input: the engine would not see a request
static std::atomic<bool> interrupted = false;  // a Ctrl-C that no engine was asked to stop for
static struct sigaction handler_before = {};

static void HandleInterrupt(int) {
  TReasoner* const engine = evaluating.load();
  if (engine != nullptr && !waiting.load()) {
    engine->RequestInterrupt();
  } else {
    interrupted = true;
  }
}

InterruptHandler::InterruptHandler() {
  struct sigaction action = {};
  action.sa_handler = HandleInterrupt;
  action.sa_flags = SA_RESTART;
  interrupted = false;
  sigaction(SIGINT, &action, &handler_before);
}

InterruptHandler::~InterruptHandler() { sigaction(SIGINT, &handler_before, nullptr); }

Evaluation::Evaluation(TReasoner& engine) { evaluating = &engine; }

Evaluation::~Evaluation() { evaluating = nullptr; }

bool WaitForInput(void (*deliver)()) {
  // The signal is let through during the wait alone: none is lost between the look at the mark and
  // the wait.
  sigset_t held;
  sigset_t before;
  sigemptyset(&held);
  sigaddset(&held, SIGINT);
  sigprocmask(SIG_BLOCK, &held, &before);
  waiting = true;
  bool ready = false;
  while (!ready) {
    if (deliver != nullptr) deliver();
    if (interrupted.exchange(false)) break;
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    ready = ppoll(&input, 1, nullptr, &before) > 0 || errno != EINTR;
  }
  waiting = false;
  sigprocmask(SIG_SETMASK, &before, nullptr);
  return ready;
}

bool HasInput(int milliseconds) {
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, milliseconds) > 0;
}

}  // namespace console
