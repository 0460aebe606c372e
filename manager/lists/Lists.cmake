# Lists: compiles the CSV files of this folder into the manager. Included by the folder above.
set(list_data
  ${CMAKE_CURRENT_LIST_DIR}/genres.csv
  ${CMAKE_CURRENT_LIST_DIR}/genre_neighbours.csv
  ${CMAKE_CURRENT_LIST_DIR}/genre_affinities.csv
  ${CMAKE_CURRENT_LIST_DIR}/eras.csv
  ${CMAKE_CURRENT_LIST_DIR}/origins.csv
  ${CMAKE_CURRENT_LIST_DIR}/artist_types.csv
  ${CMAKE_CURRENT_LIST_DIR}/artist_type_affinities.csv
  ${CMAKE_CURRENT_LIST_DIR}/moods.csv
  ${CMAKE_CURRENT_LIST_DIR}/tempos.csv)
set(list_compiler_sources
  ${CMAKE_CURRENT_LIST_DIR}/list_compiler.cpp ${CMAKE_CURRENT_SOURCE_DIR}/src/lists/Fold.cxx)
set(list_tables ${CMAKE_CURRENT_BINARY_DIR}/ListTables.cpp)

# The compiler runs while we build, so it is a program of the machine that builds.
if(CMAKE_CROSSCOMPILING)
  find_program(TROVA_HOST_CXX NAMES c++ g++ clang++ NO_CMAKE_FIND_ROOT_PATH REQUIRED
    DOC "C++20 compiler for programs that run while building")
  set(TROVA_LIST_COMPILER ${CMAKE_CURRENT_BINARY_DIR}/list_compiler)
  add_custom_command(OUTPUT ${TROVA_LIST_COMPILER}
    COMMAND ${TROVA_HOST_CXX} -std=c++20 -O1 ${list_compiler_sources} -o ${TROVA_LIST_COMPILER}
    DEPENDS ${list_compiler_sources}
      ${CMAKE_CURRENT_SOURCE_DIR}/src/lists/Fold.hxx
      ${CMAKE_CURRENT_SOURCE_DIR}/src/lists/Tables.hxx
    COMMENT "Building the list compiler")
else()
  add_executable(list_compiler ${list_compiler_sources})
  target_link_libraries(list_compiler PRIVATE trova_hosted)
  set(TROVA_LIST_COMPILER $<TARGET_FILE:list_compiler>)
endif()
set(TROVA_LIST_COMPILER ${TROVA_LIST_COMPILER} PARENT_SCOPE)

add_custom_command(OUTPUT ${list_tables}
  COMMAND ${TROVA_LIST_COMPILER} ${CMAKE_CURRENT_LIST_DIR} ${list_tables}
  DEPENDS ${TROVA_LIST_COMPILER} ${list_data}
  COMMENT "Compiling the lists")
# All texts are one literal.
set_source_files_properties(${list_tables} PROPERTIES COMPILE_OPTIONS -Wno-overlength-strings)
target_sources(trova_manager PRIVATE ${list_tables})
