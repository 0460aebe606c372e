// behaviour: the test attributes and their records.
#include "behaviour.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "trova_mock.h"

std::vector<std::string> g_calls;
int g_open_contexts = 0;
Incidents g_incidents;
Behaviour g_behaviours[kBehaviours];

std::string hex(uint32_t code) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08x", code);
  return text;
}

uint32_t Behaviour::note(const std::string& what, uint32_t code) const {
  const size_t call = g_calls.size();
  if (call == g_incidents.failing_call) code = g_incidents.code;
  g_calls.push_back(name + " " + what + ": " + hex(code));
  if (g_incidents.meanwhile) g_incidents.meanwhile(call);
  return code;
}

uint32_t Behaviour::operator_at(uint32_t index, uint32_t* out_operator) const {
  const bool known = index < operators.size();
  if (known) *out_operator = operators[index];
  return note("operator " + std::to_string(index), known ? 0 : past_end);
}

uint32_t Behaviour::prepare(Target* target, uint32_t op, const char* text) const {
  *target = {op, text == nullptr ? "(null)" : text, {}};
  const std::string what = "prepares " + std::to_string(op) + " " + target->text;
  const bool refuses = target->text.rfind("0x", 0) == 0;
  return note(what, refuses ? static_cast<uint32_t>(std::stoul(target->text, nullptr, 16)) : 0);
}

uint32_t Behaviour::prepare_without_value(Target* target, uint32_t op) const {
  target->op = op;
  return note("finds no value", TROVA_PLAYLIST_NO_VALUE);
}

template <class T>
static Outcome compare(uint32_t op, const T& value, const T& wanted, int32_t likeness) {
  const bool holds[] = {value == wanted, value != wanted, value > wanted,
                        value >= wanted, value < wanted,  value <= wanted};
  return {0, op == 20 ? likeness : holds[op - 10] ? 1000 : 0};
}

Outcome Behaviour::score(const Target& target, uint32_t value) const {
  const auto wanted = static_cast<uint32_t>(std::strtoul(target.text.c_str(), nullptr, 10));
  const int distance = static_cast<int>(value % 1000) - static_cast<int>(wanted % 1000);
  Outcome outcome = compare(target.op, value, wanted, 100 - 10 * std::abs(distance));
  if (wild && value % 29 == 13) outcome.score = value % 2 == 0 ? INT_MIN : INT_MAX;
  if (wild && value % 11 == 7) outcome = {0x10550011, 77};
  if (wild && value % 13 == 9) outcome = {0x90550023, 99};
  outcome.code = note("scores #" + std::to_string(value), outcome.code);
  return outcome;
}

Outcome Behaviour::score(const Target& target, const std::string& value) const {
  size_t common = 0;
  while (common < value.size() && value[common] == target.text[common]) ++common;
  Outcome outcome = compare(target.op, value, target.text, static_cast<int>(200 * common) - 100);
  if (wild && value == "so") outcome = {0x1089003c, 0};
  if (wild && value == "bad") outcome = {0x90550022, 55};
  outcome.code = note("scores " + value, outcome.code);
  return outcome;
}

uint32_t Behaviour::render(const std::string& value, const std::string& key, bool has_locale,
                           std::string* out_text) const {
  static const uint32_t kRefusals[] = {0x90550022, 0x10550011, 0x10550003, 0x908902d3};
  const uint32_t kind = static_cast<unsigned char>(value.empty() ? 0 : value.back()) % 8;
  const uint32_t code =
      note("renders " + value + " as " + key, wild && kind < 4 ? kRefusals[kind] : 0);
  if (code == 0) *out_text = name + "." + key + "=" + value + (has_locale ? "" : " anywhere");
  return code;
}

// Reads the n-th value of an attribute; false past the last one.
static bool read(const Behaviour& behaviour, trova_gdo* data, uint32_t n, const char** out_text) {
  const trova_gdo_interface& objects = trova_mock::mock().objects();
  return objects.gdo_get_value(data, behaviour.key().c_str(), n, out_text) == 0;
}

static Target* target_of(void* context) {
  return static_cast<Target*>(context);
}

// A score of 0 is not written with a code: the library clears it before each call.
static uint32_t answer(Outcome outcome, int32_t* out_score) {
  if (outcome.code == 0 || outcome.score != 0) *out_score = outcome.score;
  return outcome.code;
}

static uint32_t render(const Behaviour& behaviour, void* context, const std::string& value,
                       const char* key, trova_locale* locale, const char** out_text) {
  std::string text;
  const uint32_t code = behaviour.render(value, key, locale != nullptr, &text);
  if (code == 0) *out_text = target_of(context)->rendered.emplace_back(text).c_str();
  return code;
}

template <int i>
static uint32_t capture(void* writer, trova_gdo* data,
                        const trova_playlist_capture_callbacks* callbacks) {
  g_behaviours[i].start("captures");
  const char* text;
  for (uint32_t n = 1; read(g_behaviours[i], data, n, &text); ++n) {
    if (text[0] == '#') {
      callbacks->set_integer(writer, static_cast<uint32_t>(std::strtoul(text + 1, nullptr, 10)));
    } else {
      callbacks->set_string(writer, text);
    }
    g_behaviours[i].start("has captured one");
  }
  return 0x90550001;  // ignored
}

template <int i>
static trova_playlist_attribute_provider record() {
  trova_playlist_attribute_provider provider = {};
  provider.get_name = [](const char** out) { return *out = g_behaviours[i].name.c_str(), 0u; };
  provider.enum_operators = [](uint32_t n, uint32_t* out) {
    return g_behaviours[i].operator_at(n, out);
  };
  provider.capture = capture<i>;
  provider.create_context = [](void** out) {
    const uint32_t code = g_behaviours[i].start("creates a context");
    return code != 0 ? code : (*out = new Target, ++g_open_contexts, 0u);
  };
  provider.set_value_from_string = [](void* context, uint32_t op, const char* literal) {
    return g_behaviours[i].prepare(target_of(context), op, literal);
  };
  provider.set_value_from_seed = [](void* context, uint32_t op, trova_gdo* seed) {
    const char* text;
    return read(g_behaviours[i], seed, 1, &text)
               ? g_behaviours[i].prepare(target_of(context), op, text)
               : g_behaviours[i].prepare_without_value(target_of(context), op);
  };
  if (g_behaviours[i].scores_integers) {
    provider.evaluate_integer = [](void* context, uint32_t value, int32_t* out) {
      return answer(g_behaviours[i].score(*target_of(context), value), out);
    };
  }
  if (g_behaviours[i].scores_strings) {
    provider.evaluate_string = [](void* context, const char* value, int32_t* out) {
      return answer(g_behaviours[i].score(*target_of(context), std::string(value)), out);
    };
  }
  if (g_behaviours[i].renders_integers) {
    provider.render_integer = [](void* context, uint32_t value, const char* key,
                                 trova_locale* locale, const char** out) {
      return render(g_behaviours[i], context, "#" + std::to_string(value), key, locale, out);
    };
  }
  if (g_behaviours[i].renders_strings) {
    provider.render_string = [](void* context, const char* value, const char* key,
                                trova_locale* locale, const char** out) {
      return render(g_behaviours[i], context, value, key, locale, out);
    };
  }
  provider.delete_context = [](void* context) {
    delete target_of(context);
    --g_open_contexts;
    return g_behaviours[i].start("deletes a context");
  };
  return provider;
}

trova_playlist_attribute_provider provider_of(int behaviour) {
  return [&]<int... i>(std::integer_sequence<int, i...>) {
    trova_playlist_attribute_provider (*const makers[])() = {record<i>...};
    return makers[behaviour]();
  }
  (std::make_integer_sequence<int, kBehaviours>());
}
