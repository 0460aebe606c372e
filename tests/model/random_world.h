// random_world.h: a running library with random lists and attributes, and random changes of a
// collection, made in the library and in the model alike.
#ifndef RANDOM_WORLD_H
#define RANDOM_WORLD_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "model_stream.h"
#include "trova_playlist.h"

using Strings = std::vector<std::string>;

Strings words(const char* text);

// The attributes of a running library, for the model.
inline std::vector<model::Attribute> registered_attributes() {
  std::vector<model::Attribute> attributes;
  const char* name = nullptr;
  for (uint32_t i = 0; trova_playlist_attributes_enum(i, &name) == 0; ++i) {
    attributes.emplace_back(std::string(name));
  }
  return attributes;
}

// Returns the idents of a playlist and releases it.
inline Strings take_idents(trova_playlist_results* results) {
  Strings idents;
  uint32_t count = 0;
  if (results != nullptr) (void)trova_playlist_results_count(results, &count);
  for (uint32_t i = 0; i < count; ++i) {
    const char* ident = nullptr;
    const uint32_t code = trova_playlist_results_enum(results, i, &ident);
    idents.push_back(code == 0 ? ident : hex(code));
  }
  EXPECT_EQ(trova_playlist_results_release(results), 0u);
  return idents;
}

// Results and log lines of the cases of one world. They must be the same with and without what the
// library remembers.
extern Strings g_transcript;

// The state of the library's RAND without a seed.
extern uint32_t g_library_random;

// Runs `world(seed)` with and without what the library remembers, for the seeds from
// TROVA_MODEL_SEED on, until TROVA_MODEL_CASES are done or one fails.
void for_each_seed(uint32_t cases, uint32_t cases_per_world,
                   const std::function<void(uint32_t seed)>& run_world);

// Draws the same for the same seed on every machine.
class Dice {
 public:
  explicit Dice(uint32_t seed) : random_(seed) {}

  uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_() % n); }
  bool chance(uint32_t percent) { return below(100) < percent; }
  template <class T>
  const T& pick(const std::vector<T>& from) {
    return from[below(static_cast<uint32_t>(from.size()))];
  }
  std::mt19937& engine() { return random_; }

 private:
  std::mt19937 random_;
};

// A collection in both worlds.
struct Pair {
  trova_playlist_collection* library = nullptr;
  std::unique_ptr<model::Collection> model = {};
  model::Report report = {};
};

// One change or query of a collection.
struct Change {
  enum Kind { nothing, add, drop, report, process, generate, look, release } kind = nothing;
  std::string text = {};                            // an ident, or a statement
  std::shared_ptr<trova_mock::Object> object = {};  // the description of an ident, or the seed
  std::string key = {};                             // of the value to look at
};

// Applies a change to the library or the model and returns its results as text. Does nothing for
// `process`.
std::string apply(const Change& change, trova_playlist_collection* library);
std::string apply(const Change& change, Pair* pair);

class RandomWorld : protected Dice {
 protected:
  // How many of each there are.
  struct Size {
    uint32_t idents = 0;  // 0: short and very long names
    uint32_t ids = 14, numbers = 40, names = 0, moods = 40;
    bool single = false;  // at most one record of an ident for an attribute
  };

  RandomWorld(uint32_t seed, const Size& size);
  virtual ~RandomWorld();

  virtual std::string random_statement() = 0;
  const std::string& pick(const Strings& from) { return Dice::pick(from); }
  using Dice::pick;
  std::string text_of(uint32_t length);
  std::string random_ident();
  std::string random_name();
  std::string random_profile();
  std::shared_ptr<trova_mock::Object> random_object();
  Change random_change();
  // What a provider or a callback does to the collection that calls it.
  Change random_interference(bool may_release);

  // Compares idents and attributes.
  static void compare_contents(const Pair& pair);

  // Runs a call of the library or the model with the incidents of a plan. Returns whether one
  // released the collection.
  struct Plan {
    Incidents incidents = {};
    std::map<size_t, Change> changes = {};
  };
  Plan random_plan(bool may_release);
  template <class Side>
  static bool run_as_planned(const Plan& plan, Side side, const std::function<void()>& call) {
    bool released = false;
    g_incidents = plan.incidents;
    g_incidents.meanwhile = [&](size_t number) {
      const auto change = plan.changes.find(number);
      if (change == plan.changes.end() || released) return;
      released = change->second.kind == Change::release;
      g_calls.push_back("meanwhile: " + apply(change->second, side));
    };
    g_calls.clear();
    call();
    g_incidents = {};
    return released;
  }

  Size size_;
  std::vector<model::Attribute> registry_;

 private:
  void fill_lists();
  void register_customs();
  void describe(trova_mock::Object* object);
  std::string random_id();

  Strings profiles_;
  int many_left_ = 3;  // objects with hundreds of values
};

#endif  // RANDOM_WORLD_H
