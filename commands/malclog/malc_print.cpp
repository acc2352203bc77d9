#include "commands/malclog/malc_print.h"

#include "commands/listing/row_page.h"
#include "format/address.h"
#include "format/byte_order.h"
#include "format/row_text.h"
#include "pools/desc_pools.h"
#include "rpc/dict.h"

namespace qsvmon {
namespace {

/// More than a row takes in front of its list, and more than an entry of the list takes.
constexpr std::size_t kHeadBytes = 256;
constexpr std::size_t kEntryBytes = 256;

struct Entry {
  std::uint16_t count;
  unsigned id;  ///< the category, 0 for a signature under its own name
  std::uint8_t mkmode;
  std::string_view name, cname;
};

void print_entry(RowText& row, const Entry& entry, MalcEntryForm form) {
  if (form == MalcEntryForm::kHost) {
    row.put("{\"cnt\":", entry.count, ", \"name\":\"", entry.name, "\", \"mkmode\":", entry.mkmode,
            ", \"cname\":\"", entry.cname, "\"}");
  } else {
    row.put("{\"cnt\":", entry.count, ", \"id\":", entry.id, ", \"name\":\"", entry.name,
            "\", \"cname\":\"", entry.cname, "\"}");
  }
}

/// KEEP: a signature listed under its own name has no category name. The application listing shows
/// what the C library prints for a null pointer, the others "NULL".
std::string_view no_cname(MalcEntryForm form) {
  return form == MalcEntryForm::kApp ? "(null)" : "NULL";
}

void print_ip_row(Printer& out, const MalcNames& names, const TallyBlocks& blocks,
                  const MalcIpRow& row) {
  RowText(out, kHeadBytes)
      .put("{\"ip\":\"", Ipv4Text{from_net32(row.ip)}, "\",\"cnt\":", row.total, ",\"ip_desc\":\"",
           AddressLabel{row.ip}, "\",\"list\":[");
  print_malc_entries(out, names, blocks, row.tally, MalcEntryForm::kAddress);
  out.put("]}");
}

void print_host_row(Printer& out, const MalcNames& names, const TallyBlocks& blocks,
                    const MalcHostRow& row) {
  const std::string_view host = row.name.text().data();  // up to its first NUL
  RowText(out, kHeadBytes).put("{\"host\":\"", host, "\",\"cnt\":", row.total, ",\"list\":[");
  print_malc_entries(out, names, blocks, row.tally, MalcEntryForm::kHost);
  out.put("]}");
}

void print_app_row(Printer& out, const MalcNames& names, const TallyBlocks& blocks,
                   const MalcAppRow& row) {
  out.put("{\"apid\":", row.apid, ",\"appname\":\"", dict_appname(row.apid), "\",\"appcname\":\"",
          dict_appcname(row.apid), "\",\"count\":", row.total, ",\"list\":[");
  print_malc_entries(out, names, blocks, row.tally, MalcEntryForm::kApp);
  out.put("]}");
}

/// KEEP: passes the 0-based range on as 1-based rows, without adding 1; malc_print.h says what
/// follows.
RowPage page_of(PageRange range, bool filtered) {
  const RowRange none = {.first = 1, .last = 0};
  return {.rows = range.end == 0 ? none : RowRange{range.start, range.end - 1},
          .total = "count",
          .filtered = filtered};
}

/// Prints the objects of the signature listing: commas between, counted.
class TidListing {
 public:
  explicit TidListing(Printer& out) : out_(out) { out_.put("{\"data\":["); }

  template <class... Parts>
  void object(const Parts&... parts) {
    if (count_++ != 0) out_.put(",");
    out_.put(parts...);
  }

  void finish() { out_.put("],\"count\":", count_, "}"); }

 private:
  Printer& out_;
  std::uint32_t count_ = 0;
};

}  // namespace

void print_malc_entries(Printer& out, const MalcNames& names, const TallyBlocks& blocks,
                        const Tally& tally, MalcEntryForm form) {
  // KEEP: the mask knows a category by its number modulo 32, and the counts of a category's later
  // slots are not added to its entry; the pages show categories as "at least one of these".
  std::uint32_t listed = 0;
  bool first = true;
  blocks.for_each(tally, [&](int n, std::uint16_t count) {
    if (count == 0) return;
    const MalcTid& signature = names.tids.slot(n);
    Entry entry{.count = count, .id = 0, .mkmode = signature.mkmode, .name = {}, .cname = {}};
    if (signature.mkmode == kModeCategory) {
      entry.id = static_cast<unsigned>(names.tids.category_of(n));
      const std::uint32_t bit = 1U << (entry.id & 31U);
      if (listed & bit) return;
      listed |= bit;
      const ItlgcEntry& category = names.category(names.tids.category_of(n));
      entry.name = category.name;
      entry.cname = category.cname;
    } else {
      entry.name = field_text(signature.name);
      entry.cname = no_cname(form);
    }
    RowText row(out, kEntryBytes);
    if (!first) row.put(",");
    first = false;
    print_entry(row, entry, form);
  });
}

void print_malc_ip_page(Printer& out, const MalcNames& names, const MalcIpAgg& ips,
                        const RowOrder& order, PageRange range) {
  print_page(out, ips, order, page_of(range, false),
             [&](const MalcIpRow& row) { print_ip_row(out, names, ips.blocks(), row); });
}

void print_malc_host_page(Printer& out, const MalcNames& names, const MalcHostAgg& hosts,
                          const RowOrder& order, PageRange range) {
  print_page(out, hosts, order, page_of(range, false),
             [&](const MalcHostRow& row) { print_host_row(out, names, hosts.blocks(), row); });
}

void print_malc_app_page(Printer& out, const MalcNames& names, const MalcAppAgg& apps,
                         const RowOrder& order, PageRange range) {
  // KEEP: application 0 ("not recognised") is counted and never listed.
  print_page(
      out, apps, order, page_of(range, true),
      [&](const MalcAppRow& row) { print_app_row(out, names, apps.blocks(), row); },
      [](const MalcAppRow& row) { return row.apid != 0; });
}

void print_malc_tids(Printer& out, const MalcNames& names, const MalcTidAgg& tids,
                     const RowOrder& order) {
  TidListing listing(out);
  for (std::uint32_t place = 0; place < order.size(); ++place) {
    const auto [signature, total] = tids[order[place]];
    if (signature.mkmode == kModeCategory || signature.tid == 0 || signature.disabled != 0)
      continue;
    listing.object("{\"tid\":", std::uint16_t{signature.tid},
                   ",\"mode\":1,\"vid\":", std::uint16_t{signature.vid},
                   ",\"type\":", signature.type, ",\"name\":\"", field_text(signature.name),
                   "\",\"cnt\":", total, "}");
  }
  const MalcTidAgg::CategoryHits hits = tids.category_hits();
  for (std::size_t id = 0; id < names.categories.size() && id < hits.size(); ++id) {
    const ItlgcEntry& category = names.categories[id];
    const std::uint32_t total = category.hits + hits[id];
    if (total == 0) continue;
    listing.object("{\"id\":", id, ",\"tid\":0,\"vid\":0,\"type\":0,\"mode\":2,\"name\":\"",
                   category.name, "\",\"cname\":\"", category.cname, "\",\"cnt\":", total, "}");
  }
  listing.finish();
}

}  // namespace qsvmon
