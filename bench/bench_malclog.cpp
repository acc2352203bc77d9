#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "commands/malclog/malclog.h"

/// The malicious-event listings from events in memory to printed bytes. Every listing is set beside
/// a floor: one field of every event read, one cache line touched for every key that there is, and
/// the finished output copied. Events come in batches as large as the shared area has room for.
namespace qsvmon {
namespace {

constexpr std::size_t kBatchEvents = (std::size_t{2} << 20) / sizeof(MalcEvent);

enum Keys : int {
  kFew,       ///< 64 keys in turn
  kDistinct,  ///< every event another key
  kPrefix,    ///< hosts: every event another, the first 16 bytes the same
  kOneLong,   ///< hosts: one of 60 bytes
  kWide,      ///< every event another key, hit by 20 signatures
};

/// A permutation of the 32-bit numbers that scatters neighbours.
std::uint32_t scattered(std::uint32_t i) {
  return i * 2654435761U;
}

std::string host_of(std::uint32_t key, Keys keys) {
  char text[64];
  if (keys == kPrefix) {
    std::snprintf(text, sizeof text, "cdn.static.nodes%08x.example.net", key);
  } else {
    std::snprintf(text, sizeof text, "%08x.example.net", key);
  }
  return text;
}

void set_host(MalcEvent& event, std::uint32_t key, Keys keys) {
  if (keys == kOneLong) {
    event.host_len = 60;
    std::memset(event.host, 'h', sizeof event.host);
    return;
  }
  const std::string host = host_of(key, keys);
  event.host_len = static_cast<std::uint8_t>(host.size());
  std::memcpy(event.host, host.data(), host.size());
}

std::vector<MalcEvent> make_events(std::size_t count, Keys keys) {
  std::vector<MalcEvent> events(count);
  std::mt19937_64 random(1);
  for (std::size_t i = 0; i < count; ++i) {
    MalcEvent& event = events[i];
    const std::uint32_t key =
        scattered(static_cast<std::uint32_t>(keys == kFew ? random() % 64 : i));
    event.time_secs = 1700000000 + static_cast<std::uint32_t>(i / 16);
    event.src_net = event.dst_net = key;
    event.sport_net = static_cast<std::uint16_t>(i);
    event.bitmap = std::uint64_t{1} << (random() % 64) | std::uint64_t{1} << (random() % 64);
    if (keys == kWide) event.bitmap = 0x0000ff00fff00000ULL | random() % 16;
    event.apid = static_cast<std::uint16_t>(random() % 1000);
    event.sign = static_cast<std::uint8_t>(i % 16);
    set_host(event, key, keys);
  }
  return events;
}

/// Made once for each pair of arguments and kept until another pair comes.
const std::vector<MalcEvent>& events_for(std::size_t count, Keys keys) {
  static std::vector<MalcEvent> events;
  static std::size_t made_count = 0;
  static Keys made_keys = kFew;
  if (made_count != count || made_keys != keys) {
    events = {};
    events = make_events(count, keys);
    made_count = count;
    made_keys = keys;
  }
  return events;
}

std::string table_bytes() {
  auto table = std::make_unique<SignatureTable>();
  for (unsigned n = 0; n < kSlots; ++n) {
    MalcTid& signature = (*table)[n];
    signature.tid = static_cast<std::uint16_t>(n + 1);
    signature.mkmode = n % 3 == 0 ? kModeCategory : kModeOwnName;
    signature.itlgc = static_cast<std::uint8_t>(n % 32);
    std::snprintf(signature.name, sizeof signature.name, "family_%u", n);
  }
  return {reinterpret_cast<const char*>(table->data()), sizeof(SignatureTable)};
}

/// Batches of events in memory, behind a first one that holds the signature table alone.
class EventBatches final : public BatchSource {
 public:
  explicit EventBatches(std::span<const MalcEvent> events) : left_(events), table_(table_bytes()) {}
  bool done() const override { return next_ != 0 && left_.empty(); }
  Status fetch() override {
    if (next_++ == 0) return Status::good();
    batch_ = left_.first(std::min(left_.size(), kBatchEvents));
    left_ = left_.subspan(batch_.size());
    return Status::good();
  }
  std::span<const char> bytes() const override {
    if (next_ == 1) return table_;
    return {reinterpret_cast<const char*>(batch_.data()), batch_.size_bytes()};
  }
  std::uint32_t claimed() const override {
    return next_ == 1 ? 1 : static_cast<std::uint32_t>(batch_.size());
  }

 private:
  std::span<const MalcEvent> left_;
  std::span<const MalcEvent> batch_;
  std::string table_;
  std::size_t next_ = 0;
};

/// Counts what is printed and keeps nothing but the buffer, as a pipe's reader would.
class CountingPrinter : public Printer {
 public:
  std::size_t bytes() {
    flush();
    return bytes_;
  }

 protected:
  void drain(std::string_view bytes) override { bytes_ += bytes.size(); }

 private:
  std::size_t bytes_ = 0;
};

std::size_t run_listing(const MalcQuery& query, std::span<const MalcEvent> events) {
  std::array<ItlgcEntry, kItlgcCategories> categories{};
  EventBatches batches(events);
  TidPool tids(query);
  CountingPrinter out;
  (void)list_events(out, query, batches, tids, categories);
  return out.bytes();
}

void report(benchmark::State& state, std::size_t events, std::size_t printed) {
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(events));
  state.counters["ns_per_event"] = benchmark::Counter(
      static_cast<double>(events) * 1e-9,
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["printed"] = static_cast<double>(printed);
}

/// Arguments: events, keys, rows of the page (0: every row).
void list(benchmark::State& state, MalcListType listtype) {
  const std::size_t count = static_cast<std::size_t>(state.range(0));
  const std::vector<MalcEvent>& events = events_for(count, static_cast<Keys>(state.range(1)));
  MalcQuery query;
  query.listtype = listtype;
  query.limit = state.range(2) == 0 ? 2147483647 : static_cast<int>(state.range(2));
  // Once unmeasured: in a virtual machine memory that no run has touched comes from its host first.
  std::size_t printed = run_listing(query, events);
  for (auto _ : state) printed = run_listing(query, events);
  report(state, count, printed);
}

void list_dst(benchmark::State& state) {
  list(state, MalcListType::kDst);
}
void list_src(benchmark::State& state) {
  list(state, MalcListType::kSrc);
}
void list_app(benchmark::State& state) {
  list(state, MalcListType::kApp);
}
void list_table(benchmark::State& state) {
  list(state, MalcListType::kTable);
}
void list_host(benchmark::State& state) {
  list(state, MalcListType::kHost);
}
void list_detail(benchmark::State& state) {
  list(state, MalcListType::kDetail);
}

/// Arguments: events, keys, bytes of output.
void floor_of(benchmark::State& state) {
  struct alignas(64) Line {
    std::uint64_t words[8];
  };
  const std::size_t count = static_cast<std::size_t>(state.range(0));
  const Keys keys = static_cast<Keys>(state.range(1));
  const std::vector<MalcEvent>& events = events_for(count, keys);
  const std::size_t lines = keys == kFew ? 64 : count;
  const std::string output(static_cast<std::size_t>(state.range(2)), 'x');
  for (auto _ : state) {
    std::vector<Line> table(lines);
    for (const MalcEvent& event : events) ++table[event.dst_net % lines].words[0];
    std::string copy(output);
    benchmark::DoNotOptimize(copy.data());
    benchmark::DoNotOptimize(table.data());
    benchmark::ClobberMemory();
  }
  report(state, count, output.size());
}

constexpr std::int64_t kPage = 100;
constexpr std::int64_t kSizes[] = {10'000, 100'000, 1'000'000, 4'000'000};

void page_sizes(benchmark::internal::Benchmark* bench, std::initializer_list<Keys> key_sets) {
  for (const Keys keys : key_sets) {
    for (const std::int64_t size : kSizes) bench->Args({size, keys, kPage});
  }
  bench->Unit(benchmark::kMillisecond);
}

void address_sizes(benchmark::internal::Benchmark* bench) {
  page_sizes(bench, {kFew, kDistinct, kWide});
  bench->Args({1'000'000, kDistinct, 0});
}
void host_sizes(benchmark::internal::Benchmark* bench) {
  page_sizes(bench, {kFew, kDistinct, kPrefix, kOneLong});
  bench->Args({1'000'000, kDistinct, 0});
}
void few_sizes(benchmark::internal::Benchmark* bench) {
  page_sizes(bench, {kFew});
}
void detail_sizes(benchmark::internal::Benchmark* bench) {
  page_sizes(bench, {kFew});
  for (const std::int64_t size : kSizes) bench->Args({size, kFew, 0});
}
void floor_sizes(benchmark::internal::Benchmark* bench) {
  for (const std::int64_t size : kSizes) {
    for (const Keys keys : {kFew, kDistinct}) bench->Args({size, keys, 20'000});
  }
  bench->Args({1'000'000, kDistinct, 150'000'000});
  bench->Unit(benchmark::kMillisecond);
}

BENCHMARK(list_dst)->Apply(address_sizes);
BENCHMARK(list_src)->Args({1'000'000, kDistinct, kPage})->Unit(benchmark::kMillisecond);
BENCHMARK(list_host)->Apply(host_sizes);
BENCHMARK(list_app)->Apply(few_sizes);
BENCHMARK(list_table)->Apply(few_sizes);
BENCHMARK(list_detail)->Apply(detail_sizes);
BENCHMARK(floor_of)->Apply(floor_sizes);

}  // namespace
}  // namespace qsvmon
