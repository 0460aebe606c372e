// Search: folded names, compared exactly, by parts and by likeness.
#include "Search.hxx"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "Fold.hxx"
#include "vrel_memory.h"

namespace trova::lists {
namespace {

using std::string_view;

// How well a name fits, best first in ascending order: class, cost within the class, position.
// Every element has its own, so the order of results never depends on the sort.
enum FitClass : uint32_t { kExact, kStarts, kContains, kAlike, kUnlike };
constexpr uint32_t kNoFit = kUnlike << 29;

uint32_t make_fit(FitClass fit_class, std::size_t cost, uint16_t position) {
  constexpr std::size_t kMostCost = (1u << 13) - 1;
  return static_cast<uint32_t>(fit_class) << 29 |
         static_cast<uint32_t>(std::min(cost, kMostCost)) << 16 | position;
}

constexpr int kLeastLikeness = 550;  // per mille; less is no match

// Edit distance in which swapped neighbours count as one mistake, as a share of the longer text.
int edit_likeness(string_view a, string_view b) {
  int rows[3][kFoldedCapacity + 1];
  int* before = rows[0];
  int* last = rows[1];
  int* row = rows[2];
  for (std::size_t j = 0; j <= b.size(); ++j) last[j] = static_cast<int>(j);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = static_cast<int>(i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
    int* const free_row = before;
    before = last;
    last = row;
    row = free_row;
  }
  return 1000 - 1000 * last[b.size()] / static_cast<int>(std::max(a.size(), b.size()));
}

// The share of neighbouring letters that two texts have in common: finds words in another order.
int pair_likeness(string_view a, string_view b) {
  if (a.size() < 2 || b.size() < 2) return 0;
  bool used[kFoldedCapacity] = {};
  int common = 0;
  for (std::size_t i = 0; i + 1 < a.size(); ++i) {
    for (std::size_t j = 0; j + 1 < b.size(); ++j) {
      if (used[j] || a[i] != b[j] || a[i + 1] != b[j + 1]) continue;
      used[j] = true;
      ++common;
      break;
    }
  }
  return 2000 * common / static_cast<int>(a.size() + b.size() - 2);
}

// The most that two texts of these lengths can be alike by either measure.
int most_likeness(std::size_t a, std::size_t b) {
  return static_cast<int>(2000 * std::min(a, b) / (a + b));
}

uint32_t fit_of(string_view text, string_view name, uint16_t position) {
  const std::size_t found = name.find(text);
  if (found != string_view::npos) {
    const std::size_t rest = name.size() - text.size();
    if (rest == 0) return make_fit(kExact, 0, position);
    return make_fit(found == 0 ? kStarts : kContains, rest, position);
  }
  if (most_likeness(text.size(), name.size()) < kLeastLikeness) return kNoFit;
  const int likeness = std::max(edit_likeness(text, name), pair_likeness(text, name));
  if (likeness < kLeastLikeness) return kNoFit;
  return make_fit(kAlike, static_cast<std::size_t>(1000 - likeness), position);
}

// The best fit of each element's names, by position.
void find_fits(const ListTable& list, string_view text, uint32_t* fits) {
  std::fill_n(fits, list.count, kNoFit);
  for (uint32_t i = 0; i < list.name_count; ++i) {
    const Name& name = list.names[i];
    uint32_t& fit = fits[name.position];
    fit = std::min(fit, fit_of(text, kText + name.folded, name.position));
  }
}

}  // namespace

uint16_t find_name(const ListTable& list, const char* text) noexcept {
  char folded[kFoldedCapacity];
  if (fold(text, folded) == kFoldedCapacity) return kNowhere;
  const Name* const end = list.names + list.name_count;
  const Name* const name =
      std::lower_bound(list.names, end, folded, [](const Name& entry, const char* key) {
        return std::strcmp(kText + entry.folded, key) < 0;
      });
  const bool found = name != end && std::strcmp(kText + name->folded, folded) == 0;
  return found ? name->position : kNowhere;
}

int32_t search_names(const ListTable& list, const char* text, uint32_t capacity,
                     uint16_t* positions) noexcept {
  char folded[kFoldedCapacity];
  const std::size_t length = fold(text, folded);
  if (length == 0 || length == kFoldedCapacity) return 0;
  auto* const fits = static_cast<uint32_t*>(vrel_memory_alloc(list.count * sizeof(uint32_t)));
  if (fits == nullptr) return -1;
  find_fits(list, string_view(folded, length), fits);
  const uint32_t most = std::min(capacity, list.count);
  std::partial_sort(fits, fits + most, fits + list.count);
  int32_t count = 0;
  for (uint32_t i = 0; i < most && fits[i] != kNoFit; ++i, ++count) {
    positions[i] = static_cast<uint16_t>(fits[i]);
  }
  vrel_memory_free(fits);
  return count;
}

}  // namespace trova::lists
