// NameLists: the manager's lists, loaded when they are first asked for.
#ifndef TROVA_CLI_NAME_LISTS_H
#define TROVA_CLI_NAME_LISTS_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "handles.h"

namespace trova_cli {

// In the order of their names; an index into kListInfos.
enum class ListKind : std::size_t { kArtistTypes, kEras, kGenres, kMoods, kOrigins, kTempos };

struct ListInfo {
  ListKind kind;
  std::string_view name;       // as the user types it
  std::string_view singular;   // as messages call one element
  const char* type;            // as the manager knows it
  std::string_view attribute;  // whose values it holds, lower case
};

inline constexpr std::array<ListInfo, 6> kListInfos = {{
    {ListKind::kArtistTypes, "artist-types", "artist type", TROVA_LIST_ARTIST_TYPES,
     "qx_artisttype"},
    {ListKind::kEras, "eras", "era", TROVA_LIST_ERAS, "qx_era"},
    {ListKind::kGenres, "genres", "genre", TROVA_LIST_GENRES, "qx_genre"},
    {ListKind::kMoods, "moods", "mood", TROVA_LIST_MOODS, "qx_mood"},
    {ListKind::kOrigins, "origins", "origin", TROVA_LIST_ORIGINS, "qx_origin"},
    {ListKind::kTempos, "tempos", "tempo", TROVA_LIST_TEMPOS, "qx_tempo"},
}};

inline const ListInfo& InfoOf(ListKind kind) {
  return kListInfos[static_cast<std::size_t>(kind)];
}

// The list that an attribute takes its values from, letter case ignored.
std::optional<ListKind> ListOfAttribute(std::string_view attribute);

// An element of a list. Its texts live as long as the NameLists.
using Element = trova_manager_element;

class NameLists {
 public:
  // Each function throws CommandError when the manager fails.

  std::uint32_t Count(ListKind kind);
  // @param index  below the count; parents come before their children
  Element At(ListKind kind, std::uint32_t index);
  std::optional<Element> ById(ListKind kind, std::uint32_t id);
  // By name or synonym. Case, accents and punctuation do not count.
  std::optional<Element> Find(ListKind kind, std::string_view name);
  // How near two elements of a list are, on the scale of LIKE: -1000 to 1000.
  // @param kind  not kTempos, which are not compared this way
  std::int32_t Likeness(ListKind kind, std::uint32_t a, std::uint32_t b);
  // The nearest names, best first.
  std::vector<Element> Nearest(ListKind kind, std::string_view name, std::uint32_t limit);

 private:
  trova_list* Get(ListKind kind);

  std::array<List, kListInfos.size()> lists_;
};

}  // namespace trova_cli

#endif
