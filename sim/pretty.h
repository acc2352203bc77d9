#pragma once

#include <string>

namespace qsvmon::sim {

/// Indents the JSON document `text` for a person to read: members in their order, what fits a line
/// on one. Text that is not JSON comes back as it is. When there are bytes that are not UTF-8, all
/// are taken for GB2312; what is neither is shown as "?".
std::string pretty_json(const std::string& text);

}  // namespace qsvmon::sim
