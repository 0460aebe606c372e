// vrel_layout: assertions on records whose layout others rely on.
#ifndef VREL_LAYOUT_H
#define VREL_LAYOUT_H

#include <cstddef>
#include <cstdint>

// On 32-bit targets, where a pointer is a word like any number, fields have fixed offsets in bytes.
#define VREL_LAYOUT_FIELD(record, field, offset)                           \
  static_assert(sizeof(void*) != 4 || offsetof(record, field) == (offset), \
                #record "::" #field " has its place in the record of 32-bit targets")
#define VREL_LAYOUT_SIZE(record, size)                          \
  static_assert(sizeof(void*) != 4 || sizeof(record) == (size), \
                #record " has its size on 32-bit targets")

// Tables of functions are addressed by slot on every target.
#define VREL_LAYOUT_SLOT(table, field, slot)                      \
  static_assert(offsetof(table, field) == (slot) * sizeof(void*), \
                #table "::" #field " is at its slot")
#define VREL_LAYOUT_SLOTS(table, count) \
  static_assert(sizeof(table) == (count) * sizeof(void*), #table " has its slots")

#endif  // VREL_LAYOUT_H
