// Finds the track that the user means by a few words.
#ifndef TROVA_CLI_SEED_FINDER_H
#define TROVA_CLI_SEED_FINDER_H

#include <cstdint>
#include <string>

#include "library.h"

namespace trova_cli {

// What the collection calls the one track that a query names: by its ident or file, else by its
// title alone, else by words that all stand in its title, artist and albums. Letter case and
// accents do not count. Throws CommandError when no track or more than one fits; then it lists
// some.
std::string FindTrack(Library& library, const std::string& query);
// The same as a place in library.tracks().
std::uint32_t FindSeed(Library& library, const std::string& query);

}  // namespace trova_cli

#endif
