// memory: what the library's collections and statements take.
#ifndef BENCH_MEMORY_H
#define BENCH_MEMORY_H

#include "library.h"

namespace bench {

// Builds a collection, runs statements, and prints what the manager's allocator was asked for.
void report_memory(const Library& library);

}  // namespace bench

#endif  // BENCH_MEMORY_H
