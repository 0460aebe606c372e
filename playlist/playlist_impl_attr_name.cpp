// playlist_impl_attr_name: attributes whose values are display texts, compared as texts.
#include "playlist_impl_attr_name.h"

#include "playlist_error.h"
#include "playlist_services.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_string.h"
#include "vrel_string_fuzzy.h"

namespace {

// The key that album titles and, oddly, artist names are rendered under: "trova_val_artist", which
// leads to the artist attribute, is not answered.
const char kRenderKey[] = "trova_val_title_display";

// Operators that are listed but that nothing asks for; comparing with them fails.
constexpr uint32_t kReservedOperator1 = 30;
constexpr uint32_t kReservedOperator2 = 31;

constexpr uint32_t kOperators[] = {TROVA_PLAYLIST_OP_EQUAL, TROVA_PLAYLIST_OP_NOT_EQUAL,
                                   TROVA_PLAYLIST_OP_LIKE, kReservedOperator1, kReservedOperator2};

// Likeness compares characters; blanks are characters like any other.
constexpr uint32_t kFuzzyFlags = 0;

struct NameContext {
  uint32_t magic;
  uint32_t op;
  char* value;            // what texts are compared with, owned; null until set
  vrel_bigrams* bigrams;  // of `value`, sorted, for LIKE; null: not made
};
VREL_LAYOUT_FIELD(NameContext, magic, 0);
VREL_LAYOUT_FIELD(NameContext, op, 4);
VREL_LAYOUT_FIELD(NameContext, value, 8);

NameContext* context_of(void* context) {
  return static_cast<NameContext*>(context);
}

uint32_t log_error(const NameAttribute& attribute, uint32_t line, uint32_t code) {
  return vrel_log_error(line, attribute.source, code);
}

// Takes the text over. A table of pairs that cannot be made is made for each comparison instead.
void set_value(NameContext* context, uint32_t op, char* text) {
  context->op = op;
  vrel_string_free(context->value);
  context->value = text;
  vrel_string_bigrams_delete(context->bigrams);
  context->bigrams = nullptr;
  if (op != TROVA_PLAYLIST_OP_LIKE || vrel_string_isempty(text)) return;
  if (vrel_string_create_bigrams(text, kFuzzyFlags, &context->bigrams) != 0) return;
  vrel_string_bigrams_sort(context->bigrams);
}

int32_t score_like(const NameContext& context, const char* text) {
  const float likeness = context.bigrams != nullptr
                             ? vrel_string_fuzzycmp_sorted(text, context.bigrams, kFuzzyFlags)
                             : vrel_string_fuzzycmp(text, context.value, kFuzzyFlags);
  return static_cast<int32_t>(static_cast<uint32_t>(likeness * 1000.0f));
}

uint32_t evaluate(const NameContext& context, const char* text, int32_t* out_score) {
  switch (context.op) {
    case TROVA_PLAYLIST_OP_EQUAL:
      *out_score = playlist_score_of(vrel_string_equal(text, context.value, 1));
      return 0;
    case TROVA_PLAYLIST_OP_NOT_EQUAL:
      *out_score = playlist_score_of(!vrel_string_equal(text, context.value, 1));
      return 0;
    case TROVA_PLAYLIST_OP_LIKE:
      *out_score = score_like(context, text);
      return 0;
    default:
      return PLERR_Unsupported;
  }
}

const char* wanted_text(const void* context) {
  const auto* const self = static_cast<const NameContext*>(context);
  return self->op == TROVA_PLAYLIST_OP_EQUAL ? self->value : nullptr;
}

}  // namespace

uint32_t playlist_name_enum_operators(uint32_t index, uint32_t* out_operator) {
  if (index >= sizeof kOperators / sizeof kOperators[0]) return PLERR_InvalidData;
  *out_operator = kOperators[index];
  return 0;
}

void playlist_name_capture_value(void* writer, trova_gdo* object, const char* key,
                                 const trova_playlist_capture_callbacks* callbacks) {
  const char* text = nullptr;
  if (g_playlist_gdo_interface->gdo_get_value(object, key, 1, &text) != 0) return;
  static_cast<void>(callbacks->set_string(writer, text));
}

uint32_t playlist_name_create_context(const NameAttribute& attribute, void** out_context) {
  auto* const context = static_cast<NameContext*>(vrel_memory_calloc(1, sizeof(NameContext)));
  if (context == nullptr) return log_error(attribute, __LINE__, PLERR_NoMemory);
  context->magic = attribute.magic;
  *out_context = context;
  return 0;
}

uint32_t playlist_name_set_value_from_string(const NameAttribute& attribute, void* context,
                                             uint32_t op, const char* literal) {
  char* const text = vrel_string_strdup(literal);
  if (text == nullptr && literal != nullptr) return log_error(attribute, __LINE__, PLERR_NoMemory);
  set_value(context_of(context), op, text);
  return 0;
}

uint32_t playlist_name_set_value_from_seed(const NameAttribute& attribute, void* context,
                                           uint32_t op, trova_gdo* seed) {
  char* text = nullptr;
  uint32_t code = attribute.read_seed(seed, &text);
  if (playlist_not_found(code)) code = PLERR_NoValue;
  if (code == 0) set_value(context_of(context), op, text);
  return log_error(attribute, __LINE__, code);
}

uint32_t playlist_name_evaluate(const NameAttribute& attribute, void* context, const char* text,
                                int32_t* out_score) {
  return log_error(attribute, __LINE__, evaluate(*context_of(context), text, out_score));
}

uint32_t playlist_name_render(const NameAttribute& attribute, const char* text, const char* key,
                              const char** out_text) {
  if (!vrel_string_equal(key, kRenderKey, 0) && !vrel_string_equal(key, attribute.name, 1)) {
    return PLERR_NotFound;
  }
  *out_text = text;
  return 0;
}

uint32_t playlist_name_delete_context(void* context) {
  if (context == nullptr) return 0;
  NameContext* const self = context_of(context);
  vrel_string_free(self->value);
  vrel_string_bigrams_delete(self->bigrams);
  vrel_memory_free(self);
  return 0;
}

uint32_t playlist_name_register(const NameAttribute& attribute, const AttributeProvider& provider) {
  return log_error(attribute, __LINE__,
                   playlist_register_attribute(&provider, {true, wanted_text, nullptr}));
}
