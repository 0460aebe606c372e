// vrel_stack: a last-in first-out list of values the size of a pointer.
//
// Errors with bit 31 are logged as "vrel_stack". Unless a function says otherwise: null arguments
// give kVrelInvalidArg, a dead stack kVrelBadHandle, and `out` parameters are written on success
// only.
#ifndef VREL_STACK_H
#define VREL_STACK_H

#include <cstdint>

#include "vrel_datatypes.h"

struct vrel_stack;

// Called with each value other than 0 that the stack discards. It must not touch the stack.
typedef void (*vrel_stack_release)(uintptr_t value);

// ---- Create and delete ----

// Flags: kVrelThreadSafe. `release` may be null. Codes: kVrelNotInited, kVrelNoMemory.
uint32_t vrel_stack_create(vrel_stack** out, uint32_t flags, vrel_stack_release release);

// Releases every value, from the top down, then the stack. Null returns 0.
uint32_t vrel_stack_delete(vrel_stack* stack);

// ---- Push, pop ----

// Code: kVrelNoMemory.
uint32_t vrel_stack_push(vrel_stack* stack, uintptr_t value);

// Takes the top value off: with an output it is the caller's, with null it is released.
// Code: kVrelNotFound when the stack is empty.
uint32_t vrel_stack_pop(vrel_stack* stack, uintptr_t* out_value);

// Reads the top value. Code: kVrelNotFound when the stack is empty.
uint32_t vrel_stack_top(const vrel_stack* stack, uintptr_t* out_value);
uint32_t vrel_stack_count(const vrel_stack* stack, uint32_t* out_count);

#endif  // VREL_STACK_H
