// playlist_impl_attr_name: attributes whose values are display texts, compared as texts.
#ifndef PLAYLIST_IMPL_ATTR_NAME_H
#define PLAYLIST_IMPL_ATTR_NAME_H

#include <cstdint>

#include "playlist_attributes.h"

// What tells album names and artist names apart.
struct NameAttribute {
  const char* name;    // "QX_AlbumName"
  const char* source;  // name of the source file in the log
  uint32_t magic;      // first word of its contexts
  void (*capture)(void* writer, trova_gdo* data, const trova_playlist_capture_callbacks* callbacks);
  // A copy of the seed's text; null when it has none.
  uint32_t (*read_seed)(trova_gdo* seed, char** out_text);
};

uint32_t playlist_name_enum_operators(uint32_t index, uint32_t* out_operator);
uint32_t playlist_name_create_context(const NameAttribute& attribute, void** out_context);
uint32_t playlist_name_set_value_from_string(const NameAttribute& attribute, void* context,
                                             uint32_t op, const char* literal);
uint32_t playlist_name_set_value_from_seed(const NameAttribute& attribute, void* context,
                                           uint32_t op, trova_gdo* seed);
uint32_t playlist_name_evaluate(const NameAttribute& attribute, void* context, const char* text,
                                int32_t* out_score);
uint32_t playlist_name_render(const NameAttribute& attribute, const char* text, const char* key,
                              const char** out_text);
uint32_t playlist_name_delete_context(void* context);
uint32_t playlist_name_register(const NameAttribute& attribute, const AttributeProvider& provider);

// Hands a text of the object over, if it has one.
void playlist_name_capture_value(void* writer, trova_gdo* object, const char* key,
                                 const trova_playlist_capture_callbacks* callbacks);

// The slots of one member: each hands the member's table to the family's function.
template <const NameAttribute& kAttribute>
struct NameProvider {
  static uint32_t get_name(const char** out_name) {
    *out_name = kAttribute.name;
    return 0;
  }
  static uint32_t capture(void* writer, trova_gdo* data,
                          const trova_playlist_capture_callbacks* callbacks) {
    kAttribute.capture(writer, data, callbacks);
    return 0;
  }
  static uint32_t create_context(void** out_context) {
    return playlist_name_create_context(kAttribute, out_context);
  }
  static uint32_t set_value_from_string(void* context, uint32_t op, const char* literal) {
    return playlist_name_set_value_from_string(kAttribute, context, op, literal);
  }
  static uint32_t set_value_from_seed(void* context, uint32_t op, trova_gdo* seed) {
    return playlist_name_set_value_from_seed(kAttribute, context, op, seed);
  }
  static uint32_t evaluate_string(void* context, const char* text, int32_t* out_score) {
    return playlist_name_evaluate(kAttribute, context, text, out_score);
  }
  static uint32_t render_string(void* /*context*/, const char* text, const char* key,
                                trova_locale* /*locale*/, const char** out_text) {
    return playlist_name_render(kAttribute, text, key, out_text);
  }

  static constexpr AttributeProvider kProvider = {
      get_name,        playlist_name_enum_operators, capture,
      create_context,  set_value_from_string,        set_value_from_seed,
      nullptr,  // evaluate_integer: the family captures texts only
      evaluate_string,
      nullptr,  // render_integer: for the same reason
      render_string,   playlist_name_delete_context,
  };
};

#endif  // PLAYLIST_IMPL_ATTR_NAME_H
