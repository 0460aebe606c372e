// Interrupt: Ctrl-C and SIGTERM, met where work can be put away.
#ifndef TROVA_CLI_INTERRUPT_H
#define TROVA_CLI_INTERRUPT_H

namespace trova_cli {

// While one lives, the first such signal only makes Interrupted() true; the second one ends the
// process as ever.
class InterruptScope {
 public:
  InterruptScope();
  ~InterruptScope();
  InterruptScope(const InterruptScope&) = delete;
  InterruptScope& operator=(const InterruptScope&) = delete;
};

bool Interrupted() noexcept;

}  // namespace trova_cli

#endif
