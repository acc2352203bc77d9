#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "commands/listing/page.h"
#include "commands/listing/row_order.h"
#include "commands/malclog/malc_fold.h"
#include "format/printer.h"
#include "pools/itlgc_pool.h"

namespace qsvmon {

/// Where the listings find names: of signatures, of categories. Borrows both.
struct MalcNames {
  const TidPool& tids;
  std::span<const ItlgcEntry> categories;  ///< the category pool's entries

  /// The names of `category`; an entry of empty names for one that the pool does not hold.
  const ItlgcEntry& category(int category) const {
    static constexpr ItlgcEntry kNameless{};
    const auto at = static_cast<std::size_t>(category);  // a negative one lies beyond any pool
    return at < categories.size() ? categories[at] : kNameless;
  }
};

/// Print the rows of `order` that lie on the page `range`, without a newline; "count" counts all
/// rows. Application 0 (not recognised) is neither shown nor counted.
/// KEEP: rows are counted from 1 and compared with a range counted from 0, so that the first page
/// is one row shorter than the others and each later one begins one row early; the web pages know.
void print_malc_ip_page(Printer& out, const MalcNames& names, const MalcIpAgg& ips,
                        const RowOrder& order, PageRange range);
void print_malc_host_page(Printer& out, const MalcNames& names, const MalcHostAgg& hosts,
                          const RowOrder& order, PageRange range);
void print_malc_app_page(Printer& out, const MalcNames& names, const MalcAppAgg& apps,
                         const RowOrder& order, PageRange range);

/// Prints the signature listing, which has no pages: every enabled signature that is not listed
/// under its category, then every category with hits. A category's sum begins with
/// `ItlgcEntry::hits`.
void print_malc_tids(Printer& out, const MalcNames& names, const MalcTidAgg& fold,
                     const RowOrder& order);

}  // namespace qsvmon
