// Collections that the playlist library keeps by name in the manager's storage.
#ifndef TROVA_CLI_STORED_COLLECTIONS_H
#define TROVA_CLI_STORED_COLLECTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "handles.h"

namespace trova_cli {

// What a scan calls its collection unless it is told.
inline constexpr char kDefaultCollection[] = "Music";

// Every function throws CommandError when the storage fails.

// Sorted.
std::vector<std::string> StoredNames();
bool IsStored(const std::string& name);
// Null when there is none of this name.
Collection LoadCollection(const std::string& name);
// Throws CommandError when there is none.
Collection RequireCollection(const std::string& name);
void StoreCollection(const Collection& collection);
void RemoveStored(const std::string& name);

// The collection that is meant: the one of this name; without a name the default one, else the only
// one. Throws CommandError when there is none, or more than one and no default among them.
// @param store  what the file is called in messages
std::string ChooseCollection(const std::optional<std::string>& name, const std::string& store);

}  // namespace trova_cli

#endif
