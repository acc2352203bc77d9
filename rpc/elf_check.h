#pragma once

namespace qsvmon {

/// Looks at the shared library at `path` before the loader gets it. A file that was cut off or
/// damaged makes the loader touch memory that is not there, and FreeBSD's loader holds back all
/// signals meanwhile, so that no handler could remove the shared-memory segment.
///
/// Returns null when the file's own headers keep to the file: class, machine and type are this
/// program's, every program header lies within the file and its memory within a loaded segment, and
/// the dynamic section names nothing outside of them. Else what is wrong, a static text. Null also
/// when the file cannot be read, is shorter than a header or is no ELF file at all: the loader
/// refuses those by itself and says why. What the tables in the segments say is not looked at.
const char* elf_damage(const char* path);

}  // namespace qsvmon
