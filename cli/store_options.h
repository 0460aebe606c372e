// Where the stored collections are.
#ifndef TROVA_CLI_STORE_OPTIONS_H
#define TROVA_CLI_STORE_OPTIONS_H

#include <CLI/App.hpp>
#include <optional>
#include <string>

namespace trova_cli {

class StoreOptions {
 public:
  // Adds --store. The options outlive it.
  CLI::Option* Define(CLI::App& options);

  // --store, else TROVA_STORE, else trova/trova.db in the user's data folder. Throws CommandError
  // when the user has no such folder.
  std::string Path() const;

 private:
  std::optional<std::string> path_;
};

// Adds --collection for one that need not exist yet.
CLI::Option* DefineCollection(CLI::App& options, std::string& name);

}  // namespace trova_cli

#endif
