// Loading full configuration files beside merely reading them and finding their line ends, and
// look-ups in full pools.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "format/byte_order.h"
#include "format/printer.h"
#include "platform/appliance_paths.h"
#include "pools/assetsdesc.h"
#include "pools/cusiprng.h"
#include "pools/desc_pools.h"
#include "pools/ipmacdesc.h"

namespace {

using namespace qsvmon;

enum Order { kAscending, kDescending, kRandom };

/// How the keys of descriptions and assets are chosen.
enum Keys {
  kSpread,        ///< addresses all over
  kSharedOctets,  ///< all with the same last two octets, or the same sum of halves
  kSharedPrefix,  ///< assets are texts with the same first 16 bytes
};

constexpr std::uint32_t kEntries = 4096;
constexpr std::uint32_t kRanges = 8192;

std::string dotted(std::uint32_t ip) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    text += std::to_string(ip >> shift & 0xff) + (shift > 0 ? "." : "");
  }
  return text;
}

std::uint32_t described_ip(std::uint32_t i, Keys keys) {
  return keys == kSpread ? 0x0a000000 + i * 77 : 0x20000000 + (i << 16) + 0x0707;
}
std::uint32_t range_lo(std::uint32_t i) {
  return 0x40000000 + i * 0x10000;
}
std::uint32_t asset_ip(std::uint32_t i, Keys keys) {
  return keys == kSpread ? 0xc0a80000 + i * 53 : 0xd0000000 + (i << 16 | (kEntries - 1 - i));
}
std::string asset_text(std::uint32_t i) {
  return "building-a-floor-" + std::to_string(10000 + i) + ".example.org";
}

std::vector<std::uint32_t> numbers(std::uint32_t count, Order order) {
  std::vector<std::uint32_t> n(count);
  for (std::uint32_t i = 0; i < count; ++i) n[i] = i;
  if (order == kDescending) std::reverse(n.begin(), n.end());
  if (order == kRandom) std::shuffle(n.begin(), n.end(), std::mt19937(1));
  return n;
}

/// Works in a scratch folder, where it writes both files with every pool full.
void write_files(Order order, Keys keys) {
  static const std::filesystem::path folder = [] {
    char name[] = "/tmp/qsvmon-bench-XXXXXX";
    std::filesystem::path made = ::mkdtemp(name);
    std::atexit([] { std::filesystem::remove_all(std::filesystem::current_path()); });
    std::filesystem::current_path(made);
    std::filesystem::create_directory("conf");
    return made;
  }();
  std::ofstream main_file(kMainConfigPath);
  for (const std::uint32_t i : numbers(kEntries, order)) {
    main_file << "mac m=" << dotted(described_ip(i, keys)) << " d=host" << i << " pid=3\n";
  }
  for (std::uint32_t i = 0; i < 32; ++i) {
    main_file << "malcitlgc id=" << i << " name=category" << i << " cname=Category" << i << "\n";
  }
  for (const std::uint32_t i : numbers(kRanges, order)) {
    main_file << "cusiprng iprng=" << dotted(range_lo(i)) << "-" << dotted(range_lo(i) + 0xff)
              << " info=range" << i << "\n";
  }
  std::ofstream assets_file(kAssetsConfigPath);
  for (std::uint32_t i = 0; i < 1024; ++i) assets_file << "group pid=0 name=group" << i << "\n";
  for (const std::uint32_t i : numbers(kEntries, order)) {
    const std::string value = keys == kSharedPrefix ? asset_text(i) : dotted(asset_ip(i, keys));
    assets_file << "assets pid=" << i % 1024 + 1 << " name=asset" << i << " value=" << value
                << "\n";
  }
}

/// The least that any reader of the files must do.
std::size_t count_lines(const char* path) {
  static char buffer[32 * 1024];
  const int fd = ::open(path, O_RDONLY);
  std::size_t lines = 0;
  for (ssize_t got; (got = ::read(fd, buffer, sizeof buffer)) > 0;) {
    const char* at = buffer;
    const char* const end = buffer + got;
    while ((at = static_cast<const char*>(
                std::memchr(at, '\n', static_cast<std::size_t>(end - at)))) != nullptr) {
      ++lines;
      ++at;
    }
  }
  ::close(fd);
  return lines;
}

void read_lines_only(benchmark::State& state) {
  write_files(kAscending, kSpread);
  std::size_t lines = 0;
  for (auto _ : state) lines = count_lines(kMainConfigPath) + count_lines(kAssetsConfigPath);
  state.counters["lines"] = static_cast<double>(lines);
}
BENCHMARK(read_lines_only)->Unit(benchmark::kMicrosecond);

/// The same with fgets and the loader's line buffer.
void read_lines_fgets(benchmark::State& state) {
  write_files(kAscending, kSpread);
  std::size_t lines = 0;
  for (auto _ : state) {
    lines = 0;
    for (const char* path : {kMainConfigPath, kAssetsConfigPath}) {
      std::FILE* const file = std::fopen(path, "r");
      char line[1023];
      while (std::fgets(line, sizeof line, file) != nullptr) ++lines;
      std::fclose(file);
    }
  }
  state.counters["lines"] = static_cast<double>(lines);
}
BENCHMARK(read_lines_fgets)->Unit(benchmark::kMicrosecond);

void load(benchmark::State& state, Order order, Keys keys) {
  write_files(order, keys);
  for (auto _ : state) {
    if (desc_pools_init() != 0) state.SkipWithError("not loaded");
    state.PauseTiming();
    const bool full = ipmacdesc_count() == kEntries && cusiprng_count() == int{kRanges} &&
                      assetsobj_count() == kEntries && assetsgrp_count() == 1024;
    if (!full) state.SkipWithError("not full");
    desc_pools_release();
    state.ResumeTiming();
  }
}
BENCHMARK_CAPTURE(load, ascending, kAscending, kSpread)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(load, descending, kDescending, kSpread)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(load, random, kRandom, kSpread)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(load, random_shared_octets, kRandom, kSharedOctets)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(load, ascending_shared_prefix, kAscending, kSharedPrefix)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(load, random_shared_prefix, kRandom, kSharedPrefix)
    ->Unit(benchmark::kMicrosecond);

void load_empty(benchmark::State& state) {
  write_files(kAscending, kSpread);
  std::ofstream(kMainConfigPath).close();
  std::ofstream(kAssetsConfigPath).close();
  for (auto _ : state) {
    if (desc_pools_init() != 0) state.SkipWithError("not loaded");
    desc_pools_release();
  }
}
BENCHMARK(load_empty)->Unit(benchmark::kMicrosecond);

/// Runs `look_up(i)` for the numbers of all entries in random order; each must find or miss.
template <class LookUp>
void run(benchmark::State& state, Keys keys, std::uint32_t count, bool hit, const LookUp& look_up) {
  write_files(kRandom, keys);
  if (desc_pools_init() != 0) state.SkipWithError("not loaded");
  const std::vector<std::uint32_t> order = numbers(count, kRandom);
  for (const std::uint32_t i : order) {
    if ((look_up(i) != nullptr) != hit) state.SkipWithError("unexpected result");
  }
  std::size_t at = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(look_up(order[at]));
    if (++at == order.size()) at = 0;
  }
  desc_pools_release();
}

const void* find_described(std::uint32_t ip) {
  const std::uint32_t net = from_net32(ip);
  return ipmacdesc_find(&net, 4);
}

void ipmacdesc(benchmark::State& state, Keys keys, bool hit) {
  const std::uint32_t off = hit ? 0 : keys == kSpread ? 1 : 0x50000000;
  run(state, keys, kEntries, hit,
      [&](std::uint32_t i) { return find_described(described_ip(i, keys) + off); });
}
BENCHMARK_CAPTURE(ipmacdesc, hit, kSpread, true);
BENCHMARK_CAPTURE(ipmacdesc, miss, kSpread, false);
BENCHMARK_CAPTURE(ipmacdesc, hit_shared_octets, kSharedOctets, true);
BENCHMARK_CAPTURE(ipmacdesc, miss_shared_octets, kSharedOctets, false);

void cusiprng(benchmark::State& state, bool hit) {
  const std::uint32_t off = hit ? 9 : 0x100;
  run(state, kSpread, kRanges, hit,
      [&](std::uint32_t i) { return cusiprng_find(range_lo(i) + off); });
}
BENCHMARK_CAPTURE(cusiprng, hit, true);
BENCHMARK_CAPTURE(cusiprng, miss, false);

void assets_ip(benchmark::State& state, Keys keys, bool hit) {
  const std::uint32_t off = hit ? 0 : keys == kSpread ? 1 : 0xf000;
  run(state, keys, kEntries, hit,
      [&](std::uint32_t i) { return assetsobj_find_ip(asset_ip(i, keys) + off); });
}
BENCHMARK_CAPTURE(assets_ip, hit, kSpread, true);
BENCHMARK_CAPTURE(assets_ip, miss, kSpread, false);
BENCHMARK_CAPTURE(assets_ip, hit_shared_bucket, kSharedOctets, true);
BENCHMARK_CAPTURE(assets_ip, miss_shared_bucket, kSharedOctets, false);

void assets_value_shared_bucket(benchmark::State& state, bool hit) {
  std::vector<std::string> texts;
  for (std::uint32_t i = 0; i < kEntries; ++i) texts.push_back(asset_text(i) + (hit ? "" : ".x"));
  run(state, kSharedPrefix, kEntries, hit,
      [&](std::uint32_t i) { return assetsobj_find_value(texts[i].c_str(), texts[i].size()); });
}
BENCHMARK_CAPTURE(assets_value_shared_bucket, hit, true);
BENCHMARK_CAPTURE(assets_value_shared_bucket, miss, false);

void group(benchmark::State& state) {
  run(state, kSpread, 1024, true, [](std::uint32_t i) { return assetsgrp_find(i + 1); });
}
BENCHMARK(group);

/// A whole label: every source is asked in turn, the last one has it or none.
void label(benchmark::State& state, bool hit) {
  char dest[64];
  run(state, kSpread, kEntries, hit, [&](std::uint32_t i) {
    const std::uint32_t net = from_net32(asset_ip(i, kSpread) + (hit ? 0 : 1));
    return desc_lookup(&net, 4, dest, sizeof dest);
  });
}
BENCHMARK_CAPTURE(label, asset, true);
BENCHMARK_CAPTURE(label, none, false);

/// The same as a value to print, with nobody to read it.
class NoReader : public Printer {
  void drain(std::string_view) override {}
};

void printed_label(benchmark::State& state, bool hit) {
  NoReader out;
  run(state, kSpread, kEntries, true, [&](std::uint32_t i) {
    out.put(AddressLabel{from_net32(asset_ip(i, kSpread) + (hit ? 0 : 1))});
    return &out;
  });
}
BENCHMARK_CAPTURE(printed_label, asset, true);
BENCHMARK_CAPTURE(printed_label, none, false);

}  // namespace
