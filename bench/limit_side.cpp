// limit_side: what the machine can do. Arrays of plain records, written for these answers alone.
#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "side.h"

namespace bench {

namespace {

constexpr uint32_t kNone = UINT32_MAX;
constexpr uint32_t kErased = UINT32_MAX - 1;
constexpr int32_t kSelects = 600;

struct Record {
  Track track;
  uint32_t ident;  // offset of its text
};

struct Scored {
  int32_t score;
  uint32_t ident;
};

bool better(const Scored& a, const Scored& b) {
  return a.score > b.score;
}

uint32_t next_random(uint32_t* state) {
  *state = *state * 1664525u + 1013904223u;
  return *state >> 8;
}

// Idents by text, with open addressing; at most half full.
class IdentTable {
 public:
  IdentTable() : slots_(1024, kNone) {}

  uint32_t* find(std::string_view ident, const std::vector<Record>& records, const char* texts) {
    size_t at = std::hash<std::string_view>()(ident) & (slots_.size() - 1);
    for (; slots_[at] != kNone; at = (at + 1) & (slots_.size() - 1)) {
      if (slots_[at] == kErased) continue;
      if (ident == texts + records[slots_[at]].ident) return &slots_[at];
    }
    return &slots_[at];
  }

  // After `used` records were added, erased ones included.
  void grow(size_t used, const std::vector<Record>& records, const char* texts) {
    if (2 * used < slots_.size()) return;
    slots_.assign(2 * slots_.size(), kNone);
    for (uint32_t i = 0; i < records.size(); ++i) {
      *find(texts + records[i].ident, records, texts) = i;
    }
  }

 private:
  std::vector<uint32_t> slots_;
};

class LimitSide final : public Side {
 public:
  explicit LimitSide(const Library& library)
      : library_(library), scores_(library), name_score_(library.artist(library.seed().artist)) {
    by_artist_.resize(library.artist_count());
    for (uint32_t i = 1; i < library.artist_count(); ++i) places_.emplace(library.artist(i), i);
  }

  // From the library's records, without a look at the objects.
  void add(const DataObjects& objects) override {
    for (uint32_t number = objects.first(); number < objects.last(); ++number) add_one(number);
  }

  void remove(const Numbers& tracks) override {
    for (const uint32_t number : tracks) remove_ident(library_.ident(number));
  }

  void synchronize(const Numbers& tracks, const DataObjects&) override {
    std::vector<bool> present(records_.size());
    Numbers missing;
    for (const uint32_t number : tracks) {
      const uint32_t* const slot = table_.find(library_.ident(number), records_, texts_.data());
      if (*slot == kNone)
        missing.push_back(number);
      else
        present[*slot] = true;
    }
    // From the last one, as a removed record's place goes to the last one.
    for (size_t i = present.size(); i-- > 0;) {
      if (!present[i]) remove_ident(texts_.data() + records_[i].ident);
    }
    for (const uint32_t number : missing) add_one(number);
  }

  uint32_t count() override { return static_cast<uint32_t>(records_.size()); }

  void run(Query query) override {
    view_ = records_;
    view_texts_ = texts_.data();
    answer_from_view(query);
  }

  std::vector<std::string_view> answer() override { return {answer_.begin(), answer_.end()}; }

  void write() override {
    const size_t size = records_.size() * sizeof(Record);
    bytes_.resize(size + texts_.size());
    std::memcpy(bytes_.data(), records_.data(), size);
    std::memcpy(bytes_.data() + size, texts_.data(), texts_.size());
  }

  // The bytes are the records: nothing needs to be read.
  void start_from_bytes(Query query) override {
    view_ = {reinterpret_cast<const Record*>(bytes_.data()), records_.size()};
    view_texts_ = bytes_.data() + view_.size_bytes();
    answer_from_view(query);
  }

 private:
  void answer_from_view(Query query) {
    switch (query) {
      case Query::kFilter:
        return filter();
      case Query::kShuffled:
        return shuffle();
      case Query::kMoreLike:
        select_more_like();
        std::sort(scored_.begin(), scored_.end(), better);
        return take(scored_.size());
      case Query::kMoreLike50:
        select_more_like();
        return take_best();
      case Query::kTwoPerArtist:
        return two_per_artist();
      case Query::kNamesLike:
        return names_like();
      case Query::kNamesEqual:
        return names_equal();
    }
  }

  void add_one(uint32_t number) {
    const Track& track = library_.track(number);
    const std::string& ident = library_.ident(number);
    uint32_t* const slot = table_.find(ident, records_, texts_.data());
    if (*slot != kNone) return;
    const auto offset = static_cast<uint32_t>(texts_.size());
    *slot = static_cast<uint32_t>(records_.size());
    records_.push_back({track, offset});
    by_artist_[track.artist].push_back(offset);
    texts_.insert(texts_.end(), ident.c_str(), ident.c_str() + ident.size() + 1);
    table_.grow(++used_, records_, texts_.data());
  }

  void remove_ident(std::string_view ident) {
    uint32_t* const slot = table_.find(ident, records_, texts_.data());
    const uint32_t at = *slot;
    const char* const last = texts_.data() + records_.back().ident;
    *table_.find(last, records_, texts_.data()) = at;
    *slot = kErased;
    std::vector<uint32_t>& of_artist = by_artist_[records_[at].track.artist];
    of_artist.erase(std::find(of_artist.begin(), of_artist.end(), records_[at].ident));
    records_[at] = records_.back();
    records_.pop_back();
  }

  template <typename Visit>
  void for_each_match(Visit visit) const {
    const Questions& questions = library_.questions();
    const uint16_t a = questions.genres[0];
    const uint16_t b = questions.genres[1];
    const uint16_t decade = questions.decade;
    for (const Record& record : view_) {
      const Track& track = record.track;
      if ((track.plain_genre == a) | (track.plain_genre == b) | (track.decade == decade)) {
        visit(record);
      }
    }
  }

  void filter() {
    answer_.clear();
    for_each_match([&](const Record& record) { answer_.push_back(view_texts_ + record.ident); });
  }

  void shuffle() {
    uint32_t state = 7;
    scored_.clear();
    for_each_match([&](const Record& record) {
      scored_.push_back({static_cast<int32_t>(next_random(&state)), record.ident});
    });
    take_best();
  }

  void select_more_like() {
    uint32_t state = 7;
    scored_.clear();
    for (const Record& record : view_) {
      const Track& track = record.track;
      const int32_t mood = scores_.mood(track.moods, track.weights);
      if (mood < kSelects && scores_.genre(track.genre) < kSelects) continue;
      scored_.push_back({order(track, mood, &state), record.ident});
    }
  }

  int32_t order(const Track& track, int32_t mood, uint32_t* state) const {
    return scores_.weighted(track, mood) / static_cast<int32_t>(100 + next_random(state) % 100);
  }

  void two_per_artist() {
    uint32_t state = 7;
    std::vector<uint8_t> taken(library_.artist_count());
    scored_.clear();
    for (const Record& record : view_) {
      const Track& track = record.track;
      if (taken[track.artist] == 2) continue;
      ++taken[track.artist];
      const int32_t mood = scores_.mood(track.moods, track.weights);
      scored_.push_back({order(track, mood, &state), record.ident});
    }
    take_best();
  }

  void names_like() {
    std::vector<int32_t> likeness(library_.artist_count());
    for (uint32_t i = 1; i < likeness.size(); ++i) {
      likeness[i] = name_score_(library_.artist(i).c_str());
    }
    scored_.clear();
    for (const Record& record : view_) {
      const int32_t score = likeness[record.track.artist];
      if (score != 0) scored_.push_back({score, record.ident});
    }
    std::sort(scored_.begin(), scored_.end(), better);
    take(scored_.size());
  }

  void names_equal() {
    answer_.clear();
    for (const std::string& name : library_.questions().names) {
      for (const uint32_t ident : by_artist_[places_.at(name)]) {
        answer_.push_back(view_texts_ + ident);
      }
    }
  }

  void take_best() {
    const size_t count = std::min<size_t>(kShort, scored_.size());
    std::partial_sort(scored_.begin(), scored_.begin() + static_cast<ptrdiff_t>(count),
                      scored_.end(), better);
    take(count);
  }

  void take(size_t count) {
    answer_.clear();
    for (size_t i = 0; i < count; ++i) answer_.push_back(view_texts_ + scored_[i].ident);
  }

  const Library& library_;
  SeedScores scores_;
  NameScore name_score_;
  std::unordered_map<std::string_view, uint32_t> places_;  // of the artists, by name
  std::vector<std::vector<uint32_t>> by_artist_;           // offsets of idents
  std::vector<Record> records_;
  std::span<const Record> view_;  // what is asked: the records, or their bytes
  const char* view_texts_ = nullptr;
  std::vector<char> texts_;
  IdentTable table_;
  size_t used_ = 0;
  std::vector<Scored> scored_;
  std::vector<const char*> answer_;
  std::vector<char> bytes_;
};

}  // namespace

std::unique_ptr<Side> make_limit(const Library& library) {
  return std::make_unique<LimitSide>(library);
}

}  // namespace bench
