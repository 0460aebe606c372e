// playlist_coll_stream: a collection as one stream of MessagePack items, written and read.
#include "playlist_coll_stream.h"

#include <msgpack/pack.h>
#include <msgpack/unpack.h>
#include <string.h>

#include "playlist_error.h"
#include "playlist_owner.h"
#include "playlist_walk.h"
#include "vrel_log.h"
#include "vrel_memory.h"
#include "vrel_string.h"
#include "vrel_tuning.h"

namespace {

// Where the log places what fails here, and the warning about an attribute without support.
const char kSource[] = "playlist_api_coll_storage";
constexpr uint32_t kUnsupportedLine = 925;

// What opens each section. Markers always take five bytes, even where fewer would do.
constexpr uint32_t kMarkerHeader = 0x11111111u;
constexpr uint32_t kMarkerAttribute = 0x22222222u;
constexpr uint32_t kMarkerIdents = 0x33333333u;
constexpr uint32_t kMarkerValues = 0x44444444u;

// Of every section.
constexpr uint32_t kVersion = 1;

// What the bound allows for: all items of header and string tables, of one attribute, and of one
// entry, without the texts.
constexpr uint32_t kFixedBound = 52;
constexpr uint32_t kAttributeBound = 20;
constexpr uint32_t kEntryBound = 12;

// An entry is three items, of a byte each at least. In the form in which we write them they take
// no more than 11, and a number is read with the four bytes behind it whether it has them or not.
constexpr uint32_t kLeastEntrySize = 3;
constexpr uint32_t kPlainEntryRoom = 11;

// First bytes of items.
constexpr uint8_t kFalseItem = 0xc2;
constexpr uint8_t kTrueItem = 0xc3;
constexpr uint8_t kUint8Item = 0xcc;  // of 16 bits: one more, of 32: two more

// ---- Writing ----

// An attribute as it is written.
struct AttributeSection {
  const char* name;
  uint32_t name_length;
  vrel_vector2* values;
  uint32_t count;
};

// False for an attribute that cannot say what it is: it is left out.
bool attribute_section_at(Collection* collection, uint32_t index, AttributeSection* out) {
  AttributeInfo* info = nullptr;
  if (playlist_collection_attrinfo_at(collection, index, &info) != 0) return false;
  if (info->provider->get_name(&out->name) != 0 || out->name == nullptr) return false;
  out->name_length = vrel_string_byteclen(out->name);
  out->values = info->values;
  return vrel_vector2_count(info->values, &out->count) == 0;
}

// Calls visit(AttributeSection) in the order of the collection's enumeration.
template <typename Visit>
uint32_t for_each_attribute(Collection* collection, Visit visit) {
  uint32_t count = 0;
  PL_TRY(vrel_hashtable_count(collection->attributes, &count));
  for (uint32_t i = 0; i < count; ++i) {
    AttributeSection section = {};
    if (attribute_section_at(collection, i, &section)) visit(section);
  }
  return 0;
}

// Packs items into memory that the caller has measured.
class StreamWriter {
 public:
  StreamWriter(void* bytes, uint32_t room) : bytes_(static_cast<char*>(bytes)), room_(room) {
    msgpack_packer_init(&packer_, this, append);
  }

  void marker(uint32_t value) { msgpack_pack_fix_uint32(&packer_, value); }
  void number(uint32_t value) { msgpack_pack_uint32(&packer_, value); }
  // The ident comes before the value here, behind it in memory.
  void entries(const ValueEntry* entries, uint32_t count) {
    fits_ = fits_ && (room_ - used_) / kPlainEntryRoom >= count;
    if (!fits_) return;
    auto* const start = reinterpret_cast<uint8_t*>(bytes_) + used_;
    uint8_t* to = start;
    for (uint32_t i = 0; i < count; ++i) {
      *to = (entries[i].kind & 0xffu) != 0 ? kTrueItem : kFalseItem;
      to = put_number(put_number(to + 1, entries[i].ident), entries[i].value);
    }
    used_ += static_cast<uint32_t>(to - start);
  }
  // A raw in the form that readers of any age know, and its bytes, which may come in pieces.
  void raw_length(uint32_t length) { msgpack_pack_v4raw(&packer_, length); }
  void raw_bytes(const char* bytes, uint32_t length) {
    msgpack_pack_v4raw_body(&packer_, bytes, length);
  }
  void raw(const char* bytes, uint32_t length) {
    raw_length(length);
    raw_bytes(bytes, length);
  }

  uint32_t used() const { return used_; }
  // Whether everything so far found its place.
  bool fits() const { return fits_; }

 private:
  static int append(void* self, const char* bytes, size_t length) {
    auto* const writer = static_cast<StreamWriter*>(self);
    if (length > writer->room_ - writer->used_) writer->fits_ = false;
    if (!writer->fits_) return -1;
    memcpy(writer->bytes_ + writer->used_, bytes, length);
    writer->used_ += static_cast<uint32_t>(length);
    return 0;
  }

  // As number() packs it.
  static uint8_t* put_number(uint8_t* to, uint32_t value) {
    if (value > 0xffff) {
      to[0] = kUint8Item + 2;
      to[1] = static_cast<uint8_t>(value >> 24);
      to[2] = static_cast<uint8_t>(value >> 16);
      to[3] = static_cast<uint8_t>(value >> 8);
      to[4] = static_cast<uint8_t>(value);
      return to + 5;
    }
    if (value > 0xff) {
      to[0] = kUint8Item + 1;
      to[1] = static_cast<uint8_t>(value >> 8);
      to[2] = static_cast<uint8_t>(value);
      return to + 3;
    }
    if (value >= 0x80) *to++ = kUint8Item;
    *to = static_cast<uint8_t>(value);
    return to + 1;
  }

  msgpack_packer packer_;
  char* bytes_;
  uint32_t room_;
  uint32_t used_ = 0;
  bool fits_ = true;
};

uint32_t write_header(StreamWriter* writer, const Collection* collection) {
  uint32_t attributes = 0;
  PL_TRY(vrel_hashtable_count(collection->attributes, &attributes));
  const uint32_t name_length = vrel_string_byteclen(collection->name);
  writer->marker(kMarkerHeader);
  writer->number(kVersion);
  writer->number(name_length);
  writer->number(attributes);
  writer->raw(collection->name, name_length);
  return 0;
}

// The text of a table as it lies there, so that the ids in the entries stay what they are.
uint32_t write_strings(StreamWriter* writer, uint32_t marker, const vrel_stringtable* table) {
  uint32_t length = 0;
  PL_TRY(vrel_stringtable_length(table, &length));
  writer->marker(marker);
  writer->number(kVersion);
  writer->number(length);
  if (length == 0) return 0;
  writer->raw_length(length);
  for (uint32_t at = 0; at < length;) {
    const char* bytes = nullptr;
    uint32_t piece = 0;
    PL_TRY(vrel_stringtable_span(table, at, &bytes, &piece));
    writer->raw_bytes(bytes, piece);
    at += piece;
  }
  return 0;
}

void write_attribute(StreamWriter* writer, const AttributeSection& section) {
  writer->marker(kMarkerAttribute);
  writer->number(kVersion);
  writer->number(section.name_length);
  writer->number(section.count);
  writer->raw(section.name, section.name_length);
  static_cast<void>(playlist_for_each_stretch<ValueEntry>(
      section.values, [&](const ValueEntry* entries, uint32_t count) {
        writer->entries(entries, count);
        return uint32_t{0};
      }));
}

// ---- Reading ----

struct Raw {
  const char* bytes;  // in the input, without a terminator
  uint32_t length;
};

// What an item is by its first byte. Nothing else is ever unpacked: arrays and maps announce how
// many items follow, and unpacking them would make room for all of those at once.
enum class ItemKind { kInteger, kBoolean, kRaw, kOther };

ItemKind item_kind(uint8_t first) {
  if (first <= 0x7f || first >= 0xe0) return ItemKind::kInteger;
  if (first >= 0xcc && first <= 0xd3) return ItemKind::kInteger;
  if (first == 0xc2 || first == 0xc3) return ItemKind::kBoolean;
  if (first >= 0xa0 && first <= 0xbf) return ItemKind::kRaw;
  if (first >= 0xd9 && first <= 0xdb) return ItemKind::kRaw;
  return ItemKind::kOther;
}

// Takes items off the front of the input. Where an item is not of the kind that is due, or is cut
// off, the answer is PLERR_CorruptData.
class StreamReader {
 public:
  StreamReader(const void* bytes, uint32_t size)
      : bytes_(static_cast<const char*>(bytes)), size_(size) {
    msgpack_unpacked_init(&item_);
  }
  ~StreamReader() { msgpack_unpacked_destroy(&item_); }
  StreamReader(const StreamReader&) = delete;
  StreamReader& operator=(const StreamReader&) = delete;

  uint32_t remaining() const { return static_cast<uint32_t>(size_ - offset_); }

  // The marker of the next section. `*out_end` tells that there is none: the input ends, if need be
  // within the marker.
  uint32_t marker(uint64_t* out_marker, bool* out_end) {
    *out_end = remaining() == 0;
    if (*out_end) return 0;
    if (next_kind() != ItemKind::kInteger) return PLERR_CorruptData;
    *out_end = !unpack();
    if (*out_end) return 0;
    if (item_.data.type != MSGPACK_OBJECT_POSITIVE_INTEGER) return PLERR_CorruptData;
    *out_marker = item_.data.via.u64;
    return 0;
  }

  // An integer or a boolean. Negative integers are taken as their 64 bits.
  uint32_t wide_number(uint64_t* out) {
    if (remaining() == 0) return PLERR_CorruptData;
    const ItemKind kind = next_kind();
    if (kind != ItemKind::kInteger && kind != ItemKind::kBoolean) return PLERR_CorruptData;
    if (!unpack()) return PLERR_CorruptData;
    *out = kind == ItemKind::kBoolean ? uint64_t{item_.data.via.boolean}
                                      : uint64_t{item_.data.via.u64};
    return 0;
  }

  // The low 32 bits of one.
  uint32_t number(uint32_t* out) {
    uint64_t wide = 0;
    PL_TRY(wide_number(&wide));
    *out = static_cast<uint32_t>(wide);
    return 0;
  }

  // Takes entries in the form in which we write them: a boolean and two numbers, each the shortest
  // that holds its value. Ends at the first in any other form, and near the end of the input.
  // Returns how many it took, `count` at most.
  uint32_t plain_entries(ValueEntry* out, uint32_t count) {
    const auto* const start = reinterpret_cast<const uint8_t*>(bytes_) + offset_;
    const uint8_t* const end = start + remaining();
    const uint8_t* at = start;
    uint32_t taken = 0;
    while (taken < count && static_cast<size_t>(end - at) >= kPlainEntryRoom) {
      const uint8_t* item = at + 1;
      ValueEntry* const entry = out + taken;
      if ((at[0] & 0xfeu) != kFalseItem) break;
      if (!plain_number(&item, &entry->ident) || !plain_number(&item, &entry->value)) break;
      entry->kind = at[0] == kFalseItem ? kValueInteger : kValueString;
      at = item;
      ++taken;
    }
    offset_ += static_cast<size_t>(at - start);
    return taken;
  }

  // At most `longest` bytes.
  uint32_t raw(uint32_t longest, Raw* out) {
    if (remaining() == 0 || next_kind() != ItemKind::kRaw || !unpack()) return PLERR_CorruptData;
    if (item_.data.via.str.size > longest) return PLERR_CorruptData;
    *out = {item_.data.via.str.ptr, item_.data.via.str.size};
    return 0;
  }

 private:
  ItemKind next_kind() const { return item_kind(static_cast<uint8_t>(bytes_[offset_])); }
  // A number of up to 32 bits at a place with four bytes behind it. Branches and no table of
  // lengths: the numbers of an attribute are mostly of one length, so the next one's place is
  // guessed right before this one is read.
  static bool plain_number(const uint8_t** at, uint32_t* out) {
    const uint8_t* const item = *at;
    const uint32_t word = uint32_t{item[1]} << 24 | uint32_t{item[2]} << 16 |
                          uint32_t{item[3]} << 8 | uint32_t{item[4]};
    if (item[0] == kUint8Item + 2) {
      *out = word;
      *at = item + 5;
    } else if (item[0] == kUint8Item + 1) {
      *out = word >> 16;
      *at = item + 3;
    } else if (item[0] < 0x80) {
      *out = item[0];
      *at = item + 1;
    } else if (item[0] == kUint8Item) {
      *out = item[1];
      *at = item + 2;
    } else {
      return false;
    }
    return true;
  }

  bool unpack() {
    return msgpack_unpack_next(&item_, bytes_, size_, &offset_) == MSGPACK_UNPACK_SUCCESS;
  }

  const char* bytes_;
  size_t size_;
  size_t offset_ = 0;
  msgpack_unpacked item_;
};

// A collection that is being read.
struct Reading {
  StreamReader reader;
  CollectionOwner collection;  // null until its header was read
  // Of collection->load_buffer, which collects the names of the sections as terminated texts.
  uint32_t names_length = 0;
  uint32_t names_room = 0;
};

// The words that open every section.
struct SectionStart {
  uint64_t marker;
  uint64_t version;
  uint32_t length;  // of the section's name or text
};

constexpr uint32_t kLeastNamesRoom = kPlaylistNamesRoom;

// Gives a name its terminator. The text is good until the next one is kept.
uint32_t keep_name(Reading* reading, const Raw& name, const char** out_text) {
  Collection* const collection = reading->collection.get();
  const uint64_t needed = uint64_t{reading->names_length} + name.length + 1;
  if (needed > reading->names_room) {
    const uint64_t room = needed + reading->names_room + kLeastNamesRoom;
    if (room > UINT32_MAX) return PLERR_NoMemory;
    void* const block = vrel_memory_realloc(collection->load_buffer, static_cast<size_t>(room));
    if (block == nullptr) return PLERR_NoMemory;
    collection->load_buffer = block;
    reading->names_room = static_cast<uint32_t>(room);
  }
  char* const text = static_cast<char*>(collection->load_buffer) + reading->names_length;
  if (name.length != 0) memcpy(text, name.bytes, name.length);  // an empty raw has no bytes
  text[name.length] = '\0';
  reading->names_length = static_cast<uint32_t>(needed);
  *out_text = text;
  return 0;
}

// The numbers of a header are not compared with anything: the raw knows its length, and there are
// as many attributes as sections follow.
uint32_t read_header(Reading* reading) {
  uint32_t attribute_count = 0;
  Raw name = {};
  PL_TRY(reading->reader.number(&attribute_count));
  PL_TRY(reading->reader.raw(UINT32_MAX, &name));
  PL_TRY(playlist_collection_create(reading->collection.out()));
  const char* text = nullptr;
  PL_TRY(keep_name(reading, name, &text));
  reading->collection->name = vrel_string_strdup(text);
  return reading->collection->name != nullptr ? 0 : PLERR_NoMemory;
}

uint32_t read_strings(Reading* reading, uint32_t length, uint32_t most, vrel_stringtable* table) {
  if (length == 0) return 0;
  Raw text = {};
  PL_TRY(reading->reader.raw(length, &text));
  if (text.length > most) return PLERR_NoMemory;
  return vrel_stringtable_attach_buffer(table, text.bytes, text.length);
}

// The first provider of a name, letter case included; null when there is none.
const AttributeProvider* find_provider(const Raw& name) {
  const AttributeProvider* provider = nullptr;
  for (uint32_t i = 0; playlist_attributes_get(i, &provider) == 0; ++i) {
    const char* text = nullptr;
    if (provider->get_name(&text) != 0 || text == nullptr) continue;
    const uint32_t length = vrel_string_byteclen(text);
    if (vrel_string_strcmp_len(text, length, name.bytes, name.length) == 0) return provider;
  }
  return nullptr;
}

uint32_t read_entry(StreamReader* reader, ValueEntry* out) {
  uint32_t kind = 0;
  PL_TRY(reader->number(&kind));
  PL_TRY(reader->number(&out->ident));
  PL_TRY(reader->number(&out->value));
  out->kind = (kind & 0xffu) != 0 ? kValueString : kValueInteger;
  return 0;
}

void free_entries(ValueEntry* entries) {
  vrel_memory_free(entries);
}
using EntriesOwner = PlaylistOwner<ValueEntry, free_entries>;

uint32_t read_entries(StreamReader* reader, uint32_t count, vrel_vector2* values) {
  if (count > UINT32_MAX / sizeof(ValueEntry)) return PLERR_NoMemory;
  if (count == 0) return 0;
  EntriesOwner entries(static_cast<ValueEntry*>(vrel_memory_alloc(count * sizeof(ValueEntry))));
  if (!entries) return PLERR_NoMemory;
  for (uint32_t i = reader->plain_entries(entries.get(), count); i < count;) {
    PL_TRY(read_entry(reader, entries.get() + i++));
    i += reader->plain_entries(entries.get() + i, count - i);
  }
  const auto size = static_cast<uint32_t>(count * sizeof(ValueEntry));
  PL_TRY(vrel_vector2_attach(values, entries.get(), size, sizeof(ValueEntry), 1));
  static_cast<void>(entries.take());
  return 0;
}

uint32_t skip_entries(StreamReader* reader, uint32_t count) {
  ValueEntry entry = {};
  for (uint32_t i = 0; i < count; ++i) PL_TRY(read_entry(reader, &entry));
  return 0;
}

void warn_unsupported(const Collection* collection, const char* attribute) {
  if (g_vrel_log_callback == nullptr) return;
  if ((g_vrel_log_enabled_pkgs[kPlaylistPackage] & VREL_LOG_WARNING) == 0) return;
  g_vrel_log_callback(
      kUnsupportedLine, kSource, kPlaylistPackage, VREL_LOG_WARNING,
      "Collection '%s' has Attribute '%s' for which no support was found. Skipping.",
      collection->name, attribute);
}

uint32_t read_attribute(Reading* reading, uint32_t name_length) {
  StreamReader* const reader = &reading->reader;
  Collection* const collection = reading->collection.get();
  uint32_t count = 0;
  Raw name = {};
  const char* text = nullptr;
  PL_TRY(reader->number(&count));
  PL_TRY(reader->raw(name_length, &name));
  if (count > reader->remaining() / kLeastEntrySize) return PLERR_CorruptData;
  PL_TRY(keep_name(reading, name, &text));

  const AttributeProvider* const provider = find_provider(name);
  if (provider == nullptr) {
    warn_unsupported(collection, text);
    return skip_entries(reader, count);
  }
  AttributeInfoOwner info;
  PL_TRY(playlist_attrinfo_create(provider, info.out()));
  PL_TRY(read_entries(reader, count, info->values));
  PL_TRY(playlist_attrinfo_sort(info.get()));
  // An attribute that comes twice is replaced by the later one.
  PL_TRY(playlist_collection_adopt_attribute(collection, text, info.get()));
  static_cast<void>(info.take());
  return 0;
}

uint32_t read_section(Reading* reading, const SectionStart& start) {
  const bool is_header = start.marker == kMarkerHeader;
  // The header comes first, and once.
  if (is_header == static_cast<bool>(reading->collection)) return PLERR_CorruptData;
  const bool is_known = is_header || start.marker == kMarkerAttribute ||
                        start.marker == kMarkerIdents || start.marker == kMarkerValues;
  if (!is_known) return PLERR_CorruptData;
  if (start.version != kVersion) return PLERR_InvalidData;
  if (is_header) return read_header(reading);
  if (start.marker == kMarkerAttribute) return read_attribute(reading, start.length);
  Collection* const collection = reading->collection.get();
  return start.marker == kMarkerIdents
             ? read_strings(reading, start.length, kMostIdentText, collection->idents)
             : read_strings(reading, start.length, UINT32_MAX, collection->values);
}

// An input without any section is no collection.
uint32_t read_sections(Reading* reading) {
  for (;;) {
    SectionStart start = {};
    bool end = false;
    PL_TRY(reading->reader.marker(&start.marker, &end));
    if (end) return reading->collection ? 0 : PLERR_CorruptData;
    PL_TRY(reading->reader.wide_number(&start.version));
    PL_TRY(reading->reader.number(&start.length));
    PL_TRY(read_section(reading, start));
  }
}

}  // namespace

uint32_t playlist_stream_bound(Collection* collection, uint32_t* out_size) {
  uint32_t idents = 0;
  uint32_t values = 0;
  PL_TRY(vrel_stringtable_length(collection->idents, &idents));
  PL_TRY(vrel_stringtable_length(collection->values, &values));
  uint64_t size = uint64_t{kFixedBound} + idents + values + vrel_string_byteclen(collection->name);
  PL_TRY(for_each_attribute(collection, [&](const AttributeSection& section) {
    size += uint64_t{kAttributeBound} + section.name_length + uint64_t{kEntryBound} * section.count;
  }));
  if (size > UINT32_MAX) return PLERR_NoMemory;
  *out_size = static_cast<uint32_t>(size);
  return 0;
}

uint32_t playlist_stream_write(Collection* collection, void* bytes, uint32_t room,
                               uint32_t* out_size) {
  StreamWriter writer(bytes, room);
  PL_TRY(write_header(&writer, collection));
  PL_TRY(write_strings(&writer, kMarkerIdents, collection->idents));
  PL_TRY(write_strings(&writer, kMarkerValues, collection->values));
  PL_TRY(for_each_attribute(
      collection, [&](const AttributeSection& section) { write_attribute(&writer, section); }));
  if (!writer.fits()) return PLERR_BufferTooSmall;
  *out_size = writer.used();
  return 0;
}

uint32_t playlist_stream_read(const void* bytes, uint32_t size, Collection** out_collection) {
  Reading reading = {{bytes, size}, {}};
  const uint32_t code = read_sections(&reading);
  if (code != 0) return VREL_LOG_HERE(code);
  *out_collection = reading.collection.take();
  return 0;
}
