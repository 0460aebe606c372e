// Tables: the read-only form of the lists, as the list compiler writes it from the CSV files.
#ifndef TROVA_MANAGER_LISTS_TABLES_HXX
#define TROVA_MANAGER_LISTS_TABLES_HXX

#include <cstddef>
#include <cstdint>

namespace trova::lists {

// ORDER LISTS: the list compiler writes the tables in this order. Tempos have no correlates, so
// they come last.
enum class ListKind : uint8_t { kGenres, kEras, kOrigins, kArtistTypes, kMoods, kTempos };
inline constexpr std::size_t kListCount = 6;
inline constexpr std::size_t kCorrelatedListCount = 5;
inline constexpr std::size_t kMaxCorrelated = 4096;  // elements in those lists; a reserve

enum class Language : uint8_t { kEnglish, kGerman };
inline constexpr std::size_t kLanguageCount = 2;

inline constexpr uint32_t kMaxLevel = 3;
inline constexpr uint16_t kNowhere = 0xffff;  // a position that no element has

// One element of one list in one language. Positions count from 0 within the list.
struct alignas(32) Element {
  uint32_t id;
  uint32_t lower;  // range, both bounds inclusive; 0 and 0 without one
  uint32_t upper;
  uint32_t name;             // where in kText
  uint32_t synonyms;         // where in kText
  uint16_t path[kMaxLevel];  // positions of the ancestors and, at `level`, of the element itself
  uint8_t level;             // 1 at the top
  uint8_t ordinal;           // top level: how many top elements come before it; else 0
};

// A folded name or synonym and the element that it names.
struct Name {
  uint32_t folded;  // where in kText
  uint16_t position;
};

struct ListTable {
  const char* type;
  const char* correlates;  // name of the correlate table, or null
  const Element* elements[kLanguageCount];
  uint32_t count;
  // Open addressing with linear probing: the slot of an id is the top bits of its product with
  // kIdMultiplier. The table is at most half full.
  const uint16_t* id_slots;
  uint32_t id_bits;
  const Name* names;  // sorted by folded text, each text once
  uint32_t name_count;
};

inline constexpr uint32_t kIdMultiplier = 2654435769u;  // 2^32 divided by the golden ratio

// Genres that are nearer or farther than their places in the tree say.
struct Kin {
  uint16_t position;
  int16_t score;
};

struct MoodPoint {  // thousandths
  int16_t valence;
  int16_t arousal;
};

struct GlobePoint {  // on a sphere with the radius kGlobeRadius
  int16_t x;
  int16_t y;
  int16_t z;
};
inline constexpr int kGlobeRadius = 32767;

extern const char kText[];         // NUL-terminated texts, the first one empty
extern const Element kElements[];  // every list in one language, then every list in the next
extern const uint32_t kElementCount;
extern const ListTable kLists[kListCount];

extern const uint16_t kKinFirst[];  // by genre: its run in kKin ends where the next starts
extern const Kin kKin[];            // each pair in both directions
extern const uint32_t kTopGenreCount;
extern const int16_t kGenreAffinities[];   // square matrix over the top level
extern const int16_t kArtistAffinities[];  // square matrix over all artist types
extern const MoodPoint kMoodPoints[];      // by mood
extern const GlobePoint kGlobePoints[];    // by origin

// The position of an id, or kNowhere.
inline uint16_t position_of(const ListTable& list, uint32_t id) noexcept {
  const uint32_t mask = (1u << list.id_bits) - 1;
  uint32_t slot = (id * kIdMultiplier) >> (32 - list.id_bits);
  while (list.id_slots[slot] != kNowhere) {
    const uint16_t position = list.id_slots[slot];
    if (list.elements[0][position].id == id) return position;
    slot = (slot + 1) & mask;
  }
  return kNowhere;
}

}  // namespace trova::lists

#endif
