// vrel_hash_private: the string hash of hash tables and string tables.
#ifndef VREL_HASH_PRIVATE_H
#define VREL_HASH_PRIVATE_H

#include <string.h>

#include <cstdint>

constexpr uint32_t kVrelHashStart = 5381;

// One more byte of the string. Idents are enumerated in the order of these hashes, so applications
// see them.
constexpr uint32_t _vrel_hash_step(uint32_t hash, unsigned char byte) {
  return hash * 33 + byte;
}

// Four bytes a step: what takes time is the chain of multiplications, which is a quarter as long
// so.
inline uint32_t _vrel_hash_bytes(const char* string, size_t length) {
  constexpr uint32_t k2 = 33 * 33;
  constexpr uint32_t k3 = k2 * 33;
  constexpr uint32_t k4 = k3 * 33;
  const auto* bytes = reinterpret_cast<const unsigned char*>(string);
  uint32_t hash = kVrelHashStart;
  for (; length >= 4; length -= 4, bytes += 4) {
    hash = hash * k4 + (bytes[0] * k3 + bytes[1] * k2 + bytes[2] * 33u + bytes[3]);
  }
  for (; length > 0; --length) hash = _vrel_hash_step(hash, *bytes++);
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
