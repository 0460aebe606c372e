// ListService: the operations of the list manager over the compiled tables.
#include "ListService.hxx"

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>

#include "Correlates.hxx"
#include "vrel_memory.h"

// Every handle is a slot of a fixed array. The sizes are powers of two: telling whether an address
// is a slot is then a subtraction and two comparisons, which element_lookup and correlate_score,
// called for every value of a statement, can afford.

struct alignas(8) trova_list {
  std::atomic<uint32_t> users;
};

struct alignas(8) trova_correlates {
  std::atomic<uint32_t> users;
};

struct alignas(8) trova_locale {
  std::atomic<uint32_t> users;
};

// The scores between one element and every element of its list.
struct alignas(16) trova_correlate_set {
  std::atomic<uint32_t> users;
  uint32_t list;    // which of kLists
  int16_t* scores;  // by position; counted memory, owned while there are users
};

namespace trova::lists {
namespace {

constexpr std::size_t kLocaleCount = 2;
constexpr const char* kLocaleNames[kLocaleCount] = {"trova_locale_playlist", "trova_locale_music"};
constexpr const char* kLanguageCodes[kLanguageCount] = {"en", "de"};
constexpr const char* kRegion = "global";
constexpr const char* kDescriptor = "default";

// Index of a list: language times kListCount plus kind. Of a locale: language times kLocaleCount
// plus name. A set stands at the position of its element, behind the sets of the lists before.
std::array<trova_list, kLanguageCount * kListCount> g_lists;
std::array<trova_locale, kLanguageCount * kLocaleCount> g_locales;
std::array<trova_correlates, kCorrelatedListCount> g_correlates;
std::array<trova_correlate_set, kMaxCorrelated> g_sets;

// Guards `list` and `scores` of a set while users come and go. Lock order: before the registry of
// handles.
std::mutex g_sets_mutex;
std::atomic<bool> g_running = false;
std::atomic<Language> g_language = Language::kEnglish;

// ---------------------------------------------------------------------------------- Handles

constexpr std::size_t kNoSlot = SIZE_MAX;

template <typename Slots, typename Handle>
std::size_t slot_of(const Slots& slots, const Handle* handle) {
  const std::size_t offset =
      reinterpret_cast<std::uintptr_t>(handle) - reinterpret_cast<std::uintptr_t>(slots.data());
  const std::size_t slot = offset / sizeof(Handle);
  return slot < slots.size() && offset % sizeof(Handle) == 0 ? slot : kNoSlot;
}

template <typename Slots, typename Handle>
std::size_t live_slot_of(const Slots& slots, const Handle* handle) {
  const std::size_t slot = slot_of(slots, handle);
  if (slot == kNoSlot || slots[slot].users.load(std::memory_order_acquire) == 0) return kNoSlot;
  return slot;
}

// @return 0; TROVA_MANAGER_NO_MEMORY when the counter is half full: threads may ask together
uint32_t add_user(std::atomic<uint32_t>& users) {
  if (users.load(std::memory_order_relaxed) > INT32_MAX) return TROVA_MANAGER_NO_MEMORY;
  users.fetch_add(1, std::memory_order_acq_rel);
  return 0;
}

// A handle without users has been released as often as it was handed out.
bool drop_user(std::atomic<uint32_t>& users) {
  uint32_t count = users.load(std::memory_order_relaxed);
  while (count != 0) {
    if (users.compare_exchange_weak(count, count - 1, std::memory_order_acq_rel)) return true;
  }
  return false;
}

template <typename Slots, typename Handle>
uint32_t release_handle(Slots& slots, Handle* handle) {
  if (handle == nullptr) return 0;
  const std::size_t slot = slot_of(slots, handle);
  return slot != kNoSlot && drop_user(slots[slot].users) ? 0 : TROVA_MANAGER_BAD_HANDLE;
}

template <typename Slots, typename Handle>
uint32_t hand_out(Slots& slots, std::size_t slot, Handle** out) {
  if (!service_running()) return TROVA_MANAGER_NOT_RUNNING;
  const uint32_t code = add_user(slots[slot].users);
  if (code == 0) *out = &slots[slot];
  return code;
}

// "de" of "de_AT.UTF-8"; English speaks for every language that the lists do not know.
Language language_of(const char* text) {
  if (text == nullptr) return Language::kEnglish;
  const std::string_view code(text, std::strcspn(text, "_-.@"));
  return code == "de" || code == "deu" || code == "ger" ? Language::kGerman : Language::kEnglish;
}

Language environment_language() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* const value = std::getenv(name);
    if (value != nullptr && *value != '\0') return language_of(value);
  }
  return Language::kEnglish;
}

// ------------------------------------------------------------------------- Lists, elements

uint32_t list_load(const char* type, const char* language, const char*, const char*,
                   trova_list** out_list) noexcept {
  if (type == nullptr || out_list == nullptr) return TROVA_MANAGER_INVALID_ARG;
  return load_list(type, language_of(language), out_list);
}

uint32_t list_release(trova_list* list) noexcept {
  return release_handle(g_lists, list);
}

uint32_t element_lookup(trova_list* list, uint32_t id, uint32_t level,
                        trova_list_element** out_element) noexcept {
  if (out_element == nullptr) return TROVA_MANAGER_INVALID_ARG;
  Language language;
  const ListTable* const table = table_of(list, &language);
  if (table == nullptr) return TROVA_MANAGER_BAD_HANDLE;
  uint16_t position = position_of(*table, id);
  if (position == kNowhere) return TROVA_MANAGER_NOT_FOUND;
  const Element* const elements = table->elements[static_cast<std::size_t>(language)];
  if (level != 0) {
    if (level > elements[position].level) return TROVA_MANAGER_NOT_FOUND;
    position = elements[position].path[level - 1];
  }
  // The interface's element is opaque and read only through our slots, which take it as const.
  *out_element = reinterpret_cast<trova_list_element*>(const_cast<Element*>(&elements[position]));
  return 0;
}

// Elements are never freed: any address of one is good, whoever holds the list.
const Element* element_of(const trova_list_element* handle) {
  const std::size_t offset =
      reinterpret_cast<std::uintptr_t>(handle) - reinterpret_cast<std::uintptr_t>(kElements);
  if (offset % sizeof(Element) != 0 || offset / sizeof(Element) >= kElementCount) return nullptr;
  return reinterpret_cast<const Element*>(handle);
}

uint32_t element_level(trova_list_element* handle, uint32_t* out_level) noexcept {
  const Element* const element = element_of(handle);
  if (out_level == nullptr) return TROVA_MANAGER_INVALID_ARG;
  if (element == nullptr) return TROVA_MANAGER_BAD_HANDLE;
  *out_level = element->level;
  return 0;
}

uint32_t element_id(trova_list_element* handle, uint32_t* out_id) noexcept {
  const Element* const element = element_of(handle);
  if (out_id == nullptr) return TROVA_MANAGER_INVALID_ARG;
  if (element == nullptr) return TROVA_MANAGER_BAD_HANDLE;
  *out_id = element->id;
  return 0;
}

uint32_t element_range(trova_list_element* handle, uint32_t* out_lower,
                       uint32_t* out_upper) noexcept {
  const Element* const element = element_of(handle);
  if (out_lower == nullptr || out_upper == nullptr) return TROVA_MANAGER_INVALID_ARG;
  if (element == nullptr) return TROVA_MANAGER_BAD_HANDLE;
  *out_lower = element->lower;
  *out_upper = element->upper;
  return 0;
}

uint32_t element_display(trova_list_element* handle, const char** out_text) noexcept {
  const Element* const element = element_of(handle);
  if (out_text == nullptr) return TROVA_MANAGER_INVALID_ARG;
  if (element == nullptr) return TROVA_MANAGER_BAD_HANDLE;
  *out_text = kText + element->name;
  return 0;
}

// ---------------------------------------------------------------------------------- Locales

uint32_t locale_load(const char* name, trova_locale** out_locale) noexcept {
  if (name == nullptr || out_locale == nullptr) return TROVA_MANAGER_INVALID_ARG;
  const std::size_t first = static_cast<std::size_t>(service_language()) * kLocaleCount;
  for (std::size_t i = 0; i < kLocaleCount; ++i) {
    if (std::strcmp(name, kLocaleNames[i]) == 0) return hand_out(g_locales, first + i, out_locale);
  }
  return TROVA_MANAGER_NOT_FOUND;
}

uint32_t locale_info(trova_locale* locale, const char** out_language, const char** out_region,
                     const char** out_descriptor) noexcept {
  if (out_language == nullptr || out_region == nullptr || out_descriptor == nullptr) {
    return TROVA_MANAGER_INVALID_ARG;
  }
  const std::size_t slot = live_slot_of(g_locales, locale);
  if (slot == kNoSlot) return TROVA_MANAGER_BAD_HANDLE;
  *out_language = kLanguageCodes[slot / kLocaleCount];
  *out_region = kRegion;
  *out_descriptor = kDescriptor;
  return 0;
}

uint32_t locale_addref(trova_locale* locale) noexcept {
  const std::size_t slot = live_slot_of(g_locales, locale);
  if (slot == kNoSlot) return TROVA_MANAGER_BAD_HANDLE;
  return add_user(g_locales[slot].users);
}

uint32_t locale_release(trova_locale* locale) noexcept {
  return release_handle(g_locales, locale);
}

// ------------------------------------------------------------------------------- Correlates

uint32_t correlates_load(const char* name, trova_correlates** out_correlates) noexcept {
  if (name == nullptr || out_correlates == nullptr) return TROVA_MANAGER_INVALID_ARG;
  for (std::size_t i = 0; i < kCorrelatedListCount; ++i) {
    if (std::strcmp(name, kLists[i].correlates) == 0) {
      return hand_out(g_correlates, i, out_correlates);
    }
  }
  return TROVA_MANAGER_NOT_FOUND;
}

uint32_t correlates_release(trova_correlates* correlates) noexcept {
  return release_handle(g_correlates, correlates);
}

std::size_t set_slot(std::size_t list, uint16_t position) {
  std::size_t slot = position;
  for (std::size_t before = 0; before < list; ++before) slot += kLists[before].count;
  return slot;
}

int16_t* new_scores(std::size_t list, uint16_t position) {
  const uint32_t count = kLists[list].count;
  auto* const scores = static_cast<int16_t*>(vrel_memory_alloc(count * sizeof(int16_t)));
  if (scores == nullptr) return nullptr;
  for (uint32_t i = 0; i < count; ++i) {
    scores[i] = static_cast<int16_t>(
        pair_score(static_cast<ListKind>(list), position, static_cast<uint16_t>(i)));
  }
  return scores;
}

uint32_t correlate_set_open(trova_correlates* correlates, uint32_t id,
                            trova_correlate_set** out_set) noexcept {
  if (out_set == nullptr) return TROVA_MANAGER_INVALID_ARG;
  const std::size_t list = live_slot_of(g_correlates, correlates);
  if (list == kNoSlot) return TROVA_MANAGER_BAD_HANDLE;
  const uint16_t position = position_of(kLists[list], id);
  if (position == kNowhere) return TROVA_MANAGER_NOT_FOUND;
  trova_correlate_set& set = g_sets[set_slot(list, position)];
  const std::lock_guard lock(g_sets_mutex);
  if (set.users.load(std::memory_order_relaxed) == 0) {
    set.scores = new_scores(list, position);
    if (set.scores == nullptr) return TROVA_MANAGER_NO_MEMORY;
    set.list = static_cast<uint32_t>(list);
  }
  const uint32_t code = add_user(set.users);
  if (code == 0) *out_set = &set;
  return code;
}

// Caller holds g_sets_mutex.
void free_scores(trova_correlate_set& set) {
  vrel_memory_free(set.scores);
  set.scores = nullptr;
}

uint32_t correlate_set_release(trova_correlate_set* handle) noexcept {
  if (handle == nullptr) return 0;
  const std::size_t slot = slot_of(g_sets, handle);
  if (slot == kNoSlot) return TROVA_MANAGER_BAD_HANDLE;
  trova_correlate_set& set = g_sets[slot];
  const std::lock_guard lock(g_sets_mutex);
  if (!drop_user(set.users)) return TROVA_MANAGER_BAD_HANDLE;
  if (set.users.load(std::memory_order_relaxed) == 0) free_scores(set);
  return 0;
}

uint32_t correlate_score(trova_correlate_set* handle, uint32_t id, int32_t* out_score) noexcept {
  if (out_score == nullptr) return TROVA_MANAGER_INVALID_ARG;
  const std::size_t slot = live_slot_of(g_sets, handle);
  if (slot == kNoSlot) return TROVA_MANAGER_BAD_HANDLE;
  const trova_correlate_set& set = g_sets[slot];
  const uint16_t position = position_of(kLists[set.list], id);
  if (position == kNowhere) return TROVA_MANAGER_NOT_FOUND;
  *out_score = set.scores[position];
  return 0;
}

uint32_t table_release(void*) noexcept {
  return 0;
}

constexpr trova_listmanager_interface kTable = {
    table_release,          // 0
    list_release,           // 1
    list_load,              // 2
    nullptr,                // 3
    locale_info,            // 4
    element_lookup,         // 5
    nullptr,                // 6
    element_level,          // 7
    element_id,             // 8
    element_range,          // 9
    element_display,        // 10
    nullptr,                // 11
    nullptr,                // 12
    nullptr,                // 13
    nullptr,                // 14
    nullptr,                // 15
    correlate_set_release,  // 16
    correlate_set_open,     // 17
    correlate_score,        // 18
    correlates_load,        // 19
    locale_load,            // 20
    correlates_release,     // 21
    locale_addref,          // 22
    locale_release,         // 23
};

template <typename Slots>
void forget_users(Slots& slots) {
  for (auto& slot : slots) slot.users.store(0, std::memory_order_release);
}

}  // namespace

const trova_listmanager_interface& list_service_table() noexcept {
  return kTable;
}

void list_service_start(const char* language) noexcept {
  g_language.store(language != nullptr ? language_of(language) : environment_language());
  g_running.store(true, std::memory_order_release);
}

void list_service_stop() noexcept {
  g_running.store(false, std::memory_order_release);
  forget_users(g_lists);
  forget_users(g_locales);
  forget_users(g_correlates);
  const std::lock_guard lock(g_sets_mutex);
  for (trova_correlate_set& set : g_sets) {
    if (set.scores == nullptr) continue;
    set.users.store(0, std::memory_order_release);
    free_scores(set);
  }
}

Language service_language() noexcept {
  return g_language.load();
}

bool service_running() noexcept {
  return g_running.load(std::memory_order_acquire);
}

uint32_t load_list(const char* type, Language language, trova_list** out_list) noexcept {
  const std::size_t first = static_cast<std::size_t>(language) * kListCount;
  for (std::size_t i = 0; i < kListCount; ++i) {
    if (std::strcmp(type, kLists[i].type) == 0) return hand_out(g_lists, first + i, out_list);
  }
  return TROVA_MANAGER_NOT_FOUND;
}

const ListTable* table_of(const trova_list* list, Language* out_language) noexcept {
  const std::size_t slot = live_slot_of(g_lists, list);
  if (slot == kNoSlot) return nullptr;
  *out_language = static_cast<Language>(slot / kListCount);
  return &kLists[slot % kListCount];
}

}  // namespace trova::lists
