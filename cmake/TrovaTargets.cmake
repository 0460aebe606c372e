# TrovaTargets: the compiler settings that the targets of this project choose from.

# Everything: warnings, sanitizers, the public headers.
add_library(trova_common INTERFACE)
target_include_directories(trova_common INTERFACE ${CMAKE_SOURCE_DIR}/include)
target_compile_options(trova_common INTERFACE -Wall -Wextra -pedantic -Wshadow -Wconversion)
if(TROVA_WERROR)
  target_compile_options(trova_common INTERFACE -Werror)
endif()
if(TROVA_SANITIZE)
  target_compile_options(trova_common INTERFACE
    -fsanitize=${TROVA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(trova_common INTERFACE -fsanitize=${TROVA_SANITIZE})
endif()

# The smallest legal figures of vrel_tuning.h.
if(TROVA_TINY)
  target_compile_definitions(trova_common INTERFACE TROVA_TINY)
endif()

# What libFuzzer watches: every branch of everything that the fuzzers link.
if(TROVA_FUZZ)
  target_compile_options(trova_common INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The playlist and support libraries: C++17 without exceptions, RTTI or a C++ runtime. Results must
# be the same on every target: signed arithmetic wraps, floating point is never contracted, and no
# pointer is cast to a type of stricter alignment.
add_library(trova_freestanding INTERFACE)
target_link_libraries(trova_freestanding INTERFACE trova_common)
target_compile_features(trova_freestanding INTERFACE cxx_std_17)
target_compile_options(trova_freestanding INTERFACE
  -fwrapv -ffp-contract=off
  # For size; trova_hot() names the sources where speed goes first.
  $<$<CONFIG:Release>:-O2> -ffunction-sections -fdata-sections
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
  $<$<CXX_COMPILER_ID:GNU>:-Wcast-align=strict>)
target_include_directories(trova_freestanding INTERFACE ${CMAKE_SOURCE_DIR}/support)

# trova_hot(sources...): where a statement spends its time. Release builds for speed there.
function(trova_hot)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Release>:-O3>")
endfunction()

# The manager, the command and the tests: modern C++ with its standard library.
add_library(trova_hosted INTERFACE)
target_link_libraries(trova_hosted INTERFACE trova_common)
target_compile_features(trova_hosted INTERFACE cxx_std_20)
# Files have more than two gigabytes on 32-bit targets too.
target_compile_definitions(trova_hosted INTERFACE _FILE_OFFSET_BITS=64)
# GCC 12 sees overlapping copies in the joining of two std::strings that are not there.
target_compile_options(trova_hosted INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
