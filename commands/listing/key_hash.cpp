#include "commands/listing/key_hash.h"

#include "platform/system.h"

namespace qsvmon {

KeySecret new_key_secret() {
  KeySecret secret;
  random_seed(&secret, sizeof secret);
  for (std::uint64_t& word : secret.word) word |= 1;  // an even factor would discard a bit
  return secret;
}

}  // namespace qsvmon
