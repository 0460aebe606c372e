// playlist_impl_attr_list: attributes whose values are elements of one of the manager's lists.
//
// Artist type, era, genre and origin are one family: this file works for all four, and each has a
// source of its own with a table of names, lists, keys and operators.
#ifndef PLAYLIST_IMPL_ATTR_LIST_H
#define PLAYLIST_IMPL_ATTR_LIST_H

#include <cstdint>

#include "playlist_attributes.h"

// A value key that render_integer answers with an element's display text.
struct ListRenderKey {
  char key[27];
  uint32_t level;  // of the element that is shown; 0 is the captured element itself
  bool fold_case;  // the key is matched without regard to letter case
};

// What tells the members of the family apart.
struct ListAttribute {
  const char* name;       // "QX_Genre"
  const char* source;     // name of the source file in the log
  const char* value_key;  // of data objects; also rendered, as the id in decimal
  const char* list_type;
  const char* correlates;  // name of the correlate table
  const ListRenderKey* render_keys;
  uint32_t render_key_count;
  const uint32_t* operators;
  uint32_t operator_count;
  uint32_t past_last_operator;  // what enum_operators answers then
  // Values are compared by the range of their element, not by its id; the only kind of member with
  // ordering operators.
  bool compares_ranges;
};

uint32_t playlist_list_enum_operators(const ListAttribute& attribute, uint32_t index,
                                      uint32_t* out_operator);
uint32_t playlist_list_capture(const ListAttribute& attribute, void* writer, trova_gdo* data,
                               const trova_playlist_capture_callbacks* callbacks);
uint32_t playlist_list_create_context(const ListAttribute& attribute, void** out_context);
uint32_t playlist_list_set_value_from_string(const ListAttribute& attribute, void* context,
                                             uint32_t op, const char* literal);
uint32_t playlist_list_set_value_from_seed(const ListAttribute& attribute, void* context,
                                           uint32_t op, trova_gdo* seed);
uint32_t playlist_list_evaluate(const ListAttribute& attribute, void* context, uint32_t value,
                                int32_t* out_score);
uint32_t playlist_list_render(const ListAttribute& attribute, void* context, uint32_t value,
                              const char* key, trova_locale* locale, const char** out_text);
uint32_t playlist_list_delete_context(void* context);
uint32_t playlist_list_register(const ListAttribute& attribute, const AttributeProvider& provider);

// The slots of one member: each hands the member's table to the family's function.
template <const ListAttribute& kAttribute>
struct ListProvider {
  static uint32_t get_name(const char** out_name) {
    *out_name = kAttribute.name;
    return 0;
  }
  static uint32_t enum_operators(uint32_t index, uint32_t* out_operator) {
    return playlist_list_enum_operators(kAttribute, index, out_operator);
  }
  static uint32_t capture(void* writer, trova_gdo* data,
                          const trova_playlist_capture_callbacks* callbacks) {
    return playlist_list_capture(kAttribute, writer, data, callbacks);
  }
  static uint32_t create_context(void** out_context) {
    return playlist_list_create_context(kAttribute, out_context);
  }
  static uint32_t set_value_from_string(void* context, uint32_t op, const char* literal) {
    return playlist_list_set_value_from_string(kAttribute, context, op, literal);
  }
  static uint32_t set_value_from_seed(void* context, uint32_t op, trova_gdo* seed) {
    return playlist_list_set_value_from_seed(kAttribute, context, op, seed);
  }
  static uint32_t evaluate_integer(void* context, uint32_t value, int32_t* out_score) {
    return playlist_list_evaluate(kAttribute, context, value, out_score);
  }
  static uint32_t render_integer(void* context, uint32_t value, const char* key,
                                 trova_locale* locale, const char** out_text) {
    return playlist_list_render(kAttribute, context, value, key, locale, out_text);
  }

  static constexpr AttributeProvider kProvider = {
      get_name,
      enum_operators,
      capture,
      create_context,
      set_value_from_string,
      set_value_from_seed,
      evaluate_integer,
      nullptr,  // evaluate_string: the family captures ids only
      render_integer,
      nullptr,  // render_string: for the same reason
      playlist_list_delete_context,
  };
};

template <typename T, uint32_t n>
constexpr uint32_t playlist_count_of(const T (&)[n]) {
  return n;
}

#endif  // PLAYLIST_IMPL_ATTR_LIST_H
