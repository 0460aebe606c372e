// ErrorInfo: each thread's last error.
#include "errors/ErrorInfo.hxx"

#include <cstring>
#include <utility>

#include "memory/Allocator.hxx"
#include "trova_manager.h"
#include "util/Guard.hxx"
#include "util/Utf8.hxx"

namespace trova {

namespace {

// Usual messages fit into the thread's own room, so recording one allocates nothing and leaves
// nothing behind. Long ones get a block; without memory for it their beginning must do.
class LastError {
 public:
  // The text may be the one that is recorded now.
  void set(uint32_t code, const char* text) noexcept {
    code_ = code;
    const size_t length = text == nullptr ? 0 : std::strlen(text);
    Block long_text;
    if (length >= sizeof short_text_) {
      long_text.reset(static_cast<char*>(vrel_memory_alloc(length + 1)));
    }
    if (long_text != nullptr) {
      std::memcpy(long_text.get(), text, length + 1);
    } else {
      set_short(text, length);
    }
    long_text_ = std::move(long_text);
  }

  uint32_t code() const noexcept { return code_; }
  const char* text() const noexcept {
    return long_text_ != nullptr ? long_text_.get() : short_text_;
  }

 private:
  void set_short(const char* text, size_t length) noexcept {
    const size_t kept = utf8_prefix(text, length, sizeof short_text_ - 1);
    if (kept != 0) std::memmove(short_text_, text, kept);
    short_text_[kept] = '\0';
  }

  uint32_t code_ = 0;
  Block long_text_;
  char short_text_[240] = "";
};

thread_local LastError t_last_error;

uint32_t release(void*) noexcept {
  return 0;
}

uint32_t set(uint32_t code, const char* text) noexcept {
  t_last_error.set(code, text);
  return 0;
}

constexpr trova_errorinfo_interface kTable = {.release = release, .set = set};

}  // namespace

const trova_errorinfo_interface& error_service_table() noexcept {
  return kTable;
}

}  // namespace trova

uint32_t trova_manager_last_error(uint32_t* out_code, const char** out_text) {
  if (out_code != nullptr) *out_code = trova::t_last_error.code();
  if (out_text != nullptr) *out_text = trova::t_last_error.text();
  return 0;
}
