// ListApi: the exported functions that read lists.
#include <cstring>

#include "Correlates.hxx"
#include "ListService.hxx"
#include "Search.hxx"
#include "util/Guard.hxx"
#include "vrel_memory.h"

using namespace trova::lists;
using trova::log_failure;

namespace {

// A live list in its language.
struct View {
  const ListTable* table = nullptr;
  const Element* elements = nullptr;
};

uint32_t view_of(const trova_list* list, View* out_view) {
  if (list == nullptr) return TROVA_MANAGER_INVALID_ARG;
  Language language;
  const ListTable* const table = table_of(list, &language);
  if (table == nullptr) return TROVA_MANAGER_BAD_HANDLE;
  *out_view = {table, table->elements[static_cast<std::size_t>(language)]};
  return 0;
}

uint32_t describe(const View& view, uint16_t position, trova_manager_element* out_element) {
  if (position == kNowhere) return TROVA_MANAGER_NOT_FOUND;
  const Element& element = view.elements[position];
  const uint32_t parent = element.level > 1 ? view.elements[element.path[element.level - 2]].id : 0;
  *out_element = {element.id,
                  parent,
                  element.level,
                  element.lower,
                  element.upper,
                  kText + element.name,
                  kText + element.synonyms};
  return 0;
}

uint32_t search(const View& view, const char* text, uint32_t capacity,
                trova_manager_element* out_elements, uint32_t* out_count) {
  const uint32_t most = capacity < view.table->count ? capacity : view.table->count;
  if (most == 0) {
    *out_count = 0;
    return 0;
  }
  auto* const positions = static_cast<uint16_t*>(vrel_memory_alloc(most * sizeof(uint16_t)));
  const int32_t count =
      positions == nullptr ? -1 : search_names(*view.table, text, most, positions);
  for (int32_t i = 0; i < count; ++i) (void)describe(view, positions[i], &out_elements[i]);
  vrel_memory_free(positions);
  if (count < 0) return TROVA_MANAGER_NO_MEMORY;
  *out_count = static_cast<uint32_t>(count);
  return 0;
}

uint32_t correlate(const char* type, uint32_t id_a, uint32_t id_b, int32_t* out_score) {
  if (!service_running()) return TROVA_MANAGER_NOT_RUNNING;
  for (std::size_t i = 0; i < kCorrelatedListCount; ++i) {
    if (std::strcmp(type, kLists[i].type) != 0) continue;
    const uint16_t a = position_of(kLists[i], id_a);
    const uint16_t b = position_of(kLists[i], id_b);
    if (a == kNowhere || b == kNowhere) return TROVA_MANAGER_NOT_FOUND;
    *out_score = pair_score(static_cast<ListKind>(i), a, b);
    return 0;
  }
  return TROVA_MANAGER_NOT_FOUND;
}

}  // namespace

uint32_t trova_manager_list_load(const char* type, trova_list** out_list) {
  if (type == nullptr || out_list == nullptr) {
    return log_failure(__func__, TROVA_MANAGER_INVALID_ARG);
  }
  return log_failure(__func__, load_list(type, service_language(), out_list));
}

uint32_t trova_manager_list_release(trova_list* list) {
  return log_failure(__func__, list_service_table().list_release(list));
}

uint32_t trova_manager_list_count(trova_list* list, uint32_t* out_count) {
  View view;
  uint32_t error = out_count == nullptr ? TROVA_MANAGER_INVALID_ARG : view_of(list, &view);
  if (error == 0) *out_count = view.table->count;
  return log_failure(__func__, error);
}

uint32_t trova_manager_list_get(trova_list* list, uint32_t index,
                                trova_manager_element* out_element) {
  View view;
  uint32_t error = out_element == nullptr ? TROVA_MANAGER_INVALID_ARG : view_of(list, &view);
  if (error == 0) {
    const bool inside = index < view.table->count;
    error = describe(view, inside ? static_cast<uint16_t>(index) : kNowhere, out_element);
  }
  return log_failure(__func__, error);
}

uint32_t trova_manager_list_element(trova_list* list, uint32_t id,
                                    trova_manager_element* out_element) {
  View view;
  uint32_t error = out_element == nullptr ? TROVA_MANAGER_INVALID_ARG : view_of(list, &view);
  if (error == 0) error = describe(view, position_of(*view.table, id), out_element);
  return log_failure(__func__, error);
}

uint32_t trova_manager_list_find(trova_list* list, const char* text,
                                 trova_manager_element* out_element) {
  View view;
  const bool complete = text != nullptr && out_element != nullptr;
  uint32_t error = complete ? view_of(list, &view) : TROVA_MANAGER_INVALID_ARG;
  if (error == 0) error = describe(view, find_name(*view.table, text), out_element);
  return log_failure(__func__, error);
}

uint32_t trova_manager_list_search(trova_list* list, const char* text, uint32_t capacity,
                                   trova_manager_element* out_elements, uint32_t* out_count) {
  View view;
  const bool complete =
      text != nullptr && out_count != nullptr && (out_elements != nullptr || capacity == 0);
  uint32_t error = complete ? view_of(list, &view) : TROVA_MANAGER_INVALID_ARG;
  if (error == 0) error = search(view, text, capacity, out_elements, out_count);
  return log_failure(__func__, error);
}

uint32_t trova_manager_list_correlate(const char* type, uint32_t id_a, uint32_t id_b,
                                      int32_t* out_score) {
  const bool complete = type != nullptr && out_score != nullptr;
  const uint32_t error =
      complete ? correlate(type, id_a, id_b, out_score) : TROVA_MANAGER_INVALID_ARG;
  return log_failure(__func__, error);
}
