// vrel_hash_private: the string hash of hash tables and string tables.
#ifndef VREL_HASH_PRIVATE_H
#define VREL_HASH_PRIVATE_H

#include <cstdint>

constexpr uint32_t kVrelHashStart = 5381;

// One more byte of the string. Idents are enumerated in the order of these hashes, so applications
// see them.
constexpr uint32_t _vrel_hash_step(uint32_t hash, unsigned char byte) {
  return hash * 33 + byte;
}

inline uint32_t _vrel_hash(const char* string) {
  uint32_t hash = kVrelHashStart;
  for (; *string != '\0'; ++string) {
    hash = _vrel_hash_step(hash, static_cast<unsigned char>(*string));
  }
  return hash;
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
