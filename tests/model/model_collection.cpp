// model_collection: the model's numbers, string table and collections.
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

// Clamps at the limits of long long. The callers clamp at 32 bits.
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
      const bool is_text = captured[0] != '#';
      if (!captured.empty()) {  // no text can be empty
        const uint32_t value = is_text ? values.add(captured) : to_u32(captured.substr(1));
        const uint32_t id = idents.add(ident);
        idents.restore(id, ident);
        attribute->records.add({is_text, value, id});
      }
      if (attribute->custom != nullptr) (void)attribute->custom->start("has captured one");
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

}  // namespace model
