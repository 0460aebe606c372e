// behaviour.h: attribute providers that the tests register. Their results depend on their settings
// alone. Each call adds a note to g_calls, so that the calls of the library and of the model can be
// compared.
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
  // Writes the text of a value under a key. Some values have none.
  uint32_t render(const std::string& value, const std::string& key, bool has_locale,
                  std::string* out_text) const;

 private:
  uint32_t note(const std::string& what, uint32_t code) const;
};

extern std::vector<std::string> g_calls;
extern int g_open_contexts;

// What happens during the next calls. A call's number is the number of notes before it.
struct Incidents {
  size_t failing_call = SIZE_MAX;  // returns `code`
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
