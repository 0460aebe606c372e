// KeyedList: entries under keys, in the order in which they came.
#include "objects/KeyedList.hxx"

#include <memory>
#include <mutex>
#include <new>

namespace trova {

std::string_view KeyedList::Entry::key() const noexcept {
  return Key::is_known(tag) ? Key::known_text(tag) : std::string_view(stored());
}

const char* KeyedList::Entry::payload() const noexcept {
  return Key::is_known(tag) ? stored() : stored() + key().size() + 1;
}

const Vector<const char*>* KeyedList::Index::of(const Key& key) const noexcept {
  const auto found = payloads.find(key.text());
  return found == payloads.end() ? nullptr : &found->second;
}

KeyedList::~KeyedList() {
  delete index_.load(std::memory_order_relaxed);
}

void KeyedList::add_to_index(const Entry* entry) {
  index_.load(std::memory_order_relaxed)->payloads[entry->key()].push_back(entry->payload());
}

void KeyedList::make_index() {
  auto index = std::make_unique<Index>();
  for (const Entry* entry = first(); entry != nullptr; entry = entry->following()) {
    index->payloads[entry->key()].push_back(entry->payload());
  }
  index_.store(index.release(), std::memory_order_release);
}

void KeyedList::append(ListStorage& storage, const Key& key, std::string_view payload) {
  const std::lock_guard hold(storage.lock);
  if (count_ == kIndexFrom && !is_indexed()) make_index();
  const size_t size = Entry::kHeaderSize + key.stored_size() + payload.size();
  Entry* const entry = new (storage.arena.allocate(size)) Entry{nullptr, key.tag()};
  key.store(entry->stored());
  payload.copy(entry->stored() + key.stored_size(), payload.size());
  if (is_indexed()) add_to_index(entry);
  (last_ == nullptr ? first_ : last_->next).store(entry, std::memory_order_release);
  last_ = entry;
  ++count_;
}

uint32_t KeyedList::count(ListStorage& storage, const Key& key) const noexcept {
  if (is_indexed()) {
    const std::lock_guard hold(storage.lock);
    const auto* const payloads = index_.load(std::memory_order_relaxed)->of(key);
    return payloads == nullptr ? 0 : static_cast<uint32_t>(payloads->size());
  }
  uint32_t count = 0;
  for (const Entry* entry = first(); entry != nullptr; entry = entry->following()) {
    count += key.equals(entry->tag, entry->stored());
  }
  return count;
}

const char* KeyedList::find(ListStorage& storage, const Key& key, uint32_t ordinal) const noexcept {
  if (is_indexed()) {
    const std::lock_guard hold(storage.lock);
    const auto* const payloads = index_.load(std::memory_order_relaxed)->of(key);
    if (payloads == nullptr || ordinal - 1 >= payloads->size()) return nullptr;
    return (*payloads)[ordinal - 1];
  }
  for (const Entry* entry = first(); entry != nullptr; entry = entry->following()) {
    if (key.equals(entry->tag, entry->stored()) && --ordinal == 0) return entry->payload();
  }
  return nullptr;
}

}  // namespace trova
