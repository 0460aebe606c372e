// storage_helper FILE WHO COUNT: stores COUNT collections, by turns one of WHO's own, named by its
// number, and one of five that others store as well. Writes the number and the name of each.
#include <cstdio>
#include <cstdlib>

#include "StorageCalls.h"

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  uint32_t code = start_storage(argv[1]);
  const unsigned count = static_cast<unsigned>(std::atoi(argv[3]));
  for (unsigned i = 0; i < count && code == 0; ++i) {
    const bool is_own = i % 2 == 0;
    const std::string name = (is_own ? argv[2] : "shared") + std::to_string(is_own ? i : i / 2 % 5);
    code = put(name, data_of(name, i));
    if (code == 0) std::printf("%u %s\n", i, name.c_str());
    std::fflush(stdout);
  }
  const char* text = "";
  trova_manager_last_error(nullptr, &text);
  if (code != 0)
    std::fprintf(stderr, "%s: 0x%08x %s\n", argv[0], static_cast<unsigned>(code), text);
  trova_manager_stop();
  return code == 0 ? 0 : 1;
}
