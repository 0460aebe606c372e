// Record: a data object that an application builds from values and children.
#ifndef TROVA_MANAGER_OBJECTS_RECORD_HXX
#define TROVA_MANAGER_OBJECTS_RECORD_HXX

#include <cstdint>

#include "objects/DataObject.hxx"
#include "objects/KeyedList.hxx"

namespace trova {

class Record final : public trova_gdo {
 public:
  // Throws std::bad_alloc.
  static trova_gdo* create(const char* context);

  // @return the record behind an object, or null when the object is a view
  static Record* from(trova_gdo* object) noexcept;

  // Both throw std::bad_alloc and then leave the record as it was.
  void add_value(const char* key, const char* text);
  // @return 0; TROVA_MANAGER_INVALID_ARG when the child is this record or holds it
  uint32_t add_child(const char* key, trova_gdo* child);

  // The reads; ordinals count from 1, and what does not exist is null.
  const char* context() const noexcept { return context_; }
  uint32_t value_count(const char* key) noexcept;
  const char* value(const char* key, uint32_t ordinal) noexcept;
  uint32_t child_count(const char* key) noexcept;
  trova_gdo* child(const char* key, uint32_t ordinal) noexcept;

  // Calls visit(child) for each child.
  template <class Visit>
  void for_each_child(Visit visit) const {
    children_.for_each([&](const char* payload) { visit(child_of(payload)); });
  }

 private:
  explicit Record(const char* context);

  // Payload of an entry of `children_`: the bytes of a pointer.
  static trova_gdo* child_of(const char* payload) noexcept;
  bool is_reached_from(Record* start) const noexcept;

  const char* context_;
  KeyedList values_;
  KeyedList children_;     // appended under the lock of the tree
  bool is_child_ = false;  // of any record, now or once; under the lock of the tree
  ListStorage storage_;
};

}  // namespace trova

#endif  // TROVA_MANAGER_OBJECTS_RECORD_HXX
