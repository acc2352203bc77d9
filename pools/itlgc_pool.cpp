#include "pools/itlgc_pool.h"

#include "format/number.h"
#include "pools/config_file.h"
#include "pools/pool_holder.h"
#include "pools/text_field.h"

namespace qsvmon {
namespace {

struct ItlgcPool {
  ItlgcEntry entries[kItlgcCategories];
};

constinit PoolHolder<ItlgcPool> holder;

}  // namespace

ItlgcEntry* itlgc_pool() {
  return holder.get() == nullptr ? nullptr : holder.get()->entries;
}

int itlgc_pool_init() {
  return holder.renew() == nullptr ? -1 : 0;
}

void itlgc_pool_line(RpcRequest& line) {
  int id = -1;  // a line that names no category describes none
  std::uint8_t vendor = 0;
  const char* name = nullptr;
  const char* cname = nullptr;
  for (LineWords words(line); words.next();) {
    if (words.is("id")) {
      id = parse_atoi(words.value());
    } else if (words.is("name")) {
      name = words.value();
    } else if (words.is("cname")) {
      cname = words.value();
    } else if (words.is("vendor")) {
      vendor = static_cast<std::uint8_t>(parse_atoi(words.value()));
    }
  }
  ItlgcEntry* const entries = itlgc_pool();
  if (entries == nullptr || id < 0 || id >= kItlgcCategories) return;
  if (name == nullptr || cname == nullptr) return;
  entries[id].vendor = vendor;
  set_field(entries[id].name, name);
  set_field(entries[id].cname, cname);
}

void itlgc_pool_release() {
  holder.release();
}

}  // namespace qsvmon
