// vrel_datatypes: start and stop of the containers, and the codes and flags that they share.
#ifndef VREL_DATATYPES_H
#define VREL_DATATYPES_H

#include <cstdint>

// ---- Codes ----

// A null handle, value, key or output, or an empty string.
constexpr uint32_t kVrelInvalidArg = 0x900d0001u;
constexpr uint32_t kVrelNoMemory = 0x900d0002u;
// A warning: what was asked for is not there.
constexpr uint32_t kVrelNotFound = 0x100d0003u;
// A container was created while the module is down.
constexpr uint32_t kVrelNotInited = 0x900d0007u;
// An element size that is not the vector's, or a byte size that is no multiple of it.
constexpr uint32_t kVrelSizeMismatch = 0x900d0209u;
// The handle's magic word is wrong. Which of the two codes says so depends on the function.
constexpr uint32_t kVrelBadHandle = 0x900d0320u;
constexpr uint32_t kVrelBadHandle2 = 0x900d0321u;
// A warning: an index, or an enumeration, past the end.
constexpr uint32_t kVrelOutOfRange = 0x100d0361u;
// No string can start at this id.
constexpr uint32_t kVrelInvalidId = 0x900d0363u;

// ---- Flags ----

// Every container: each operation runs inside a critical section of the container's own.
constexpr uint32_t kVrelThreadSafe = 0x01;

// Vectors. Sorted is a request and a state: an operation that may break the order clears it.
constexpr uint32_t kVrelSorted = 0x10;
// vrel_vector2: adding an equal element adds nothing.
constexpr uint32_t kVrelUnique = 0x20;

// Hash tables and string maps: keys differ in case; a key holds several values; keys are kept as
// pointers, and the caller keeps them alive.
constexpr uint32_t kVrelCaseSensitive = 0x10;
constexpr uint32_t kVrelMultiValue = 0x40;
constexpr uint32_t kVrelReferenceKeys = 0x100;
// String maps: values are kept as pointers too.
constexpr uint32_t kVrelReferenceStrings = 0x1000;

// ---- The module ----

// Counted. Raw result of a stop too many: 7.
[[nodiscard]] uint32_t vrel_datatypes_initialize();
uint32_t vrel_datatypes_shutdown();

// How often the module is started; 0 while it is down.
uint32_t vrel_datatypes_initchecks();

const char* vrel_datatypes_get_version();

#endif  // VREL_DATATYPES_H
