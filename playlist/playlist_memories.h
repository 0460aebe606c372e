// playlist_memories: the one switch of everything that is only remembered to be quicker.
//
// These are the columns of attributes with the answers and texts they keep, the scores that a
// filter has met, and the rows of moods. With and without them every answer, every code and what
// the log is told are the same, in the same order but for the failures of one ORDER; tests compare
// the two.
#ifndef PLAYLIST_MEMORIES_H
#define PLAYLIST_MEMORIES_H

#pragma GCC visibility push(hidden)
// Nobody but a test turns it off, while no other thread uses the library.
inline bool g_playlist_memories = true;
#pragma GCC visibility pop

#endif  // PLAYLIST_MEMORIES_H
