// playlist_impl_attr_tempo: QX_Tempo, beats per minute.
//
// Equality goes through the tempo list, so a statement may name a class of tempos; the ordering
// comparisons and LIKE work on the numbers themselves.
#include "playlist_attributes.h"
#include "playlist_dsp.h"
#include "playlist_error.h"
#include "playlist_gdo_read.h"
#include "playlist_list_service.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_string.h"
#include "vrel_vector.h"

namespace {

const char kSource[] = "playlist_impl_attr_tempo";
const char kName[] = "QX_Tempo";
const char kListType[] = "trova_list_type_tempos";

const char kValueKey[] = "_sdkmgr_val_list_tempo_value";
const char kDataKey[] = "_sdkmgr_val_list_tempo_data";
const char kMetaKey[] = "trova_val_tempometa";
const char kSubKey[] = "trova_val_temposub";
constexpr uint32_t kMetaLevel = 1;
constexpr uint32_t kSubLevel = 2;

constexpr uint32_t kOperators[] = {
    TROVA_PLAYLIST_OP_EQUAL,         TROVA_PLAYLIST_OP_NOT_EQUAL,        TROVA_PLAYLIST_OP_LIKE,
    TROVA_PLAYLIST_OP_GREATER,       TROVA_PLAYLIST_OP_GREATER_OR_EQUAL, TROVA_PLAYLIST_OP_LESS,
    TROVA_PLAYLIST_OP_LESS_OR_EQUAL,
};

constexpr uint32_t kContextMagic = 0xccddeeffu;

struct TempoContext {
  uint32_t magic;
  uint32_t op;
  uint32_t value;      // beats per minute, or the list element that equality maps them to
  uint32_t level;      // of that element; 0 until known
  trova_list* list;    // null: none could be loaded
  vrel_vector* texts;  // handed out by render; null until the first
};
VREL_LAYOUT_FIELD(TempoContext, magic, 0);
VREL_LAYOUT_FIELD(TempoContext, op, 4);
VREL_LAYOUT_FIELD(TempoContext, value, 8);
VREL_LAYOUT_FIELD(TempoContext, level, 12);
VREL_LAYOUT_FIELD(TempoContext, list, 16);
VREL_LAYOUT_FIELD(TempoContext, texts, 20);

TempoContext* context_of(void* context) {
  return static_cast<TempoContext*>(context);
}

bool is_equality(uint32_t op) {
  return op == TROVA_PLAYLIST_OP_EQUAL || op == TROVA_PLAYLIST_OP_NOT_EQUAL;
}

// Replaces the context's value by its list element, where equality will ask for it.
uint32_t map_value(TempoContext* context) {
  if (!is_equality(context->op) || context->list == nullptr) return 0;
  return playlist_list_locate(context->list, context->value, &context->level, &context->value);
}

void capture_number(void* writer, trova_gdo* object,
                    const trova_playlist_capture_callbacks* callbacks) {
  uint32_t tempo = 0;
  if (playlist_gdo_get_number(object, kValueKey, &tempo) != 0) return;
  static_cast<void>(callbacks->set_integer(writer, tempo));
}

uint32_t read_matched_track(trova_gdo* album, uint32_t* out_tempo) {
  GdoOwner track;
  PL_TRY(playlist_gdo_get_matched_track(album, track.out()));
  return playlist_gdo_get_number(track.get(), kValueKey, out_tempo);
}

// External data has a tempo as a seed, though it never captures one.
uint32_t read_seed(trova_gdo* seed, uint32_t* out_tempo) {
  if (playlist_gdo_is(seed, kAlbumContext)) return read_matched_track(seed, out_tempo);
  if (playlist_gdo_is(seed, kTrackContext) || playlist_gdo_is(seed, kExtdataContext)) {
    return playlist_gdo_get_number(seed, kValueKey, out_tempo);
  }
  return PLERR_NotFound;
}

uint32_t compare(const TempoContext& context, uint32_t value, int32_t* out_score) {
  if (playlist_score_equality(context.op, value, context.value, out_score)) return 0;
  switch (context.op) {
    case TROVA_PLAYLIST_OP_GREATER:
      *out_score = playlist_score_of(value > context.value);
      return 0;
    case TROVA_PLAYLIST_OP_GREATER_OR_EQUAL:
      *out_score = playlist_score_of(value >= context.value);
      return 0;
    case TROVA_PLAYLIST_OP_LESS:
      *out_score = playlist_score_of(value < context.value);
      return 0;
    case TROVA_PLAYLIST_OP_LESS_OR_EQUAL:
      *out_score = playlist_score_of(value <= context.value);
      return 0;
    case TROVA_PLAYLIST_OP_LIKE:
      return dsp_primary_tempo_similarity(context.value, value, out_score);
    default:
      return PLERR_Unsupported;
  }
}

uint32_t evaluate(const TempoContext& context, uint32_t value, int32_t* out_score) {
  trova_list* const list = is_equality(context.op) ? context.list : nullptr;
  return playlist_list_compare(list, value, context.level,
                               [&](uint32_t tempo) { return compare(context, tempo, out_score); });
}

bool is_number_key(const char* key) {
  return vrel_string_equal(key, kValueKey, 0) || vrel_string_equal(key, kDataKey, 0);
}

uint32_t level_of_key(const char* key) {
  if (vrel_string_equal(key, kMetaKey, 0)) return kMetaLevel;
  if (vrel_string_equal(key, kSubKey, 0) || vrel_string_equal(key, kName, 1)) return kSubLevel;
  return 0;
}

uint32_t render(TempoContext* context, uint32_t value, const char* key, trova_locale* locale,
                const char** out_text) {
  if (is_number_key(key)) return playlist_keep_number(&context->texts, value, out_text);
  const uint32_t level = level_of_key(key);
  if (level == 0) return PLERR_NotFound;
  return playlist_list_show(kListType, locale, value, level, &context->texts, out_text);
}

uint32_t set_from_seed(TempoContext* context, uint32_t op, trova_gdo* seed) {
  context->op = op;
  const uint32_t code = read_seed(seed, &context->value);
  if (playlist_not_found(code)) return PLERR_NoValue;
  if (code != 0) return code;
  return map_value(context);
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

// An album has only its matched track's tempo, none of its own.
uint32_t capture(void* writer, trova_gdo* data, const trova_playlist_capture_callbacks* callbacks) {
  GdoOwner matched;
  trova_gdo* const track = playlist_gdo_track_of(data, &matched);
  if (track != nullptr) capture_number(writer, track, callbacks);
  return 0;
}

uint32_t create_context(void** out_context) {
  auto* const context = static_cast<TempoContext*>(vrel_memory_calloc(1, sizeof(TempoContext)));
  if (context == nullptr) return VREL_LOG_HERE(PLERR_NoMemory);
  context->magic = kContextMagic;
  context->list = playlist_load_list(kListType, nullptr).list;
  *out_context = context;
  return 0;
}

uint32_t set_value_from_string(void* context, uint32_t op, const char* literal) {
  TempoContext* const self = context_of(context);
  self->op = op;
  self->value = vrel_string_atou32(literal);
  if (self->value == 0) return VREL_LOG_HERE(PLERR_InvalidData);
  static_cast<void>(map_value(self));
  return 0;
}

uint32_t set_value_from_seed(void* context, uint32_t op, trova_gdo* seed) {
  return VREL_LOG_HERE(set_from_seed(context_of(context), op, seed));
}

uint32_t evaluate_integer(void* context, uint32_t value, int32_t* out_score) {
  return VREL_LOG_HERE(evaluate(*context_of(context), value, out_score));
}

uint32_t render_integer(void* context, uint32_t value, const char* key, trova_locale* locale,
                        const char** out_text) {
  return VREL_LOG_HERE(render(context_of(context), value, key, locale, out_text));
}

uint32_t delete_context(void* context) {
  if (context == nullptr) return 0;
  TempoContext* const self = context_of(context);
  if (self->texts != nullptr) static_cast<void>(vrel_vector_delete(self->texts));
  playlist_release_list({self->list, nullptr});
  vrel_memory_free(self);
  return 0;
}

constexpr AttributeProvider kProvider = {
    get_name,         enum_operators,        capture,
    create_context,   set_value_from_string, set_value_from_seed,
    evaluate_integer,
    nullptr,  // evaluate_string: tempos are numbers
    render_integer,
    nullptr,  // render_string: for the same reason
    delete_context,
};

}  // namespace

uint32_t playlist_initialize_attribute_tempo() {
  return VREL_LOG_HERE(playlist_register_attribute(&kProvider, {true, nullptr, nullptr}));
}
