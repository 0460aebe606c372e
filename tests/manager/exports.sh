#!/bin/sh
# Usage: exports.sh LIBRARY: the library exports what its headers declare and nothing else, and is
# named as the programs that link to it expect.
library=$1
failed=0

strays=$(nm -D --defined-only "$library" | awk '{ print $3 }' |
  grep -vE '^(trova_manager_|vrel_memory_|g_vrel_log_)')
if [ -n "$strays" ]; then
  echo "exported but not part of the interface:" "$strays"
  failed=1
fi

for name in vrel_memory_realloc vrel_memory_memmove g_vrel_log_enabled_pkgs g_vrel_log_callback \
  trova_manager_start trova_manager_error_text trova_manager_list_load; do
  if ! nm -D --defined-only "$library" | grep -q " $name\$"; then
    echo "not exported: $name"
    failed=1
  fi
done

if ! readelf -d "$library" | grep -q 'SONAME.*\[libtrova_manager\.so\.2\.0\.0\]'; then
  echo "the library has another SONAME"
  failed=1
fi
exit $failed
