// playlist_impl_attr_mood: QX_Mood, as an element of the mood list and as a profile of several.
//
// A track may carry both an id and a profile text. "like seed" is decided once by the seed: one
// with a profile scores profiles by their distance, one with an id alone scores ids by the
// correlates.
#include "playlist_attributes.h"
#include "playlist_dsp.h"
#include "playlist_error.h"
#include "playlist_gdo_read.h"
#include "playlist_list_service.h"
#include "playlist_memories.h"
#include "playlist_services.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_string.h"
#include "vrel_vector.h"

namespace {

const char kSource[] = "playlist_impl_attr_mood";
const char kName[] = "QX_Mood";
const char kListType[] = "trova_list_type_moods";
const char kCorrelates[] = "trova_correlates_mood";

const char kIdKey[] = "_sdkmgr_val_list_mood_id";
const char kProfileKey[] = "_sdkmgr_val_list_mood_data";
const char kCategoryKey[] = "trova_val_moodcat";
const char kSubKey[] = "trova_val_moodsub";
constexpr uint32_t kCategoryLevel = 1;
constexpr uint32_t kSubLevel = 2;

constexpr uint32_t kOperators[] = {TROVA_PLAYLIST_OP_EQUAL, TROVA_PLAYLIST_OP_NOT_EQUAL,
                                   TROVA_PLAYLIST_OP_LIKE};

constexpr uint32_t kContextMagic = 0xcbbddeefu;

struct MoodContext {
  uint32_t magic;
  uint32_t op;
  uint32_t value;  // id that ids are compared with; of a profile, its first id
  uint32_t level;  // of that id in the list; 0 until known
  LoadedList loaded;
  trova_correlate_set* correlate_set;  // of `value`, for LIKE; null: none
  uint8_t has_profile;                 // the seed brought a profile: ids do not score
  RawMoodVector profile;               // the seed's
  NormalizedMoodVector* normalized;    // the seed's profile in place; null without one
  vrel_vector* texts;                  // handed out by render; null until the first
  MoodMemo memo;                       // of the axes of `normalized`
};
VREL_LAYOUT_FIELD(MoodContext, magic, 0);
VREL_LAYOUT_FIELD(MoodContext, op, 4);
VREL_LAYOUT_FIELD(MoodContext, value, 8);
VREL_LAYOUT_FIELD(MoodContext, level, 12);
VREL_LAYOUT_FIELD(MoodContext, loaded, 16);
VREL_LAYOUT_FIELD(MoodContext, correlate_set, 24);
VREL_LAYOUT_FIELD(MoodContext, has_profile, 28);
VREL_LAYOUT_FIELD(MoodContext, profile, 32);
VREL_LAYOUT_FIELD(MoodContext, normalized, 32 + sizeof(RawMoodVector));
VREL_LAYOUT_FIELD(MoodContext, texts, 36 + sizeof(RawMoodVector));

MoodContext* context_of(void* context) {
  return static_cast<MoodContext*>(context);
}

// -------------------------------------------------------------------------------- Capture

void capture_moods(void* writer, trova_gdo* track,
                   const trova_playlist_capture_callbacks* callbacks) {
  const char* profile = nullptr;
  uint32_t id = 0;
  if (playlist_gdo_get_text(track, kProfileKey, &profile) == 0) {
    static_cast<void>(callbacks->set_string(writer, profile));
  }
  if (playlist_gdo_get_number(track, kIdKey, &id) == 0) {
    static_cast<void>(callbacks->set_integer(writer, id));
  }
}

// ---------------------------------------------------------------------------- Preparation

uint32_t open_correlates(MoodContext* context) {
  if (context->loaded.correlates == nullptr) return 0;
  return g_playlist_lists_interface->correlate_set_open(context->loaded.correlates, context->value,
                                                        &context->correlate_set);
}

uint32_t locate_value(MoodContext* context) {
  if (context->loaded.list == nullptr) return 0;
  return playlist_list_locate(context->loaded.list, context->value, &context->level,
                              &context->value);
}

uint32_t set_profile(MoodContext* context, const char* text) {
  context->has_profile = 1;
  context->value = vrel_string_atou32(text);
  PL_TRY(playlist_fill_mood_vector(text, &context->profile));
  PL_TRY(playlist_create_normalized_mood_vector(&context->normalized));
  return dsp_mood_normalize_vector(&context->profile, context->normalized,
                                   context->loaded.correlates);
}

// Without a correlate table the id is set all the same, and every evaluation says so.
uint32_t set_id(MoodContext* context, uint32_t id) {
  context->value = id;
  return context->op == TROVA_PLAYLIST_OP_LIKE ? open_correlates(context) : locate_value(context);
}

// "Not found" here is the source's answer, which means that the seed has no mood; what the lists
// answer afterwards is passed on as it is.
uint32_t set_from_id(MoodContext* context, trova_gdo* source) {
  uint32_t id = 0;
  const uint32_t code = playlist_gdo_get_number(source, kIdKey, &id);
  if (code == 0) return set_id(context, id);
  return playlist_not_found(code) ? PLERR_NoValue : code;
}

uint32_t set_from_source(MoodContext* context, trova_gdo* source) {
  if (context->op != TROVA_PLAYLIST_OP_LIKE) return set_from_id(context, source);
  const char* profile = nullptr;
  const uint32_t code = playlist_gdo_get_text(source, kProfileKey, &profile);
  if (code == 0) return set_profile(context, profile);
  return playlist_not_found(code) ? set_from_id(context, source) : code;
}

uint32_t set_from_album(MoodContext* context, trova_gdo* album) {
  GdoOwner track;
  const uint32_t code = playlist_gdo_get_matched_track(album, track.out());
  if (code == 0) return set_from_source(context, track.get());
  return playlist_not_found(code) ? PLERR_NoValue : code;
}

uint32_t set_from_seed(MoodContext* context, uint32_t op, trova_gdo* seed) {
  context->op = op;
  if (playlist_gdo_is(seed, kAlbumContext)) return set_from_album(context, seed);
  if (playlist_gdo_is(seed, kTrackContext) || playlist_gdo_is(seed, kExtdataContext)) {
    return set_from_source(context, seed);
  }
  return PLERR_NoValue;
}

// ----------------------------------------------------------------------------- Evaluation

uint32_t compare(const MoodContext& context, uint32_t id, int32_t* out_score) {
  if (playlist_score_equality(context.op, id, context.value, out_score)) return 0;
  if (context.op != TROVA_PLAYLIST_OP_LIKE) return PLERR_Unsupported;
  if (context.correlate_set == nullptr) return PLERR_ListUnavailable;
  return g_playlist_lists_interface->correlate_score(context.correlate_set, id, out_score);
}

uint32_t score_id(const MoodContext& context, uint32_t id, int32_t* out_score) {
  return playlist_list_compare(context.loaded.list, id, context.level, [&](uint32_t rolled_up) {
    return compare(context, rolled_up, out_score);
  });
}

uint32_t evaluate_id(const MoodContext& context, uint32_t id, int32_t* out_score) {
  *out_score = 0;
  return context.has_profile != 0 ? 0 : score_id(context, id, out_score);
}

uint32_t score_profile(MoodContext* context, const char* text, int32_t* out_score) {
  RawMoodVector profile;
  PL_TRY(playlist_fill_mood_vector(text, &profile));
  MoodMemo* const memo = g_playlist_memories ? &context->memo : nullptr;
  return dsp_mood_similarity(context->normalized, &profile, memo, out_score);
}

uint32_t evaluate_profile(MoodContext* context, const char* text, int32_t* out_score) {
  *out_score = 0;
  return context->has_profile == 0 ? 0 : score_profile(context, text, out_score);
}

// Of one seed every profile keeps the same distance.
bool same_answers(const void* a, const void* b) {
  const auto* const first = static_cast<const MoodContext*>(a);
  const auto* const second = static_cast<const MoodContext*>(b);
  if (first->op != second->op || first->has_profile == 0 || second->has_profile == 0) return false;
  return dsp_mood_same_place(first->normalized, second->normalized);
}

// ------------------------------------------------------------------------------ Rendering

uint32_t level_of_key(const char* key) {
  if (vrel_string_equal(key, kCategoryKey, 0)) return kCategoryLevel;
  if (vrel_string_equal(key, kSubKey, 0) || vrel_string_equal(key, kName, 1)) return kSubLevel;
  return 0;
}

uint32_t render(MoodContext* context, uint32_t id, const char* key, trova_locale* locale,
                const char** out_text) {
  if (vrel_string_equal(key, kIdKey, 0)) {
    return playlist_keep_number(&context->texts, id, out_text);
  }
  const uint32_t level = level_of_key(key);
  if (level == 0) return PLERR_NotFound;
  return playlist_list_show(kListType, locale, id, level, &context->texts, out_text);
}

// ---------------------------------------------------------------------------------- Slots

uint32_t get_name(const char** out_name) {
  *out_name = kName;
  return 0;
}

uint32_t enum_operators(uint32_t index, uint32_t* out_operator) {
  if (index >= sizeof kOperators / sizeof kOperators[0]) return PLERR_NotFound;
  *out_operator = kOperators[index];
  return 0;
}

// An album has only its matched track's moods, none of its own.
uint32_t capture(void* writer, trova_gdo* data, const trova_playlist_capture_callbacks* callbacks) {
  GdoOwner matched;
  trova_gdo* const track = playlist_gdo_track_of(data, &matched);
  if (track != nullptr) capture_moods(writer, track, callbacks);
  return 0;
}

uint32_t create_context(void** out_context) {
  auto* const context = static_cast<MoodContext*>(vrel_memory_calloc(1, sizeof(MoodContext)));
  if (context == nullptr) return VREL_LOG_HERE(PLERR_NoMemory);
  context->magic = kContextMagic;
  context->loaded = playlist_load_list(kListType, kCorrelates);
  *out_context = context;
  return 0;
}

// A literal is an id, never a profile.
uint32_t set_value_from_string(void* context, uint32_t op, const char* literal) {
  MoodContext* const self = context_of(context);
  self->op = op;
  self->value = vrel_string_atou32(literal);
  if (self->value == 0) return VREL_LOG_HERE(PLERR_InvalidData);
  static_cast<void>(locate_value(self));
  if (op == TROVA_PLAYLIST_OP_LIKE) static_cast<void>(open_correlates(self));
  return 0;
}

uint32_t set_value_from_seed(void* context, uint32_t op, trova_gdo* seed) {
  return VREL_LOG_HERE(set_from_seed(context_of(context), op, seed));
}

uint32_t evaluate_integer(void* context, uint32_t id, int32_t* out_score) {
  return VREL_LOG_HERE(evaluate_id(*context_of(context), id, out_score));
}

uint32_t evaluate_string(void* context, const char* text, int32_t* out_score) {
  return VREL_LOG_HERE(evaluate_profile(context_of(context), text, out_score));
}

uint32_t render_integer(void* context, uint32_t id, const char* key, trova_locale* locale,
                        const char** out_text) {
  return VREL_LOG_HERE(render(context_of(context), id, key, locale, out_text));
}

// The profile itself, or its first mood.
uint32_t render_string(void* context, const char* text, const char* key, trova_locale* locale,
                       const char** out_text) {
  if (!vrel_string_equal(key, kProfileKey, 0)) {
    return render_integer(context, vrel_string_atou32(text), key, locale, out_text);
  }
  *out_text = text;
  return 0;
}

uint32_t delete_context(void* context) {
  if (context == nullptr) return 0;
  MoodContext* const self = context_of(context);
  playlist_delete_normalized_mood_vector(self->normalized);
  playlist_mood_memo_clear(&self->memo);
  if (self->texts != nullptr) static_cast<void>(vrel_vector_delete(self->texts));
  playlist_release_list(self->loaded);
  static_cast<void>(g_playlist_lists_interface->correlate_set_release(self->correlate_set));
  vrel_memory_free(self);
  return 0;
}

constexpr AttributeProvider kProvider = {
    get_name,         enum_operators,        capture,
    create_context,   set_value_from_string, set_value_from_seed,
    evaluate_integer, evaluate_string,       render_integer,
    render_string,    delete_context,
};

}  // namespace

uint32_t playlist_initialize_attribute_mood() {
  PL_TRY(playlist_dsp_initialize());
  return VREL_LOG_HERE(playlist_register_attribute(&kProvider, {true, nullptr, same_answers}));
}

uint32_t playlist_shutdown_attribute_mood() {
  return playlist_dsp_shutdown();
}
