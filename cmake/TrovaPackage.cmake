# TrovaPackage: Debian packages, one for each component of TrovaInstall. scripts/package sets what
# they need of a build: the prefix, the folder of libraries, the architecture.
set(TROVA_PACKAGE_CONTACT "Trova Playlist maintainers <root@localhost>" CACHE STRING
  "Who stands behind the packages, as Debian writes it")

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME trova)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${TROVA_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "playlists from a music library")
set(CPACK_STRIP_FILES ON)
# Installed under the prefix that the system will see, so that rules about prefixes hold.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/finish_package.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL playlist manager dev)
if(TARGET trova)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")

# trova_package(COMPONENT package section summary depends foreign-depends): what the files need is
# looked up in this system's packages. Nothing here knows those of another architecture, so for it
# they are written down, as Debian 12 names them.
macro(trova_package component package section summary depends foreign_depends)
  set(CPACK_DEBIAN_${component}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${component}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${component}_DESCRIPTION "${summary}")
  if(CMAKE_CROSSCOMPILING)
    set(all_depends ${depends} ${foreign_depends})
  else()
    set(all_depends ${depends})
    set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS ON)
  endif()
  list(JOIN all_depends ", " CPACK_DEBIAN_${component}_PACKAGE_DEPENDS)
endmacro()

# A device's own manager has a package that provides this name: the library asks for no version.
set(manager_package libtrova-manager${PROJECT_VERSION})
set(playlist_package libtrova-playlist${PROJECT_VERSION})
set(both_packages
  "${playlist_package} (= ${PROJECT_VERSION})" "${manager_package} (= ${PROJECT_VERSION})")
trova_package(PLAYLIST ${playlist_package} libs
  "scored, ordered playlists from collections of tracks"
  "${manager_package}" "libc6 (>= 2.36);libmsgpackc2")
trova_package(MANAGER ${manager_package} libs
  "embedded manager of the playlist library"
  "" "libc6 (>= 2.36);libgcc-s1;libsqlite3-0;libstdc++6 (>= 12)")
trova_package(DEV libtrova-dev libdevel
  "headers of the playlist library and its manager" "${both_packages}" "")
trova_package(TOOLS trova sound
  "playlists from a music library, by statement" "${both_packages}"
  "libc6 (>= 2.36);libfmt9;libgcc-s1;libsqlite3-0;libstdc++6 (>= 12);libtag1v5")

include(CPack)
