// vrel_random: a small linear congruential generator, the same on every machine.
#ifndef VREL_RANDOM_H
#define VREL_RANDOM_H

#include <cstdint>

// Counted. Raw result of a stop too many: 7.
[[nodiscard]] uint32_t vrel_random_initialize();
uint32_t vrel_random_shutdown();

// How often the module is started; 0 while it is down.
uint32_t vrel_random_initchecks();

const char* vrel_random_get_version();
const char* vrel_random_get_build_date();

// Advances `state` by one step and returns a number from 0 to 32767. Null stands for the state
// that all callers share: it starts at 0x12345678 when the library is loaded, and any number of
// threads may draw from it, each draw advancing it exactly once.
uint32_t vrel_random_rand(uint32_t* state);

#endif  // VREL_RANDOM_H
