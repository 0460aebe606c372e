// playlist_attributes: the registry of attribute providers and the only callers of their slots.
#ifndef PLAYLIST_ATTRIBUTES_H
#define PLAYLIST_ATTRIBUTES_H

#include <cstdint>

#include "trova_playlist_provider.h"
#include "vrel_layout.h"
#include "vrel_stringmap.h"
#include "vrel_vector2.h"

using AttributeProvider = trova_playlist_attribute_provider;

VREL_LAYOUT_SLOT(AttributeProvider, get_name, 0);
VREL_LAYOUT_SLOT(AttributeProvider, enum_operators, 1);
VREL_LAYOUT_SLOT(AttributeProvider, capture, 2);
VREL_LAYOUT_SLOT(AttributeProvider, create_context, 3);
VREL_LAYOUT_SLOT(AttributeProvider, set_value_from_string, 4);
VREL_LAYOUT_SLOT(AttributeProvider, set_value_from_seed, 5);
VREL_LAYOUT_SLOT(AttributeProvider, evaluate_integer, 6);
VREL_LAYOUT_SLOT(AttributeProvider, evaluate_string, 7);
VREL_LAYOUT_SLOT(AttributeProvider, render_integer, 8);
VREL_LAYOUT_SLOT(AttributeProvider, render_string, 9);
VREL_LAYOUT_SLOT(AttributeProvider, delete_context, 10);
VREL_LAYOUT_SLOTS(AttributeProvider, 11);
VREL_LAYOUT_SLOT(trova_playlist_capture_callbacks, set_integer, 0);
VREL_LAYOUT_SLOT(trova_playlist_capture_callbacks, set_string, 1);
VREL_LAYOUT_SLOTS(trova_playlist_capture_callbacks, 2);

#pragma GCC visibility push(hidden)
// The registry: pointers to records, in the order of registration. The records themselves never
// move, because every collection points to those it was made with. Written at start, stop and
// registration only.
extern vrel_vector2* g_playlist_attribute_mgr;

// Value keys of data objects to names of the attributes that render them; null until first asked
// for. Use playlist_gdo_initialize().
extern vrel_stringmap* g_playlist_gdo_key_map;
#pragma GCC visibility pop

// Makes the registry and registers the built-in attributes. Answers what the last of them answered:
// an earlier one that fails is logged and missing, and the library starts without it.
uint32_t playlist_attributes_initialize();

// Gives back what the attributes share. The registry itself is deleted by its caller.
uint32_t playlist_attributes_shutdown();

// What the library knows of its own providers, beyond their slots. Null operations: nothing.
struct AttributeTraits {
  // A prepared comparison gives the same answer about a value each time, and nobody sees it asked.
  bool remembers;
  // The text that a comparison is after when it holds for no other, letter case ignored; else null.
  const char* (*wanted_text)(const void* context);
  // Whether two prepared comparisons answer the same about every value.
  bool (*same_answers)(const void* a, const void* b);
};

// Copies the record into the registry. Slots 0 to 3 must be set. Names are not compared: of two
// providers of one name new collections take the later.
uint32_t playlist_register_attribute(const AttributeProvider* provider,
                                     const AttributeTraits& traits = {});

// The traits of a provider of the registry.
const AttributeTraits& playlist_attribute_traits(const AttributeProvider* provider);

// The provider at an index of the registry.
uint32_t playlist_attributes_get(uint32_t index, const AttributeProvider** out_provider);

// Whether a record is in the registry. One that a collection points to is not once the library was
// shut down.
bool playlist_attributes_has(const AttributeProvider* provider);

// Builds the value-key map unless it stands already.
uint32_t playlist_gdo_initialize();

#pragma GCC visibility push(hidden)
// Frees one text; releases the elements of the vectors in which contexts keep rendered texts.
void _playlist_value_strings_delete(uintptr_t text);
#pragma GCC visibility pop

// The built-in attributes, each in a file of its own.
uint32_t playlist_initialize_attribute_albumname();
uint32_t playlist_initialize_attribute_artistname();
uint32_t playlist_initialize_attribute_arttype();
uint32_t playlist_initialize_attribute_era();
uint32_t playlist_initialize_attribute_genre();
uint32_t playlist_initialize_attribute_origin();
// Starts the mood arithmetic first, and registers nothing when that fails.
uint32_t playlist_initialize_attribute_mood();
uint32_t playlist_shutdown_attribute_mood();
uint32_t playlist_initialize_attribute_tempo();

// What a condition scores.
constexpr int32_t playlist_score_of(bool holds) {
  return holds ? TROVA_PLAYLIST_SCORE_HOLDS : 0;
}

// Scores two numbers by one of the operators of equality; false for any other operator.
inline bool playlist_score_equality(uint32_t op, uint32_t a, uint32_t b, int32_t* out_score) {
  if (op != TROVA_PLAYLIST_OP_EQUAL && op != TROVA_PLAYLIST_OP_NOT_EQUAL) return false;
  *out_score = playlist_score_of((a == b) == (op == TROVA_PLAYLIST_OP_EQUAL));
  return true;
}

// Calls of slots that a provider may leave out.

// Sets the score of one captured value; 0 when the provider cannot score its kind.
inline uint32_t playlist_provider_evaluate_integer(const AttributeProvider* provider, void* context,
                                                   uint32_t value, int32_t* out_score) {
  *out_score = 0;
  if (provider->evaluate_integer == nullptr) return 0;
  return provider->evaluate_integer(context, value, out_score);
}

inline uint32_t playlist_provider_evaluate_string(const AttributeProvider* provider, void* context,
                                                  const char* value, int32_t* out_score) {
  *out_score = 0;
  if (provider->evaluate_string == nullptr) return 0;
  return provider->evaluate_string(context, value, out_score);
}

// Prepares a context; PLERR_Unsupported when the provider has no operation for it.
uint32_t playlist_provider_set_value_from_string(const AttributeProvider* provider, void* context,
                                                 uint32_t op, const char* literal);
uint32_t playlist_provider_set_value_from_seed(const AttributeProvider* provider, void* context,
                                               uint32_t op, trova_gdo* seed);

// Frees a context. A provider without the operation keeps it: there is nothing else to call.
void playlist_provider_delete_context(const AttributeProvider* provider, void* context);

// True when the provider lists the operator.
bool playlist_provider_supports(const AttributeProvider* provider, uint32_t op);

#endif  // PLAYLIST_ATTRIBUTES_H
