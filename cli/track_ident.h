// TrackIdent: what a track is called in a stored collection.
#ifndef TROVA_CLI_TRACK_IDENT_H
#define TROVA_CLI_TRACK_IDENT_H

#include <trova_playlist.h>

#include <string>
#include <string_view>

namespace trova_cli {

// It is the name that the user knows, so that exported collections mean something elsewhere. But a
// collection tells idents apart by a 32-bit hash only. A track whose name has the hash of another's
// is therefore called by a variant: "name//2", which can be the name of no file.
std::string IdentVariant(std::string_view name, int number);
// The name that an ident is a variant of, or itself.
std::string_view NameOfVariant(std::string_view ident);

// Whether the collection takes the ident for one that it has met. Throws CommandError.
bool IdentExists(trova_playlist_collection* collection, const char* ident);

}  // namespace trova_cli

#endif
