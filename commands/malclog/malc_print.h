#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "commands/listing/page.h"
#include "commands/malclog/malc_fold.h"
#include "format/printer.h"
#include "pools/itlgc_pool.h"

namespace qsvmon {

/// What the listings print from besides their rows. Borrows all of it.
struct MalcNames {
  const TidPool& tids;
  std::span<const ItlgcEntry> categories;  ///< the category pool's entries

  /// The names of `category`, both empty for one that the pool does not hold.
  const ItlgcEntry& category(int category) const {
    static constexpr ItlgcEntry kNameless{};
    const auto at = static_cast<std::size_t>(category);  // a negative one lies beyond any pool
    return at < categories.size() ? categories[at] : kNameless;
  }
};

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

/// Print the page `range` of the rows in `order`, without a newline; "count" counts all rows.
/// Application 0 is none.
/// KEEP: rows are counted from 1 and compared with a range counted from 0, so that the first page
/// is one row shorter than the others and each later one begins one row early; the web pages know.
void print_malc_ip_page(Printer& out, const MalcNames& names, const MalcIpAgg& ips,
                        const RowOrder& order, PageRange range);
void print_malc_host_page(Printer& out, const MalcNames& names, const MalcHostAgg& hosts,
                          const RowOrder& order, PageRange range);
void print_malc_app_page(Printer& out, const MalcNames& names, const MalcAppAgg& apps,
                         const RowOrder& order, PageRange range);

/// The signature listing, which has no pages: every enabled signature of its own, then every
/// category that was hit, with what the pool says it was hit before.
void print_malc_tids(Printer& out, const MalcNames& names, const MalcTidAgg& tids,
                     const RowOrder& order);

}  // namespace qsvmon
