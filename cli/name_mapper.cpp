// NameMapper: whole names first, then the parts of texts that join several.
#include "name_mapper.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "text.h"

namespace trova_cli {
namespace {

// What people join names with, the most certain first: "Folk, World & Country; Hip-Hop/Rap" holds
// two names, and each of them is looked up whole before it is split further.
constexpr std::string_view kSeparators = ";|/,";
// Distinct texts remembered per list. A file of nothing but different texts must not fill the
// memory; the ones beyond are looked up again.
constexpr std::size_t kTextsRemembered = 100'000;
constexpr std::uint32_t kMaxYear = 9999;
constexpr std::size_t kNameColumns = 100;
constexpr std::uint32_t kNearestShown = 3;
constexpr std::size_t kUnknownShown = 100;

template <typename Number>
void AddOnce(std::vector<Number>& numbers, Number number) {
  if (numbers.size() == kMaxValues) return;
  if (std::find(numbers.begin(), numbers.end(), number) == numbers.end()) {
    numbers.push_back(number);
  }
}

std::string QuotedNames(const std::vector<Element>& elements) {
  std::string names;
  for (const Element& element : elements) {
    if (!names.empty()) names += ", ";
    fmt::format_to(std::back_inserter(names), "\"{}\"", element.name);
  }
  return names;
}

}  // namespace

NameMapper::NameMapper(NameLists& lists) : lists_(lists), eras_(kMaxYear + 1) {
  std::vector<Element> eras;
  for (std::uint32_t i = 0; i < lists_.Count(ListKind::kEras); ++i) {
    eras.push_back(lists_.At(ListKind::kEras, i));
  }
  // The narrow ones come last and stay.
  std::stable_sort(eras.begin(), eras.end(), [](const Element& a, const Element& b) {
    return a.upper - a.lower > b.upper - b.lower;
  });
  for (const Element& era : eras) {
    const std::uint32_t last = std::min(era.upper, kMaxYear);
    for (std::uint32_t year = era.lower; year <= last; ++year) eras_[year] = era.id;
  }
}

TrackIds NameMapper::Map(const Track& track) {
  TrackIds ids;
  MapTexts(ListKind::kGenres, track.genres, ids.genres);
  MapTexts(ListKind::kMoods, track.moods, ids.moods);
  ids.era = EraOfYear(track.year);
  ids.origin = MapOne(ListKind::kOrigins, track.origin);
  ids.artist_type = MapOne(ListKind::kArtistTypes, track.artist_type);
  return ids;
}

void NameMapper::ReportUnknown(Console& console) {
  const std::size_t shown =
      console.verbose() ? unknown_.size() : std::min(unknown_.size(), kUnknownShown);
  for (std::size_t i = 0; i < shown; ++i) {
    const UnknownName& name = unknown_[i];
    const std::string nearest = QuotedNames(lists_.Nearest(name.kind, name.name, kNearestShown));
    console.Warn(
        fmt::format("no list knows the {} \"{}\" ({} track{}){}{}", InfoOf(name.kind).singular,
                    FitStart(Printable(name.name), kNameColumns), name.tracks,
                    name.tracks == 1 ? "" : "s", nearest.empty() ? "" : "; nearest: ", nearest));
  }
  if (shown < unknown_.size()) {
    console.Warn(
        fmt::format("{} more names are in no list (-v lists them)", unknown_.size() - shown));
  }
}

void NameMapper::MapTexts(ListKind kind, std::span<const std::string> texts,
                          std::vector<std::uint32_t>& ids) {
  std::vector<std::size_t> unknown;
  for (const std::string& text : texts) {
    const Mapping& mapping = MappingOf(kind, text);
    for (const std::uint32_t id : mapping.ids) AddOnce(ids, id);
    for (const std::size_t index : mapping.unknown) AddOnce(unknown, index);
  }
  for (const std::size_t index : unknown) ++unknown_[index].tracks;
}

std::uint32_t NameMapper::MapOne(ListKind kind, const std::string& text) {
  std::vector<std::uint32_t> ids;
  if (!text.empty()) MapTexts(kind, {&text, 1}, ids);
  return ids.empty() ? 0 : ids.front();
}

const NameMapper::Mapping& NameMapper::MappingOf(ListKind kind, const std::string& text) {
  auto& texts = known_texts_[static_cast<std::size_t>(kind)];
  const auto found = texts.find(text);
  if (found != texts.end()) return found->second;
  Mapping mapping;
  Resolve(kind, text, 0, mapping);
  if (texts.size() >= kTextsRemembered) texts.clear();
  return texts.emplace(text, std::move(mapping)).first->second;
}

// The depth of the recursion is the number of separators.
void NameMapper::Resolve(ListKind kind, std::string_view text, std::size_t separator,
                         Mapping& mapping) {
  text = Trim(text);
  if (text.empty() || mapping.unknown.size() == kMaxValues) return;
  if (const std::optional<Element> element = lists_.Find(kind, text)) {
    return AddOnce(mapping.ids, element->id);
  }
  while (separator < kSeparators.size() &&
         text.find(kSeparators[separator]) == std::string_view::npos) {
    ++separator;
  }
  if (separator == kSeparators.size()) {
    return AddOnce(mapping.unknown, Unknown(kind, text));
  }
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find(kSeparators[separator], at), text.size());
    Resolve(kind, text.substr(at, end - at), separator + 1, mapping);
    at = end + 1;
  }
}

std::size_t NameMapper::Unknown(ListKind kind, std::string_view name) {
  Names& names = unknown_names_[static_cast<std::size_t>(kind)];
  const auto [place, is_new] = names.emplace(std::string(name), unknown_.size());
  if (is_new) unknown_.push_back({kind, std::string(name), 0});
  return place->second;
}

std::uint32_t NameMapper::EraOfYear(std::uint32_t year) const {
  return year == 0 || year > kMaxYear ? 0 : eras_[year];
}

}  // namespace trova_cli
