#include "sim/area.h"

#include <sys/ipc.h>
#include <sys/shm.h>

namespace qsvmon::sim {
namespace {

bool stat_segment(int shmid, shmid_ds& info) {
  return ::shmctl(shmid, IPC_STAT, &info) == 0;
}

ClientKey key_of(int shmid, const shmid_ds& info) {
  return {shmid, static_cast<int>(info.shm_cpid), info.shm_ctime};
}

}  // namespace

ClientArea::ClientArea(int shmid) {
  shmid_ds info{};
  if (!stat_segment(shmid, info)) return;
  void* at = ::shmat(shmid, nullptr, 0);
  if (at == reinterpret_cast<void*>(-1)) return;
  data_ = static_cast<char*>(at);
  size_ = info.shm_segsz;
  client_ = key_of(shmid, info);
}

ClientArea::~ClientArea() {
  if (data_ != nullptr) ::shmdt(data_);
}

bool segment_exists(const ClientKey& client) {
  shmid_ds info{};
  if (!stat_segment(client.shmid, info)) return false;
  const ClientKey now = key_of(client.shmid, info);
  return !(now < client) && !(client < now);
}

}  // namespace qsvmon::sim
