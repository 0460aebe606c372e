# TrovaInstall: what an installed tree holds, by component. "playlist" and "manager" are one library
# each, so that a device with a manager of its own leaves the second one out; "dev" is what
# programs are built with, "tools" the command.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(trova_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/trova_playlist)
# From the folder of the .pc files up to the prefix.
string(REGEX REPLACE "[^/]+" ".." to_prefix "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

set(TROVA_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
  "Where zsh looks for completions, below the prefix")

# An installed tree runs from wherever it is put: the command finds the libraries, and the library
# the manager, by where they stand themselves. A program that is linked with a manager of its own
# has loaded that one before anybody asks for this.
file(RELATIVE_PATH to_libraries
  ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(trova_playlist PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET trova)
  set_target_properties(trova PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libraries}")
endif()

# Where the loader looks anyway such a path only hides what an administrator sets up, so under these
# prefixes it is taken out again.
function(trova_plain_on_system_prefix component file)
  install(CODE "
    if(CMAKE_INSTALL_PREFIX MATCHES \"^/?(usr(/local)?)?/?$\")
      file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${file}\")
    endif()" COMPONENT ${component})
endfunction()

foreach(component playlist manager)
  install(TARGETS trova_${component} EXPORT trova_playlist
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component} NAMELINK_COMPONENT dev
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  set_target_properties(trova_${component} PROPERTIES EXPORT_NAME ${component})
  add_library(trova::${component} ALIAS trova_${component})
  configure_file(${CMAKE_SOURCE_DIR}/cmake/trova_${component}.pc.in trova_${component}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/trova_${component}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()
trova_plain_on_system_prefix(playlist
  ${CMAKE_INSTALL_LIBDIR}/libtrova_playlist.so.${PROJECT_VERSION})

file(GLOB public_headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/include/*.h)
install(FILES ${public_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(FILES ${CMAKE_SOURCE_DIR}/man/trova_playlist.3
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT dev)

# find_package(trova_playlist): the exported targets say where they stand relative to themselves.
install(EXPORT trova_playlist NAMESPACE trova:: FILE trova_playlist-config.cmake
  DESTINATION ${trova_package_dir} COMPONENT dev)
write_basic_package_version_file(trova_playlist-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/trova_playlist-config-version.cmake
  DESTINATION ${trova_package_dir} COMPONENT dev)

if(TARGET trova)
  install(TARGETS trova RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  trova_plain_on_system_prefix(tools ${CMAKE_INSTALL_BINDIR}/trova)
  install(FILES ${CMAKE_SOURCE_DIR}/man/trova.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${CMAKE_SOURCE_DIR}/completions/trova
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  install(FILES ${CMAKE_SOURCE_DIR}/completions/_trova
    DESTINATION ${TROVA_ZSH_COMPLETIONS} COMPONENT tools)
  install(FILES ${CMAKE_SOURCE_DIR}/completions/trova.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tools)
endif()
