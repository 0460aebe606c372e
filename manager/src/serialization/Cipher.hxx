// Cipher: the text form in which the serialization service sends bytes.
//
// A message is a four-byte check of the plain bytes and then those bytes, all of them covered by a
// key stream and written as base64. That hides a text from the eye and detects damage; it is no
// protection against somebody who wants to read it.
#ifndef TROVA_MANAGER_SERIALIZATION_CIPHER_HXX
#define TROVA_MANAGER_SERIALIZATION_CIPHER_HXX

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "memory/Allocator.hxx"

namespace trova::cipher {

// @return the message, NUL-terminated; throws std::bad_alloc
Block encode(std::string_view plain);

struct Plain {
  Block text;  // NUL-terminated
  uint32_t length;
};

// @return nothing when the text is not a message as encode() writes it; throws std::bad_alloc
std::optional<Plain> decode(std::string_view message);

}  // namespace trova::cipher

#endif  // TROVA_MANAGER_SERIALIZATION_CIPHER_HXX
