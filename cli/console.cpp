// Console: messages and the progress line.
#include "console.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "terminal.h"
#include "text.h"

namespace trova_cli {
namespace {

constexpr std::chrono::milliseconds kProgressDelay{1000};
constexpr std::chrono::milliseconds kProgressInterval{100};
constexpr std::string_view kRed = "\x1b[1;31m";
constexpr std::string_view kYellow = "\x1b[33m";
constexpr std::string_view kPlain = "\x1b[0m";
constexpr std::string_view kClearLine = "\r\x1b[K";

// "0:47", "1:02:30"
std::string Duration(double seconds) {
  const auto whole = static_cast<unsigned long>(seconds);
  const unsigned long minutes = whole / 60 % 60;
  if (whole < 3600) return fmt::format("{}:{:02}", minutes, whole % 60);
  return fmt::format("{}:{:02}:{:02}", whole / 3600, minutes, whole % 60);
}

}  // namespace

Console::Console(int fd, bool verbose)
    : fd_(fd), verbose_(verbose), terminal_(IsTerminal(fd)), colour_(WantsColour(fd)) {}

Console::~Console() {
  EndProgress();
}

void Console::Error(std::string_view text) {
  Say(kRed, text);
}

void Console::Warn(std::string_view text) {
  Say(kYellow, text);
}

void Console::Note(std::string_view text) {
  if (verbose_) Say({}, text);
}

void Console::Detail(std::string_view lines) {
  HideProgress();
  Write(lines);
}

void Console::Progress(std::size_t count, std::string_view what) {
  if (IsProgressDue()) ShowProgress(fmt::format("{} {}", count, what));
}

void Console::Progress(std::size_t done, std::size_t total) {
  if (!IsProgressDue()) return;
  const std::chrono::duration<double> passed = Clock::now() - start_;
  const double rate = static_cast<double>(done) / passed.count();
  std::string text = fmt::format("{} of {} files read", done, total);
  if (done > 0) {
    const double left = static_cast<double>(total - done) / rate;
    text += fmt::format(", {:.0f} per second, {} left", rate, Duration(left));
  }
  ShowProgress(text);
}

void Console::EndProgress() {
  HideProgress();
  start_ = {};
}

bool Console::IsProgressDue() {
  if (!terminal_) return false;
  const Clock::time_point now = Clock::now();
  if (start_ == Clock::time_point{}) {
    start_ = now;
    next_progress_ = now + kProgressDelay;
  }
  if (now < next_progress_) return false;
  next_progress_ = now + kProgressInterval;
  return true;
}

void Console::ShowProgress(std::string_view text) {
  progress_shown_ = true;
  Write(fmt::format("{}{}", kClearLine, text));
}

void Console::HideProgress() {
  if (progress_shown_) Write(kClearLine);
  progress_shown_ = false;
}

void Console::Say(std::string_view colour, std::string_view text) {
  HideProgress();
  const bool coloured = colour_ && !colour.empty();
  Write(fmt::format("{}trova:{} {}\n", coloured ? colour : "", coloured ? kPlain : "",
                    Printable(text)));
}

// Nobody can be told that stderr cannot be written, so failures end here.
void Console::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd_, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) return;
    if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace trova_cli
