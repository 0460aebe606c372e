// vrel_stack: a last-in first-out list of values the size of a pointer.
#include "vrel_stack.h"

#include <atomic>

#include "vrel_error.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_thread.h"

static const char kSource[] = "vrel_stack";

static constexpr uint32_t kMagic = 0xabc56defu;

struct StackItem {
  uintptr_t value;  // 0 once it was handed out
  StackItem* below;
  StackItem* above;  // null for the top
};
VREL_LAYOUT_SIZE(StackItem, 12);
VREL_LAYOUT_FIELD(StackItem, value, 0);
VREL_LAYOUT_FIELD(StackItem, below, 4);
VREL_LAYOUT_FIELD(StackItem, above, 8);

// `lock` guards everything but `spare`.
struct vrel_stack {
  uint32_t magic;
  vrel_critsec* lock;  // null unless thread safe
  uint32_t count;
  StackItem* top;
  // One item kept for the next push, or null. Who takes it owns it; pushing does so without the
  // lock, so that allocating never happens under it.
  std::atomic<StackItem*> spare;
  vrel_stack_release release;  // may be null
};
VREL_LAYOUT_FIELD(vrel_stack, magic, 0);
VREL_LAYOUT_FIELD(vrel_stack, lock, 4);
VREL_LAYOUT_FIELD(vrel_stack, count, 8);
VREL_LAYOUT_FIELD(vrel_stack, top, 12);
VREL_LAYOUT_FIELD(vrel_stack, spare, 16);
VREL_LAYOUT_FIELD(vrel_stack, release, 20);

// ---- Create and delete ----

static uint32_t _vrel_stack_check(const vrel_stack* stack) {
  if (stack == nullptr) return kVrelInvalidArg;
  return stack->magic == kMagic ? 0 : kVrelBadHandle;
}

uint32_t vrel_stack_create(vrel_stack** out, uint32_t flags, vrel_stack_release release) {
  if (vrel_datatypes_initchecks() == 0) return VREL_LOG_HERE(kVrelNotInited);
  if (out == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  auto* stack = static_cast<vrel_stack*>(vrel_memory_calloc(1, sizeof(vrel_stack)));
  if (stack == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  if ((flags & kVrelThreadSafe) != 0) {
    const uint32_t error = vrel_thread_critsec_create(&stack->lock);
    if (error != 0) {
      vrel_memory_free(stack);
      return error;
    }
  }
  stack->release = release;
  stack->magic = kMagic;
  *out = stack;
  return 0;
}

// Takes the top item off. Caller holds stack->lock.
static StackItem* _vrel_stack_unlink_top(vrel_stack* stack) {
  StackItem* item = stack->top;
  stack->top = item->below;
  if (stack->top != nullptr) stack->top->above = nullptr;
  --stack->count;
  return item;
}

// Releases the value that the item still holds and keeps the item as the spare one.
static void _vrel_stack_retire(vrel_stack* stack, StackItem* item) {
  if (stack->release != nullptr && item->value != 0) stack->release(item->value);
  vrel_memory_free(stack->spare.exchange(item, std::memory_order_acq_rel));
}

uint32_t vrel_stack_delete(vrel_stack* stack) {
  if (stack == nullptr) return 0;
  const uint32_t bad = _vrel_stack_check(stack);
  if (bad != 0) return VREL_LOG_HERE(bad);
  while (stack->top != nullptr) _vrel_stack_retire(stack, _vrel_stack_unlink_top(stack));
  vrel_memory_free(stack->spare.load(std::memory_order_acquire));
  if (stack->lock != nullptr) (void)vrel_thread_critsec_delete(stack->lock);
  stack->magic = 0;
  vrel_memory_free(stack);
  return 0;
}

// ---- Push, pop ----

// An item that belongs to no list, or null when memory is short.
static StackItem* _vrel_stack_take_item(vrel_stack* stack) {
  StackItem* spare = stack->spare.exchange(nullptr, std::memory_order_acq_rel);
  if (spare != nullptr) return spare;
  return static_cast<StackItem*>(vrel_memory_alloc(sizeof(StackItem)));
}

uint32_t vrel_stack_push(vrel_stack* stack, uintptr_t value) {
  const uint32_t bad = _vrel_stack_check(stack);
  if (bad != 0) return VREL_LOG_HERE(bad);
  StackItem* item = _vrel_stack_take_item(stack);
  if (item == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  const vrel_critsec_guard guard(stack->lock);
  if (guard.error() != 0) {
    vrel_memory_free(item);
    return guard.error();
  }
  *item = {value, stack->top, nullptr};
  if (stack->top != nullptr) stack->top->above = item;
  stack->top = item;
  ++stack->count;
  return 0;
}

uint32_t vrel_stack_pop(vrel_stack* stack, uintptr_t* out_value) {
  const uint32_t bad = _vrel_stack_check(stack);
  if (bad != 0) return VREL_LOG_HERE(bad);
  const vrel_critsec_guard guard(stack->lock);
  if (guard.error() != 0) return guard.error();
  if (stack->top == nullptr) return kVrelNotFound;
  StackItem* item = _vrel_stack_unlink_top(stack);
  if (out_value != nullptr) {
    *out_value = item->value;
    item->value = 0;
  }
  _vrel_stack_retire(stack, item);
  return 0;
}

uint32_t vrel_stack_top(const vrel_stack* stack, uintptr_t* out_value) {
  if (out_value == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  const uint32_t bad = _vrel_stack_check(stack);
  if (bad != 0) return VREL_LOG_HERE(bad);
  const vrel_critsec_guard guard(stack->lock);
  if (guard.error() != 0) return guard.error();
  if (stack->top == nullptr) return kVrelNotFound;
  *out_value = stack->top->value;
  return 0;
}

uint32_t vrel_stack_count(const vrel_stack* stack, uint32_t* out_count) {
  if (out_count == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  const uint32_t bad = _vrel_stack_check(stack);
  if (bad != 0) return VREL_LOG_HERE(bad);
  const vrel_critsec_guard guard(stack->lock);
  if (guard.error() != 0) return guard.error();
  *out_count = stack->count;
  return 0;
}
