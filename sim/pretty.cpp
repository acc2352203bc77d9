#include "sim/pretty.h"

#include <nlohmann/json.hpp>

namespace qsvmon::sim {

std::string pretty_json(const std::string& text) {
  const auto document = nlohmann::ordered_json::parse(text, nullptr, false);
  if (document.is_discarded()) return text;
  return document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace qsvmon::sim
