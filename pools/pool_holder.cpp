#include "pools/pool_holder.h"

namespace qsvmon {

void* (*pool_allocate)(std::size_t bytes, Pages pages) = large_memory_allocate;

}  // namespace qsvmon
