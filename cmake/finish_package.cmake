# finish_package: what the packages' own system wants of the files, before they are packed.
file(GLOB_RECURSE pages ${CPACK_TEMPORARY_DIRECTORY}/*.[1-9])
list(FILTER pages INCLUDE REGEX "/man/man[1-9]/")
if(pages)
  execute_process(COMMAND gzip -9nf ${pages} COMMAND_ERROR_IS_FATAL ANY)
endif()
