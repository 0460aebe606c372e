// stress_threads: eight threads that start and stop the library and work on collections of their
// own and of all, in random order, for TROVA_STRESS_SECONDS. Each keeps a plain account of the
// idents that only it adds and removes, and holds it against every answer.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "trova_manager.h"
#include "trova_playlist.h"

namespace {

constexpr int kThreads = 8;
constexpr int kShared = 2;
constexpr uint32_t kOwnIdents = 200;
constexpr uint32_t kFirstContended = 900'000;  // idents that every thread adds and removes
constexpr int kActionsPerRound = 400;
constexpr int kDefaultSeconds = 3;

using Collection = trova_playlist_collection;
using Idents = std::set<std::string>;
using Account = std::map<std::string, uint32_t>;  // ident to genre

uint32_t g_genres[3];  // ids that no other of them stands for
trova_playlist_collection* g_shared[kShared];
std::atomic<uint64_t> g_calls;

int seconds() {
  const char* const text = std::getenv("TROVA_STRESS_SECONDS");
  return text == nullptr ? kDefaultSeconds : std::atoi(text);
}

// Long enough for a text of many blocks. Numbers of one length never meet another's hash.
const std::string kTail = "/an album/and a title as long as they are";
constexpr size_t kDigits = 6;

std::string ident_of(uint32_t number) {
  return std::to_string(100'000 + number) + kTail;
}

// A borrowed ident, which another thread may be removing, and so writing to.
std::string copy_of(const char* ident) {
  std::string copy;
  while (const char byte = __atomic_load_n(ident++, __ATOMIC_RELAXED)) copy += byte;
  return copy;
}

// One thread. What it adds to a collection of all has its own numbers.
class Worker {
 public:
  explicit Worker(int number) : number_(number), random_(static_cast<unsigned>(number) + 1) {}

  void open() {
    const std::string name = "own " + std::to_string(number_);
    ASSERT_EQ(trova_playlist_collection_create(name.c_str(), &own_), 0u);
    accounts_.assign(kShared + 1, {});
  }

  void close() {
    ASSERT_EQ(trova_playlist_collection_release(own_), 0u);
    own_ = nullptr;
  }

  void work();

 private:
  using Action = void (Worker::*)();
  static const struct NamedAction {
    const char* name;
    Action run;
  } kActions[];

  uint32_t below(size_t n) { return static_cast<uint32_t>(random_() % n); }

  void pick_collection() {
    which_ = below(kShared + 1);
    collection_ = which_ == kShared ? own_ : g_shared[which_];
  }
  bool is_own() const { return which_ == kShared; }
  Account& account() { return accounts_[which_]; }

  uint32_t first_number() const { return static_cast<uint32_t>(number_) * kOwnIdents; }
  std::string some_ident() { return ident_of(first_number() + below(kOwnIdents)); }
  bool is_mine(const std::string& ident) const {
    if (ident.size() != kDigits + kTail.size()) return false;
    const auto number = static_cast<uint32_t>(std::stoul(ident)) - 100'000;
    return number >= first_number() && number < first_number() + kOwnIdents;
  }

  static trova_gdo* make_data(uint32_t genre, const std::string& artist) {
    trova_gdo* data = nullptr;
    EXPECT_EQ(trova_manager_gdo_create(TROVA_CTX_TRACK, &data), 0u);
    EXPECT_EQ(trova_manager_gdo_add_number(data, TROVA_VAL_GENRE_ID, genre), 0u);
    EXPECT_EQ(trova_manager_gdo_add_value(data, TROVA_VAL_ARTIST, artist.c_str()), 0u);
    return data;
  }

  void put(const std::string& ident, uint32_t genre) {
    trova_gdo* const data = make_data(genre, "artist " + ident.substr(4, 2));
    EXPECT_EQ(trova_playlist_collection_ident_add(collection_, ident.c_str(), data), 0u);
    EXPECT_EQ(trova_manager_gdo_release(data), 0u);
  }

  // --- Actions ---

  // Adding once more would add its values once more.
  void add() {
    const std::string ident = some_ident();
    if (account().count(ident) != 0) return remove_mine(ident);
    const uint32_t genre = g_genres[below(std::size(g_genres))];
    put(ident, genre);
    account()[ident] = genre;
  }

  void remove_mine(const std::string& ident) {
    EXPECT_EQ(trova_playlist_collection_ident_remove(collection_, ident.c_str()), 0u);
    account().erase(ident);
  }

  void contend() {
    const std::string ident = ident_of(kFirstContended - 100'000 + below(10));
    if (below(2) == 0) return put(ident, g_genres[0]);
    const uint32_t code = trova_playlist_collection_ident_remove(collection_, ident.c_str());
    EXPECT_TRUE(code == 0 || code == PLERR_NotFound) << std::hex << code;
  }

  void enumerate() {
    uint32_t count = 0;
    Idents mine;
    EXPECT_EQ(trova_playlist_collection_ident_count(collection_, &count), 0u);
    for (uint32_t i = 0; i < count; ++i) {
      const char* ident = nullptr;
      ASSERT_EQ(trova_playlist_collection_ident_enum(collection_, i, &ident), 0u);
      if (is_mine(copy_of(ident))) mine.insert(copy_of(ident));
    }
    // Others shift the places of a shared collection's idents between two calls.
    if (is_own()) {
      EXPECT_EQ(mine, mine_where(0));
    }
    for (const auto& [ident, genre] : account()) {
      uint8_t exists = 0;
      ASSERT_EQ(trova_playlist_collection_ident_exists(collection_, ident.c_str(), &exists), 0u);
      ASSERT_EQ(exists, 1) << ident;
    }
  }

  // The idents of the account with a genre; 0: with any.
  Idents mine_where(uint32_t genre) {
    Idents idents;
    for (const auto& [ident, its_genre] : account()) {
      if (genre == 0 || genre == its_genre) idents.insert(ident);
    }
    return idents;
  }

  // Releases the results.
  Idents mine_of(trova_playlist_results* results) {
    uint32_t count = 0;
    Idents idents;
    EXPECT_EQ(trova_playlist_results_count(results, &count), 0u);
    for (uint32_t i = 0; i < count; ++i) {
      const char* ident = nullptr;
      EXPECT_EQ(trova_playlist_results_enum(results, i, &ident), 0u);
      const std::string copy = copy_of(ident);
      EXPECT_TRUE(!is_mine(copy) || idents.insert(copy).second) << copy << " is there twice";
    }
    EXPECT_EQ(trova_playlist_results_release(results), 0u);
    return idents;
  }

  void generate() {
    const uint32_t genre = g_genres[below(std::size(g_genres))];
    const std::string id = std::to_string(genre);
    const std::string where = "genpl where qx_genre = " + id;
    const std::string statements[] = {where, where + " order qx_artistname = 'artist 07'",
                                      where + " or qx_genre = " + id + " order rand(100)",
                                      where + " and qx_genre = " + id};
    trova_playlist_results* results = nullptr;
    const std::string& statement = statements[below(std::size(statements))];
    ASSERT_EQ(trova_playlist_generate_playlist(nullptr, statement.c_str(), collection_, nullptr,
                                               &results),
              0u);
    EXPECT_EQ(mine_of(results), mine_where(genre)) << statement;
  }

  void validate() {
    uint8_t needs_seed = 0;
    EXPECT_EQ(trova_playlist_statement_validate("genpl where qx_genre like seed", collection_,
                                                &needs_seed),
              0u);
    EXPECT_EQ(needs_seed, 1);
    EXPECT_EQ(trova_playlist_statement_validate("genpl where nothing", collection_, nullptr),
              PLERR_Syntax);
    uint32_t code = 0;
    const char* text = nullptr;
    EXPECT_EQ(trova_manager_last_error(&code, &text), 0u);
    EXPECT_EQ(code, PLERR_Syntax) << "every thread has its own last error";
  }

  void more_like_this() {
    trova_gdo* const seed = make_data(g_genres[1], "artist 11");
    trova_user* user = nullptr;
    trova_playlist_results* results = nullptr;
    EXPECT_EQ(trova_manager_user_create("somebody", &user), 0u);
    ASSERT_EQ(trova_playlist_generate_morelikethis(user, collection_, seed, &results), 0u);
    const Idents found = mine_of(results);
    for (const std::string& ident : mine_where(g_genres[1])) EXPECT_EQ(found.count(ident), 1u);
    EXPECT_EQ(trova_manager_user_release(user), 0u);
    EXPECT_EQ(trova_manager_gdo_release(seed), 0u);
  }

  void view() {
    if (account().empty()) return;
    const auto& [ident, genre] = *account().begin();
    trova_gdo* data = nullptr;
    const char* text = "";
    ASSERT_EQ(trova_playlist_collection_ident_get_gdo(collection_, ident.c_str(), &data), 0u);
    EXPECT_EQ(trova_manager_gdo_get_value(data, TROVA_VAL_GENRE_ID, 1, &text), 0u);
    EXPECT_EQ(text, std::to_string(genre));
    EXPECT_EQ(trova_manager_gdo_release(data), 0u);
  }

  void serialize() {
    uint32_t size = 0;
    ASSERT_EQ(trova_playlist_collection_serialize_size(collection_, &size), 0u);
    size += 100'000;  // others may add in between
    std::vector<char> bytes(size);
    ASSERT_EQ(trova_playlist_collection_serialize(collection_, bytes.data(), &size), 0u);
    Collection* copy = nullptr;
    ASSERT_EQ(trova_playlist_collection_deserialize(bytes.data(), size, &copy), 0u);
    EXPECT_EQ(trova_playlist_collection_release(copy), 0u);
  }

  // A collection is under its name as whole as it was stored, whoever stores it meanwhile.
  void store() {
    const char* name = nullptr;
    ASSERT_EQ(trova_playlist_collection_get_name(collection_, &name), 0u);
    ASSERT_EQ(trova_playlist_storage_store_collection(collection_), 0u);
    Collection* const original = collection_;
    ASSERT_EQ(trova_playlist_storage_load_collection(name, &collection_), 0u);
    generate();
    EXPECT_EQ(trova_playlist_collection_release(collection_), 0u);
    collection_ = original;
    uint32_t count = 0;
    ASSERT_EQ(trova_playlist_storage_count_collections(&count), 0u);
    char stored[32] = "";
    // Who stores under a new name may take the place of another record.
    const uint32_t code =
        trova_playlist_storage_enum_collections(below(count), stored, sizeof stored);
    EXPECT_TRUE(code == 0 ? *stored != '\0' : code == PLERR_NotFound) << std::hex << code;
  }

  // In a collection of all the others report and process as well.
  void synchronise() {
    for (int i = 0; i < 20; ++i) {
      ASSERT_EQ(trova_playlist_collection_sync_ident_add(collection_, some_ident().c_str()), 0u);
    }
    const auto ignore = [](void*, Collection*, const char*, uint32_t, uint8_t*) {};
    const uint32_t code = trova_playlist_collection_sync_process(collection_, ignore, nullptr);
    EXPECT_TRUE(code == 0 || (code == PLERR_SyncNotStarted && !is_own())) << std::hex << code;
  }

  void rename() {
    if (!is_own()) return;
    const std::string name = "own " + std::to_string(number_) + (below(2) == 0 ? "" : " renamed");
    const char* found = nullptr;
    EXPECT_EQ(trova_playlist_collection_update_name(collection_, name.c_str()), 0u);
    EXPECT_EQ(trova_playlist_collection_get_name(collection_, &found), 0u);
    EXPECT_EQ(found, name);
  }

  void attributes() {
    uint32_t count = 0;
    EXPECT_EQ(trova_playlist_collection_attributes_count(collection_, &count), 0u);
    EXPECT_EQ(count, 8u);
    const char* name = nullptr;
    EXPECT_EQ(trova_playlist_collection_attributes_enum(collection_, below(8), &name), 0u);
    EXPECT_EQ(trova_playlist_attributes_enum(8, &name), PLERR_EndOfAttributes);
  }

  // One more user, who comes and goes.
  void start_and_stop() {
    ManagerHandle* manager = nullptr;
    ASSERT_EQ(trova_manager_start(nullptr, &manager), 0u);
    ASSERT_EQ(trova_playlist_initialize(manager), 0u);
    EXPECT_GE(trova_playlist_initchecks(), 2u);
    EXPECT_EQ(trova_playlist_shutdown(), 0u);
    EXPECT_EQ(trova_manager_stop(), 0u);
  }

  const int number_;
  std::mt19937 random_;
  Collection* own_ = nullptr;
  uint32_t which_ = 0;
  Collection* collection_ = nullptr;
  std::vector<Account> accounts_;  // of the shared collections and its own
};

const Worker::NamedAction Worker::kActions[] = {
    {"add", &Worker::add},
    {"add", &Worker::add},
    {"add", &Worker::add},
    {"add", &Worker::add},
    {"contend", &Worker::contend},
    {"enumerate", &Worker::enumerate},
    {"generate", &Worker::generate},
    {"generate", &Worker::generate},
    {"validate", &Worker::validate},
    {"more like this", &Worker::more_like_this},
    {"view", &Worker::view},
    {"serialize", &Worker::serialize},
    {"store", &Worker::store},
    {"synchronise", &Worker::synchronise},
    {"rename", &Worker::rename},
    {"attributes", &Worker::attributes},
    {"start and stop", &Worker::start_and_stop},
};

void Worker::work() {
  for (int i = 0; i < kActionsPerRound && !testing::Test::HasFatalFailure(); ++i) {
    pick_collection();
    const NamedAction& action = kActions[below(std::size(kActions))];
    SCOPED_TRACE(action.name);
    (this->*action.run)();
    g_calls.fetch_add(1, std::memory_order_relaxed);
  }
}

size_t blocks_in_use() {
  trova_manager_memory_stats stats = {};
  EXPECT_EQ(trova_manager_memory_stats_get(&stats), 0u);
  return stats.blocks_in_use;
}

void find_genres() {
  trova_list* list = nullptr;
  ASSERT_EQ(trova_manager_list_load(TROVA_LIST_GENRES, &list), 0u);
  const char* const names[] = {"Bebop", "Trip Hop", "Samba"};
  for (size_t i = 0; i < std::size(names); ++i) {
    trova_manager_element element = {};
    ASSERT_EQ(trova_manager_list_find(list, names[i], &element), 0u) << names[i];
    g_genres[i] = element.id;
  }
  EXPECT_EQ(trova_manager_list_release(list), 0u);
}

}  // namespace

TEST(stress_threads, eight_threads_find_all_as_they_left_it) {
  const std::string file =
      std::filesystem::temp_directory_path() / ("stress_threads_" + std::to_string(getpid()));
  const size_t blocks_before = blocks_in_use();
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds());
  std::atomic<bool> goes_on = true;
  std::barrier meeting(kThreads);

  // A round: all start the library at once, the first one really; all work; all stop it at once.
  const auto live = [&](int number) {
    Worker worker(number);
    const trova_manager_options options = {sizeof options, "en", 0, file.c_str()};
    while (goes_on) {
      ManagerHandle* manager = nullptr;
      EXPECT_EQ(trova_manager_start(&options, &manager), 0u);
      EXPECT_EQ(trova_playlist_initialize(manager), 0u);
      worker.open();
      if (number == 0) {
        find_genres();
        for (int i = 0; i < kShared; ++i) {
          const std::string name = "shared " + std::to_string(i);
          EXPECT_EQ(trova_playlist_collection_create(name.c_str(), &g_shared[i]), 0u);
        }
      }
      meeting.arrive_and_wait();
      worker.work();
      meeting.arrive_and_wait();
      if (number == 0) {
        for (Collection* shared : g_shared) {
          EXPECT_EQ(trova_playlist_collection_release(shared), 0u);
        }
        goes_on = std::chrono::steady_clock::now() < end && !testing::Test::HasFailure();
      }
      worker.close();
      meeting.arrive_and_wait();
      EXPECT_EQ(trova_playlist_shutdown(), 0u);
      EXPECT_EQ(trova_manager_stop(), 0u);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(live, i);
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(trova_playlist_initchecks(), 0u);
  EXPECT_EQ(blocks_in_use(), blocks_before);
  std::printf("%llu actions\n", static_cast<unsigned long long>(g_calls));
  for (const char* ending : {"", "-wal", "-shm"}) std::filesystem::remove(file + ending);
}
