// What a collection itself holds of a track, read back through the library's data view.
#ifndef TROVA_CLI_DATA_VIEW_H
#define TROVA_CLI_DATA_VIEW_H

#include <trova_playlist.h>

#include <optional>
#include <string>

#include "catalogue.h"
#include "handles.h"

namespace trova_cli {

// Throws CommandError when the collection never met the ident.
DataObject ViewIdent(trova_playlist_collection* collection, const std::string& ident);

// The text that a view gives under a key; nothing where it has none.
std::optional<std::string> ReadView(const DataObject& view, const char* key);

// The track as far as the collection knows it: of several albums or genres one, no title, no
// duration. It is called by its ident, which is also its path where it looks like one.
CatalogueRow TrackOfView(trova_playlist_collection* collection, const std::string& ident);

}  // namespace trova_cli

#endif
