#include "data_reads.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "trova_playlist.h"

namespace bench {

namespace {

// A read of a value or of a child, or of the context when there is no key.
struct Read {
  std::string key;
  uint32_t ordinal;
  bool child;
};

ManagerHandle* g_manager = nullptr;
ManagerHandle g_listening;               // the manager, but for the table of data objects
const trova_gdo_interface* g_own_table;  // the manager's
trova_gdo_interface g_table;             // what the library calls
std::vector<Read> g_reads;

uint32_t release_table(void*) {
  return g_own_table->release(const_cast<trova_gdo_interface*>(g_own_table));
}

uint32_t hand_out(const char* name, void** out_table) {
  const uint32_t code = g_manager->query_interface(name, out_table);
  if (code != 0 || name != std::string_view(TROVA_SERVICE_GDO)) return code;
  g_own_table = static_cast<const trova_gdo_interface*>(*out_table);
  g_table = *g_own_table;
  g_table.release = release_table;
  *out_table = &g_table;
  return 0;
}

uint32_t record_context(trova_gdo* object, const char** out_text) {
  g_reads.push_back({"", 0, false});
  return g_own_table->gdo_get_context(object, out_text);
}

uint32_t record_value(trova_gdo* object, const char* key, uint32_t ordinal, const char** out_text) {
  g_reads.push_back({key, ordinal, false});
  return g_own_table->gdo_get_value(object, key, ordinal, out_text);
}

uint32_t record_child(trova_gdo* object, const char* key, uint32_t ordinal, uint32_t flags,
                      trova_gdo** out_child) {
  g_reads.push_back({key, ordinal, true});
  return g_own_table->gdo_get_child(object, key, ordinal, flags, out_child);
}

// The seed has every value, and a value that is missing is asked for all the same.
void record(const Library& library) {
  trova_playlist_collection* collection = nullptr;
  require(trova_playlist_collection_create("reads", &collection), "create");
  const uint32_t number = library.questions().seed;
  const DataObjects objects(library, number, number + 1);
  g_table.gdo_get_context = record_context;
  g_table.gdo_get_value = record_value;
  g_table.gdo_get_child = record_child;
  const char* const ident = library.ident(number).c_str();
  require(trova_playlist_collection_ident_add(collection, ident, objects.of(number)), "add");
  g_table = *g_own_table;
  g_table.release = release_table;
  require(trova_playlist_collection_release(collection), "release");
  if (!g_reads.empty()) return;
  std::fprintf(stderr, "the library read nothing\n");
  std::exit(2);
}

void repeat(const Read& read, trova_gdo* object) {
  const char* text = nullptr;
  trova_gdo* child = nullptr;
  if (read.key.empty()) {
    static_cast<void>(g_own_table->gdo_get_context(object, &text));
  } else if (!read.child) {
    static_cast<void>(g_own_table->gdo_get_value(object, read.key.c_str(), read.ordinal, &text));
  } else if (g_own_table->gdo_get_child(object, read.key.c_str(), read.ordinal, 0, &child) == 0) {
    static_cast<void>(g_own_table->gdo_release(child));
  }
}

}  // namespace

void start_library() {
  require(trova_manager_start(nullptr, &g_manager), "manager");
  g_listening = *g_manager;
  g_listening.query_interface = hand_out;
  require(trova_playlist_initialize(&g_listening), "library");
}

void stop_library() {
  trova_playlist_shutdown();
  trova_manager_stop();
}

void read_values(const Library& library, const DataObjects& objects) {
  if (g_reads.empty()) record(library);
  for (uint32_t number = objects.first(); number < objects.last(); ++number) {
    for (const Read& read : g_reads) repeat(read, objects.of(number));
  }
}

}  // namespace bench
