// Value parsers and formatters beside the C library's way to the same result.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "format/address.h"
#include "format/time.h"

namespace {

using namespace qsvmon;

constexpr std::size_t kValues = 4096;
constexpr std::uint32_t kStart = 1711800000;  // a day on which Berlin's clock changes

/// Times spread at random over `span_secs`, in Berlin's zone.
std::vector<std::uint32_t> random_times(std::uint32_t span_secs) {
  ::setenv("TZ", "Europe/Berlin", 1);
  reset_local_time();
  std::mt19937 random(1);
  std::vector<std::uint32_t> times(kValues);
  for (std::uint32_t& t : times) {
    t = kStart + static_cast<std::uint32_t>(random() % span_secs);
  }
  return times;
}

std::vector<std::string> random_addresses() {
  std::mt19937 random(2);
  std::vector<std::string> texts(kValues);
  for (std::string& text : texts) {
    char dst[kIpv4TextBytes];
    text.assign(dst, format_ipv4(dst, static_cast<std::uint32_t>(random())));
  }
  return texts;
}

std::vector<std::string> random_macs() {
  std::mt19937 random(3);
  std::vector<std::string> texts(kValues);
  for (std::string& text : texts) {
    std::uint8_t mac[6];
    for (std::uint8_t& byte : mac) byte = static_cast<std::uint8_t>(random());
    char dst[kMacTextBytes];
    text.assign(dst, format_mac(dst, mac));
  }
  return texts;
}

/// Runs `convert` over all values, one an iteration.
template <class Values, class Convert>
void run(benchmark::State& state, const Values& values, const Convert& convert) {
  std::size_t i = 0;
  for (auto _ : state) {
    convert(values[i]);
    i = (i + 1) % kValues;
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void format_time_ours(benchmark::State& state) {
  char dst[32];
  run(state, random_times(static_cast<std::uint32_t>(state.range(0))), [&dst](std::uint32_t t) {
    format_time(dst, t);
    benchmark::DoNotOptimize(dst);
  });
}

void format_time_libc(benchmark::State& state) {
  char dst[80];
  run(state, random_times(static_cast<std::uint32_t>(state.range(0))), [&dst](std::uint32_t t) {
    const auto when = static_cast<std::time_t>(t);
    std::tm tm;
    ::localtime_r(&when, &tm);
    std::snprintf(dst, sizeof dst, "%2d-%02d-%02d/%02d:%02d:%02d", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    benchmark::DoNotOptimize(dst);
  });
}

void parse_ipv4_ours(benchmark::State& state) {
  run(state, random_addresses(), [](const std::string& text) {
    std::uint32_t addr = 0;
    benchmark::DoNotOptimize(parse_ipv4(text.c_str(), &addr));
    benchmark::DoNotOptimize(addr);
  });
}

void parse_ipv4_libc(benchmark::State& state) {
  run(state, random_addresses(), [](const std::string& text) {
    in_addr addr;
    benchmark::DoNotOptimize(::inet_pton(AF_INET, text.c_str(), &addr));
    benchmark::DoNotOptimize(addr);
  });
}

void parse_mac_ours(benchmark::State& state) {
  run(state, random_macs(), [](const std::string& text) {
    std::uint8_t mac[6];
    benchmark::DoNotOptimize(parse_mac(text.c_str(), mac));
    benchmark::DoNotOptimize(mac);
  });
}

void parse_mac_libc(benchmark::State& state) {
  run(state, random_macs(), [](const std::string& text) {
    unsigned f[6];
    benchmark::DoNotOptimize(
        std::sscanf(text.c_str(), "%x-%x-%x-%x-%x-%x", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]));
    benchmark::DoNotOptimize(f);
  });
}

void format_ipv4_ours(benchmark::State& state) {
  char dst[16];
  run(state, random_times(0xffffffff), [&dst](std::uint32_t addr) {
    benchmark::DoNotOptimize(format_ipv4(dst, addr));
    benchmark::DoNotOptimize(dst);
  });
}

void format_ipv4_libc(benchmark::State& state) {
  char dst[16];
  run(state, random_times(0xffffffff), [&dst](std::uint32_t addr) {
    std::snprintf(dst, sizeof dst, "%d.%d.%d.%d", static_cast<int>(addr >> 24),
                  static_cast<int>(addr >> 16 & 255), static_cast<int>(addr >> 8 & 255),
                  static_cast<int>(addr & 255));
    benchmark::DoNotOptimize(dst);
  });
}

constexpr std::int64_t kDay = 86400;
BENCHMARK(format_time_ours)->Arg(kDay)->Arg(30 * kDay)->Arg(3650 * kDay);
BENCHMARK(format_time_libc)->Arg(kDay)->Arg(30 * kDay)->Arg(3650 * kDay);
BENCHMARK(parse_ipv4_ours);
BENCHMARK(parse_ipv4_libc);
BENCHMARK(parse_mac_ours);
BENCHMARK(parse_mac_libc);
BENCHMARK(format_ipv4_ours);
BENCHMARK(format_ipv4_libc);

}  // namespace
