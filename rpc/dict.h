#pragma once

#include <cstdint>

/// Look-ups in the application dictionary that replies bring (rpc/dict_library.h). Without a
/// dictionary every name is "undname". Texts are the dictionary library's: valid until `rpc_close`.
namespace qsvmon {

/// Name and display name of application `id`; never null.
const char* dict_appname(std::uint16_t id);
const char* dict_appcname(std::uint16_t id);

/// The 16-bit id of an application name, or -1 when it is empty or unknown or there is no
/// dictionary. Fetches the dictionary when none is loaded.
int dict_appid(const char* name);

/// Bytes 4 and 24 of the dictionary's record of `id`, or null. Fetch the dictionary like
/// `dict_appid`.
const char* dict_entry_name(std::uint16_t id);
const char* dict_entry_extra(std::uint16_t id);

/// Runs the dictionary's initialiser when one is attached. Returns 0, or -1 without one.
int dict_startup();

}  // namespace qsvmon
