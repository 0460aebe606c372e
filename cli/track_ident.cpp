// TrackIdent: a suffix of a number.
#include "track_ident.h"

#include <fmt/format.h>

#include "handles.h"

namespace trova_cli {
namespace {

constexpr std::string_view kMark = "//";
constexpr std::string_view kDigits = "0123456789";

}  // namespace

std::string IdentVariant(std::string_view name, int number) {
  return fmt::format("{}{}{}", name, kMark, number);
}

std::string_view NameOfVariant(std::string_view ident) {
  const std::size_t last = ident.find_last_not_of(kDigits);
  if (last == std::string_view::npos || last + 1 == ident.size()) return ident;
  const std::string_view name = ident.substr(0, last + 1);
  return name.ends_with(kMark) ? name.substr(0, name.size() - kMark.size()) : ident;
}

bool IdentExists(trova_playlist_collection* collection, const char* ident) {
  std::uint8_t exists = 0;
  Check(trova_playlist_collection_ident_exists(collection, ident, &exists), "look up a track");
  return exists != 0;
}

}  // namespace trova_cli
