# Run by CPack behind the archive that it made, which holds files and folders in the order and with the
# owner and times that the file system had. Packs the same files again: by name, owned by root, of
# the time in SOURCE_DATE_EPOCH or of the last commit. Without the folders: unpacked by root over a system, they
# would set owner and mode of its own.
set(ENV{TZ} UTC0)
set(ENV{LC_ALL} C)
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND git -C "${CPACK_QSVMON_SOURCE}" log -1 --format=%ct
                  OUTPUT_VARIABLE committed OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(committed)
    set(ENV{SOURCE_DATE_EPOCH} ${committed})
  endif()
endif()
string(TIMESTAMP stamp "%Y%m%d%H%M.%S" UTC)  # goes by SOURCE_DATE_EPOCH

execute_process(COMMAND tar --version OUTPUT_VARIABLE tar)
if(tar MATCHES "GNU")
  set(owner --owner=root:0 --group=wheel:0)
else()
  set(owner --uid 0 --gid 0 --uname root --gname wheel)
endif()
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(tree "${CPACK_TEMPORARY_DIRECTORY}")
  file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE "${tree}" "${tree}/*")
  list(SORT files)
  list(FILTER files INCLUDE REGEX "^usr/local/")
  list(JOIN files "\n" lines)
  file(WRITE "${tree}.files" "${lines}\n")
  execute_process(COMMAND touch -t ${stamp} ${files} WORKING_DIRECTORY "${tree}" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND tar --format ustar ${owner} -cJf "${package}" -T "${tree}.files"
                  WORKING_DIRECTORY "${tree}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
