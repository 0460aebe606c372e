// The forms that a playlist can be written in.
#ifndef TROVA_CLI_WRITERS_H
#define TROVA_CLI_WRITERS_H

#include <span>
#include <string_view>

#include "output.h"
#include "playlist.h"

namespace trova_cli {

// Writes a whole playlist. Whatever a title or a file name holds, the form stays well-formed.
using WritePlaylist = void (*)(Playlist& playlist, Output& output);

struct Writer {
  std::string_view name;
  WritePlaylist write;
};

// By name, sorted.
std::span<const Writer> Writers();

void WriteCsv(Playlist& playlist, Output& output);
void WriteJson(Playlist& playlist, Output& output);
void WriteJspf(Playlist& playlist, Output& output);
void WriteM3u8(Playlist& playlist, Output& output);
// One file per line. A name that holds a line break is written as a URI.
void WritePaths(Playlist& playlist, Output& output);
// One file before each zero byte.
void WritePathsZero(Playlist& playlist, Output& output);
// Aligned columns for people. On a terminal, lines are cut to its width.
void WriteTable(Playlist& playlist, Output& output);
void WriteXspf(Playlist& playlist, Output& output);

}  // namespace trova_cli

#endif
