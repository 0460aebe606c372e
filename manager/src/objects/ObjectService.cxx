// ObjectService: the table of the data objects and their functions for applications.
#include <charconv>
#include <limits>

#include "objects/DataObject.hxx"
#include "objects/Record.hxx"
#include "start/Manager.hxx"
#include "trova_manager.h"
#include "util/Guard.hxx"

namespace trova {

namespace {

uint32_t release(void*) noexcept {
  return 0;
}

uint32_t gdo_create(void* view, const trova_gdo_operations* operations, uint32_t flags,
                    trova_gdo** out_object) noexcept {
  return guard([&]() -> uint32_t {
    if (operations == nullptr || out_object == nullptr) return TROVA_MANAGER_INVALID_ARG;
    if (flags != 0) return TROVA_MANAGER_UNSUPPORTED;
    *out_object = create_view(view, operations);
    return 0;
  });
}

uint32_t gdo_release(trova_gdo* object) noexcept {
  return object == nullptr ? 0 : release_handle(object);
}

constexpr trova_gdo_interface kTable = {
    .release = release,
    .gdo_create = gdo_create,
    .unused2 = nullptr,
    .gdo_release = gdo_release,
    .gdo_get_context = read_context,
    .unused5 = nullptr,
    .gdo_get_value = read_value,
    .unused7 = nullptr,
    .gdo_get_child = read_child,
};

bool is_key(const char* key) {
  return key != nullptr && *key != '\0';
}

uint32_t add_value(trova_gdo* object, const char* key, const char* text) {
  if (!is_key(key) || text == nullptr) return TROVA_MANAGER_INVALID_ARG;
  const uint32_t code = check_object(object);
  if (code != 0) return code;
  Record* const record = Record::from(object);
  if (record == nullptr) return TROVA_MANAGER_UNSUPPORTED;
  record->add_value(key, text);
  return 0;
}

uint32_t add_child(trova_gdo* object, const char* key, trova_gdo* child) {
  if (!is_key(key)) return TROVA_MANAGER_INVALID_ARG;
  if (const uint32_t code = check_object(object)) return code;
  if (const uint32_t code = check_object(child)) return code;
  Record* const record = Record::from(object);
  return record == nullptr ? TROVA_MANAGER_UNSUPPORTED : record->add_child(key, child);
}

}  // namespace

const trova_gdo_interface& object_service_table() noexcept {
  return kTable;
}

}  // namespace trova

using namespace trova;

uint32_t trova_manager_gdo_create(const char* context, trova_gdo** out_object) {
  return guard_exported(__func__, [&]() -> uint32_t {
    if (context == nullptr || out_object == nullptr) return TROVA_MANAGER_INVALID_ARG;
    if (!manager_runs()) return TROVA_MANAGER_NOT_RUNNING;
    *out_object = Record::create(context);
    return 0;
  });
}

uint32_t trova_manager_gdo_addref(trova_gdo* object) {
  return guard_exported(__func__, [&] {
    const uint32_t code = check_object(object);
    return code != 0 ? code : add_handle(object);
  });
}

uint32_t trova_manager_gdo_release(trova_gdo* object) {
  return guard_exported(__func__, [&] { return gdo_release(object); });
}

uint32_t trova_manager_gdo_add_value(trova_gdo* object, const char* key, const char* text) {
  return guard_exported(__func__, [&] { return add_value(object, key, text); });
}

uint32_t trova_manager_gdo_add_number(trova_gdo* object, const char* key, uint32_t number) {
  char digits[std::numeric_limits<uint32_t>::digits10 + 2] = {};
  std::to_chars(digits, digits + sizeof digits, number);
  return guard_exported(__func__, [&] { return add_value(object, key, digits); });
}

uint32_t trova_manager_gdo_add_child(trova_gdo* object, const char* key, trova_gdo* child) {
  return guard_exported(__func__, [&] { return add_child(object, key, child); });
}

uint32_t trova_manager_gdo_get_context(trova_gdo* object, const char** out_text) {
  return guard_exported(__func__, [&] { return read_context(object, out_text); });
}

uint32_t trova_manager_gdo_value_count(trova_gdo* object, const char* key, uint32_t* out_count) {
  return guard_exported(__func__, [&] { return read_value_count(object, key, out_count); });
}

uint32_t trova_manager_gdo_get_value(trova_gdo* object, const char* key, uint32_t ordinal,
                                     const char** out_text) {
  return guard_exported(__func__, [&] { return read_value(object, key, ordinal, out_text); });
}

uint32_t trova_manager_gdo_child_count(trova_gdo* object, const char* key, uint32_t* out_count) {
  return guard_exported(__func__, [&] { return read_child_count(object, key, out_count); });
}

uint32_t trova_manager_gdo_get_child(trova_gdo* object, const char* key, uint32_t ordinal,
                                     trova_gdo** out_child) {
  return guard_exported(__func__, [&] { return read_child(object, key, ordinal, 0, out_child); });
}
