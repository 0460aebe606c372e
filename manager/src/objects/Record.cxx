// Record: a data object that an application builds from values and children.
#include "objects/Record.hxx"

#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include "handles/Registry.hxx"
#include "trova_manager.h"

namespace trova {

namespace {

// The lock of the tree: held while a child is added, so that two threads cannot close a cycle
// between them, and so that only one search at a time uses the links of the objects. Lock order:
// before the locks of the lists.
constinit std::mutex g_tree;

// A text with its terminator, as bytes.
std::string_view with_terminator(const char* text) {
  return {text, std::strlen(text) + 1};
}

uint32_t get_context(void* view, const char** out_text) noexcept {
  *out_text = static_cast<Record*>(view)->context();
  return 0;
}

uint32_t child_count(void* view, const char* key, uint32_t* out_count) noexcept {
  *out_count = static_cast<Record*>(view)->child_count(key);
  return 0;
}

uint32_t get_child(void* view, const char* key, uint32_t ordinal, uint32_t,
                   trova_gdo** out_child) noexcept {
  if (ordinal == 0) return TROVA_MANAGER_INVALID_ARG;
  trova_gdo* const child = static_cast<Record*>(view)->child(key, ordinal);
  if (child == nullptr) return TROVA_MANAGER_NOT_FOUND;
  const uint32_t code = add_handle(child);
  if (code == 0) *out_child = child;
  return code;
}

uint32_t value_count(void* view, const char* key, uint32_t* out_count) noexcept {
  *out_count = static_cast<Record*>(view)->value_count(key);
  return 0;
}

uint32_t get_value(void* view, const char* key, uint32_t ordinal, const char** out_text) noexcept {
  if (ordinal == 0) return TROVA_MANAGER_INVALID_ARG;
  const char* const text = static_cast<Record*>(view)->value(key, ordinal);
  if (text == nullptr) return TROVA_MANAGER_NOT_FOUND;
  *out_text = text;
  return 0;
}

// A record is not released through its table and knows no locale: the null slots.
constexpr trova_gdo_operations kOperations = {
    .addref = nullptr,
    .get_context = get_context,
    .child_count = child_count,
    .get_child = get_child,
    .value_count = value_count,
    .get_value = get_value,
    .unused6 = nullptr,
    .set_locale = nullptr,
    .get_locale = nullptr,
    .unused9 = nullptr,
    .release = nullptr,
};

// The records that a search met, each once. A record that is in the queue has a link; the last one
// links to itself.
class SearchQueue {
 public:
  explicit SearchQueue(Record* start) : first_(start), last_(start) { start->link = start; }
  ~SearchQueue() {
    for (trova_gdo* record = first_; record != nullptr;) record = unlink(record);
  }
  SearchQueue(const SearchQueue&) = delete;
  SearchQueue& operator=(const SearchQueue&) = delete;

  void add(Record* record) {
    if (record->link != nullptr) return;
    record->link = record;
    last_->link = record;
    last_ = record;
  }

  // @return the record after one of the queue, or null
  static Record* after(Record* record) {
    return record->link == record ? nullptr : static_cast<Record*>(record->link);
  }

 private:
  static trova_gdo* unlink(trova_gdo* record) {
    trova_gdo* const next = std::exchange(record->link, nullptr);
    return next == record ? nullptr : next;
  }

  Record* first_;
  Record* last_;
};

}  // namespace

Record::Record(const char* context) : trova_gdo(&kOperations, this) {
  for (const char* const known : {TROVA_CTX_TRACK, TROVA_CTX_ALBUM}) {
    if (std::strcmp(context, known) == 0) {
      context_ = known;
      return;
    }
  }
  const std::string_view text = with_terminator(context);
  char* const copy = static_cast<char*>(storage_.arena.allocate(text.size()));
  text.copy(copy, text.size());
  context_ = copy;
}

trova_gdo* Record::create(const char* context) {
  std::unique_ptr<Record> record(new Record(context));
  handles::enter(record.get());
  return record.release();
}

Record* Record::from(trova_gdo* object) noexcept {
  return object->operations == &kOperations ? static_cast<Record*>(object) : nullptr;
}

void Record::add_value(const char* key, const char* text) {
  values_.append(storage_, Key(key), with_terminator(text));
}

uint32_t Record::add_child(const char* key, trova_gdo* child) {
  const std::lock_guard hold(g_tree);
  Record* const record = from(child);
  if (record != nullptr && is_reached_from(record)) return TROVA_MANAGER_INVALID_ARG;
  if (!takes_references(child)) return TROVA_MANAGER_NO_MEMORY;
  const std::string_view payload(reinterpret_cast<const char*>(&child), sizeof child);
  children_.append(storage_, Key(key), payload);
  child->references.fetch_add(1, std::memory_order_relaxed);
  if (record != nullptr) record->is_child_ = true;
  return 0;
}

uint32_t Record::value_count(const char* key) noexcept {
  return values_.count(storage_, Key(key));
}

const char* Record::value(const char* key, uint32_t ordinal) noexcept {
  return values_.find(storage_, Key(key), ordinal);
}

uint32_t Record::child_count(const char* key) noexcept {
  return children_.count(storage_, Key(key));
}

trova_gdo* Record::child(const char* key, uint32_t ordinal) noexcept {
  const char* const payload = children_.find(storage_, Key(key), ordinal);
  return payload == nullptr ? nullptr : child_of(payload);
}

trova_gdo* Record::child_of(const char* payload) noexcept {
  trova_gdo* child;
  std::memcpy(&child, payload, sizeof child);
  return child;
}

// Caller holds the lock of the tree. A record that was never a child, as every new one, costs no
// search: trees can be built from the leaves up or from the root down.
bool Record::is_reached_from(Record* start) const noexcept {
  if (start == this) return true;
  if (!is_child_) return false;
  SearchQueue queue(start);
  for (Record* record = start; record != nullptr; record = SearchQueue::after(record)) {
    if (record == this) return true;
    record->for_each_child([&](trova_gdo* child) {
      if (Record* const next = from(child)) queue.add(next);
    });
  }
  return false;
}

}  // namespace trova
