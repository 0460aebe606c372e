// playlist_impl_attr_list: attributes whose values are elements of one of the manager's lists.
#include "playlist_impl_attr_list.h"

#include "playlist_error.h"
#include "playlist_gdo_read.h"
#include "playlist_list_service.h"
#include "playlist_services.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_string.h"
#include "vrel_vector.h"

namespace {

constexpr uint32_t kContextMagic = 0xaabbccddu;

// Years, both inclusive. {0, 0} is the range of what the list does not know.
struct Range {
  uint32_t start;
  uint32_t end;
};

// What a statement compares captured ids with.
struct ListContext {
  uint32_t magic;  // kContextMagic
  uint32_t op;
  uint32_t value;  // id of the element that values are compared with
  uint32_t level;  // of that element; 0 until known: then values are compared as they are
  Range range;     // of that element, where the member compares ranges
  LoadedList loaded;
  trova_correlate_set* correlate_set;  // of `value`, for LIKE; null: none
  vrel_vector* texts;                  // handed out by render; null until the first
};
VREL_LAYOUT_FIELD(ListContext, magic, 0);
VREL_LAYOUT_FIELD(ListContext, op, 4);
VREL_LAYOUT_FIELD(ListContext, value, 8);
VREL_LAYOUT_FIELD(ListContext, level, 12);
VREL_LAYOUT_FIELD(ListContext, range, 16);
VREL_LAYOUT_FIELD(ListContext, loaded, 24);
VREL_LAYOUT_FIELD(ListContext, correlate_set, 32);
VREL_LAYOUT_FIELD(ListContext, texts, 36);

ListContext* context_of(void* context) {
  return static_cast<ListContext*>(context);
}

uint32_t log_error(const ListAttribute& attribute, uint32_t line, uint32_t code) {
  return vrel_log_error(line, attribute.source, code);
}

// -------------------------------------------------------------------------------- Capture

// Hands the object's own value over, if it has one.
void capture_own(const ListAttribute& attribute, void* writer, trova_gdo* object,
                 const trova_playlist_capture_callbacks* callbacks) {
  uint32_t id = 0;
  if (playlist_gdo_get_number(object, attribute.value_key, &id) != 0) return;
  static_cast<void>(callbacks->set_integer(writer, id));
}

// An album speaks for its matched track first.
void capture_matched_track(const ListAttribute& attribute, void* writer, trova_gdo* album,
                           const trova_playlist_capture_callbacks* callbacks) {
  GdoOwner track;
  if (playlist_gdo_get_matched_track(album, track.out()) != 0) return;
  capture_own(attribute, writer, track.get(), callbacks);
}

// ---------------------------------------------------------------------------- Preparation

uint32_t read_range(trova_list_element* element, Range* out_range) {
  Range range = {};
  PL_TRY(g_playlist_lists_interface->element_range(element, &range.start, &range.end));
  *out_range = range;
  return 0;
}

// Level, range and id of the context's value, all or nothing.
uint32_t locate_range(ListContext* context) {
  trova_list_element* element = nullptr;
  ListContext found = *context;
  PL_TRY(g_playlist_lists_interface->element_lookup(context->loaded.list, context->value, 0,
                                                    &element));
  PL_TRY(g_playlist_lists_interface->element_level(element, &found.level));
  PL_TRY(read_range(element, &found.range));
  PL_TRY(g_playlist_lists_interface->element_id(element, &found.value));
  *context = found;
  return 0;
}

uint32_t locate_value(ListContext* context) {
  return playlist_list_locate(context->loaded.list, context->value, &context->level,
                              &context->value);
}

// A number that no era carries is a year of its own, so statements may compare with plain years.
uint32_t locate_era(ListContext* context) {
  context->range = {context->value, context->value};
  if (context->loaded.list == nullptr) return 0;
  const uint32_t code = locate_range(context);
  return playlist_not_found(code) ? 0 : code;
}

uint32_t locate(const ListAttribute& attribute, ListContext* context) {
  if (attribute.compares_ranges) return locate_era(context);
  return context->loaded.list == nullptr ? 0 : locate_value(context);
}

// Opens the scores of the context's value, when LIKE will ask for them.
uint32_t open_correlates(ListContext* context) {
  if (context->op != TROVA_PLAYLIST_OP_LIKE || context->loaded.correlates == nullptr) return 0;
  return g_playlist_lists_interface->correlate_set_open(context->loaded.correlates, context->value,
                                                        &context->correlate_set);
}

uint32_t set_value_from_seed(const ListAttribute& attribute, ListContext* context, uint32_t op,
                             trova_gdo* seed) {
  context->op = op;
  const uint32_t code = playlist_gdo_get_number(seed, attribute.value_key, &context->value);
  if (playlist_not_found(code)) return PLERR_NoValue;
  if (code != 0) return code;

  PL_TRY(locate(attribute, context));
  return open_correlates(context);
}

// ----------------------------------------------------------------------------- Evaluation

uint32_t score_correlate(const ListContext& context, uint32_t value, int32_t* out_score) {
  if (context.correlate_set == nullptr) return PLERR_ListUnavailable;
  return g_playlist_lists_interface->correlate_score(context.correlate_set, value, out_score);
}

uint32_t compare_values(const ListContext& context, uint32_t value, int32_t* out_score) {
  if (playlist_score_equality(context.op, value, context.value, out_score)) return 0;
  if (context.op != TROVA_PLAYLIST_OP_LIKE) return PLERR_Unsupported;
  return score_correlate(context, value, out_score);
}

// The six conditions look at different ends of the two ranges; that is how eras compare: an era
// equals the one that it lies in, and "at least" is met by an era that merely reaches into it.
uint32_t compare_ranges(const ListContext& context, uint32_t value, const Range& captured,
                        int32_t* out_score) {
  const Range& wanted = context.range;
  switch (context.op) {
    case TROVA_PLAYLIST_OP_EQUAL:
      *out_score = playlist_score_of(wanted.start <= captured.start && captured.end <= wanted.end);
      return 0;
    case TROVA_PLAYLIST_OP_NOT_EQUAL:
      *out_score = playlist_score_of(captured.start < wanted.start || captured.end > wanted.end);
      return 0;
    case TROVA_PLAYLIST_OP_GREATER:
      *out_score = playlist_score_of(wanted.start < captured.start);
      return 0;
    case TROVA_PLAYLIST_OP_GREATER_OR_EQUAL:
      *out_score = playlist_score_of(wanted.start <= captured.end);
      return 0;
    case TROVA_PLAYLIST_OP_LESS:
      *out_score = playlist_score_of(captured.end < wanted.start);
      return 0;
    case TROVA_PLAYLIST_OP_LESS_OR_EQUAL:
      *out_score = playlist_score_of(captured.end <= wanted.end);
      return 0;
    case TROVA_PLAYLIST_OP_LIKE:
      return score_correlate(context, value, out_score);
    default:
      return PLERR_Unsupported;
  }
}

// The element, or its ancestor at the level of the statement's value: its id and range.
uint32_t roll_up_range(const ListContext& context, uint32_t* value, Range* out_range) {
  trova_list_element* element = nullptr;
  PL_TRY(g_playlist_lists_interface->element_lookup(context.loaded.list, *value, context.level,
                                                    &element));
  PL_TRY(read_range(element, out_range));
  return g_playlist_lists_interface->element_id(element, value);
}

uint32_t evaluate_range(const ListContext& context, uint32_t value, int32_t* out_score) {
  Range captured = {};
  uint32_t code = 0;
  if (context.loaded.list != nullptr) code = roll_up_range(context, &value, &captured);
  // An era that the list cannot place has the range {0, 0}; that is no error.
  if (playlist_not_found(code)) code = 0;
  PL_TRY(compare_ranges(context, value, captured, out_score));
  return code;
}

uint32_t evaluate_value(const ListContext& context, uint32_t value, int32_t* out_score) {
  return playlist_list_compare(context.loaded.list, value, context.level,
                               [&](uint32_t id) { return compare_values(context, id, out_score); });
}

// ------------------------------------------------------------------------------ Rendering

bool matches(const ListRenderKey& render_key, const char* key) {
  return vrel_string_equal(render_key.key, key, render_key.fold_case ? 1 : 0);
}

const ListRenderKey* find_render_key(const ListAttribute& attribute, const char* key) {
  for (uint32_t i = 0; i < attribute.render_key_count; ++i) {
    if (matches(attribute.render_keys[i], key)) return &attribute.render_keys[i];
  }
  return nullptr;
}

uint32_t render(const ListAttribute& attribute, ListContext* context, uint32_t value,
                const char* key, trova_locale* locale, const char** out_text) {
  if (vrel_string_equal(key, attribute.value_key, 0)) {
    return playlist_keep_number(&context->texts, value, out_text);
  }
  const ListRenderKey* const render_key = find_render_key(attribute, key);
  if (render_key == nullptr) return PLERR_NotFound;
  return playlist_list_show(attribute.list_type, locale, value, render_key->level, &context->texts,
                            out_text);
}

}  // namespace

uint32_t playlist_list_enum_operators(const ListAttribute& attribute, uint32_t index,
                                      uint32_t* out_operator) {
  if (index >= attribute.operator_count) return attribute.past_last_operator;
  *out_operator = attribute.operators[index];
  return 0;
}

uint32_t playlist_list_capture(const ListAttribute& attribute, void* writer, trova_gdo* data,
                               const trova_playlist_capture_callbacks* callbacks) {
  if (playlist_gdo_is(data, kAlbumContext)) {
    capture_matched_track(attribute, writer, data, callbacks);
  }
  capture_own(attribute, writer, data, callbacks);
  return 0;
}

uint32_t playlist_list_create_context(const ListAttribute& attribute, void** out_context) {
  auto* const context = static_cast<ListContext*>(vrel_memory_calloc(1, sizeof(ListContext)));
  if (context == nullptr) return log_error(attribute, __LINE__, PLERR_NoMemory);
  context->magic = kContextMagic;
  context->loaded = playlist_load_list(attribute.list_type, attribute.correlates);
  *out_context = context;
  return 0;
}

// Only a literal that is no number fails. What the lists do not know is compared as it is, and LIKE
// without scores says so when it is evaluated.
uint32_t playlist_list_set_value_from_string(const ListAttribute& attribute, void* context,
                                             uint32_t op, const char* literal) {
  ListContext* const self = context_of(context);
  self->op = op;
  self->value = vrel_string_atou32(literal);
  if (self->value == 0) return log_error(attribute, __LINE__, PLERR_InvalidData);
  static_cast<void>(locate(attribute, self));
  static_cast<void>(open_correlates(self));
  return 0;
}

uint32_t playlist_list_set_value_from_seed(const ListAttribute& attribute, void* context,
                                           uint32_t op, trova_gdo* seed) {
  return log_error(attribute, __LINE__,
                   set_value_from_seed(attribute, context_of(context), op, seed));
}

uint32_t playlist_list_evaluate(const ListAttribute& attribute, void* context, uint32_t value,
                                int32_t* out_score) {
  const ListContext& self = *context_of(context);
  const uint32_t code = attribute.compares_ranges ? evaluate_range(self, value, out_score)
                                                  : evaluate_value(self, value, out_score);
  return log_error(attribute, __LINE__, code);
}

uint32_t playlist_list_render(const ListAttribute& attribute, void* context, uint32_t value,
                              const char* key, trova_locale* locale, const char** out_text) {
  const uint32_t code = render(attribute, context_of(context), value, key, locale, out_text);
  return log_error(attribute, __LINE__, code);
}

uint32_t playlist_list_delete_context(void* context) {
  if (context == nullptr) return 0;
  ListContext* const self = context_of(context);
  if (self->texts != nullptr) static_cast<void>(vrel_vector_delete(self->texts));
  playlist_release_list(self->loaded);
  static_cast<void>(g_playlist_lists_interface->correlate_set_release(self->correlate_set));
  vrel_memory_free(self);
  return 0;
}

uint32_t playlist_list_register(const ListAttribute& attribute, const AttributeProvider& provider) {
  return log_error(attribute, __LINE__,
                   playlist_register_attribute(&provider, {true, nullptr, nullptr}));
}
