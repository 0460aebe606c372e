// Tags of one audio file.
#ifndef TROVA_CLI_TAG_FILE_H
#define TROVA_CLI_TAG_FILE_H

#include <string>
#include <string_view>

#include "track.h"

namespace trova_cli {

// What is said of a file that ReadTags() refuses.
inline constexpr char kNoAudio[] = "not an audio file that can be read";

// Whether a file's ending is one of an audio format that can be read.
bool IsAudioName(std::string_view name);

// Fills a track from the file at `path`: its path, its tags, its duration. A file without a title
// tag is called by its name. False when the file cannot be opened or holds no audio.
bool ReadTags(const std::string& path, Track& track);

}  // namespace trova_cli

#endif
