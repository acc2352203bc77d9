#pragma once

#include <cstddef>

namespace qsvmon {

/// Fills `bytes` (at most 256) at `seed` with bytes that nobody outside this process can guess.
void random_seed(void* seed, std::size_t bytes);

}  // namespace qsvmon
