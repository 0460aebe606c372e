/*
 * trova_playlist_provider.h: how an application adds an attribute of its own.
 *
 * A provider reads one attribute of a track from its data object (capture), prepares the value
 * that a statement compares with (create_context and the two set_value operations), scores
 * captured values against it (evaluate) and turns captured values into text (render). The library
 * copies the record at registration, so the record itself may go away; the functions and the name
 * must stay until trova_playlist_shutdown().
 *
 * Every operation returns 0 or an error code: bit 31 marks a failure, a non-zero code without it a
 * warning. Out parameters are written on success only. Operations run under the lock of the
 * collection that they serve; one context is used by one thread at a time.
 */
#ifndef TROVA_PLAYLIST_PROVIDER_H
#define TROVA_PLAYLIST_PROVIDER_H

#include <stdint.h>

#include "trova_manager_services.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Operators of the statement language as a provider sees them. */
#define TROVA_PLAYLIST_OP_EQUAL UINT32_C(10)
#define TROVA_PLAYLIST_OP_NOT_EQUAL UINT32_C(11)
#define TROVA_PLAYLIST_OP_GREATER UINT32_C(12)
#define TROVA_PLAYLIST_OP_GREATER_OR_EQUAL UINT32_C(13)
#define TROVA_PLAYLIST_OP_LESS UINT32_C(14)
#define TROVA_PLAYLIST_OP_LESS_OR_EQUAL UINT32_C(15)
#define TROVA_PLAYLIST_OP_LIKE UINT32_C(20)

/* Answer of set_value_from_seed when the seed has no value for the attribute: the comparison then
 * matches nothing instead of failing the statement. Only the low 16 bits are looked at. */
#define TROVA_PLAYLIST_NO_VALUE UINT32_C(0x908901a4)

/* What an equality scores when it holds. */
#define TROVA_PLAYLIST_SCORE_HOLDS 1000

/* How capture hands values over. Each call appends one value for the ident being added. */
typedef struct trova_playlist_capture_callbacks {
  uint32_t (*set_integer)(void* writer, uint32_t value);
  uint32_t (*set_string)(void* writer, const char* value); /* copied; must not be empty */
} trova_playlist_capture_callbacks;

/* The record of operations. Slots 0 to 3 are required for registration. */
typedef struct trova_playlist_attribute_provider {
  /* 0: static text. Letter case does not tell two attributes apart. */
  uint32_t (*get_name)(const char** out_name);
  /* 1: the operators that the attribute supports, by index from 0; non-zero past the last one */
  uint32_t (*enum_operators)(uint32_t index, uint32_t* out_operator);
  /* 2: reads the values of `data` and hands each one over; the result is ignored */
  uint32_t (*capture)(void* writer, trova_gdo* data,
                      const trova_playlist_capture_callbacks* callbacks);
  /* 3: an opaque context, freed by slot 10 */
  uint32_t (*create_context)(void** out_context);
  /* 4: the value to compare with, as the statement writes it; needed once a statement compares
   * the attribute with anything but a seed */
  uint32_t (*set_value_from_string)(void* context, uint32_t op, const char* literal);
  /* 5: the same from a seed; needed once a statement says "like seed" */
  uint32_t (*set_value_from_seed)(void* context, uint32_t op, trova_gdo* seed);
  /* 6, 7: scores one captured value; 0 means "no match". May be null: values of that kind then
   * score 0. */
  uint32_t (*evaluate_integer)(void* context, uint32_t value, int32_t* out_score);
  uint32_t (*evaluate_string)(void* context, const char* value, int32_t* out_score);
  /* 8, 9: text of a captured value for a value key. The text lives as long as the context. May be
   * null: values of that kind then have no text. */
  uint32_t (*render_integer)(void* context, uint32_t value, const char* key, trova_locale* locale,
                             const char** out_text);
  uint32_t (*render_string)(void* context, const char* value, const char* key, trova_locale* locale,
                            const char** out_text);
  /* 10: called for every context that slot 3 made */
  uint32_t (*delete_context)(void* context);
} trova_playlist_attribute_provider;

#ifdef __cplusplus
}
#endif

#endif /* TROVA_PLAYLIST_PROVIDER_H */
