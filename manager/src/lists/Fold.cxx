// Fold: names reduced to what their spellings have in common.
#include "Fold.hxx"

#include <cstdint>
#include <cstring>
#include <string_view>

namespace trova::lists {
namespace {

struct LetterRange {
  uint16_t first;
  uint16_t last;
  char base[3];
};

// Latin letters beyond ASCII and the letters they are written with when accents are not at hand.
constexpr LetterRange kLatin[] = {
    {0x00aa, 0x00aa, "a"},  {0x00ba, 0x00ba, "o"},  {0x00c0, 0x00c5, "a"},  {0x00c6, 0x00c6, "ae"},
    {0x00c7, 0x00c7, "c"},  {0x00c8, 0x00cb, "e"},  {0x00cc, 0x00cf, "i"},  {0x00d0, 0x00d0, "d"},
    {0x00d1, 0x00d1, "n"},  {0x00d2, 0x00d6, "o"},  {0x00d8, 0x00d8, "o"},  {0x00d9, 0x00dc, "u"},
    {0x00dd, 0x00dd, "y"},  {0x00de, 0x00de, "th"}, {0x00df, 0x00df, "ss"}, {0x00e0, 0x00e5, "a"},
    {0x00e6, 0x00e6, "ae"}, {0x00e7, 0x00e7, "c"},  {0x00e8, 0x00eb, "e"},  {0x00ec, 0x00ef, "i"},
    {0x00f0, 0x00f0, "d"},  {0x00f1, 0x00f1, "n"},  {0x00f2, 0x00f6, "o"},  {0x00f8, 0x00f8, "o"},
    {0x00f9, 0x00fc, "u"},  {0x00fd, 0x00fd, "y"},  {0x00fe, 0x00fe, "th"}, {0x00ff, 0x00ff, "y"},
    {0x0100, 0x0105, "a"},  {0x0106, 0x010d, "c"},  {0x010e, 0x0111, "d"},  {0x0112, 0x011b, "e"},
    {0x011c, 0x0123, "g"},  {0x0124, 0x0127, "h"},  {0x0128, 0x0131, "i"},  {0x0132, 0x0133, "ij"},
    {0x0134, 0x0135, "j"},  {0x0136, 0x0138, "k"},  {0x0139, 0x0142, "l"},  {0x0143, 0x014b, "n"},
    {0x014c, 0x0151, "o"},  {0x0152, 0x0153, "oe"}, {0x0154, 0x0159, "r"},  {0x015a, 0x0161, "s"},
    {0x0162, 0x0167, "t"},  {0x0168, 0x0173, "u"},  {0x0174, 0x0175, "w"},  {0x0176, 0x0178, "y"},
    {0x0179, 0x017e, "z"},  {0x017f, 0x017f, "s"},  {0x0192, 0x0192, "f"},  {0x01a0, 0x01a1, "o"},
    {0x01af, 0x01b0, "u"},  {0x01cd, 0x01ce, "a"},  {0x01cf, 0x01d0, "i"},  {0x01d1, 0x01d2, "o"},
    {0x01d3, 0x01dc, "u"},  {0x0218, 0x0219, "s"},  {0x021a, 0x021b, "t"},  {0x0251, 0x0251, "a"},
    {0x0254, 0x0254, "o"},  {0x025b, 0x025b, "e"},  {0x1e00, 0x1e01, "a"},  {0x1e02, 0x1e07, "b"},
    {0x1e08, 0x1e09, "c"},  {0x1e0a, 0x1e13, "d"},  {0x1e14, 0x1e1d, "e"},  {0x1e1e, 0x1e1f, "f"},
    {0x1e20, 0x1e21, "g"},  {0x1e22, 0x1e2b, "h"},  {0x1e2c, 0x1e2f, "i"},  {0x1e30, 0x1e35, "k"},
    {0x1e36, 0x1e3d, "l"},  {0x1e3e, 0x1e43, "m"},  {0x1e44, 0x1e4b, "n"},  {0x1e4c, 0x1e53, "o"},
    {0x1e54, 0x1e57, "p"},  {0x1e58, 0x1e5f, "r"},  {0x1e60, 0x1e69, "s"},  {0x1e6a, 0x1e71, "t"},
    {0x1e72, 0x1e7b, "u"},  {0x1e7c, 0x1e7f, "v"},  {0x1e80, 0x1e89, "w"},  {0x1e8a, 0x1e8d, "x"},
    {0x1e8e, 0x1e8f, "y"},  {0x1e90, 0x1e95, "z"},  {0x1e9e, 0x1e9e, "ss"}, {0x1ea0, 0x1eb7, "a"},
    {0x1eb8, 0x1ec7, "e"},  {0x1ec8, 0x1ecb, "i"},  {0x1ecc, 0x1ee3, "o"},  {0x1ee4, 0x1ef1, "u"},
    {0x1ef2, 0x1ef9, "y"},
};

// What stands between words or on top of letters in any script.
constexpr LetterRange kDropped[] = {
    {0x0080, 0x00bf, ""}, {0x00d7, 0x00d7, ""}, {0x00f7, 0x00f7, ""}, {0x02b0, 0x036f, ""},
    {0x2000, 0x2bff, ""}, {0x3000, 0x303f, ""}, {0xfe00, 0xfe0f, ""}, {0xfeff, 0xfeff, ""},
};

const LetterRange* range_of(const LetterRange* ranges, std::size_t count, uint32_t code) {
  for (std::size_t i = 0; i < count; ++i) {
    if (code >= ranges[i].first && code <= ranges[i].last) return &ranges[i];
  }
  return nullptr;
}

// One character of the input: its code point and bytes. Length 0 is a byte that is not UTF-8.
struct Character {
  uint32_t code;
  std::size_t length;
};

Character read_character(const unsigned char* text) {
  constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const unsigned char lead = text[0];
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4) return {0, 0};
  uint32_t code = lead & (0x7fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((text[i] & 0xc0) != 0x80) return {0, 0};  // also the end of the text
    code = code << 6 | (text[i] & 0x3fu);
  }
  if (code < kSmallest[length] || code > 0x10ffff) return {0, 0};
  return {code, length};
}

// Collects words; a word for "and" is held back until it is known to stand between two others.
class FoldedText {
 public:
  explicit FoldedText(char* out) : out_(out) {}

  void letters(const char* bytes, std::size_t count) {
    if (count >= kFoldedCapacity - length_) {
      full_ = true;
      return;
    }
    std::memcpy(out_ + length_, bytes, count);
    length_ += count;
  }

  // A blank or a punctuation character.
  void end_word() {
    const std::string_view word(out_ + word_, length_ - word_);
    if (word.empty()) return;
    if (connects(word) && word_ > 0 && !connector_pending()) {
      connector_ = word_;
      connector_length_ = word.size();
    } else {
      join();
    }
    word_ = length_;
  }

  void ampersand() {
    end_word();
    if (length_ == 0 || connector_pending()) return;
    connector_ = length_;
    connector_length_ = 0;
  }

  // A connector at the end connects nothing: "&" vanishes, a word stays the word it is.
  std::size_t finish() {
    end_word();
    out_[full_ ? 0 : length_] = '\0';
    return full_ ? kFoldedCapacity : length_;
  }

 private:
  static bool connects(std::string_view word) {
    return word == "n" || word == "and" || word == "und";
  }

  bool connector_pending() const { return connector_ != 0; }

  // The word that just ended follows a connector: write "&" in the connector's place.
  void join() {
    if (!connector_pending()) return;
    const std::size_t from = connector_ + connector_length_;
    const std::size_t tail = length_ - from;
    if (connector_ + 1 + tail >= kFoldedCapacity) {
      full_ = true;
    } else {
      std::memmove(out_ + connector_ + 1, out_ + from, tail);
      out_[connector_] = '&';
      length_ = connector_ + 1 + tail;
    }
    connector_ = 0;
  }

  char* out_;
  std::size_t length_ = 0;
  std::size_t word_ = 0;       // where the current word starts
  std::size_t connector_ = 0;  // where a pending connector starts; 0: none, since none comes first
  std::size_t connector_length_ = 0;
  bool full_ = false;
};

void fold_ascii(FoldedText& folded, unsigned char byte) {
  const bool upper = byte >= 'A' && byte <= 'Z';
  const char lower = static_cast<char>(upper ? byte - 'A' + 'a' : byte);
  if ((lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9')) {
    folded.letters(&lower, 1);
  } else if (lower == '&') {
    folded.ampersand();
  } else {
    folded.end_word();
  }
}

}  // namespace

std::size_t fold(const char* text, char* out) noexcept {
  FoldedText folded(out);
  while (*text != '\0') {
    const Character c = read_character(reinterpret_cast<const unsigned char*>(text));
    if (c.length == 1) {
      fold_ascii(folded, static_cast<unsigned char>(*text));
    } else if (c.length > 1) {
      const LetterRange* latin = range_of(kLatin, std::size(kLatin), c.code);
      if (latin != nullptr) {
        folded.letters(latin->base, std::strlen(latin->base));
      } else if (range_of(kDropped, std::size(kDropped), c.code) == nullptr) {
        folded.letters(text, c.length);
      } else if (c.code < 0x02b0 || c.code > 0x036f) {  // a combining accent ends no word
        folded.end_word();
      }
    }
    text += c.length == 0 ? 1 : c.length;
  }
  return folded.finish();
}

}  // namespace trova::lists
