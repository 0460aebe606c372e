// model_collection: the model's numbers, string table, collections and providers.
#include <algorithm>
#include <climits>
#include <cstdlib>

#include "model.h"

namespace model {

uint32_t map_error(uint32_t code) {
  static const std::map<uint32_t, uint32_t> kPackages = {
      {4, 0x90890400}, {20, 0x90890400}, {16, 0x90890403}, {7, 0x90890404}, {14, 0x90890405}};
  const uint32_t package = (code >> 16) & 0xff;
  const uint32_t low = code & 0xffff;
  if (code == 0 || package == 0x89) return code;
  if (low == 2) return 0x90890002;
  if (low == 3) return 0x10890003;
  auto found = kPackages.find(package);
  return found == kPackages.end() ? 0x90890000 | low : found->second;
}

// Longer numbers end at the limits of long long, which is far enough.
static long long read_decimal(const std::string& text) {
  return std::strtoll(text.c_str(), nullptr, 10);
}

uint32_t to_u32(const std::string& text) {
  const long long value = read_decimal(text);
  return std::llabs(std::max(value, -LLONG_MAX)) > UINT32_MAX ? UINT32_MAX
                                                              : static_cast<uint32_t>(value);
}

int32_t to_i32(const std::string& text) {
  return static_cast<int32_t>(std::clamp<long long>(read_decimal(text), INT32_MIN, INT32_MAX));
}

static uint32_t hash_of(const std::string& text) {
  uint32_t hash = 5381;
  for (const char c : text) hash = hash * 33 + static_cast<unsigned char>(c);
  return hash;
}

uint32_t StringTable::add(const std::string& text) {
  if (const auto known = find(text)) return *known;
  if (buffer_.empty()) buffer_.push_back('\0');
  const auto id = static_cast<uint32_t>(buffer_.size());
  buffer_ += text + '\0';
  index_.add({hash_of(text), id});
  return id;
}

std::optional<uint32_t> StringTable::find(const std::string& text) const {
  const uint32_t hash = hash_of(text);
  for (const Entry& entry : index_.items) {
    if (entry.hash >= hash) return entry.hash == hash ? std::optional(entry.id) : std::nullopt;
  }
  return std::nullopt;
}

void StringTable::blank(uint32_t id) {
  const size_t length = get(id).size();
  if (length == 0) return;
  blanked_.emplace(id, length);
  buffer_.replace(id, length, length, '\0');
}

void StringTable::restore(uint32_t id, const std::string& text) {
  auto blanked = blanked_.find(id);
  if (!get(id).empty() || blanked == blanked_.end() || blanked->second != text.size()) return;
  buffer_.replace(id, text.size(), text);
}

std::vector<uint32_t> StringTable::ids() const {
  std::vector<uint32_t> all;
  for (const Entry& entry : index_.items) all.push_back(entry.id);
  return all;
}

void StringTable::attach(const std::string& bytes) {
  *this = StringTable();
  buffer_ = bytes;
  if (!bytes.empty() && bytes.back() != '\0') buffer_ += '\0';
  for (size_t at = 0;;) {
    at = buffer_.find('\0', at);
    if (at == std::string::npos || ++at >= buffer_.size()) return;
    if (buffer_[at] != '\0') {
      index_.add({hash_of(get(static_cast<uint32_t>(at))), static_cast<uint32_t>(at)});
    } else {
      at = buffer_.find_first_not_of('\0', at);
      if (at == std::string::npos) return;
    }
  }
}

// ------------------------------------------------------------------------------ Collection

std::string folded(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
  return text;
}

Collection::Collection(const std::vector<Attribute>& registry) {
  for (const Attribute& attribute : registry) put(attribute);
}

void Collection::put(const Attribute& attribute) {
  std::erase_if(attributes,
                [&](auto& known) { return folded(known->name) == folded(attribute.name); });
  attributes.push_back(std::make_unique<Attribute>(attribute));
}

Attribute* Collection::find(const std::string& name) const {
  for (const auto& attribute : attributes) {
    if (folded(attribute->name) == folded(name)) return attribute.get();
  }
  return nullptr;
}

void Collection::add(const std::string& ident, const trova_mock::ObjectData& data) {
  for (const auto& attribute : attributes) {
    for (const std::string& captured : attribute->capture(data)) {
      if (captured.empty()) continue;  // no text can be empty
      const bool is_text = captured[0] != '#';
      const uint32_t value = is_text ? values.add(captured) : to_u32(captured.substr(1));
      const uint32_t id = idents.add(ident);
      idents.restore(id, ident);
      attribute->records.add({is_text, value, id});
    }
  }
}

uint32_t Collection::remove(const std::string& ident) {
  const auto id = idents.find(ident);
  if (!id) return kNoMemberCode;
  idents.blank(*id);
  for (const auto& attribute : attributes) {
    attribute->records.sort(compare_ident);
    std::erase_if(attribute->records.items, [&](const Record& r) { return r.ident == *id; });
  }
  return 0;
}

int32_t compare_ident(const Record& a, const Record& b) {
  return a.ident > b.ident ? -1 : a.ident < b.ident ? 1 : 0;
}

// ------------------------------------------------------------------------------ Attributes

struct ListAttribute {
  std::string name, key, list, correlates;
  bool is_era() const { return name == "QX_Era"; }
};

static const ListAttribute kListAttributes[] = {
    {"QX_Genre", "_sdkmgr_val_list_genre_id", "trova_list_type_genres", "trova_correlates_genre"},
    {"QX_ArtistType", "_sdkmgr_val_list_artist_type_id", "trova_list_type_artist_types",
     "trova_correlates_arttype"},
    {"QX_Era", "_sdkmgr_val_list_era_id", "trova_list_type_eras", "trova_correlates_era"},
    {"QX_Origin", "_sdkmgr_val_list_origin_id", "trova_list_type_origins",
     "trova_correlates_origin"}};

// Values of the other built-in attributes, which these tests store but never compare.
static const struct {
  const char *name, *key, *context;
  const char* prefix;
} kPlainValues[] = {{"QX_AlbumName", "trova_val_title_display", "trova_ctx_album", ""},
                    {"QX_ArtistName", "trova_val_artist", "", ""},
                    {"QX_Mood", "_sdkmgr_val_list_mood_data", "trova_ctx_track", ""},
                    {"QX_Mood", "_sdkmgr_val_list_mood_id", "trova_ctx_track", "#"},
                    {"QX_Tempo", "_sdkmgr_val_list_tempo_value", "trova_ctx_track", "#"}};

Attribute::Attribute(const std::string& built_in) : name(built_in) {
  for (const ListAttribute& row : kListAttributes) {
    if (row.name == name) list = &row;
  }
}

bool Attribute::supports(uint32_t op) const {
  if (list != nullptr) return op == 10 || op == 11 || op == 20 || list->is_era();
  if (custom == nullptr) return false;
  uint32_t found = 0;
  uint32_t i = 0;
  while (custom->operator_at(i, &found) == 0) {
    if (found == op) return true;
    ++i;
  }
  return false;
}

std::vector<std::string> Attribute::capture(const trova_mock::ObjectData& data) const {
  std::vector<std::string> found;
  if (custom != nullptr) {
    custom->start("captures");
    if (auto own = data.values.find(custom->key()); own != data.values.end()) found = own->second;
  } else if (list != nullptr) {
    const auto track = data.child("trova_ctx_track!matching");
    for (const auto* object : {data.context == "trova_ctx_album" ? track.get() : nullptr, &data}) {
      const std::string* text = object == nullptr ? nullptr : object->value(list->key);
      if (text != nullptr) found.push_back("#" + std::to_string(to_u32(*text)));
    }
  }
  for (const auto& row : kPlainValues) {
    const std::string* text = row.name == name ? data.value(row.key) : nullptr;
    const bool reads = text != nullptr && (data.context == row.context || row.context[0] == '\0');
    if (reads) found.push_back(row.prefix + *text);
  }
  return found;
}

Context::Context(const Attribute& attribute) : attribute_(attribute) {
  if (attribute.custom != nullptr) attribute.custom->start("creates a context");
  if (attribute.list == nullptr) return;
  const auto& lists = trova_mock::mock().lists;
  auto list = lists.lists.find(attribute.list->list);
  auto correlates = lists.correlates.find(attribute.list->correlates);
  if (lists.locales.empty()) return;
  if (list != lists.lists.end()) list_ = &list->second;
  if (correlates != lists.correlates.end()) correlates_ = &correlates->second;
}

uint32_t Context::set_text(uint32_t op, const std::string* literal) {
  if (attribute_.custom != nullptr) {
    return attribute_.custom->prepare(&target_, op,
                                      literal == nullptr ? nullptr : literal->c_str());
  }
  target_.op = op;
  value_ = literal == nullptr ? 0 : to_u32(*literal);
  if (value_ == 0) return 0x9089000b;
  (void)settle();
  return 0;
}

uint32_t Context::set_seed(uint32_t op, const trova_mock::ObjectData& seed) {
  target_.op = op;
  const Behaviour* custom = attribute_.custom;
  const std::string* text = seed.value(custom ? custom->key() : attribute_.list->key);
  if (custom != nullptr && text == nullptr) return custom->prepare_without_value(&target_, op);
  if (custom != nullptr) return custom->prepare(&target_, op, text->c_str());
  if (text == nullptr) return TROVA_PLAYLIST_NO_VALUE;
  value_ = to_u32(*text);
  return settle();
}

// Finds the level, the range and the scores of the value. An era may be a plain year.
uint32_t Context::settle() {
  const auto* element = list_ == nullptr ? nullptr : list_->at(value_, 0);
  start_ = element == nullptr ? value_ : element->lower;
  end_ = element == nullptr ? value_ : element->upper;
  level_ = element == nullptr ? 0 : list_->level(value_);
  const bool unknown = list_ != nullptr && element == nullptr && !attribute_.list->is_era();
  if (target_.op != 20 || correlates_ == nullptr) return unknown ? trova_mock::kNotFound : 0;
  auto scores = correlates_->find(value_);
  if (scores != correlates_->end()) scores_ = &scores->second;
  return unknown || scores_ == nullptr ? trova_mock::kNotFound : 0;
}

Outcome Context::score(uint32_t value) {
  if (attribute_.custom != nullptr) {
    return attribute_.custom->scores_integers ? attribute_.custom->score(target_, value)
                                              : Outcome();
  }
  const auto* element = list_ == nullptr ? nullptr : list_->at(value, level_);
  if (element != nullptr) value = element->id;
  if (target_.op == 20) return like(value);
  const bool holds = attribute_.list->is_era()
                         ? era_holds(element ? element->lower : 0, element ? element->upper : 0)
                         : (value == value_) == (target_.op == 10);
  return {0, holds ? 1000 : 0};
}

Outcome Context::score(const std::string& value) {
  const Behaviour* custom = attribute_.custom;
  return custom != nullptr && custom->scores_strings ? custom->score(target_, value) : Outcome();
}

Outcome Context::like(uint32_t value) const {
  if (scores_ == nullptr) return {0x908902d3, 0};
  auto found = scores_->find(value);
  return found == scores_->end() ? Outcome{trova_mock::kNotFound, 0} : Outcome{0, found->second};
}

bool Context::era_holds(uint32_t lower, uint32_t upper) const {
  const bool holds[] = {start_ <= lower && upper <= end_,
                        lower < start_ || upper > end_,
                        start_ < lower,
                        start_ <= upper,
                        upper < start_,
                        upper <= end_};
  return holds[target_.op - 10];
}

}  // namespace model
