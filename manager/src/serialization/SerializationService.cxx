// SerializationService: the table of the serialization service.
#include "serialization/SerializationService.hxx"

#include "serialization/Cipher.hxx"
#include "trova_manager.h"
#include "util/Guard.hxx"

namespace trova {

namespace {

uint32_t release(void*) noexcept {
  return 0;
}

uint32_t encode(const char* text, uint32_t length, char** out_text) noexcept {
  return guard([&]() -> uint32_t {
    if (text == nullptr || out_text == nullptr) return TROVA_MANAGER_INVALID_ARG;
    *out_text = cipher::encode({text, length}).release();
    return 0;
  });
}

uint32_t decode(const char* text, char** out_text, uint32_t* out_length) noexcept {
  return guard([&]() -> uint32_t {
    if (text == nullptr || out_text == nullptr || out_length == nullptr) {
      return TROVA_MANAGER_INVALID_ARG;
    }
    std::optional<cipher::Plain> plain = cipher::decode(text);
    if (!plain.has_value()) return TROVA_MANAGER_INVALID_ARG;
    *out_text = plain->text.release();
    *out_length = plain->length;
    return 0;
  });
}

uint32_t free_text(char* text) noexcept {
  vrel_memory_free(text);
  return 0;
}

constexpr trova_serialization_interface kTable = {
    .release = release,
    .encode = encode,
    .decode = decode,
    .free = free_text,
};

}  // namespace

const trova_serialization_interface& serialization_service_table() noexcept {
  return kTable;
}

}  // namespace trova
