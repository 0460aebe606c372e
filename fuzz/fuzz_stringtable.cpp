// fuzz_stringtable: the input is a text that a table takes over, and then what is done to the
// table: strings are added one by one and in bulk, found, removed and restored, ids are read that
// start no string, and allocations fail.
//
// Every answer is that of a table that is written as plainly as possible (model/model.h).
#include <map>
#include <string>
#include <vector>

#include "fuzz_target.h"
#include "model.h"
#include "vrel_datatypes.h"
#include "vrel_stringtable.h"

using trova_mock::mock;

namespace {

constexpr int kMostChanges = 60;
constexpr int kMostBulks = 2;  // of many strings at once: the model is slow
constexpr int kChangesAfterBulk = 8;

class Pair {
 public:
  explicit Pair(const std::string& text) {
    FUZZ_REQUIRE(vrel_stringtable_create(&table_, 0) == 0);
    attach(text);
  }
  ~Pair() { FUZZ_REQUIRE(vrel_stringtable_delete(table_) == 0); }

  void attach(const std::string& text) {
    FUZZ_REQUIRE(vrel_stringtable_attach_buffer(table_, text.data(),
                                                static_cast<uint32_t>(text.size())) == 0);
    model_.attach(text);
    compare();
  }

  void change(FuzzBytes* bytes) {
    ++changes_;
    const uint32_t what = bytes->byte();
    if (what >= 248) return read_buffer();
    if (what >= 240) return add_many(bytes->text(4), 3 * bytes->byte(), bytes->byte());
    switch (what % 8) {
      case 0:
      case 1:
        return add(bytes->text(20));
      case 2:
        return find(bytes->text(20));
      case 3:
        return remove(bytes->byte());
      case 4:
        return restore(bytes->byte(), bytes->text(20));
      case 5:
        return read(bytes->byte());
      case 6:
        return add_without_memory(bytes->text(20), 1 + bytes->below(4));
      default:
        return attach(bytes->text(60));
    }
  }

  // A large table takes few changes: each is followed by looking at all of it.
  bool is_done() const {
    return changes_ == kMostChanges || (bulks_ > 0 && changes_ == last_bulk_ + kChangesAfterBulk);
  }

  // Everything that can be asked about the whole table.
  void compare() {
    const std::string& text = model_.buffer();
    uint32_t length = 0;
    FUZZ_REQUIRE(vrel_stringtable_length(table_, &length) == 0 && length == text.size());
    std::string copy(length, '?');
    FUZZ_REQUIRE(vrel_stringtable_copy_text(table_, 0, copy.data(), length) == 0);
    FUZZ_REQUIRE(copy == text);
    std::string spans;
    const char* span = nullptr;
    uint32_t size = 0;
    while (vrel_stringtable_span(table_, static_cast<uint32_t>(spans.size()), &span, &size) == 0) {
      FUZZ_REQUIRE(size != 0);
      spans.append(span, size);
    }
    FUZZ_REQUIRE(spans == text);

    const std::vector<uint32_t> ids = model_.ids();
    uint32_t count = 0;
    FUZZ_REQUIRE(vrel_stringtable_count(table_, &count) == 0 && count == ids.size());
    std::vector<uint32_t> copied(count);
    if (count != 0) FUZZ_REQUIRE(vrel_stringtable_copy_ids(table_, 0, count, copied.data()) == 0);
    FUZZ_REQUIRE(copied == ids);
    for (uint32_t i = 0; i < count; ++i) {
      uint32_t id = 0;
      const char* string = nullptr;
      FUZZ_REQUIRE(vrel_stringtable_enum(table_, i, &id, &string) == 0 && id == ids[i]);
      FUZZ_REQUIRE(model_.get(id) == string);
    }
    uint32_t unused = 0;
    FUZZ_REQUIRE(vrel_stringtable_enum(table_, count, &unused, nullptr) != 0);
  }

 private:
  void add(const std::string& string) {
    uint32_t id = 0;
    const uint32_t code = vrel_stringtable_add_value(table_, string.c_str(), &id);
    FUZZ_REQUIRE((code == 0) == !string.empty());
    if (code == 0) FUZZ_REQUIRE(id == model_.add(string));
    compare();
  }

  // Strings that differ in their numbers only, of a length that makes pages of the index or chunks
  // of the text.
  void add_many(const std::string& pattern, uint32_t count, uint32_t padding) {
    if (bulks_ == kMostBulks) return;
    ++bulks_;
    last_bulk_ = changes_;
    for (uint32_t i = 0; i < count; ++i) {
      const std::string string = pattern + std::to_string(i) + std::string(padding, '.');
      uint32_t id = 0;
      FUZZ_REQUIRE(vrel_stringtable_add_value(table_, string.c_str(), &id) == 0);
      FUZZ_REQUIRE(id == model_.add(string));
    }
    compare();
  }

  void add_without_memory(const std::string& string, uint32_t n) {
    if (string.empty()) return;
    uint32_t id = 0;
    mock().fail_allocation(n);
    const uint32_t code = vrel_stringtable_add_value(table_, string.c_str(), &id);
    const bool failed = mock().allocation_failed();
    mock().clear_faults();
    FUZZ_REQUIRE(code == 0 || failed);
    if (code == 0) FUZZ_REQUIRE(id == model_.add(string));
    compare();
  }

  void read_buffer() {
    const char* text = nullptr;
    uint32_t length = 0;
    FUZZ_REQUIRE(vrel_stringtable_get_buffer(table_, &text, &length) == 0);
    FUZZ_REQUIRE(std::string(text == nullptr ? "" : text, length) == model_.buffer());
    compare();
  }

  void find(const std::string& string) {
    uint32_t id = 0;
    const uint32_t code = vrel_stringtable_get_value_ref(table_, string.c_str(), &id);
    const auto expected = string.empty() ? std::nullopt : model_.find(string);
    FUZZ_REQUIRE((code == 0) == expected.has_value());
    FUZZ_REQUIRE(!expected || id == *expected);
  }

  // Of the ids there are, mostly; else any place of the text, or behind it.
  uint32_t id_of(uint32_t number) const {
    const std::vector<uint32_t> ids = model_.ids();
    return number < 200 && !ids.empty() ? ids[number % ids.size()] : number % 64;
  }

  void read(uint32_t number) {
    const uint32_t id = id_of(number);
    const char* string = nullptr;
    const uint32_t code = vrel_stringtable_get_value(table_, id, &string);
    const bool within = id <= model_.buffer().size();
    FUZZ_REQUIRE(within ? code == 0 : code != 0);
    FUZZ_REQUIRE(!within || model_.get(id) == string);
  }

  void remove(uint32_t number) {
    const uint32_t id = id_of(number);
    const uint32_t code = vrel_stringtable_remove_value(table_, id);
    if (code == 0) model_.blank(id);
    compare();
  }

  void restore(uint32_t number, const std::string& string) {
    if (string.empty()) return;
    const uint32_t id = id_of(number);
    (void)vrel_stringtable_restore_value(table_, id, string.c_str());
    if (id <= model_.buffer().size()) model_.restore(id, string);
    compare();
  }

  vrel_stringtable* table_ = nullptr;
  model::StringTable model_;
  int changes_ = 0;
  int bulks_ = 0;
  int last_bulk_ = 0;  // the change that it was
};

void start() {
  static const bool started = [] {
    mock().reset();
    FUZZ_REQUIRE(vrel_memory_initialize(nullptr) == 0);
    FUZZ_REQUIRE(vrel_datatypes_initialize() == 0);
    return true;
  }();
  (void)started;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  start();
  FuzzBytes bytes(data, size);
  const uint32_t length = bytes.byte();
  std::string text;
  while (text.size() < length && !bytes.empty()) text += static_cast<char>(bytes.byte());
  const size_t blocks = mock().blocks();
  {
    Pair pair(text);
    while (!bytes.empty() && !pair.is_done()) pair.change(&bytes);
  }
  FUZZ_REQUIRE(mock().blocks() == blocks);
  mock().errors.clear();
  mock().trace.clear();
  return 0;
}
