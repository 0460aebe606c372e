// model_stream: writes and reads collections, compares them with reports, renders values of idents.
#include "model_stream.h"

#include <algorithm>

namespace model {

static std::string big_endian(uint64_t value, int bytes) {
  std::string text;
  while (bytes-- > 0) text += static_cast<char>(value >> 8 * bytes);
  return text;
}

std::string number(uint32_t value) {
  if (value < 0x80) return big_endian(value, 1);
  if (value < 0x100) return '\xcc' + big_endian(value, 1);
  return value < 0x10000 ? '\xcd' + big_endian(value, 2) : marker(value);
}

std::string raw(const std::string& bytes) {
  const size_t size = bytes.size();
  const std::string head = size < 32        ? big_endian(0xa0 | size, 1)
                           : size < 0x10000 ? '\xda' + big_endian(size, 2)
                                            : '\xdb' + big_endian(size, 4);
  return head + bytes;
}

std::string marker(uint32_t value) {
  return '\xce' + big_endian(value, 4);
}

static uint32_t size_of(const std::string& bytes) {
  return static_cast<uint32_t>(bytes.size());
}

uint32_t bound(const Collection& collection) {
  uint32_t size = 52 + size_of(collection.idents.buffer()) + size_of(collection.values.buffer()) +
                  size_of(collection.title);
  for (const auto& attribute : collection.attributes) {
    const auto entries = static_cast<uint32_t>(attribute->records.items.size());
    size += 20 + size_of(attribute->name) + 12 * entries;
  }
  return size;
}

Items write(const Collection& collection) {
  Items items = {marker(0x11111111), number(1), number(size_of(collection.title)),
                 number(static_cast<uint32_t>(collection.attributes.size())),
                 raw(collection.title)};
  const auto append = [&](const Items& more) {
    items.insert(items.end(), more.begin(), more.end());
  };
  const auto append_table = [&](uint32_t mark, const std::string& buffer) {
    append({marker(mark), number(1), number(size_of(buffer))});
    if (!buffer.empty()) append({raw(buffer)});
  };
  append_table(0x33333333, collection.idents.buffer());
  append_table(0x44444444, collection.values.buffer());
  for (const auto& attribute : collection.attributes) {
    const auto& records = attribute->records.items;
    append({marker(0x22222222), number(1), number(size_of(attribute->name)),
            number(static_cast<uint32_t>(records.size())), raw(attribute->name)});
    for (const Record& record : records) {
      append({record.is_text ? "\xc3" : "\xc2", number(record.ident), number(record.value)});
    }
  }
  return items;
}

// ---------------------------------------------------------------------------------- Reading

namespace {

const Failure kCorrupt = {0x9089000c, {}};
struct NoMoreItems {};

enum class Shape { integer, boolean, raw, other };

struct Item {
  Shape shape = Shape::other;
  uint64_t number = 0;
  std::string bytes = {};
};

class Reader {
 public:
  Reader(const std::string& bytes, const std::vector<Attribute>& registry, Loaded* loaded)
      : bytes_(bytes), registry_(registry), loaded_(*loaded) {}

  // The stream may end where a marker begins or within one, and nowhere else.
  void section() {
    const size_t start = at_;
    Item mark;
    try {
      mark = next();
      start_section(mark);
    } catch (NoMoreItems&) {
      const bool has_mark = mark.shape != Shape::other;
      const uint32_t head =
          start < bytes_.size() ? static_cast<unsigned char>(bytes_[start]) : 0xcc;
      if (has_mark || head < 0xcc || head > 0xd3) throw kCorrupt;
      throw;
    }
  }

 private:
  std::unique_ptr<Collection>& collection() { return loaded_.collection; }

  void start_section(const Item& mark) {
    if (mark.shape != Shape::integer) throw kCorrupt;
    const uint64_t version = wide_number();
    const uint32_t third = number();
    const uint64_t kind = mark.number % 0x11111111 == 0 ? mark.number / 0x11111111 : 0;
    if (kind < 1 || kind > 4 || (kind == 1) == (collection() != nullptr)) throw kCorrupt;
    if (version != 1) throw Failure{0x9089000b, {}};
    if (kind == 1) header();
    if (kind == 2) attribute(third);
    if (kind == 3) table(&collection()->idents, third);
    if (kind == 4) table(&collection()->values, third);
  }

  void header() {
    (void)number();
    const std::string name = raw();
    collection() = std::make_unique<Collection>(std::vector<Attribute>());
    collection()->title = name.c_str();
  }

  void table(StringTable* into, uint32_t limit) {
    if (limit != 0) into->attach(raw(limit));
  }

  void attribute(uint32_t limit) {
    const uint32_t count = number();
    const std::string name = raw(limit);
    if (3 * uint64_t{count} > bytes_.size() - at_) throw kCorrupt;
    const auto known = std::find_if(registry_.begin(), registry_.end(),
                                    [&](const Attribute& one) { return one.name == name; });
    const bool supported = known != registry_.end();
    if (!supported) {
      loaded_.warnings.push_back("Collection '" + collection()->title + "' has Attribute '" +
                                 name.c_str() + "' for which no support was found. Skipping.");
    }
    Array<Record> records;
    for (uint32_t i = 0; i < count; ++i) {
      Record record;
      record.is_text = number() % 256 != 0;
      record.ident = number();
      record.value = number();
      records.add(record);
    }
    records.sort(compare_ident);
    if (!supported) return;
    collection()->put(*known);
    collection()->attributes.back()->records = records;
  }

  uint64_t wide_number() {
    const Item item = next();
    if (item.shape != Shape::integer && item.shape != Shape::boolean) throw kCorrupt;
    return item.number;
  }
  uint32_t number() { return static_cast<uint32_t>(wide_number()); }

  std::string raw(uint32_t limit = UINT32_MAX) {
    Item item = next();
    if (item.shape != Shape::raw || item.bytes.size() > limit) throw kCorrupt;
    return item.bytes;
  }

  // An item with all items that it contains.
  Item next() {
    uint64_t parts = 0;
    Item item = part(&parts);
    if (parts != 0) item = {};
    while (parts != 0) {
      --parts;
      (void)part(&parts);
    }
    return item;
  }

  uint64_t take(uint64_t size) {
    uint64_t value = 0;
    while (size-- > 0) value = value << 8 | static_cast<unsigned char>(take_bytes(1)[0]);
    return value;
  }

  std::string take_bytes(uint64_t size) {
    if (size > bytes_.size() - at_) throw NoMoreItems();
    const auto count = static_cast<size_t>(size);
    at_ += count;
    return bytes_.substr(at_ - count, count);
  }

  Item part(uint64_t* parts) {
    const auto head = static_cast<uint32_t>(take(1));
    const uint64_t wide = uint64_t{1} << (head & 3);
    if (head < 0x80) return {Shape::integer, head, ""};
    if (head < 0x90) return *parts += 2 * (head & 15), Item();
    if (head < 0xa0) return *parts += head & 15, Item();
    if (head < 0xc0) return {Shape::raw, 0, take_bytes(head & 31)};
    if (head >= 0xe0) return {Shape::integer, uint64_t{head} - 256, ""};
    switch (head) {
      case 0xc0:
        return {};
      case 0xc1:
        throw NoMoreItems();
      case 0xc2:
      case 0xc3:
        return {Shape::boolean, head & 1, ""};
      case 0xc4:
      case 0xc5:
      case 0xc6:
        return take_bytes(take(wide)), Item();
      case 0xc7:
        return take_bytes(take(1) + 1), Item();
      case 0xc8:
        return take_bytes(take(2) + 1), Item();
      case 0xc9:
        return take_bytes(take(4) + 1), Item();
      case 0xca:
        return take_bytes(4), Item();
      case 0xcb:
        return take_bytes(8), Item();
      case 0xcc:
      case 0xcd:
      case 0xce:
      case 0xcf:
        return {Shape::integer, take(wide), ""};
      case 0xd0:
        return {Shape::integer, static_cast<uint64_t>(int8_t(take(1))), ""};
      case 0xd1:
        return {Shape::integer, static_cast<uint64_t>(int16_t(take(2))), ""};
      case 0xd2:
        return {Shape::integer, static_cast<uint64_t>(int32_t(take(4))), ""};
      case 0xd3:
        return {Shape::integer, take(8), ""};
      case 0xd9:
        return {Shape::raw, 0, take_bytes(take(1))};
      case 0xda:
        return {Shape::raw, 0, take_bytes(take(2))};
      case 0xdb:
        return {Shape::raw, 0, take_bytes(take(4))};
      case 0xdc:
        return *parts += take(2), Item();
      case 0xdd:
        return *parts += take(4), Item();
      case 0xde:
        return *parts += 2 * take(2), Item();
      case 0xdf:
        return *parts += 2 * take(4), Item();
      default:
        return take_bytes(1 + (uint64_t{1} << (head - 0xd4))), Item();
    }
  }

  const std::string& bytes_;
  size_t at_ = 0;
  const std::vector<Attribute>& registry_;
  Loaded& loaded_;
};

}  // namespace

Loaded read(const std::string& bytes, const std::vector<Attribute>& registry) {
  Loaded loaded;
  Reader reader(bytes, registry, &loaded);
  try {
    for (;;) {
      reader.section();
      loaded.code = 0;
    }
  } catch (NoMoreItems&) {
  } catch (const Failure& failure) {
    loaded.code = failure.code;
    loaded.collection = nullptr;
  }
  return loaded;
}

// -------------------------------------------------------------------------- Synchronisation

void Report::add(const Collection& collection, const std::string& ident) {
  started_ = true;
  if (const auto id = collection.idents.find(ident)) {
    present_.push_back(*id);
  } else {
    lacking_.add(ident);
  }
}

uint32_t Report::process(const Collection& collection, const Callback& callback) {
  if (!started_) return 0x9089000d;
  const Report report = std::exchange(*this, Report());
  std::multiset<uint32_t> missing(report.present_.begin(), report.present_.end());
  for (const uint32_t id : collection.idents.ids()) {
    const auto found = missing.find(id);
    found == missing.end() ? void(missing.insert(id)) : void(missing.erase(found));
  }
  for (const uint32_t id : missing) {
    if (callback(collection.idents.get(id), 11)) return 0;
  }
  for (const uint32_t id : report.lacking_.ids()) {
    if (callback(report.lacking_.get(id), 10)) return 0;
  }
  return 0;
}

// ------------------------------------------------------------------------------------- View

// How a built-in attribute shows a value under a key: not at all, as it is, or by the name that a
// level of its list gives it.
struct Face {
  static constexpr int kNothing = -2, kPlain = -1;
  const char *key, *attribute;
  int level;
};

static const Face kFaces[] = {{"trova_val_title_display", "QX_AlbumName", Face::kPlain},
                              {"trova_val_artist", "QX_ArtistName", Face::kNothing},
                              {"trova_val_list_arttype", "QX_ArtistType", 0},
                              {"_sdkmgr_val_list_artist_type_id", "QX_ArtistType", Face::kPlain},
                              {"trova_val_desc_era", "QX_Era", 0},
                              {"_sdkmgr_val_list_era_id", "QX_Era", Face::kPlain},
                              {"trova_val_list_genremeta", "QX_Genre", 1},
                              {"trova_val_list_genre", "QX_Genre", 2},
                              {"trova_val_list_genremicro", "QX_Genre", 3},
                              {"_sdkmgr_val_list_genre_id", "QX_Genre", Face::kPlain},
                              {"trova_val_list_origin", "QX_Origin", 0},
                              {"_sdkmgr_val_list_origin_id", "QX_Origin", Face::kPlain},
                              {"trova_val_list_mood", "QX_Mood", Face::kNothing},
                              {"trova_val_moodsub", "QX_Mood", 2},
                              {"_sdkmgr_val_list_mood_data", "QX_Mood", Face::kNothing},
                              {"_sdkmgr_val_list_mood_id", "QX_Mood", Face::kPlain},
                              {"trova_val_tempometa", "QX_Tempo", 1},
                              {"trova_val_temposub", "QX_Tempo", 2},
                              {"_sdkmgr_val_list_tempo_value", "QX_Tempo", Face::kPlain}};

// Keys that are attribute names.
static const std::map<std::string, std::pair<int, const char*>> kOwnFaces = {
    {"QX_AlbumName", {Face::kPlain, ""}},
    {"QX_ArtistName", {Face::kPlain, ""}},
    {"QX_ArtistType", {0, "trova_list_type_artist_types"}},
    {"QX_Era", {0, "trova_list_type_eras"}},
    {"QX_Genre", {2, "trova_list_type_genres"}},
    {"QX_Origin", {0, "trova_list_type_origins"}},
    {"QX_Mood", {2, "trova_list_type_moods"}},
    {"QX_Tempo", {2, "trova_list_type_tempos"}}};

static int level_of(const std::string& attribute, const std::string& key) {
  for (const Face& face : kFaces) {
    if (face.key == key && face.attribute == attribute) return face.level;
  }
  const bool is_own = attribute == "QX_Genre" ? key == attribute : folded(key) == folded(attribute);
  return is_own ? kOwnFaces.at(attribute).first : Face::kNothing;
}

static uint32_t render_built_in(const std::string& attribute, const std::string& value,
                                const std::string& key, bool has_locale, std::string* out_text) {
  const int level = level_of(attribute, key);
  if (level == Face::kNothing) return 0x10890003;
  if (level == Face::kPlain) return *out_text = value, 0;
  if (!has_locale) return 0x908902d3;
  const auto& lists = trova_mock::mock().lists.lists;
  const auto list = lists.find(kOwnFaces.at(attribute).second);
  const trova_mock::Element* element = nullptr;
  if (list == lists.end()) return trova_mock::kNotFound;
  const uint32_t code = list->second.find(to_u32(value), static_cast<uint32_t>(level), &element);
  if (code != 0) return code;
  return *out_text = "element " + std::to_string(element->id), 0;
}

View::View(Collection& collection, uint32_t ident)
    : has_locale(!trova_mock::mock().lists.locales.empty()),
      collection_(collection),
      ident_(ident) {}

uint32_t View::get(const std::string& key, uint32_t ordinal, std::string* out_text) {
  if (ordinal > 1) return 0x10890003;
  const auto face = std::find_if(std::begin(kFaces), std::end(kFaces),
                                 [&](const Face& one) { return folded(one.key) == folded(key); });
  Attribute* attribute = collection_.find(face == std::end(kFaces) ? key : face->attribute);
  if (attribute == nullptr) return 0x10890003;
  const Behaviour* custom = attribute->custom;
  if (contexts_.count(attribute->name) == 0) {
    auto context = std::make_unique<Context>(*attribute);
    if (const uint32_t code = context->create()) return map_error(code);
    contexts_[attribute->name] = std::move(context);
  }
  attribute->records.sort(compare_ident);
  const auto& records = attribute->records.items;
  const auto record = std::find_if(records.begin(), records.end(),
                                   [&](const Record& one) { return one.ident == ident_; });
  if (record == records.end()) return 0x10890003;
  const std::string& name = attribute->name;
  const bool is_name = name == "QX_AlbumName" || name == "QX_ArtistName";
  const bool renders = custom == nullptr ? record->is_text == is_name || name == "QX_Mood"
                       : record->is_text ? custom->renders_strings
                                         : custom->renders_integers;
  if (record->is_text && record->value > collection_.values.buffer().size()) return 0x90890363;
  if (!renders) return 0x9089000b;
  std::string value =
      record->is_text ? collection_.values.get(record->value) : std::to_string(record->value);
  if (custom == nullptr) {
    if (record->is_text && key == "_sdkmgr_val_list_mood_data") return *out_text = value, 0;
    if (record->is_text && !is_name) value = std::to_string(to_u32(value));
    return map_error(render_built_in(name, value, key, has_locale, out_text));
  }
  if (!record->is_text) value = "#" + value;
  return map_error(custom->render(value, key, has_locale, out_text));
}

}  // namespace model
