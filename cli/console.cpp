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
  EndProgress();
  Write(lines);
}

void Console::Progress(std::size_t count) {
  if (!terminal_) return;
  const Clock::time_point now = Clock::now();
  if (next_progress_ == Clock::time_point{}) next_progress_ = now + kProgressDelay;
  if (now < next_progress_) return;
  next_progress_ = now + kProgressInterval;
  progress_shown_ = true;
  Write(fmt::format("{}{} tracks read", kClearLine, count));
}

void Console::EndProgress() {
  if (progress_shown_) Write(kClearLine);
  progress_shown_ = false;
}

void Console::Say(std::string_view colour, std::string_view text) {
  EndProgress();
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
