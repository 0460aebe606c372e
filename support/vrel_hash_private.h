// vrel_hash_private: the string hash of hash tables and string tables.
#ifndef VREL_HASH_PRIVATE_H
#define VREL_HASH_PRIVATE_H

#include <string.h>

#include <cstdint>

constexpr uint32_t kVrelHashStart = 5381;

// Of 33, modulo 2^32.
constexpr uint32_t kVrelHashPower2 = 33 * 33;
constexpr uint32_t kVrelHashPower4 = kVrelHashPower2 * kVrelHashPower2;
constexpr uint32_t kVrelHashPower8 = kVrelHashPower4 * kVrelHashPower4;

// One more byte of the string. String tables are enumerated in the order of these hashes, so
// applications see them.
constexpr uint32_t _vrel_hash_step(uint32_t hash, unsigned char byte) {
  return hash * 33 + byte;
}

// What eight steps add to a hash: neighbours are joined to pairs, pairs to fours and those to
// eight, side by side in one word.
inline uint32_t _vrel_hash_eight(const char* bytes) {
  constexpr uint64_t kBytes = 0x00ff00ff00ff00ffu;
  constexpr uint64_t kPairs = 0x0000ffff0000ffffu;
  uint64_t word = 0;
  memcpy(&word, bytes, sizeof word);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  word = __builtin_bswap64(word);
#endif
  const uint64_t pairs = (word & kBytes) * 33 + (word >> 8 & kBytes);
  const uint64_t fours = (pairs & kPairs) * kVrelHashPower2 + (pairs >> 16 & kPairs);
  return static_cast<uint32_t>(fours) * kVrelHashPower4 + static_cast<uint32_t>(fours >> 32);
}

inline uint32_t _vrel_hash_bytes(const char* string, size_t length) {
  uint32_t hash = kVrelHashStart;
  for (; length >= 8; length -= 8, string += 8) {
    hash = hash * kVrelHashPower8 + _vrel_hash_eight(string);
  }
  for (; length > 0; --length) hash = _vrel_hash_step(hash, static_cast<unsigned char>(*string++));
  return hash;
}

inline uint32_t _vrel_hash(const char* string) {
  return _vrel_hash_bytes(string, strlen(string));
}

// The same with the letters a to z taken as their capitals.
inline uint32_t _vrel_hash_folded(const char* string) {
  uint32_t hash = kVrelHashStart;
  for (; *string != '\0'; ++string) {
    const auto byte = static_cast<unsigned char>(*string);
    const bool is_small = byte >= 'a' && byte <= 'z';
    hash = _vrel_hash_step(hash, is_small ? static_cast<unsigned char>(byte - 32) : byte);
  }
  return hash;
}

#endif  // VREL_HASH_PRIVATE_H
