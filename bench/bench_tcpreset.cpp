// The folds, the sort and the printing of the reset-session listings, from ten thousand to four
// million records, beside a floor: what any program must do for the same listing (read one field of
// every record, touch one cache line for every key, copy the finished output).
//
// Key sets: "few" 1000 keys; "distinct" every record its own key, scattered; "one_bucket" addresses
// whose halves agree in their lower bits, as one would choose them against a plain hash, of which
// there are 2^20, and "distinct_20" as many scattered ones to hold against them; "shared_16" names
// that differ behind their 16th byte only.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/tcpreset/reset_fold.h"
#include "commands/tcpreset/reset_print.h"
#include "commands/tcpreset/reset_query.h"

namespace qsvmon {
namespace {

enum Keys { kFew, kDistinct, kDistinct20, kOneBucket, kShared16 };
constexpr const char* kKeyNames[] = {"few", "distinct", "distinct_20", "one_bucket", "shared_16"};

/// A bijection of 32-bit numbers that scatters counts.
std::uint32_t scattered(std::uint32_t i) {
  i = (i ^ i >> 16) * 0x7feb352du;
  i = (i ^ i >> 15) * 0x846ca68bu;
  return i ^ i >> 16;
}

/// The number of the key of record `i`.
std::uint32_t key_number(Keys keys, std::uint32_t i) {
  switch (keys) {
    case kFew:
      return scattered(i) % 1000;
    case kDistinct20:
    case kOneBucket:
      return i % (1u << 20);
    default:
      return i;
  }
}

/// The n-th address, host order.
std::uint32_t address(Keys keys, std::uint32_t n) {
  if (keys != kOneBucket) return scattered(n + 1);
  // Both halves agree in their lower 12 bits; the other 8 bits are free. Scattered by an odd
  // factor.
  const std::uint32_t free = n * 0x9e3b1u & 0xfffffu;
  return (free >> 16 & 15) << 28 | (free & 0xfff) << 16 | (free >> 12 & 15) << 12 | (free & 0xfff);
}

ResetRecord make_record(Keys keys, std::uint32_t i) {
  const std::uint32_t number = key_number(keys, i);
  const std::uint32_t noise = scattered(i ^ 0x5a5a5a5a);
  ResetRecord record{};
  record.time_secs = 1700000000 + noise % 86400;
  record.src_net = noise;
  record.dst_net = from_net32(address(keys, number));
  record.sport_net = static_cast<std::uint16_t>(noise >> 7);
  record.dport_net = from_net16(static_cast<std::uint16_t>(noise % 3 == 0 ? 443 : noise >> 16));
  record.appword = (noise % 2 + 5) << 26 | (200 + noise % 400) << 14 | noise % 900;
  const char* format = keys == kShared16 ? "a-long-subdomain-%08x.org" : "%08x.example.com";
  std::snprintf(record.name, sizeof record.name, format, scattered(number));
  return record;
}

/// The records of one set; the last set is kept.
const std::vector<ResetRecord>& records_of(Keys keys, std::int64_t count) {
  static std::vector<ResetRecord> records;
  static Keys made_keys;
  if (records.size() != static_cast<std::size_t>(count) || made_keys != keys) {
    records.clear();
    records.reserve(static_cast<std::size_t>(count));
    for (std::uint32_t i = 0; i < count; ++i) records.push_back(make_record(keys, i));
    made_keys = keys;
  }
  return records;
}

/// Copies what is printed into a buffer used again and again, as the kernel would.
class CopyPrinter : public Printer {
 public:
  std::size_t bytes() {
    flush();
    return bytes_;
  }

 protected:
  void drain(std::string_view bytes) override {
    std::memcpy(copy_, bytes.data(), bytes.size());
    benchmark::DoNotOptimize(copy_);
    bytes_ += bytes.size();
  }

 private:
  char copy_[kBufferBytes];
  std::size_t bytes_ = 0;
};

void report(benchmark::State& state, std::int64_t records) {
  state.SetItemsProcessed(state.iterations() * records);
  state.SetLabel(kKeyNames[state.range(1)]);
}

template <class Fold>
std::unique_ptr<Fold> new_fold() {
  if constexpr (std::is_same_v<Fold, IpFold>) {
    return std::make_unique<IpFold>(IpSide::kDst);
  } else {
    return std::make_unique<Fold>();
  }
}

void print_all(Printer& out, const IpFold& fold) {
  IpQuery query;
  query.counter = &IpStat::maxtime;
  query.direction = Direction::kLargestFirst;
  print_ip_page(out, fold, sorted_rows(fold, query), query);
}

void print_all(Printer& out, const DnsFold& fold) {
  DnsQuery query;
  query.counter = &DnsStat::maxtime;
  query.direction = Direction::kLargestFirst;
  print_dns_page(out, fold, sorted_rows(fold, query), query);
}

template <class Fold>
void fold_records(benchmark::State& state) {
  const std::vector<ResetRecord>& records =
      records_of(static_cast<Keys>(state.range(1)), state.range(0));
  for (auto _ : state) {
    std::unique_ptr<Fold> fold = new_fold<Fold>();
    fold->add(records);
    benchmark::DoNotOptimize(fold->size());
    state.PauseTiming();  // the program never frees its tables
    fold.reset();
    state.ResumeTiming();
  }
  report(state, state.range(0));
}

template <class Fold>
void sort_rows(benchmark::State& state) {
  const std::unique_ptr<Fold> fold = new_fold<Fold>();
  fold->add(records_of(static_cast<Keys>(state.range(1)), state.range(0)));
  for (auto _ : state) {
    const RowOrder order(*fold, &FlowStat::maxtime, Direction::kLargestFirst);
    benchmark::DoNotOptimize(order[0]);
  }
  report(state, state.range(0));
}

template <class Fold>
void print_rows(benchmark::State& state) {
  const std::unique_ptr<Fold> fold = new_fold<Fold>();
  fold->add(records_of(static_cast<Keys>(state.range(1)), state.range(0)));
  const auto out = std::make_unique<CopyPrinter>();
  for (auto _ : state) {
    if constexpr (std::is_same_v<Fold, IpFold>) {
      print_ip_page(*out, *fold, sorted_rows(*fold, IpQuery()), IpQuery());
    } else {
      print_dns_page(*out, *fold, sorted_rows(*fold, DnsQuery()), DnsQuery());
    }
  }
  benchmark::DoNotOptimize(out->bytes());
  report(state, state.range(0));
}

template <class Fold>
void whole_listing(benchmark::State& state) {
  const std::vector<ResetRecord>& records =
      records_of(static_cast<Keys>(state.range(1)), state.range(0));
  const auto out = std::make_unique<CopyPrinter>();
  for (auto _ : state) {
    std::unique_ptr<Fold> fold = new_fold<Fold>();
    fold->add(records);
    print_all(*out, *fold);
    state.PauseTiming();
    fold.reset();
    state.ResumeTiming();
  }
  benchmark::DoNotOptimize(out->bytes());
  report(state, state.range(0));
}

struct alignas(64) Line {
  std::uint32_t touched;
};

template <class Fold>
void floor_of(benchmark::State& state) {
  const std::vector<ResetRecord>& records =
      records_of(static_cast<Keys>(state.range(1)), state.range(0));
  const std::unique_ptr<Fold> fold = new_fold<Fold>();
  fold->add(records);
  MemoryPrinter printed;
  print_all(printed, *fold);
  const std::string& output = printed.str();
  const std::size_t bytes = std::max<std::size_t>(fold->size() * sizeof(Line), 1);
  Line* lines = static_cast<Line*>(large_memory_allocate(bytes, Pages::kWhole));
  if (lines == nullptr) return state.SkipWithError("no memory");
  std::memset(static_cast<void*>(lines), 0, bytes);
  const auto copy = std::make_unique<char[]>(output.size());
  std::memset(copy.get(), 1, output.size());
  for (auto _ : state) {
    std::uint32_t sum = 0;
    for (const ResetRecord& record : records) sum += record.dst_net;
    benchmark::DoNotOptimize(sum);
    const std::uint64_t keys = fold->size();
    for (std::uint32_t i = 0; i < keys; ++i) {
      lines[scattered(i) * keys >> 32].touched += 1;
    }
    std::memcpy(copy.get(), output.data(), output.size());
    benchmark::DoNotOptimize(copy.get());
    benchmark::ClobberMemory();
  }
  large_memory_free(lines, bytes);
  report(state, state.range(0));
}

void sizes(benchmark::internal::Benchmark* bench, std::initializer_list<Keys> sets) {
  for (const Keys keys : sets) {
    for (const std::int64_t count : {10000, 100000, 1000000, 4000000}) bench->Args({count, keys});
  }
  // A run before the measured ones, and several of those: memory that a virtual machine has not
  // used of late costs its first user more than the whole listing.
  bench->Unit(benchmark::kMillisecond)->MinTime(1)->MinWarmUpTime(0.1);
}
void address_sets(benchmark::internal::Benchmark* bench) {
  sizes(bench, {kFew, kDistinct, kDistinct20, kOneBucket});
}
void name_sets(benchmark::internal::Benchmark* bench) {
  sizes(bench, {kFew, kDistinct, kShared16});
}
void few_and_distinct(benchmark::internal::Benchmark* bench) {
  sizes(bench, {kFew, kDistinct});
}

BENCHMARK_TEMPLATE(fold_records, IpFold)->Apply(address_sets);
BENCHMARK_TEMPLATE(fold_records, DnsFold)->Apply(name_sets);
BENCHMARK_TEMPLATE(sort_rows, IpFold)->Apply(few_and_distinct);
BENCHMARK_TEMPLATE(print_rows, IpFold)->Apply(few_and_distinct);
BENCHMARK_TEMPLATE(print_rows, DnsFold)->Apply(few_and_distinct);
BENCHMARK_TEMPLATE(whole_listing, IpFold)->Apply(few_and_distinct);
BENCHMARK_TEMPLATE(floor_of, IpFold)->Apply(few_and_distinct);
BENCHMARK_TEMPLATE(whole_listing, DnsFold)->Apply(few_and_distinct);
BENCHMARK_TEMPLATE(floor_of, DnsFold)->Apply(few_and_distinct);

}  // namespace
}  // namespace qsvmon
