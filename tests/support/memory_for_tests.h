// memory_for_tests: a counting allocator behind vrel_memory_*, which can be made to run out.
#ifndef MEMORY_FOR_TESTS_H
#define MEMORY_FOR_TESTS_H

#include <cstddef>

// The next `n` allocations succeed and all later ones fail; -1 ends that.
void test_memory_fail_after(int n);

// Blocks that are allocated and not yet freed.
size_t test_memory_blocks();

// Starts of the allocator that no stop has matched yet.
int test_memory_starts();

#endif  // MEMORY_FOR_TESTS_H
