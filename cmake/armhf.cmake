# armhf: builds for 32-bit ARM Linux with hard float, on a machine of another kind, and runs what was
# built under qemu. The compiler brings its own C and C++ libraries; TROVA_ARMHF_ROOT is a folder that
# holds the others (scripts/test-armhf fills it).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(triple arm-linux-gnueabihf)
set(CMAKE_C_COMPILER ${triple}-gcc)
set(CMAKE_CXX_COMPILER ${triple}-g++)

set(TROVA_ARMHF_ROOT "" CACHE PATH "Folder with the libraries of 32-bit ARM")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TROVA_ARMHF_ROOT)
set(CMAKE_FIND_ROOT_PATH ${TROVA_ARMHF_ROOT} /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${TROVA_ARMHF_ROOT})
set(ENV{PKG_CONFIG_LIBDIR}
  ${TROVA_ARMHF_ROOT}/usr/lib/${triple}/pkgconfig:${TROVA_ARMHF_ROOT}/usr/share/pkgconfig)

# Libraries that our libraries need in turn.
set(foreign_libraries ${TROVA_ARMHF_ROOT}/usr/lib/${triple}:${TROVA_ARMHF_ROOT}/lib/${triple})
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-rpath-link,${foreign_libraries})
set(CMAKE_SHARED_LINKER_FLAGS_INIT -Wl,-rpath-link,${foreign_libraries})

find_program(TROVA_QEMU_ARM NAMES qemu-arm qemu-arm-static)
if(TROVA_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR
    ${TROVA_QEMU_ARM} -L /usr/${triple} -E LD_LIBRARY_PATH=${foreign_libraries})
endif()
