// fuzz_target.h: what every fuzzer here is made of: its entry, its rules, and bytes to decide by.
#ifndef FUZZ_TARGET_H
#define FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// One input. libFuzzer calls it, or replay.cpp for each file of a corpus.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

[[noreturn]] inline void fuzz_broken(const char* file, int line, const char* rule) {
  std::fprintf(stderr, "%s:%d: broken: %s\n", file, line, rule);
  std::abort();
}

// A rule of what is tested. Breaking it is a finding, which ends the process like a crash does.
#define FUZZ_REQUIRE(rule) ((rule) ? void() : fuzz_broken(__FILE__, __LINE__, #rule))

// The input as decisions, one behind the other; behind its end all of them are 0.
class FuzzBytes {
 public:
  FuzzBytes(const uint8_t* data, size_t size) : at_(data), end_(data + size) {}

  bool empty() const { return at_ == end_; }
  uint32_t byte() { return empty() ? 0 : *at_++; }
  // 0 to n - 1, of one byte: n is 256 at most.
  uint32_t below(uint32_t n) { return byte() % n; }
  uint32_t word() {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | byte();
    return value;
  }
  uint64_t long_word() {
    const uint64_t high = word();
    return high << 32 | word();
  }
  // The bytes up to a zero byte, which is skipped, or so many.
  std::string text(size_t most) {
    std::string text;
    while (!empty() && text.size() < most) {
      const uint32_t next = byte();
      if (next == 0) break;
      text += static_cast<char>(next);
    }
    return text;
  }
  std::string rest() {
    const std::string rest(at_, end_);
    at_ = end_;
    return rest;
  }
  template <class T, size_t kCount>
  const T& pick(const T (&from)[kCount]) {
    return from[below(kCount)];
  }

 private:
  const uint8_t* at_;
  const uint8_t* end_;
};

#endif  // FUZZ_TARGET_H
