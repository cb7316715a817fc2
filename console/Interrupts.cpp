#include "console/Interrupts.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>

#include "reasoner/vocabulary/KBExceptions.h"
#include "reasoner/vocabulary/Messages.h"

namespace console {

using namespace reasoner;

static std::atomic<TReasoner*> evaluating = nullptr;
static std::atomic<bool> waiting = false;      // for input: the engine would not see a request
static std::atomic<bool> interrupted = false;  // a Ctrl-C that no engine was asked to stop for
static std::atomic<int> interrupts = 0;        // of the present evaluation
static std::atomic<bool> at_prompt = false;
static struct sigaction handler_before = {};

static constexpr int kLastInterrupt = 3;  // ends the process where there is no prompt

static void HandleInterrupt(int signal) {
  if (interrupts.fetch_add(1) + 1 >= kLastInterrupt && !at_prompt.load()) {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    raise(signal);
    return;
  }
  TReasoner* const engine = evaluating.load();
  if (engine != nullptr && !waiting.load()) {
    engine->RequestInterrupt();
  } else {
    interrupted = true;
  }
}

InterruptHandler::InterruptHandler(TUse use) {
  at_prompt = use == kPrompt;
  sigaction(SIGINT, nullptr, &handler_before);
  if (handler_before.sa_handler == SIG_IGN && use == kNoPrompt) return;
  struct sigaction action = {};
  action.sa_handler = HandleInterrupt;
  action.sa_flags = SA_RESTART;
  interrupted = false;
  sigaction(SIGINT, &action, nullptr);
}

InterruptHandler::~InterruptHandler() { sigaction(SIGINT, &handler_before, nullptr); }

Evaluation::Evaluation(TReasoner& engine) : engine_(engine) {
  interrupts = 0;
  evaluating = &engine;
}

Evaluation::~Evaluation() { evaluating = nullptr; }

void Evaluation::RaiseIfInterrupted() const {
  if (interrupts.load() == 0) return;
  engine_.ClearFailurePlace();
  throw EKBInterrupted(std::string(SInterrupted.kFormat));
}

bool WaitForInput(void (*deliver)()) {
  // The signal is let through during the wait alone: none is lost between the look at the mark and
  // the wait.
  sigset_t held;
  sigset_t before;
  sigemptyset(&held);
  sigaddset(&held, SIGINT);
  sigprocmask(SIG_BLOCK, &held, &before);
  waiting = true;
  // A request that came between the engine's last look and this wait. In a run it stands for the
  // end of the firing, which still needs its input.
  TReasoner* const engine = evaluating.load();
  if (engine != nullptr && engine->GetCurrentActivation() == nullptr &&
      engine->GetLink()->interrupt_requests.load() > 0) {
    interrupted = true;
  }
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
