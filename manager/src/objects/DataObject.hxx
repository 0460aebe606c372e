// DataObject: what is known of one track or album, behind a handle.
//
// An object's reads are answered by a table of operations: that of a Record for the objects that
// applications build, the creator's for a view. References are counted twice. `references` keeps
// the object alive; `handles` counts those of them that callers hold, so that a caller who releases
// too often is told and does not take the reference of a parent.
#ifndef TROVA_MANAGER_OBJECTS_DATA_OBJECT_HXX
#define TROVA_MANAGER_OBJECTS_DATA_OBJECT_HXX

#include <atomic>
#include <cstdint>

#include "memory/Allocator.hxx"
#include "trova_manager_services.h"

namespace trova {

// First word of a trova_gdo.
inline constexpr uint32_t kDataObjectMagic = 0x0dda0b1e;

}  // namespace trova

struct trova_gdo : trova::Counted {
  trova_gdo(const trova_gdo_operations* object_operations, void* object_view)
      : operations(object_operations), view(object_view) {}

  const uint32_t magic = trova::kDataObjectMagic;
  std::atomic<uint32_t> references = 1;
  std::atomic<uint32_t> handles = 1;
  const trova_gdo_operations* const operations;
  void* const view;           // first argument of the operations
  trova_gdo* link = nullptr;  // chains objects that are being freed or searched
};

namespace trova {

// @return 0 for an object that some caller holds; TROVA_MANAGER_INVALID_ARG for null;
//         TROVA_MANAGER_BAD_HANDLE
[[nodiscard]] uint32_t check_object(const trova_gdo* object) noexcept;

// Makes a handle of an object without a view of its own. Throws std::bad_alloc; the view is then
// still the caller's.
trova_gdo* create_view(void* view, const trova_gdo_operations* operations);

// @return whether the counter has room for another reference
bool takes_references(const trova_gdo* object) noexcept;

// One more handle of an object that is alive.
// @return 0; TROVA_MANAGER_NO_MEMORY from 2^31 references on
[[nodiscard]] uint32_t add_handle(trova_gdo* object) noexcept;

// Gives back a handle. The last reference ends the object and, in turn, children that only it
// kept; views are released through their table.
// @return 0; TROVA_MANAGER_INVALID_ARG, TROVA_MANAGER_BAD_HANDLE; what a view's release returned
uint32_t release_handle(trova_gdo* object) noexcept;

// The reads. Each checks the handle and then asks the object's table.
uint32_t read_context(trova_gdo* object, const char** out_text) noexcept;
uint32_t read_value_count(trova_gdo* object, const char* key, uint32_t* out_count) noexcept;
uint32_t read_value(trova_gdo* object, const char* key, uint32_t ordinal,
                    const char** out_text) noexcept;
uint32_t read_child_count(trova_gdo* object, const char* key, uint32_t* out_count) noexcept;
uint32_t read_child(trova_gdo* object, const char* key, uint32_t ordinal, uint32_t flags,
                    trova_gdo** out_child) noexcept;

const trova_gdo_interface& object_service_table() noexcept;

}  // namespace trova

#endif  // TROVA_MANAGER_OBJECTS_DATA_OBJECT_HXX
