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

#define TROVA_PLAYLIST_OP_EQUAL UINT32_C(10)            /* "=" */
#define TROVA_PLAYLIST_OP_NOT_EQUAL UINT32_C(11)        /* "!=" */
#define TROVA_PLAYLIST_OP_GREATER UINT32_C(12)          /* ">" */
#define TROVA_PLAYLIST_OP_GREATER_OR_EQUAL UINT32_C(13) /* ">=" */
#define TROVA_PLAYLIST_OP_LESS UINT32_C(14)             /* "<" */
#define TROVA_PLAYLIST_OP_LESS_OR_EQUAL UINT32_C(15)    /* "<=" */
#define TROVA_PLAYLIST_OP_LIKE UINT32_C(20)             /* "like" */

/* Answer of set_value_from_seed when the seed has no value for the attribute: the comparison then
 * matches nothing instead of failing the statement. Only the low 16 bits are looked at. */
#define TROVA_PLAYLIST_NO_VALUE UINT32_C(0x908901a4)

/* What an equality scores when it holds. */
#define TROVA_PLAYLIST_SCORE_HOLDS 1000

/* How capture hands values over. Each call appends one value for the ident being added; an ident
 * may have any number. A failure means that the value is not held. */
typedef struct trova_playlist_capture_callbacks {
  /* A value that evaluate_integer and render_integer get to see. */
  uint32_t (*set_integer)(void* writer, uint32_t value);
  /* A value for evaluate_string and render_string. Copied; must not be empty. */
  uint32_t (*set_string)(void* writer, const char* value);
} trova_playlist_capture_callbacks;

/*
 * The record of operations, each with its position. Those that are required are checked at
 * registration.
 *
 * A comparison of a statement is served by 1, 3, 4 or 5, 6 or 7 for each value, 10; a data object
 * by 3, 8 or 9, 10.
 */
typedef struct trova_playlist_attribute_provider {
  /* 0, required: static text, the name in statements. Letter case does not tell two attributes
   * apart. */
  uint32_t (*get_name)(const char** out_name);
  /* 1, required: the operators that the attribute supports, by index from 0; non-zero past the last
   * one. A statement with another operator is refused with PLERR_Unsupported. */
  uint32_t (*enum_operators)(uint32_t index, uint32_t* out_operator);
  /* 2, required: reads the values of `data` and hands each one over, with `writer`. Both are valid
   * during the call. The result is ignored: what is not handed over is not held. */
  uint32_t (*capture)(void* writer, trova_gdo* data,
                      const trova_playlist_capture_callbacks* callbacks);
  /* 3, required: an opaque context, not null, freed by 10. */
  uint32_t (*create_context)(void** out_context);
  /* 4, may be null: then a comparison with anything but a seed fails with PLERR_Unsupported. Takes
   * the operator and the value to compare with, as the statement writes it; the text is valid
   * during the call. A failure fails the statement. */
  uint32_t (*set_value_from_string)(void* context, uint32_t op, const char* literal);
  /* 5, may be null: then a comparison with a seed fails with PLERR_Unsupported. Takes the operator,
   * and the value from the seed, which is valid during the call. TROVA_PLAYLIST_NO_VALUE makes the
   * comparison match nothing; another failure fails the statement. */
  uint32_t (*set_value_from_seed)(void* context, uint32_t op, trova_gdo* seed);
  /* 6, may be null: then captured integers score 0. Scores one of them; 0 means "no match". It must
   * answer the same for the same value. Any number may come: behind "and" stand values of the
   * attribute before it. A warning counts with its score; a failure ends a WHERE, and leaves 0 in
   * an ORDER. */
  uint32_t (*evaluate_integer)(void* context, uint32_t value, int32_t* out_score);
  /* 7, may be null: then captured texts score 0. The same for one of them, valid during the call.
   */
  uint32_t (*evaluate_string)(void* context, const char* value, int32_t* out_score);
  /* 8, may be null: then captured integers cannot be read back. The text of one for a value key, or
   * for the attribute's name; it lives as long as the context. `locale` may be null. */
  uint32_t (*render_integer)(void* context, uint32_t value, const char* key, trova_locale* locale,
                             const char** out_text);
  /* 9, may be null: then captured texts cannot be read back. The same for one of them, which lives
   * as long as the collection and may be answered itself. */
  uint32_t (*render_string)(void* context, const char* value, const char* key, trova_locale* locale,
                            const char** out_text);
  /* 10, may be null: then contexts are not freed. Called once for every context that 3 made. */
  uint32_t (*delete_context)(void* context);
} trova_playlist_attribute_provider;

#ifdef __cplusplus
}
#endif

#endif /* TROVA_PLAYLIST_PROVIDER_H */
