// Console: what the command tells the person who runs it, on stderr.
#ifndef TROVA_CLI_CONSOLE_H
#define TROVA_CLI_CONSOLE_H

#include <chrono>
#include <cstddef>
#include <string_view>

namespace trova_cli {

class Console {
 public:
  // @param fd       stays the caller's
  // @param verbose  whether notes are shown
  explicit Console(int fd, bool verbose = false);
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  void set_verbose(bool verbose) noexcept { verbose_ = verbose; }
  bool verbose() const noexcept { return verbose_; }
  int fd() const noexcept { return fd_; }

  void Error(std::string_view text);
  void Warn(std::string_view text);
  // Shown with -v only.
  void Note(std::string_view text);
  // Lines below a message. Each ends in a line feed and is shown as it is.
  void Detail(std::string_view lines);

  // One line on a terminal that shows how far a scan is. It appears once the scan has taken a
  // second, is redrawn a few times per second, and goes away before anything else is said.
  void Progress(std::size_t count, std::string_view what = "tracks read");
  // The same where the end is known: with the rate and the time that is left.
  void Progress(std::size_t done, std::size_t total);
  void EndProgress();

 private:
  using Clock = std::chrono::steady_clock;

  bool IsProgressDue();
  void ShowProgress(std::string_view text);
  void HideProgress();
  void Say(std::string_view colour, std::string_view text);
  void Write(std::string_view bytes);

  int fd_;
  bool verbose_;
  bool terminal_;
  bool colour_;
  bool progress_shown_ = false;
  Clock::time_point start_{};  // of the scan; the epoch while none runs
  Clock::time_point next_progress_{};
};

}  // namespace trova_cli

#endif
