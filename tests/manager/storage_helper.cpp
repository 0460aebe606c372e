// storage_helper FILE WHO COUNT: stores COUNT collections, by turns one that has WHO in its name
// and one of five that others store as well. Writes a line after each.
#include <cstdio>
#include <cstdlib>

#include "StorageCalls.h"

namespace {

int fail(uint32_t code) {
  const char* text = "";
  trova_manager_last_error(nullptr, &text);
  std::fprintf(stderr, "storage_helper: 0x%08x %s\n", static_cast<unsigned>(code), text);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  if (const uint32_t code = start_storage(argv[1])) return fail(code);
  const unsigned count = static_cast<unsigned>(std::atoi(argv[3]));
  for (unsigned i = 0; i < count; ++i) {
    const bool is_own = i % 2 == 0;
    const std::string name =
        is_own ? argv[2] + (" " + std::to_string(i % 2000)) : "shared " + std::to_string(i / 2 % 5);
    if (const uint32_t code = put(name, data_of(name, i))) return fail(code);
    std::printf("%u %s\n", i, name.c_str());
    std::fflush(stdout);
  }
  return trova_manager_stop() == 0 ? 0 : 1;
}
