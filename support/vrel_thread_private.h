// vrel_thread_private: what the two sources of the thread module share.
#ifndef VREL_THREAD_PRIVATE_H
#define VREL_THREAD_PRIVATE_H

// Makes the two thread-specific keys, or none; an error number of the thread library.
int _vrel_thread_keys_create();

// Frees the calling thread's record and gives the keys back.
void _vrel_thread_keys_delete();

#endif  // VREL_THREAD_PRIVATE_H
