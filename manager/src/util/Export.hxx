// Export: marks the definitions that other libraries link to.
#ifndef TROVA_MANAGER_UTIL_EXPORT_HXX
#define TROVA_MANAGER_UTIL_EXPORT_HXX

#define TROVA_EXPORT __attribute__((visibility("default")))

#endif  // TROVA_MANAGER_UTIL_EXPORT_HXX
