/*
 * count_marker: how a program under emulation tells where what is counted begins and ends. It asks
 * for its thread's id, with two arguments that the system ignores and the emulator's plugin sees.
 */
#ifndef BENCH_COUNT_MARKER_H
#define BENCH_COUNT_MARKER_H

#define BENCH_MARKER_CALL 224 /* gettid of 32-bit ARM */
#define BENCH_MARKER 0x636f756eu
#define BENCH_MARKER_START 1
#define BENCH_MARKER_STOP 2
#define BENCH_MARKER_FINISH 3 /* the workload is over: print */

#endif /* BENCH_COUNT_MARKER_H */
