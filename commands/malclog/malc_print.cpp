#include "commands/malclog/malc_print.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "commands/listing/row_page.h"
#include "format/address.h"
#include "format/byte_order.h"
#include "format/json_rows.h"
#include "format/row_text.h"
#include "pools/desc_pools.h"
#include "rpc/dict.h"

namespace qsvmon {
namespace {

/// More than a row takes in front of its list, and more than an entry of the list takes.
constexpr std::size_t kHeadBytes = 256;
constexpr std::size_t kEntryBytes = 256;

/// How an entry of a row's "list" is written: its members, and the "cname" of a signature listed
/// under its own name.
enum class EntryForm {
  kAddress,  ///< cnt, id, name, cname; "NULL"
  kApp,      ///< cnt, id, name, cname; "(null)"
  kHost,     ///< cnt, name, mkmode, cname; "NULL"
};

/// KEEP: a signature listed under its own name has no category name. The application listing shows
/// what the C library prints for a null pointer, the others "NULL".
const char* no_cname(EntryForm form) {
  return form == EntryForm::kApp ? "(null)" : "NULL";
}

/// What an entry says behind its count depends on its signature and the query alone, and is made
/// once for each of them: rows with two entries cost 20 to 25 ns less than with it put together
/// anew for each.
class EntryTexts {
 public:
  EntryTexts(const MalcNames& names, EntryForm form) {
    for (int slot = 0; names.tids.filled() && slot < kSlots; ++slot) {
      make(texts_[static_cast<std::size_t>(slot)], names, slot, form);
    }
  }

  /// Prints the entries of a row's "list" without its brackets: one for each slot that was counted,
  /// a category once with the count of its first slot.
  void print(Printer& out, const Tally& tally) const {
    // KEEP: the mask knows a category by its number modulo 32, and the counts of a category's later
    // slots are not added to its entry; the pages show categories as "at least one of these".
    std::uint32_t listed = 0;
    bool first = true;
    tally.for_each([&](int slot, std::uint16_t count) {
      const Text& text = texts_[static_cast<std::size_t>(slot)];
      if (count == 0 || (listed & text.category) != 0) return;
      listed |= text.category;
      RowText row(out, kEntryBytes);
      if (!first) row.put(",");
      first = false;
      row.put("{\"cnt\":", count, text);
    });
  }

 private:
  struct Text {
    std::uint32_t category;  ///< its bit in the mask, none for a signature under its own name
    int length;
    char bytes[120];  ///< at most 32 of a signature's or a category's name, 31 of a second one

    /// Copies all of it, which is a few instructions where its length would be a call.
    friend char* write_value(char* at, const Text& text) {
      std::memcpy(at, text.bytes, sizeof text.bytes);
      return at + text.length;
    }
  };

  static void make(Text& text, const MalcNames& names, int slot, EntryForm form) {
    const MalcTid& signature = names.tids.slot(slot);
    unsigned id = 0;
    std::string_view name = field_text(signature.name);
    const char* cname = no_cname(form);
    if (signature.mkmode == kModeCategory) {
      const ItlgcEntry& category = names.category(names.tids.category_of(slot));
      id = static_cast<unsigned>(names.tids.category_of(slot));
      text.category = 1U << (id & 31U);
      name = category.name;
      cname = category.cname;
    }
    const int length = static_cast<int>(name.size());
    int written = 0;
    if (form == EntryForm::kHost) {
      written = std::snprintf(text.bytes, sizeof text.bytes,
                              ", \"name\":\"%.*s\", \"mkmode\":%u, \"cname\":\"%s\"}", length,
                              name.data(), unsigned{signature.mkmode}, cname);
    } else {
      written = std::snprintf(text.bytes, sizeof text.bytes,
                              ", \"id\":%u, \"name\":\"%.*s\", \"cname\":\"%s\"}", id, length,
                              name.data(), cname);
    }
    text.length = std::min(written, static_cast<int>(sizeof text.bytes) - 1);
  }

  std::array<Text, kSlots> texts_{};
};

void print_ip_row(Printer& out, const EntryTexts& texts, const MalcIpStat& row) {
  RowText(out, kHeadBytes)
      .put("{\"ip\":\"", Ipv4Text{from_net32(row.ip)}, "\",\"cnt\":", row.total, ",\"ip_desc\":\"",
           AddressLabel{row.ip}, "\",\"list\":[");
  texts.print(out, row.tally);
  out.put("]}");
}

void print_host_row(Printer& out, const EntryTexts& texts, const MalcHostStat& row) {
  const std::string_view host = row.name.text().data();  // up to its first NUL
  RowText(out, kHeadBytes).put("{\"host\":\"", host, "\",\"cnt\":", row.total, ",\"list\":[");
  texts.print(out, row.tally);
  out.put("]}");
}

void print_app_row(Printer& out, const EntryTexts& texts, const MalcAppStat& row) {
  out.put("{\"apid\":", row.apid, ",\"appname\":\"", dict_appname(row.apid), "\",\"appcname\":\"",
          dict_appcname(row.apid), "\",\"count\":", row.total, ",\"list\":[");
  texts.print(out, row.tally);
  out.put("]}");
}

/// KEEP: takes the positions, which are counted from 0, for rows counted from 1; malc_print.h says
/// what follows.
RowPage page_of(PageRange range, bool filtered) {
  return {.rows = {std::max(range.start, 1U) - 1, std::max(range.end, 1U) - 1},
          .total = "count",
          .filtered = filtered};
}

}  // namespace

void print_malc_ip_page(Printer& out, const MalcNames& names, const MalcIpAgg& ips,
                        const RowOrder& order, PageRange range) {
  const EntryTexts texts(names, EntryForm::kAddress);
  print_page(out, ips, order, page_of(range, false),
             [&](const MalcIpStat& row) { print_ip_row(out, texts, row); });
}

void print_malc_host_page(Printer& out, const MalcNames& names, const MalcHostAgg& hosts,
                          const RowOrder& order, PageRange range) {
  const EntryTexts texts(names, EntryForm::kHost);
  print_page(out, hosts, order, page_of(range, false),
             [&](const MalcHostStat& row) { print_host_row(out, texts, row); });
}

void print_malc_app_page(Printer& out, const MalcNames& names, const MalcAppAgg& apps,
                         const RowOrder& order, PageRange range) {
  const EntryTexts texts(names, EntryForm::kApp);
  // KEEP: application 0 ("not recognised") has a row in the fold, which is neither shown nor
  // counted among the rows.
  print_page(
      out, apps, order, page_of(range, true),
      [&](const MalcAppStat& row) { print_app_row(out, texts, row); },
      [](const MalcAppStat& row) { return row.apid != 0; });
}

void print_malc_tids(Printer& out, const MalcNames& names, const MalcTidAgg& fold,
                     const RowOrder& order) {
  JsonRows document(out);
  for (std::uint32_t place = 0; place < order.size(); ++place) {
    const auto [signature, total] = fold[order[place]];
    if (signature.mkmode == kModeCategory || signature.tid == 0 || signature.disabled != 0)
      continue;
    document.next_row();
    out.put("{\"tid\":", std::uint16_t{signature.tid},
            ",\"mode\":1,\"vid\":", std::uint16_t{signature.vid}, ",\"type\":", signature.type,
            ",\"name\":\"", field_text(signature.name), "\",\"cnt\":", total, "}");
  }
  const MalcTidAgg::CategoryHits hits = fold.category_hits();
  for (std::size_t id = 0; id < names.categories.size() && id < hits.size(); ++id) {
    const ItlgcEntry& category = names.categories[id];
    const std::uint32_t total = category.hits + hits[id];
    if (total == 0) continue;
    document.next_row();
    out.put("{\"id\":", id, ",\"tid\":0,\"vid\":0,\"type\":0,\"mode\":2,\"name\":\"", category.name,
            "\",\"cname\":\"", category.cname, "\",\"cnt\":", total, "}");
  }
  document.finish("count", document.count());
}

}  // namespace qsvmon
