// DataObject: what is known of one track or album, behind a handle.
#include "objects/DataObject.hxx"

#include <memory>
#include <utility>

#include "handles/Registry.hxx"
#include "objects/Record.hxx"
#include "trova_manager.h"

namespace trova {

namespace {

// The objects that lost their last reference and wait to be freed. A list and no recursion: chains
// of children may be of any length.
class Dying {
 public:
  void drop_reference(trova_gdo* object) noexcept {
    if (object->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    handles::leave(object, kDataObjectMagic);
    object->link = first_;
    first_ = object;
  }

  // @return the first code other than 0 that a view's release returned
  uint32_t free_all() noexcept {
    uint32_t result = 0;
    while (first_ != nullptr) {
      trova_gdo* const object = std::exchange(first_, first_->link);
      const uint32_t code = free(object);
      if (result == 0) result = code;
    }
    return result;
  }

 private:
  uint32_t free(trova_gdo* object) noexcept {
    if (Record* const record = Record::from(object)) {
      record->for_each_child([this](trova_gdo* child) { drop_reference(child); });
      delete record;
      return 0;
    }
    const auto release = object->operations->release;
    const uint32_t code = release == nullptr ? 0 : release(object->view);
    delete object;
    return code;
  }

  trova_gdo* first_ = nullptr;
};

// Takes a handle out of the count.
// @return false when callers hold none
bool take_handle(trova_gdo* object) noexcept {
  uint32_t handles = object->handles.load(std::memory_order_relaxed);
  do {
    if (handles == 0) return false;
  } while (!object->handles.compare_exchange_weak(handles, handles - 1, std::memory_order_acq_rel,
                                                  std::memory_order_relaxed));
  return true;
}

// Calls an operation of an object that passed the check; a slot that a view leaves null is
// something that it cannot do.
template <class Operation, class... Arguments>
uint32_t call(Operation operation, trova_gdo* object, Arguments... arguments) noexcept {
  const uint32_t code = check_object(object);
  if (code != 0) return code;
  const auto slot = object->operations->*operation;
  return slot == nullptr ? TROVA_MANAGER_UNSUPPORTED : slot(object->view, arguments...);
}

}  // namespace

uint32_t check_object(const trova_gdo* object) noexcept {
  const uint32_t code = handles::check(object, kDataObjectMagic);
  if (code != 0) return code;
  const bool held = object->handles.load(std::memory_order_relaxed) != 0;
  return held ? 0 : TROVA_MANAGER_BAD_HANDLE;
}

trova_gdo* create_view(void* view, const trova_gdo_operations* operations) {
  auto object = std::make_unique<trova_gdo>(operations, view);
  handles::enter(object.get());
  return object.release();
}

// Half of what the counter holds: threads may ask together.
bool takes_references(const trova_gdo* object) noexcept {
  return object->references.load(std::memory_order_relaxed) <= INT32_MAX;
}

uint32_t add_handle(trova_gdo* object) noexcept {
  if (!takes_references(object)) return TROVA_MANAGER_NO_MEMORY;
  object->references.fetch_add(1, std::memory_order_relaxed);
  object->handles.fetch_add(1, std::memory_order_relaxed);
  return 0;
}

uint32_t release_handle(trova_gdo* object) noexcept {
  const uint32_t code = check_object(object);
  if (code != 0) return code;
  if (!take_handle(object)) return TROVA_MANAGER_BAD_HANDLE;
  Dying dying;
  dying.drop_reference(object);
  return dying.free_all();
}

uint32_t read_context(trova_gdo* object, const char** out_text) noexcept {
  if (out_text == nullptr) return TROVA_MANAGER_INVALID_ARG;
  return call(&trova_gdo_operations::get_context, object, out_text);
}

uint32_t read_value_count(trova_gdo* object, const char* key, uint32_t* out_count) noexcept {
  if (key == nullptr || out_count == nullptr) return TROVA_MANAGER_INVALID_ARG;
  return call(&trova_gdo_operations::value_count, object, key, out_count);
}

uint32_t read_value(trova_gdo* object, const char* key, uint32_t ordinal,
                    const char** out_text) noexcept {
  if (key == nullptr || out_text == nullptr) return TROVA_MANAGER_INVALID_ARG;
  return call(&trova_gdo_operations::get_value, object, key, ordinal, out_text);
}

uint32_t read_child_count(trova_gdo* object, const char* key, uint32_t* out_count) noexcept {
  if (key == nullptr || out_count == nullptr) return TROVA_MANAGER_INVALID_ARG;
  return call(&trova_gdo_operations::child_count, object, key, out_count);
}

uint32_t read_child(trova_gdo* object, const char* key, uint32_t ordinal, uint32_t flags,
                    trova_gdo** out_child) noexcept {
  if (key == nullptr || out_child == nullptr) return TROVA_MANAGER_INVALID_ARG;
  return call(&trova_gdo_operations::get_child, object, key, ordinal, flags, out_child);
}

}  // namespace trova
