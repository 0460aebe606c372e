// dice.h: what the random programs draw from, and what they read at their start.
#ifndef DICE_H
#define DICE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "model.h"
#include "trova_playlist.h"

// The same draws for the same seed, on every machine.
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

// The attributes that a running library has, as the model knows them.
inline std::vector<model::Attribute> registered_attributes() {
  std::vector<model::Attribute> attributes;
  const char* name = nullptr;
  for (uint32_t i = 0; trova_playlist_attributes_enum(i, &name) == 0; ++i) {
    attributes.emplace_back(std::string(name));
  }
  return attributes;
}

// Runs `world(seed)` for one seed after the other, from TROVA_MODEL_SEED on, until
// TROVA_MODEL_CASES are through or one fails.
template <class RunWorld>
void for_each_seed(uint32_t cases, uint32_t cases_per_world, RunWorld run_world) {
  const auto setting = [](const char* name, uint32_t otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : static_cast<uint32_t>(std::strtoul(text, nullptr, 10));
  };
  uint32_t seed = setting("TROVA_MODEL_SEED", 1);
  for (uint32_t left = setting("TROVA_MODEL_CASES", cases); left >= cases_per_world;
       left -= cases_per_world) {
    SCOPED_TRACE("TROVA_MODEL_SEED=" + std::to_string(seed));
    run_world(seed++);
    if (::testing::Test::HasFailure()) return;
  }
}

#endif  // DICE_H
