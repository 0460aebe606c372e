// Interrupt: a flag that a signal handler sets.
#include "interrupt.h"

#include <csignal>

namespace trova_cli {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t g_interrupted = 0;

void Note(int) {
  g_interrupted = 1;
}

}  // namespace

InterruptScope::InterruptScope() {
  struct sigaction action {};
  action.sa_handler = Note;
  // The handler goes with its first call; calls of the system that it meets go on.
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
  for (const int number : kSignals) {
    struct sigaction old {};
    sigaction(number, nullptr, &old);
    // nohup and the like asked for a deaf process.
    if (old.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
  }
}

InterruptScope::~InterruptScope() {
  for (const int number : kSignals) {
    struct sigaction old {};
    sigaction(number, nullptr, &old);
    if (old.sa_handler == Note) std::signal(number, SIG_DFL);
  }
}

bool Interrupted() noexcept {
  return g_interrupted != 0;
}

}  // namespace trova_cli
