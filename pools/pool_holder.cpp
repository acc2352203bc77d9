#include "pools/pool_holder.h"

namespace qsvmon {

void* (*pool_calloc)(std::size_t count, std::size_t bytes) = std::calloc;

}  // namespace qsvmon
