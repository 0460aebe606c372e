// Cipher: the text form in which the serialization service sends bytes.
#include "serialization/Cipher.hxx"

#include <algorithm>
#include <array>
#include <limits>

namespace trova::cipher {

namespace {

using Byte = unsigned char;

constexpr size_t kCheckSize = 4;
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr Byte kNoDigit = 0xff;
constexpr unsigned kDigitBits = 6;
constexpr uint32_t kDigitMask = (1u << kDigitBits) - 1;

constexpr std::array<Byte, 256> kDigits = [] {
  std::array<Byte, 256> digits{};
  digits.fill(kNoDigit);
  for (Byte i = 0; i <= kDigitMask; ++i) digits[static_cast<Byte>(kAlphabet[i])] = i;
  return digits;
}();

constexpr size_t digits_for(size_t bytes) {
  return bytes / 3 * 4 + (bytes % 3 * 4 + 2) / 3;
}
constexpr size_t bytes_in(size_t digits) {
  return digits / 4 * 3 + digits % 4 * 3 / 4;
}

// The bytes that cover a message; both sides start from the same state.
class KeyStream {
 public:
  Byte next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return static_cast<Byte>(state_ >> 24);
  }

 private:
  uint32_t state_ = 0x7f4a7c15;
};

// FNV-1a.
uint32_t check_of(std::string_view plain) {
  uint32_t hash = 0x811c9dc5;
  for (const char byte : plain) hash = (hash ^ static_cast<Byte>(byte)) * 0x01000193u;
  return hash;
}

constexpr Byte check_byte(uint32_t check, size_t index) {
  return static_cast<Byte>(check >> (8 * index));
}

// Writes bytes as digits, the first byte highest.
class DigitWriter {
 public:
  explicit DigitWriter(char* to) : to_(to) {}

  void put(Byte byte) {
    pending_ = pending_ << 8 | byte;
    for (bits_ += 8; bits_ >= kDigitBits; bits_ -= kDigitBits)
      digit(pending_ >> (bits_ - kDigitBits));
  }
  void finish() {
    if (bits_ > 0) digit(pending_ << (kDigitBits - bits_));
    *to_ = '\0';
  }

 private:
  void digit(uint32_t value) { *to_++ = kAlphabet[value & kDigitMask]; }

  char* to_;
  uint32_t pending_ = 0;
  unsigned bits_ = 0;
};

// Reads what a DigitWriter wrote; the digits are known to be valid.
class DigitReader {
 public:
  explicit DigitReader(const char* from) : from_(from) {}

  Byte get() {
    for (; bits_ < 8; bits_ += kDigitBits) {
      pending_ = pending_ << kDigitBits | kDigits[static_cast<Byte>(*from_++)];
    }
    bits_ -= 8;
    return static_cast<Byte>(pending_ >> bits_);
  }
  // What is left of the last digit must be what the writer padded it with.
  bool is_padded() const { return (pending_ & ((1u << bits_) - 1)) == 0; }

 private:
  const char* from_;
  uint32_t pending_ = 0;
  unsigned bits_ = 0;
};

bool has_form(std::string_view message) {
  const auto is_digit = [](char byte) { return kDigits[static_cast<Byte>(byte)] != kNoDigit; };
  return message.size() % 4 != 1 && bytes_in(message.size()) >= kCheckSize &&
         bytes_in(message.size()) - kCheckSize <= std::numeric_limits<uint32_t>::max() &&
         std::all_of(message.begin(), message.end(), is_digit);
}

Block make_block(size_t size) {
  return Block(Allocator<char>().allocate(size));
}

}  // namespace

Block encode(std::string_view plain) {
  if (plain.size() > std::numeric_limits<size_t>::max() / 2) throw std::bad_alloc();
  Block message = make_block(digits_for(kCheckSize + plain.size()) + 1);
  DigitWriter writer(message.get());
  KeyStream key;
  const uint32_t check = check_of(plain);
  for (size_t i = 0; i < kCheckSize; ++i) {
    writer.put(static_cast<Byte>(check_byte(check, i) ^ key.next()));
  }
  for (const char byte : plain) {
    writer.put(static_cast<Byte>(static_cast<Byte>(byte) ^ key.next()));
  }
  writer.finish();
  return message;
}

std::optional<Plain> decode(std::string_view message) {
  if (!has_form(message)) return std::nullopt;
  DigitReader reader(message.data());
  KeyStream key;
  const auto next = [&] { return static_cast<Byte>(reader.get() ^ key.next()); };
  Byte check[kCheckSize];
  std::generate(std::begin(check), std::end(check), next);
  const size_t length = bytes_in(message.size()) - kCheckSize;
  Plain plain = {make_block(length + 1), static_cast<uint32_t>(length)};
  std::generate_n(plain.text.get(), length, [&] { return static_cast<char>(next()); });
  plain.text.get()[length] = '\0';
  const uint32_t wanted = check_of({plain.text.get(), length});
  for (size_t i = 0; i < kCheckSize; ++i) {
    if (check[i] != check_byte(wanted, i)) return std::nullopt;
  }
  if (!reader.is_padded()) return std::nullopt;
  return plain;
}

}  // namespace trova::cipher
