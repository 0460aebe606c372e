// Collections as files: the library's serialized form, byte for byte.
#ifndef TROVA_CLI_COLLECTION_FILE_H
#define TROVA_CLI_COLLECTION_FILE_H

#include <string>
#include <string_view>

#include "handles.h"

namespace trova_cli {

// All throw CommandError. "-" names stdout and stdin.
std::string SerializeCollection(trova_playlist_collection* collection);
// The file is there as a whole or not at all.
void WriteCollectionFile(const std::string& path, std::string_view bytes);
Collection ReadCollectionFile(const std::string& path);

}  // namespace trova_cli

#endif
