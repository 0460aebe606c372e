// model_attributes: the captures and comparisons of the model's attributes.
#include <cmath>

#include "model.h"

namespace model {

using trova_mock::kNotFound;
using trova_mock::ObjectData;

struct BuiltIn {
  enum Family { name, list, era, mood, tempo } family;
  const char *attribute, *key, *elements, *correlates;
};

static const char kMoodProfile[] = "_sdkmgr_val_list_mood_data";

static const BuiltIn kBuiltIns[] = {
    {BuiltIn::name, "QX_AlbumName", "trova_val_title_display", "", ""},
    {BuiltIn::name, "QX_ArtistName", "trova_val_artist", "", ""},
    {BuiltIn::list, "QX_Genre", "_sdkmgr_val_list_genre_id", "trova_list_type_genres",
     "trova_correlates_genre"},
    {BuiltIn::list, "QX_ArtistType", "_sdkmgr_val_list_artist_type_id",
     "trova_list_type_artist_types", "trova_correlates_arttype"},
    {BuiltIn::list, "QX_Origin", "_sdkmgr_val_list_origin_id", "trova_list_type_origins",
     "trova_correlates_origin"},
    {BuiltIn::era, "QX_Era", "_sdkmgr_val_list_era_id", "trova_list_type_eras",
     "trova_correlates_era"},
    {BuiltIn::mood, "QX_Mood", "_sdkmgr_val_list_mood_id", "trova_list_type_moods",
     "trova_correlates_mood"},
    {BuiltIn::tempo, "QX_Tempo", "_sdkmgr_val_list_tempo_value", "trova_list_type_tempos", ""}};

Attribute::Attribute(const std::string& built_in_name) : name(built_in_name) {
  for (const BuiltIn& row : kBuiltIns) {
    if (row.attribute == name) built_in = &row;
  }
}

bool Attribute::supports(uint32_t op) const {
  if (built_in != nullptr) {
    const bool has_order = built_in->family == BuiltIn::era || built_in->family == BuiltIn::tempo;
    return op == 10 || op == 11 || op == 20 || has_order;
  }
  uint32_t found = 0;
  for (uint32_t i = 0; custom->operator_at(i, &found) == 0; ++i) {
    if (found == op) return true;
  }
  return false;
}

// --------------------------------------------------------------------------------- Capture

static bool is(const ObjectData& object, const char* context) {
  return object.context == context;
}

static const std::string* value_of(const std::shared_ptr<const ObjectData>& object,
                                   const char* key) {
  return object == nullptr ? nullptr : object->value(key);
}

std::vector<std::string> Attribute::capture(const ObjectData& data) const {
  if (custom != nullptr) {
    (void)custom->start("captures");
    const auto own = data.values.find(custom->key());
    return own == data.values.end() ? std::vector<std::string>() : own->second;
  }
  std::vector<std::string> found;
  const auto take = [&](const std::string* text, bool as_number) {
    if (text == nullptr) return;
    found.push_back(as_number ? "#" + std::to_string(to_u32(*text)) : *text);
  };
  const bool is_album = is(data, "trova_ctx_album");
  const auto track = is_album ? data.child("trova_ctx_track!matching") : nullptr;
  const char* const key = built_in->key;
  if (name == "QX_AlbumName") {
    if (is_album) take(data.value(key), false);
    for (uint32_t n = 1; !is_album && data.child("trova_ctx_album!", n) != nullptr; ++n) {
      take(data.child("trova_ctx_album!", n)->value(key), false);
    }
  } else if (built_in->family == BuiltIn::mood || built_in->family == BuiltIn::tempo) {
    const bool is_track = is(data, "trova_ctx_track");
    const ObjectData* const from = is_track ? &data : track.get();
    if (from != nullptr && built_in->family == BuiltIn::mood) {
      take(from->value(kMoodProfile), false);
    }
    if (from != nullptr) take(from->value(key), true);
  } else {
    take(value_of(track, key), built_in->family != BuiltIn::name);
    take(data.value(key), built_in->family != BuiltIn::name);
  }
  return found;
}

// ----------------------------------------------------------------------------- Preparation

Context::~Context() {
  if (is_open_) (void)attribute_.custom->start("deletes a context");
}

uint32_t Context::create() {
  if (attribute_.custom != nullptr) {
    const uint32_t code = attribute_.custom->start("creates a context");
    is_open_ = code == 0;
    return code;
  }
  const auto& lists = trova_mock::mock().lists;
  const auto list = lists.lists.find(attribute_.built_in->elements);
  const auto correlates = lists.correlates.find(attribute_.built_in->correlates);
  if (lists.locales.empty()) return 0;
  if (list != lists.lists.end()) list_ = &list->second;
  if (correlates != lists.correlates.end()) correlates_ = &correlates->second;
  return 0;
}

uint32_t Context::set_text(uint32_t op, const std::string* literal) {
  const char* const text = literal == nullptr ? nullptr : literal->c_str();
  if (attribute_.custom != nullptr) return attribute_.custom->prepare(&target_, op, text);
  target_ = {op, text == nullptr ? "" : text, {}};
  if (attribute_.built_in->family == BuiltIn::name) return 0;
  value_ = to_u32(target_.text);
  if (value_ == 0) return 0x9089000b;
  (void)look_up();
  (void)find_row();
  return 0;
}

// Finds the level of the value and its range. An era may be a plain year.
uint32_t Context::look_up() {
  start_ = end_ = value_;
  const bool tells_apart = target_.op == 10 || target_.op == 11;
  if (list_ == nullptr || (attribute_.built_in->family == BuiltIn::tempo && !tells_apart)) return 0;
  const trova_mock::Element* element = nullptr;
  const uint32_t code = list_->find(value_, 0, &element);
  if (code == kNotFound && attribute_.built_in->family == BuiltIn::era) return 0;
  if (code != 0) return code;
  level_ = list_->level(value_);
  start_ = element->lower;
  end_ = element->upper;
  return 0;
}

// Finds the scores of the value in the correlates.
uint32_t Context::find_row() {
  if (target_.op != 20 || correlates_ == nullptr) return 0;
  has_row_ = correlates_->has(value_);
  return has_row_ ? 0 : kNotFound;
}

// The text that a comparison takes from a seed. Null if the seed has none.
static const std::string* text_of_seed(const BuiltIn& built_in, const ObjectData& seed) {
  const auto track = seed.child("trova_ctx_track!matching");
  const bool is_album = is(seed, "trova_ctx_album");
  const bool is_track = is(seed, "trova_ctx_track");
  const std::string* const own = seed.value(built_in.key);
  if (built_in.family == BuiltIn::list || built_in.family == BuiltIn::era) return own;
  if (built_in.family != BuiltIn::name) {
    if (is_album) return value_of(track, built_in.key);
    return is_track || is(seed, "trova_ctx_extdata") ? own : nullptr;
  }
  if (built_in.attribute == std::string("QX_ArtistName")) {
    const std::string* const of_track = is_album ? value_of(track, built_in.key) : nullptr;
    return of_track != nullptr ? of_track : own;
  }
  if (is_album) return own;
  const std::string* title = nullptr;
  for (uint32_t n = 1; is_track && title == nullptr; ++n) {
    const auto album = seed.child("trova_ctx_album!", n);
    if (album == nullptr) break;
    title = album->value(built_in.key);
  }
  return title;
}

uint32_t Context::set_seed(uint32_t op, const ObjectData& seed) {
  target_.op = op;
  if (const Behaviour* const custom = attribute_.custom) {
    const std::string* const text = seed.value(custom->key());
    return text == nullptr ? custom->prepare_without_value(&target_, op)
                           : custom->prepare(&target_, op, text->c_str());
  }
  BuiltIn built_in = *attribute_.built_in;
  const bool is_mood = built_in.family == BuiltIn::mood;
  if (is_mood && op == 20) built_in.key = kMoodProfile;
  const std::string* text = text_of_seed(built_in, seed);
  if (is_mood && op == 20 && text != nullptr) profile_.emplace(*text);
  if (is_mood && text == nullptr) text = text_of_seed(*attribute_.built_in, seed);
  if (text == nullptr) return TROVA_PLAYLIST_NO_VALUE;
  target_.text = *text;
  if (built_in.family == BuiltIn::name) return 0;
  value_ = to_u32(*text);
  if (profile_) return profile_->count == 0 ? 62 : 0;
  if (is_mood && op == 20) return find_row();
  const uint32_t code = look_up();
  return code != 0 ? code : find_row();
}

// ---------------------------------------------------------------------------------- Scores

static int32_t score_of(bool holds) {
  return holds ? 1000 : 0;
}

Outcome Context::score(uint32_t value) const {
  if (const Behaviour* const custom = attribute_.custom) {
    return custom->scores_integers ? custom->score(target_, value) : Outcome();
  }
  const BuiltIn::Family family = attribute_.built_in->family;
  if (family == BuiltIn::name || profile_) return {};
  return family == BuiltIn::tempo ? score_tempo(value) : score_list(value);
}

Outcome Context::score(const std::string& value) const {
  if (const Behaviour* const custom = attribute_.custom) {
    return custom->scores_strings ? custom->score(target_, value) : Outcome();
  }
  if (attribute_.built_in->family == BuiltIn::name) return score_name(value);
  return profile_ ? score_profile(MoodProfile(value)) : Outcome();
}

// Compares the element, or its ancestor at the level of the right side.
Outcome Context::score_list(uint32_t value) const {
  const trova_mock::Element none = {};
  const trova_mock::Element* element = &none;
  uint32_t code = list_ == nullptr ? 0 : list_->find(value, level_, &element);
  if (element != &none) value = element->id;
  const bool is_era = attribute_.built_in->family == BuiltIn::era;
  if (is_era && code == kNotFound) code = 0;
  if (target_.op == 20) {
    Outcome outcome;
    if (!has_row_) return {0x908902d3, 0};
    outcome.code = correlates_->score(value_, value, &outcome.score);
    return outcome.code != 0 ? outcome : Outcome{code, outcome.score};
  }
  if (!is_era) return {code, score_of((value == value_) == (target_.op == 10))};
  const uint32_t lower = element->lower;
  const uint32_t upper = element->upper;
  const bool holds[] = {start_ <= lower && upper <= end_,
                        lower < start_ || upper > end_,
                        start_ < lower,
                        start_ <= upper,
                        upper < start_,
                        upper <= end_};
  return {code, score_of(holds[target_.op - 10])};
}

// A point on a scale from 0 to 12.
static double tempo_point(uint32_t tempo) {
  const double x = tempo / 290.0;
  const double y = 21.41256661842911 * x * x * x + -44.71767914238594 * x * x +
                   32.696596322861204 * x + 1.630119227133498;
  return std::clamp(y, 0.0, 12.0);
}

Outcome Context::score_tempo(uint32_t value) const {
  if (target_.op == 20) {
    const double distance = std::abs(tempo_point(value_) - tempo_point(value));
    if (!(distance > 0)) return {0, 1000};
    return {0, static_cast<int32_t>(1000.0 - std::min(distance, 12.0) / 12.0 * 2000.0 + 0.5)};
  }
  const trova_mock::Element* element = nullptr;
  const bool rolls_up = list_ != nullptr && target_.op < 12;
  const uint32_t code = rolls_up ? list_->find(value, level_, &element) : 0;
  if (element != nullptr) value = element->id;
  const bool holds[] = {value == value_, value != value_, value > value_,
                        value >= value_, value < value_,  value <= value_};
  return {code, score_of(holds[target_.op - 10])};
}

// The first character and all pairs of neighbors in valid UTF-8. The last one's neighbor is 0.
static std::vector<uint32_t> pairs_of(const std::string& text) {
  std::vector<uint32_t> pairs;
  uint32_t before = 0;
  for (size_t at = 0; at <= text.size();) {
    const uint32_t lead = at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
    const size_t size = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    uint32_t c = size == 1 ? lead : lead & (0x7f >> size);
    for (size_t i = 1; i < size; ++i) c = c << 6 | (text[at + i] & 0x3f);
    if (c >= 'A' && c <= 'Z') c += 32;
    c &= 0xffff;
    pairs.push_back(at == 0 ? c : before | c << 16);
    before = c;
    at += size;
  }
  return pairs;
}

Outcome Context::score_name(const std::string& text) const {
  if (target_.op != 20)
    return {0, score_of((folded(text) == folded(target_.text)) == (target_.op == 10))};
  if (text.empty() || target_.text.empty()) return {};
  const std::vector<uint32_t> pairs = pairs_of(text);
  std::vector<uint32_t> others = pairs_of(target_.text);
  const auto total = static_cast<float>(pairs.size() + others.size());
  int matches = 0;
  for (const uint32_t pair : pairs) {
    const auto found = std::find(others.begin(), others.end(), pair);
    if (found == others.end()) continue;
    others.erase(found);
    ++matches;
  }
  return {0, static_cast<int32_t>(static_cast<float>(matches) / (total * 0.5f) * 1000.0f)};
}

// ----------------------------------------------------------------------------------- Moods

// "id:weight,id:weight"
MoodProfile::MoodProfile(const std::string& text) {
  size_t at = 0;
  while (count < 17) {
    ids[count] = to_u32(text.substr(at));
    const size_t colon = text.find(':', at);
    if (colon == std::string::npos) return;
    weights[count++] = to_u32(text.substr(colon + 1));
    const size_t comma = text.find(',', colon + 1);
    if (comma == std::string::npos) return;
    at = comma + 1;
  }
}

// The number of weights that are not 0. Only so many pairs count, from the first on, whatever their
// own weights.
static uint32_t considered(const MoodProfile& profile) {
  return profile.count -
         static_cast<uint32_t>(std::count(profile.weights, profile.weights + profile.count, 0u));
}

// The coordinate of a profile on the axis of a mood.
int32_t Context::coordinate(uint32_t mood, const MoodProfile& profile) const {
  if (correlates_ == nullptr || !correlates_->has(mood)) return 0;
  uint32_t sum = 0;
  for (uint32_t i = 0; i < considered(profile); ++i) {
    int32_t score = 0;
    if (correlates_->score(mood, profile.ids[i], &score) != 0) continue;
    sum += profile.weights[i] * static_cast<uint32_t>(score);
  }
  return std::clamp(static_cast<int32_t>(sum) / 1000, -100, 100);
}

Outcome Context::score_profile(const MoodProfile& profile) const {
  const uint32_t axes = considered(*profile_);
  if (axes == 0 || profile.count == 0) return {62, 0};
  float total = 0.0f;
  for (uint32_t k = 0; k < axes; ++k) {
    const auto a = static_cast<float>(coordinate(profile_->ids[k], *profile_));
    const auto b = static_cast<float>(coordinate(profile_->ids[k], profile));
    const float difference = a / 100.0f - b / 100.0f;
    total += difference * difference;
  }
  const float limit = std::sqrt(static_cast<float>(axes) * 4.0f);
  const float r = std::min(std::sqrt(total) / limit * 2000.0f, 2000.0f);
  if (!(r > 0.0f)) return {0, 1000};
  return {0, std::clamp(static_cast<int32_t>(1000.0f - r), -1000, 1000)};
}

}  // namespace model
