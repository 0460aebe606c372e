// data_reads: what the library reads of a track's data object when it captures the values.
#ifndef BENCH_DATA_READS_H
#define BENCH_DATA_READS_H

#include "objects.h"

namespace bench {

// Starts the library on a manager that can tell what it is asked. While nothing is recorded, the
// library calls the manager's own functions.
void start_library();
void stop_library();

// Makes the same reads, of each object. They are recorded once, while a track is added.
void read_values(const Library& library, const DataObjects& objects);

}  // namespace bench

#endif  // BENCH_DATA_READS_H
