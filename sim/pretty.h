#pragma once

#include <string>

namespace qsvmon::sim {

/// Indents the JSON documents of `text` for a person to read, members in their order. Text that is
/// not JSON comes back as it is. Bytes that are not UTF-8 are shown as what they are in GB2312, or
/// as "?".
std::string pretty_json(const std::string& text);

}  // namespace qsvmon::sim
