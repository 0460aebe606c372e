// Key: the name of a value or a child, with a tag that stands for it in comparisons.
#ifndef TROVA_MANAGER_OBJECTS_KEY_HXX
#define TROVA_MANAGER_OBJECTS_KEY_HXX

#include <cstdint>
#include <cstring>
#include <string_view>

namespace trova {

class Key {
 public:
  // Borrows the text.
  explicit Key(const char* text) noexcept;

  // Equal keys have equal tags. Tags of known keys are unique; other keys may share one.
  uint32_t tag() const { return tag_; }

  // The keys that nearly every object uses need not be stored with it.
  bool is_known() const { return is_known(tag_); }
  static bool is_known(uint32_t tag) { return (tag & kUnknownBit) == 0; }
  // The text of a known tag.
  static std::string_view known_text(uint32_t tag);

  std::string_view text() const { return text_; }

  // Room for the text and its terminator beside an entry; 0 for a known key.
  size_t stored_size() const { return is_known() ? 0 : text_.size() + 1; }
  void store(char* to) const {
    if (!is_known()) std::memcpy(to, text_.data(), text_.size() + 1);
  }

  // @param stored  what store() wrote for the key of that tag
  bool equals(uint32_t tag, const char* stored) const {
    return tag == tag_ && (is_known() || text_ == stored);
  }

 private:
  static constexpr uint32_t kUnknownBit = 0x80000000;

  std::string_view text_;
  uint32_t tag_;
};

}  // namespace trova

#endif  // TROVA_MANAGER_OBJECTS_KEY_HXX
