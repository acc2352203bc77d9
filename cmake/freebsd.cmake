# Toolchain file: builds for FreeBSD 12 on amd64 with clang 13, from any system that has it.
#
#   FREEBSD_SYSROOT=/path/to/sysroot cmake -G Ninja -S . -B build-freebsd \
#     -DCMAKE_TOOLCHAIN_FILE=cmake/freebsd.cmake
#
# The sysroot has usr/include, usr/lib, lib and libexec of a FreeBSD base system; base.txz of a
# release has them. FREEBSD_LLVM is the folder of clang, lld and the LLVM tools.
set(CMAKE_SYSTEM_NAME FreeBSD)
set(CMAKE_SYSTEM_VERSION 12.4)
set(CMAKE_SYSTEM_PROCESSOR amd64)

set(FREEBSD_SYSROOT "$ENV{FREEBSD_SYSROOT}" CACHE PATH "Base system to build against")
set(FREEBSD_LLVM /usr/lib/llvm-13 CACHE PATH "Where LLVM 13 is installed")
# CMake reads this file again for each of its trial builds, without the cache.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES FREEBSD_SYSROOT FREEBSD_LLVM)
if(NOT EXISTS "${FREEBSD_SYSROOT}/usr/include/sys/param.h")
  message(FATAL_ERROR "FREEBSD_SYSROOT must name a folder with usr/include of a FreeBSD base system")
endif()
get_filename_component(CMAKE_SYSROOT "${FREEBSD_SYSROOT}" REALPATH)

foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET x86_64-unknown-freebsd${CMAKE_SYSTEM_VERSION})
endforeach()
set(CMAKE_C_COMPILER ${FREEBSD_LLVM}/bin/clang)
set(CMAKE_CXX_COMPILER ${FREEBSD_LLVM}/bin/clang++)
set(CMAKE_AR ${FREEBSD_LLVM}/bin/llvm-ar CACHE FILEPATH "Archiver")
set(CMAKE_RANLIB ${FREEBSD_LLVM}/bin/llvm-ranlib CACHE FILEPATH "Archive indexer")
set(CMAKE_STRIP ${FREEBSD_LLVM}/bin/llvm-strip CACHE FILEPATH "Symbol remover")

# The C++ headers that came with clang 13 are those of FreeBSD 12.4's libc++; a newer base system's
# would ask for functions that 12's library does not have.
set(CMAKE_CXX_FLAGS_INIT "-stdlib=libc++")
if(EXISTS "${FREEBSD_LLVM}/include/c++/v1/version")
  string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${FREEBSD_LLVM}/include/c++/v1")
endif()
# An unresolved symbol is an error in a library too, not only in a program.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-fuse-ld=lld -Wl,-z,defs")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-fuse-ld=lld -Wl,-z,defs")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
