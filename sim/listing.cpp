#include "sim/listing.h"

#include <algorithm>

namespace qsvmon::sim {
namespace {

constexpr std::size_t kManyClients = 1024;  // from this number on, ended ones are looked for

}  // namespace

void Batches::answer(Call& call, const std::string& listing, const RecordSource& source) {
  forget_ended_clients();
  const Key key{call.client, listing};
  advance(call, key, progress_[key], source);
}

void Batches::answer_snapshot(Call& call, const std::string& listing,
                              const std::function<RecordSource()>& make) {
  forget_ended_clients();
  const Key key{call.client, listing};
  const auto [it, first] = progress_.try_emplace(key);
  if (first) it->second.snapshot = make();
  advance(call, key, it->second, it->second.snapshot);
}

void Batches::advance(Call& call, const Key& key, Progress& progress, const RecordSource& source) {
  const std::size_t head = progress.next == 0 ? source.head.size() : 0;
  const std::size_t left = source.count - progress.next;
  if (head > call.body.size()) {
    progress_.erase(key);
    return call.fail("AREA_TOO_SMALL");
  }
  std::size_t n = std::min(left, (call.body.size() - head) / source.record_bytes);
  if (limit_ != 0) n = std::min(n, limit_);
  if (n == 0 && left > 0) {
    progress_.erase(key);
    return call.fail("AREA_TOO_SMALL");
  }
  std::copy_n(source.head.data(), head, call.body.data());
  source.fill(progress.next, n, call.body.data() + head);
  progress.next += n;
  call.request.result = static_cast<std::int32_t>(n);
  call.request.replylen = static_cast<std::uint32_t>(head + n * source.record_bytes);
  call.request.islast = progress.next == source.count ? 1 : 0;
  if (call.request.islast != 0) progress_.erase(key);
}

void Batches::forget_ended_clients() {
  if (progress_.size() < kManyClients) return;
  for (auto it = progress_.begin(); it != progress_.end();) {
    it = segment_exists(it->first.first) ? std::next(it) : progress_.erase(it);
  }
}

}  // namespace qsvmon::sim
