// trova show: what a stored collection holds of a track, key by key.
#include <fmt/format.h>
#include <unistd.h>

#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "commands.h"
#include "data_view.h"
#include "output.h"
#include "seed_finder.h"
#include "store.h"
#include "store_options.h"
#include "stored_library.h"
#include "text.h"

namespace trova_cli {
namespace {

struct ShowArguments {
  std::string query;
  std::optional<std::string> collection;
  StoreOptions store;
};

// The keys that tell different things of one attribute; one that stands nowhere here is read by its
// own name.
struct ValueKey {
  std::string_view attribute;
  const char* key;
};

constexpr ValueKey kValueKeys[] = {
    {"QX_AlbumName", TROVA_VAL_TITLE},
    {"QX_ArtistName", TROVA_VAL_ARTIST},
    {"QX_ArtistType", "trova_val_list_arttype"},
    {"QX_ArtistType", TROVA_VAL_ARTIST_TYPE_ID},
    {"QX_Era", "trova_val_desc_era"},
    {"QX_Era", TROVA_VAL_ERA_ID},
    {"QX_Genre", "trova_val_list_genremeta"},
    {"QX_Genre", "trova_val_list_genre"},
    {"QX_Genre", "trova_val_list_genremicro"},
    {"QX_Genre", TROVA_VAL_GENRE_ID},
    {"QX_Origin", "trova_val_list_origin"},
    {"QX_Origin", TROVA_VAL_ORIGIN_ID},
    {"QX_Mood", "trova_val_list_mood"},
    {"QX_Mood", "trova_val_moodsub"},
    {"QX_Mood", TROVA_VAL_MOOD_DATA},
    {"QX_Mood", TROVA_VAL_MOOD_ID},
    {"QX_Tempo", "trova_val_tempometa"},
    {"QX_Tempo", "trova_val_temposub"},
    {"QX_Tempo", TROVA_VAL_TEMPO},
};

class ViewWriter {
 public:
  ViewWriter(const DataObject& view, Output& output) : view_(view), output_(output) {}

  void WriteAttribute(std::string_view attribute) {
    bool has_keys = false;
    attribute_ = attribute;
    for (const ValueKey& row : kValueKeys) {
      if (row.attribute != attribute) continue;
      has_keys = true;
      WriteKey(row.key);
    }
    if (!has_keys) WriteKey(std::string(attribute).c_str());
    // Nothing was written: the collection holds nothing for it.
    if (!attribute_.empty()) output_.Write(fmt::format("  {:<15}-\n", attribute_));
  }

 private:
  void WriteKey(const char* key) {
    const std::optional<std::string> value = ReadView(view_, key);
    if (!value) return;
    output_.Write(fmt::format("  {:<15}{:<34}{}\n", attribute_, key, Printable(*value)));
    attribute_ = {};
  }

  const DataObject& view_;
  Output& output_;
  std::string_view attribute_;  // until a line has it
};

void WriteView(trova_playlist_collection* collection, const std::string& ident, Output& output) {
  const DataObject view = ViewIdent(collection, ident);
  std::uint32_t count = 0;
  Check(trova_playlist_collection_attributes_count(collection, &count), "count the attributes");
  ViewWriter writer(view, output);
  for (std::uint32_t i = 0; i < count; ++i) {
    const char* attribute = nullptr;
    Check(trova_playlist_collection_attributes_enum(collection, i, &attribute),
          "read the attributes");
    writer.WriteAttribute(attribute);
  }
}

ExitCode Show(const ShowArguments& arguments, Console& console) {
  Store store(arguments.store.Path(), StoreUse::kRead, console);
  NameLists lists;
  StoredLibrary library(arguments.collection, store);
  library.Read(lists);
  const std::string ident = FindTrack(library, arguments.query);
  const TrackView track = library.tracks().Get(library.IndexOf(ident.c_str()));
  Output output(STDOUT_FILENO);
  const std::string heading =
      fmt::format("{} - {}  [{}]  in {}", track.artist, track.title, ident, library.name());
  output.Write(Printable(heading) + '\n');
  WriteView(library.collection(), ident, output);
  output.Flush();
  return kExitResults;
}

}  // namespace

Action DefineShow(CLI::App& options) {
  const auto values = std::make_shared<ShowArguments>();
  options.add_option("QUERY", values->query, "The track: its ident, file, or words of its title")
      ->required();
  options.add_option("--collection", values->collection, "Stored collection; else the default one");
  values->store.Define(options);
  return [values](Console& console) { return Show(*values, console); };
}

}  // namespace trova_cli
