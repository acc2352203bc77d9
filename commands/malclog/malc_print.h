#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "commands/listing/page.h"
#include "commands/malclog/malc_app_agg.h"
#include "commands/malclog/malc_host_agg.h"
#include "commands/malclog/malc_ip_agg.h"
#include "commands/malclog/malc_tid_agg.h"
#include "commands/malclog/tally.h"
#include "commands/malclog/tidpool.h"
#include "format/printer.h"
#include "pools/itlgc_pool.h"

namespace qsvmon {

/// What the aggregated listings print from besides their rows. Borrows all of it.
struct MalcNames {
  const TidPool& tids;
  std::span<const ItlgcEntry> categories;
};

/// Prints a listing of `count` rows, of which `range` chooses those that `print_row(i)` prints, i
/// being a row's position from 0.
/// KEEP: the row number is raised before it is compared with the range, so that the first page is
/// one row shorter than the others and each later one begins one row early; the web pages know.
template <class PrintRow>
void print_malc_page(Printer& out, std::uint32_t count, PageRange range, PrintRow&& print_row) {
  out.put("{\"data\":[");
  const std::uint64_t first = range.start == 0 ? 1 : range.start;
  const std::uint64_t end = range.end < std::uint64_t{count} + 1 ? range.end : count + 1ULL;
  for (std::uint64_t k = first; k < end; ++k) {
    if (k != first) out.put(",");
    print_row(static_cast<std::uint32_t>(k - 1));
  }
  out.put("],\"count\":", count, "}");
}

/// How an entry of a row's "list" is written.
enum class MalcEntryForm {
  kAddress,  ///< cnt, id, name, cname; "NULL" for a signature listed by itself
  kApp,      ///< the same with "(null)"
  kHost,     ///< cnt, name, mkmode, cname
};

/// The entries of a row's "list" without its brackets: one for each slot that was counted, a
/// category once with the count of its first slot.
void print_malc_entries(Printer& out, const MalcNames& names, const TallyBlocks& blocks,
                        const Tally& tally, MalcEntryForm form);

/// One row with its braces.
void print_malc_row(Printer& out, const MalcNames& names, const TallyBlocks& blocks,
                    const MalcIpRow& row);
void print_malc_row(Printer& out, const MalcNames& names, const TallyBlocks& blocks,
                    const MalcHostRow& row);
void print_malc_row(Printer& out, const MalcNames& names, const TallyBlocks& blocks,
                    const MalcAppRow& row);

/// The address and host listings.
void print_malc_ips(Printer& out, const MalcNames& names, const MalcIpAgg& ips, PageRange range);
void print_malc_hosts(Printer& out, const MalcNames& names, const MalcHostAgg& hosts,
                      PageRange range);

/// The application listing. Application 0 has no row.
void print_malc_apps(Printer& out, const MalcNames& names, const MalcAppAgg& apps, PageRange range);

/// The signature listing, which has no pages: every enabled signature of its own, then every
/// category that was hit. Adds the hits of the categories' signatures to `categories`; those of
/// categories beyond it are lost.
void print_malc_tids(Printer& out, const MalcTidAgg& tids, std::span<ItlgcEntry> categories);

}  // namespace qsvmon
