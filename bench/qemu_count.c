/*
 * qemu_count: a plugin of qemu's user mode that counts instructions between markers and prints one
 * number for each workload, on the standard error.
 *
 * What it needs of the plugin interface is declared here, since distributions leave qemu's header
 * out: version 1 of it, as qemu 7 and 8 have it.
 */
#include <inttypes.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "count_marker.h"

#define EXPORT __attribute__((visibility("default")))

typedef uint64_t qemu_plugin_id_t;
typedef struct qemu_info_t qemu_info_t;
struct qemu_plugin_tb; /* a block of instructions that were translated together */
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };
typedef void (*tb_callback)(qemu_plugin_id_t id, struct qemu_plugin_tb* block);
typedef void (*syscall_callback)(qemu_plugin_id_t id, unsigned int cpu, int64_t number, uint64_t a1,
                                 uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6,
                                 uint64_t a7, uint64_t a8);

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id, tb_callback callback);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, enum qemu_plugin_op op,
                                              void* counter, uint64_t amount);
void qemu_plugin_register_vcpu_syscall_cb(qemu_plugin_id_t id, syscall_callback callback);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);

EXPORT int qemu_plugin_version = 1;
EXPORT int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* info, int argc, char** argv);

static uint64_t executed; /* since the program started; it has one thread */
static uint64_t started;
static uint64_t counted;

static void translated(qemu_plugin_id_t id, struct qemu_plugin_tb* block) {
  (void)id;
  qemu_plugin_register_vcpu_tb_exec_inline(block, QEMU_PLUGIN_INLINE_ADD_U64, &executed,
                                           qemu_plugin_tb_n_insns(block));
}

static void marked(qemu_plugin_id_t id, unsigned int cpu, int64_t number, uint64_t a1, uint64_t a2,
                   uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7, uint64_t a8) {
  (void)id, (void)cpu, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8;
  if (number != BENCH_MARKER_CALL || a1 != BENCH_MARKER) return;
  if (a2 == BENCH_MARKER_START) started = executed;
  if (a2 == BENCH_MARKER_STOP) counted += executed - started;
  if (a2 != BENCH_MARKER_FINISH) return;
  fprintf(stderr, "%" PRIu64 "\n", counted);
  counted = 0;
}

int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* info, int argc, char** argv) {
  (void)info, (void)argc, (void)argv;
  qemu_plugin_register_vcpu_tb_trans_cb(id, translated);
  qemu_plugin_register_vcpu_syscall_cb(id, marked);
  return 0;
}
