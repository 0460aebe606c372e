// behaviour.h: attributes that the tests register. What they answer is a function of their
// settings, and each call notes itself, so that the library and the model can be compared by call.
#ifndef BEHAVIOUR_H
#define BEHAVIOUR_H

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "trova_playlist_provider.h"

struct Outcome {
  uint32_t code = 0;
  int32_t score = 0;
};

struct Target {
  uint32_t op = 0;
  std::string text = {};
  std::deque<std::string> rendered = {};
};

// Captures the values under a key of its own: "#" and digits are an integer, all else is text.
struct Behaviour {
  std::string name = {};
  std::vector<uint32_t> operators = {10, 11, 12, 13, 14, 15, 20};
  uint32_t past_end = 0x10890003;
  bool scores_integers = true;
  bool scores_strings = true;
  bool renders_integers = true;
  bool renders_strings = true;
  bool wild = false;  // evaluates to warnings, failures and extreme scores, too

  std::string key() const { return "value of " + name; }
  uint32_t operator_at(uint32_t index, uint32_t* out_operator) const;
  uint32_t start(const char* what) const { return note(what, 0); }
  // `text` may be null. "0x" and hexadecimal digits are refused with that code.
  uint32_t prepare(Target* target, uint32_t op, const char* text) const;
  uint32_t prepare_without_value(Target* target, uint32_t op) const;
  Outcome score(const Target& target, uint32_t value) const;
  Outcome score(const Target& target, const std::string& value) const;
  // What a value is called under a key. Some values have no name.
  uint32_t render(const std::string& value, const std::string& key, bool has_locale,
                  std::string* out_text) const;

 private:
  uint32_t note(const std::string& what, uint32_t code) const;
};

extern std::vector<std::string> g_calls;
extern int g_open_contexts;

// What goes wrong, or on meanwhile, in the calls to come, which count from the notes in `g_calls`.
struct Incidents {
  size_t failing_call = SIZE_MAX;  // answers `code`, whatever is due
  uint32_t code = 0;
  std::function<void(size_t call)> meanwhile = {};
};
extern Incidents g_incidents;

std::string hex(uint32_t code);

// Records for the library to register, each with settings of its own.
inline constexpr int kBehaviours = 6;
extern Behaviour g_behaviours[kBehaviours];
trova_playlist_attribute_provider provider_of(int behaviour);

#endif  // BEHAVIOUR_H
