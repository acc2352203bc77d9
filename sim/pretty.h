#pragma once

#include <string>

namespace qsvmon::sim {

/// Writes the JSON document `text` to `indented`: members in their order, a value that fits a line
/// on one line. When some bytes are not UTF-8, the text is decoded as GB2312; a byte that is
/// neither becomes "?". False for text that is no JSON document: `indented` is then the text as it
/// is, and `error` says at which byte it is broken.
bool pretty_json(const std::string& text, std::string& indented, std::string& error);

}  // namespace qsvmon::sim
