# Compiler options that every target shares.
add_library(qsvmon_options INTERFACE)
target_compile_options(qsvmon_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${QSVMON_WERROR}>:-Werror>)
# The program neither throws nor unwinds; sections let the linker drop what it does not use.
target_compile_options(qsvmon_options INTERFACE -ffunction-sections -fdata-sections)
# Two folders give the same bytes: what would name the folder is the debugging information.
if(CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
  target_compile_options(qsvmon_options INTERFACE
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
endif()
if(QSVMON_SANITIZE)
  target_compile_options(qsvmon_options INTERFACE
    -fsanitize=${QSVMON_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(qsvmon_options INTERFACE -fsanitize=${QSVMON_SANITIZE})
endif()

# Links the C++ runtime into `name`: a one-shot command must not pay for loading it. Not without
# optimisation: what is then left of calls that throw would pull in what cli/runtime.cpp replaces.
# FreeBSD's is part of the base system and is found there.
function(qsvmon_static_runtime name)
  target_link_options(${name} PRIVATE -Wl,--gc-sections)
  if(NOT QSVMON_SANITIZE AND NOT CMAKE_SYSTEM_NAME STREQUAL "FreeBSD" AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug"
     AND NOT CMAKE_CXX_FLAGS MATCHES "stdlib=libc\\+\\+")
    target_link_options(${name} PRIVATE -static-libstdc++ -static-libgcc)
  endif()
endfunction()

# Tests run `name` on the system that builds, also when it is FreeBSD's: the kernel here must find its
# run-time linker.
function(qsvmon_run_here name)
  if(CMAKE_CROSSCOMPILING AND CMAKE_SYSTEM_NAME STREQUAL "FreeBSD")
    target_link_options(${name} PRIVATE "LINKER:--dynamic-linker=${CMAKE_SYSROOT}/libexec/ld-elf.so.1")
  endif()
endfunction()
