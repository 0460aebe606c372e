// Writers: the table of forms.
#include "writers.h"

#include <array>

namespace trova_cli {
namespace {

constexpr std::array<Writer, 7> kWriters = {{
    {"csv", WriteCsv},
    {"jspf", WriteJspf},
    {"json", WriteJson},
    {"m3u8", WriteM3u8},
    {"paths", WritePaths},
    {"table", WriteTable},
    {"xspf", WriteXspf},
}};

}  // namespace

std::span<const Writer> Writers() {
  return kWriters;
}

}  // namespace trova_cli
