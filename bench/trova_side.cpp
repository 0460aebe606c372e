// trova_side: the library itself, through its public functions.
#include <algorithm>
#include <string>

#include "side.h"
#include "trova_manager.h"
#include "trova_playlist.h"

namespace bench {

namespace {

const char kOrderOfMoreLike[] =
    "order ((90 * qx_mood like seed) + (6 * qx_genre like seed) + (2 * qx_origin like seed) + (1 * "
    "qx_era like seed) + (1 * qx_artisttype like seed)) / 100 + RAND(100)";
const char kWhereOfMoreLike[] = "where (qx_mood like seed) >= -160 or (qx_genre like seed) >= 600 ";

std::string in_quotes(const std::string& text) {
  return '"' + text + '"';
}

class TrovaSide final : public Side {
 public:
  explicit TrovaSide(const Library& library) : library_(library) {
    require(trova_playlist_collection_create("bench", &collection_), "create");
    require(trova_manager_user_create("bench", &user_), "user");
    seed_ = describe(library, library.questions().seed);
    write_statements();
  }
  ~TrovaSide() override {
    forget();
    trova_playlist_collection_release(collection_);
    trova_manager_gdo_release(seed_);
    trova_manager_user_release(user_);
  }

  void add(const DataObjects& objects) override {
    for (uint32_t number = objects.first(); number < objects.last(); ++number) {
      add_one(collection_, number, objects);
    }
  }

  void remove(const Numbers& tracks) override {
    for (const uint32_t number : tracks) {
      const char* const ident = library_.ident(number).c_str();
      require(trova_playlist_collection_ident_remove(collection_, ident), "remove");
    }
  }

  void synchronize(const Numbers& tracks, const DataObjects& fresh) override {
    for (const uint32_t number : tracks) {
      const char* const ident = library_.ident(number).c_str();
      require(trova_playlist_collection_sync_ident_add(collection_, ident), "report");
    }
    fresh_ = &fresh;
    require(trova_playlist_collection_sync_process(collection_, follow, this), "synchronize");
  }

  uint32_t count() override {
    run_statement("genpl");
    // A removed ident leaves a place without text.
    const auto live = [](const char* ident) { return *ident != 0; };
    return static_cast<uint32_t>(std::count_if(entries_.begin(), entries_.end(), live));
  }

  void run(Query query) override {
    if (query == Query::kMoreLike) {
      hand_over([&](trova_playlist_results** out) {
        return trova_playlist_generate_morelikethis(user_, collection_, seed_, out);
      });
    } else {
      run_statement(statements_[static_cast<size_t>(query)].c_str());
    }
  }

  std::vector<std::string_view> answer() override { return {entries_.begin(), entries_.end()}; }

  void forget() override {
    trova_playlist_results_release(results_);
    results_ = nullptr;
  }

  void write() override {
    uint32_t size = 0;
    require(trova_playlist_collection_serialize(collection_, nullptr, &size), "measure");
    bytes_.resize(size);
    require(trova_playlist_collection_serialize(collection_, bytes_.data(), &size), "serialize");
    bytes_.resize(size);
  }

  void start_from_bytes(Query query) override {
    trova_playlist_collection* read = nullptr;
    const auto size = static_cast<uint32_t>(bytes_.size());
    require(trova_playlist_collection_deserialize(bytes_.data(), size, &read), "deserialize");
    std::swap(read, collection_);
    run(query);
    std::swap(read, collection_);
    // The entries are of the collection that goes away; their texts live as long as the results.
    require(trova_playlist_collection_release(read), "release");
  }

 private:
  void add_one(trova_playlist_collection* collection, uint32_t number,
               const DataObjects& objects) const {
    const char* const ident = library_.ident(number).c_str();
    require(trova_playlist_collection_ident_add(collection, ident, objects.of(number)), "add");
  }

  static void follow(void* user_data, trova_playlist_collection* collection, const char* ident,
                     uint32_t status, uint8_t* /*out_stop*/) {
    auto* const self = static_cast<TrovaSide*>(user_data);
    if (*ident == 0) return;  // removed before
    if (status == TROVA_PLAYLIST_SYNC_REMOVE) {
      require(trova_playlist_collection_ident_remove(collection, ident), "remove");
    } else {
      self->add_one(collection, self->library_.number(ident), *self->fresh_);
    }
  }

  void write_statements() {
    const Questions& questions = library_.questions();
    const auto genre = [&](int i) {
      return "qx_genre = " + std::to_string(library_.genres.ids[questions.genres[i]]);
    };
    const std::string filter = "genpl where " + genre(0) + " or " + genre(1) +
                               " or qx_era = " + std::to_string(kDecadeIds + questions.decade);
    const std::string limit = " limit " + std::to_string(kShort) + " results";
    std::string names = "genpl where ";
    for (size_t i = 0; i < questions.names.size(); ++i) {
      names += (i == 0 ? "" : " or ") + ("qx_artistname = " + in_quotes(questions.names[i]));
    }
    statement(Query::kFilter) = filter;
    statement(Query::kShuffled) = filter + " order rand(32768, 7)" + limit;
    statement(Query::kMoreLike50) =
        std::string("genpl ") + kWhereOfMoreLike + kOrderOfMoreLike + limit;
    statement(Query::kTwoPerArtist) =
        std::string("genpl ") + kOrderOfMoreLike + limit + ", 2 per qx_artistname";
    statement(Query::kNamesLike) = "genpl where qx_artistname like seed";
    statement(Query::kNamesEqual) = names;
  }

  std::string& statement(Query query) { return statements_[static_cast<size_t>(query)]; }

  void run_statement(const char* text) {
    hand_over([&](trova_playlist_results** out) {
      return trova_playlist_generate_playlist(nullptr, text, collection_, seed_, out);
    });
  }

  template <typename Generate>
  void hand_over(Generate generate) {
    forget();
    require(generate(&results_), "generate");
    uint32_t count = 0;
    require(trova_playlist_results_count(results_, &count), "count");
    entries_.resize(count);
    for (uint32_t i = 0; i < count; ++i) {
      require(trova_playlist_results_enum(results_, i, &entries_[i]), "entry");
    }
  }

  const Library& library_;
  trova_playlist_collection* collection_ = nullptr;
  trova_user* user_ = nullptr;
  trova_gdo* seed_ = nullptr;
  trova_playlist_results* results_ = nullptr;  // keeps the texts of the entries alive
  std::vector<const char*> entries_;
  std::string statements_[static_cast<size_t>(Query::kNamesEqual) + 1];
  const DataObjects* fresh_ = nullptr;  // while synchronising
  std::vector<char> bytes_;
};

}  // namespace

std::unique_ptr<Side> make_trova(const Library& library) {
  return std::make_unique<TrovaSide>(library);
}

}  // namespace bench
