#pragma once

#include <cstddef>
#include <span>

#include "pools/itlgc_pool.h"

namespace qsvmon {

/// The names of `category`, both empty for one that the pool does not hold.
inline const ItlgcEntry& category_names(std::span<const ItlgcEntry> categories, int category) {
  static constexpr ItlgcEntry kNameless{};
  const auto at = static_cast<std::size_t>(category);  // a negative one lies beyond any pool
  return at < categories.size() ? categories[at] : kNameless;
}

}  // namespace qsvmon
