// Log: the log globals, and the lines that are written when an application asks for them.
//
// The globals are plain variables that the libraries read without a lock, so they change only where
// they must: setting another file descriptor or callback of the same levels leaves them alone and
// may be done at any time. Switching the log on or off, or changing its levels, is for times when
// no other thread is inside the libraries.
#include "log/Log.hxx"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <mutex>

#include "log/LogLine.hxx"
#include "trova_manager.h"
#include "util/Export.hxx"
#include "util/Guard.hxx"
#include "vrel_log.h"

extern "C" {
TROVA_EXPORT vrel_log_error_callback g_vrel_log_error_callback = nullptr;
TROVA_EXPORT vrel_log_callback g_vrel_log_callback = nullptr;
TROVA_EXPORT uint32_t g_vrel_log_enabled_pkgs[256] = {};
}

namespace trova {

namespace {

constexpr uint32_t kPackages = std::size(g_vrel_log_enabled_pkgs);
constexpr uint32_t kAllLevels = VREL_LOG_ERROR | VREL_LOG_WARNING | VREL_LOG_INFO;

// Where lines go: to a file descriptor, else to a callback, else nowhere.
struct Sink {
  int fd = -1;
  trova_manager_log_line callback = nullptr;
  void* user_data = nullptr;

  bool is_open() const { return fd >= 0 || callback != nullptr; }
};

struct Tag {
  char text[24] = {};
};

// Guards what follows, and keeps lines of a descriptor whole. Lock order: last, as anything may
// log; the application's callback is called without it.
constinit std::mutex g_lock;
constinit Sink g_sink;
constinit Tag g_tags[kPackages];

// Names of packages that nobody registers.
const char* default_tag(uint32_t package) {
  switch (package) {
    case 0x02:
    case 0x1f:
      return "THREADS";
    case 0x05:
      return "STRINGS";
    case 0x0d:
    case 0x0f:
      return "CONTAINERS";
    case 0x10:
      return "MANAGER";
    case 0x22:  // start and stop of the libraries, whichever they are
      return "LIBRARIES";
    default:
      return "UNKNOWN";
  }
}

Tag tag_of(uint32_t package) {
  Tag tag;
  {
    const std::lock_guard hold(g_lock);
    tag = g_tags[package % kPackages];
  }
  if (tag.text[0] == '\0') std::strcpy(tag.text, default_tag(package));
  return tag;
}

const char* level_name(uint32_t level) {
  if (level & VREL_LOG_ERROR) return "error";
  return level & VREL_LOG_WARNING ? "warning" : "info";
}

void append_source(LogLine& line, const char* source, uint32_t number) {
  if (source == nullptr) return;
  if (number == 0) {
    line.append(" (%s)", source);
  } else {
    line.append(" (%s:%u)", source, static_cast<unsigned>(number));
  }
}

// What cannot be written is lost: a log must not stop the program.
void write_all(int fd, const char* text, size_t length) {
  while (length > 0) {
    const ssize_t written = write(fd, text, length);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    text += written;
    length -= static_cast<size_t>(written);
  }
}

// The callback runs without the lock: it may log, and it may set another sink.
void emit(uint32_t package, uint32_t level, LogLine& line) {
  const char* const text = line.finish();
  std::unique_lock hold(g_lock);
  const Sink sink = g_sink;
  if (sink.fd >= 0) {
    const char* const whole = line.with_line_end();
    write_all(sink.fd, whole, line.length());
    return;
  }
  hold.unlock();
  if (sink.callback != nullptr) sink.callback(sink.user_data, package, level, text);
}

uint32_t log_error(uint32_t number, const char* source, uint32_t code, uint32_t extra) noexcept {
  const int saved_errno = errno;
  const uint32_t package = (code >> 16) & 0xff;
  LogLine line;
  line.append("%s error 0x%08x: %s", tag_of(package).text, static_cast<unsigned>(code),
              trova_manager_error_text(code));
  if (extra != 0) line.append(", 0x%x", static_cast<unsigned>(extra));
  append_source(line, source, number);
  emit(package, VREL_LOG_ERROR, line);
  errno = saved_errno;
  return code;
}

void log_message(uint32_t number, const char* source, uint32_t package, uint32_t level,
                 const char* format, ...) noexcept {
  if (format == nullptr) return;
  const int saved_errno = errno;
  LogLine line;
  line.append("%s %s: ", tag_of(package).text, level_name(level));
  va_list arguments;
  va_start(arguments, format);
  line.append_list(format, arguments);
  va_end(arguments);
  append_source(line, source, number);
  emit(package, level, line);
  errno = saved_errno;
}

template <class T>
void set_if_other(T& variable, T value) {
  if (variable != value) variable = value;
}

uint32_t set_sink(const Sink& sink, uint32_t levels) {
  if ((levels & ~kAllLevels) != 0) return TROVA_MANAGER_INVALID_ARG;
  const std::lock_guard hold(g_lock);
  g_sink = sink;
  const bool on = sink.is_open();
  set_if_other<vrel_log_error_callback>(g_vrel_log_error_callback, on ? log_error : nullptr);
  set_if_other<vrel_log_callback>(g_vrel_log_callback, on ? log_message : nullptr);
  for (uint32_t& enabled : g_vrel_log_enabled_pkgs) set_if_other(enabled, on ? levels : 0);
  return 0;
}

}  // namespace

uint32_t set_package_tag(uint32_t package, const char* tag) noexcept {
  if (package >= kPackages || tag == nullptr) return TROVA_MANAGER_INVALID_ARG;
  const std::lock_guard hold(g_lock);
  char* const text = g_tags[package].text;
  const size_t length = std::min(std::strlen(tag), sizeof(Tag) - 1);
  std::memcpy(text, tag, length);
  text[length] = '\0';
  return 0;
}

}  // namespace trova

using namespace trova;

uint32_t trova_manager_log_to_fd(int fd, uint32_t levels) {
  return guard_exported(__func__, [&] { return set_sink({.fd = fd}, levels); });
}

uint32_t trova_manager_log_to_callback(trova_manager_log_line callback, void* user_data,
                                       uint32_t levels) {
  return guard_exported(
      __func__, [&] { return set_sink({.callback = callback, .user_data = user_data}, levels); });
}
