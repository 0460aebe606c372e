// NameMapper: turns the names that tracks carry into ids of list elements.
#ifndef TROVA_CLI_NAME_MAPPER_H
#define TROVA_CLI_NAME_MAPPER_H

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "console.h"
#include "name_lists.h"
#include "track.h"

namespace trova_cli {

// The ids of one track. 0 stands for "not known".
struct TrackIds {
  std::vector<std::uint32_t> genres;
  std::vector<std::uint32_t> moods;
  std::uint32_t era = 0;
  std::uint32_t origin = 0;
  std::uint32_t artist_type = 0;
};

class NameMapper {
 public:
  // @param lists  outlive the mapper
  explicit NameMapper(NameLists& lists);

  TrackIds Map(const Track& track);

  // Names each name that no list knows, once, with the names that come nearest to it.
  void ReportUnknown(Console& console);

 private:
  // What one text says: it may hold several names.
  struct Mapping {
    std::vector<std::uint32_t> ids;
    std::vector<std::size_t> unknown;  // indexes into unknown_
  };
  struct UnknownName {
    ListKind kind;
    std::string name;
    std::size_t tracks = 0;
  };
  using Names = std::unordered_map<std::string, std::size_t>;

  void MapTexts(ListKind kind, std::span<const std::string> texts, std::vector<std::uint32_t>& ids);
  std::uint32_t MapOne(ListKind kind, const std::string& text);
  const Mapping& MappingOf(ListKind kind, const std::string& text);
  void Resolve(ListKind kind, std::string_view text, std::size_t separator, Mapping& mapping);
  std::size_t Unknown(ListKind kind, std::string_view name);
  std::uint32_t EraOfYear(std::uint32_t year) const;

  NameLists& lists_;
  std::vector<std::uint32_t> eras_;  // by year: the id of the narrowest era, or 0
  std::array<std::unordered_map<std::string, Mapping>, kListInfos.size()> known_texts_;
  std::array<Names, kListInfos.size()> unknown_names_;
  std::vector<UnknownName> unknown_;  // in the order of their first tracks
};

}  // namespace trova_cli

#endif
