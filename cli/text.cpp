// Text: decoding, display width and folding of UTF-8.
#include "text.h"

#include <locale.h>
#include <wchar.h>
#include <wctype.h>

#include <algorithm>
#include <array>

namespace trova_cli {
namespace {

constexpr std::string_view kEllipsis = "\xe2\x80\xa6";

// Widths and letter case follow Unicode, whatever locale the user runs under.
locale_t UnicodeLocale() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

// wcwidth() has no form that takes a locale.
class UnicodeScope {
 public:
  UnicodeScope() : previous_(uselocale(UnicodeLocale())) {}
  ~UnicodeScope() { uselocale(previous_); }
  UnicodeScope(const UnicodeScope&) = delete;
  UnicodeScope& operator=(const UnicodeScope&) = delete;

 private:
  locale_t previous_;
};

bool IsPlainAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

bool IsBlankControl(char32_t code) {
  return (code >= '\t' && code <= '\r') || code == 0x85 || code == 0x2028 || code == 0x2029;
}

bool IsHidden(char32_t code) {
  const bool control = code < 0x20 || (code >= 0x7f && code <= 0x9f);
  const bool direction = (code >= 0x200e && code <= 0x200f) || (code >= 0x202a && code <= 0x202e) ||
                         (code >= 0x2066 && code <= 0x2069);
  return control || direction || code == 0xfeff || code == kMalformed;
}

// Caller holds a UnicodeScope.
std::size_t ColumnsOf(char32_t code) {
  if (code < 0x7f) return 1;
  const int width = wcwidth(static_cast<wchar_t>(code));
  return width < 0 ? 1 : static_cast<std::size_t>(width);
}

void AppendUtf8(std::string& text, char32_t code) {
  const auto tail = [&](unsigned shift) {
    text += static_cast<char>(0x80u | ((code >> shift) & 0x3fu));
  };
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xc0u | (code >> 6));
    tail(0);
  } else if (code < 0x10000) {
    text += static_cast<char>(0xe0u | (code >> 12));
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xf0u | (code >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

// The letters of U+00C0 to U+017F without their accents. A dot stands where the letter is none or
// takes two letters.
constexpr char32_t kFirstAccented = 0xc0;
constexpr std::string_view kUnaccented =
    "aaaaaa.ceeeeiiiidnooooo.ouuuuy..aaaaaa.ceeeeiiiidnooooo.ouuuuy.y"
    "aaaaaaccccccccddddeeeeeeeeeegggggggghhhhiiiiiiiiii..jjkkkllllllllllnnnnnnnnn"
    "oooooo..rrrrrrssssssssttttttuuuuuuuuuuuuwwyyyzzzzzzs";
static_assert(kUnaccented.size() == 0x180 - kFirstAccented);

std::string_view TwoLetters(char32_t lower) {
  switch (lower) {
    case 0xdf:
      return "ss";
    case 0xe6:
      return "ae";
    case 0xfe:
      return "th";
    case 0x133:
      return "ij";
    case 0x153:
      return "oe";
    default:
      return {};
  }
}

void AppendFolded(std::string& folded, char32_t code) {
  if (code >= 0x300 && code <= 0x36f) return;  // combining accents
  const auto lower = static_cast<char32_t>(towlower_l(static_cast<wint_t>(code), UnicodeLocale()));
  const std::string_view two = TwoLetters(lower);
  if (!two.empty()) {
    folded += two;
    return;
  }
  const char32_t index = lower - kFirstAccented;
  if (lower >= kFirstAccented && index < kUnaccented.size() && kUnaccented[index] != '.') {
    folded += kUnaccented[index];
  } else if (lower == 0x2019) {  // the typographic apostrophe
    folded += '\'';
  } else {
    AppendUtf8(folded, lower);
  }
}

}  // namespace

char32_t NextCodePoint(std::string_view text, std::size_t& at) {
  const auto lead = static_cast<unsigned char>(text[at++]);
  if (lead < 0x80) return lead;
  const std::size_t more = lead >= 0xf0 ? 3 : lead >= 0xe0 ? 2 : 1;
  if (lead < 0xc2 || lead > 0xf4 || text.size() - at < more) return kMalformed;
  char32_t code = lead & (0x3fu >> more);
  for (std::size_t i = 0; i < more; ++i) {
    const auto byte = static_cast<unsigned char>(text[at + i]);
    if ((byte & 0xc0) != 0x80) return kMalformed;
    code = (code << 6) | (byte & 0x3fu);
  }
  constexpr std::array<char32_t, 4> kLeast = {0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xd800 && code <= 0xdfff;
  if (code < kLeast[more] || code > 0x10ffff || surrogate) return kMalformed;
  at += more;
  return code;
}

std::string Printable(std::string_view text) {
  if (IsPlainAscii(text)) return std::string(text);
  std::string line;
  line.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    const char32_t code = NextCodePoint(text, at);
    if (IsBlankControl(code)) {
      line += ' ';
    } else if (IsHidden(code)) {
      line += kReplacement;
    } else {
      line += text.substr(start, at - start);
    }
  }
  return line;
}

std::size_t Columns(std::string_view printable) {
  if (IsPlainAscii(printable)) return printable.size();
  const UnicodeScope scope;
  std::size_t columns = 0;
  for (std::size_t at = 0; at < printable.size();)
    columns += ColumnsOf(NextCodePoint(printable, at));
  return columns;
}

std::string FitStart(std::string_view printable, std::size_t columns) {
  if (Columns(printable) <= columns) return std::string(printable);
  if (columns == 0) return {};
  const UnicodeScope scope;
  std::size_t end = 0;
  for (std::size_t at = 0, used = 1; at < printable.size(); end = at) {
    used += ColumnsOf(NextCodePoint(printable, at));
    if (used > columns) break;
  }
  return std::string(printable.substr(0, end)) + std::string(kEllipsis);
}

std::string FitEnd(std::string_view printable, std::size_t columns) {
  std::size_t total = Columns(printable);
  if (total <= columns) return std::string(printable);
  if (columns == 0) return {};
  const UnicodeScope scope;
  std::size_t at = 0;
  while (total + 1 > columns) total -= ColumnsOf(NextCodePoint(printable, at));
  return std::string(kEllipsis) + std::string(printable.substr(at));
}

std::string Fold(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    const char32_t code = NextCodePoint(text, at);
    if (code == kMalformed) {
      folded += text[start];
    } else {
      AppendFolded(folded, code);
    }
  }
  return folded;
}

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n\v\f";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string LowerAscii(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && LowerAscii(a) == LowerAscii(b);
}

}  // namespace trova_cli
