#pragma once

#include "rpc/dict_library.h"

namespace qsvmon {

/// The dictionary library of the process-wide session; the look-ups of rpc/dict.h ask it.
DictLibrary& session_dict();

}  // namespace qsvmon
