// LibraryIdent: an index in base 32, in digits that stand side by side in ASCII.
#include "library_ident.h"

namespace trova_cli {
namespace {

constexpr char kZeroDigit = '@';
constexpr std::uint32_t kDigitMask = (1u << kIdentBitsPerDigit) - 1;

}  // namespace

LibraryIdent IdentOfIndex(std::uint32_t index) {
  LibraryIdent ident{};
  for (std::uint32_t i = kIdentDigits; i > 0; --i, index >>= kIdentBitsPerDigit) {
    ident[i - 1] = static_cast<char>(kZeroDigit + (index & kDigitMask));
  }
  return ident;
}

std::uint32_t IndexOfIdent(const char* ident) {
  std::uint32_t index = 0;
  for (; *ident != '\0'; ++ident) {
    index = index << kIdentBitsPerDigit | static_cast<std::uint32_t>(*ident - kZeroDigit);
  }
  return index;
}

}  // namespace trova_cli
