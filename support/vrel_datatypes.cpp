// vrel_datatypes: start and stop of the containers, and the codes and flags that they share.
#include "vrel_datatypes.h"

#include "vrel_module.h"

static vrel_module g_module;

uint32_t vrel_datatypes_initialize() {
  return vrel_module_start(&g_module, nullptr);
}
uint32_t vrel_datatypes_shutdown() {
  return vrel_module_stop(&g_module, nullptr);
}
uint32_t vrel_datatypes_initchecks() {
  return g_module.count.load(std::memory_order_acquire);
}
const char* vrel_datatypes_get_version() {
  return "2.0.0.89";
}
