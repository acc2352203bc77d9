#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "commands/listing/batches.h"

namespace qsvmon {

/// The bytes of `records`, as a batch holds them.
template <class Record>
std::string batch_bytes(const std::vector<Record>& records) {
  return {reinterpret_cast<const char*>(records.data()), records.size() * sizeof(Record)};
}

/// Batches from memory. Like a shared area, a batch ends where its bytes do, whatever it claims to
/// hold.
class FakeBatches final : public BatchSource {
 public:
  FakeBatches& batch(std::string bytes, std::uint32_t claimed) {
    batches_.push_back({std::move(bytes), claimed});
    return *this;
  }
  template <class Record>
  FakeBatches& batch(const std::vector<Record>& records) {
    return batch(batch_bytes(records), static_cast<std::uint32_t>(records.size()));
  }
  /// The fetch behind the last batch fails with `line` instead of the last batch being the last.
  FakeBatches& then_fail(std::string line) {
    failure_ = std::move(line);
    return *this;
  }

  bool done() const override { return failure_.empty() && next_ == batches_.size(); }
  Status fetch() override {
    if (next_ == batches_.size()) return Status::error(failure_);
    current_ = &batches_[next_++];
    return Status::good();
  }
  std::span<const char> bytes() const override { return current_->bytes; }
  std::uint32_t claimed() const override { return current_->claimed; }
  std::size_t fetched() const { return next_; }

 private:
  struct Batch {
    std::string bytes;
    std::uint32_t claimed;
  };
  std::vector<Batch> batches_;
  std::size_t next_ = 0;
  const Batch* current_ = nullptr;
  std::string failure_;
};

}  // namespace qsvmon
