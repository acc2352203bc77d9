#include "platform/random_seed.h"

#include <stdlib.h>

namespace qsvmon {

void random_seed(void* seed, std::size_t bytes) {
  ::arc4random_buf(seed, bytes);
}

}  // namespace qsvmon
