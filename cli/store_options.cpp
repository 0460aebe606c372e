// Store options: the XDG data folder, unless something else is said.
#include "store_options.h"

#include <cstdlib>

#include "error.h"

namespace trova_cli {
namespace {

constexpr char kFile[] = "/trova/trova.db";

// "" for what is not set, which by the XDG's rules an empty one is not either.
std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

CLI::Option* StoreOptions::Define(CLI::App& options) {
  return options.add_option(
      "--store", path_,
      "File of the stored collections; else $TROVA_STORE, else trova/trova.db in "
      "the data folder");
}

std::string StoreOptions::Path() const {
  if (path_ && path_->empty()) throw CommandError("--store needs the name of a file");
  if (path_) return *path_;
  const std::string chosen = Environment("TROVA_STORE");
  if (!chosen.empty()) return chosen;
  const std::string data = Environment("XDG_DATA_HOME");
  if (data.starts_with('/')) return data + kFile;  // a relative one is to be ignored
  const std::string home = Environment("HOME");
  if (home.empty()) throw CommandError("there is no HOME; say where the collections are: --store");
  return home + "/.local/share" + kFile;
}

CLI::Option* DefineCollection(CLI::App& options, std::string& name) {
  return options.add_option("--collection", name, "Name of the collection")
      ->check([](const std::string& text) { return text.empty() ? "it needs a name" : ""; });
}

}  // namespace trova_cli
