#include "commands/iptable/asset_objects.h"

#include <cstdlib>

#include "commands/listing/batches.h"
#include "format/number.h"
#include "format/text.h"

namespace qsvmon {
constexpr std::size_t kWorkAreaBytes = 4096 * sizeof(AssetObjectRecord);

Status parse_asset_query(Words words, AssetQuery& query) {
  for (const char* word : words) {
    if (const char* text = after_prefix(word, "page=")) query.page = parse_atoi(text);
    if (const char* text = after_prefix(word, "limit=")) query.limit = parse_atoi(text);
  }
  if (query.page == 0 || query.limit == 0) return Status::error("INV_PAGE_LIMIT");
  return Status::good();
}

void print_asset_objects(Printer& out, std::span<const AssetObjectRecord> objects) {
  for (const AssetObjectRecord& object : objects) {
    // By value: records begin at any byte, and put takes references.
    out.put(std::uint16_t{object.num1}, ' ', static_cast<std::int32_t>(object.num2), ' ',
            static_cast<std::int32_t>(object.num3), ' ', field_text(object.name), '\n');
  }
}

int list_asset_objects(Words words, AllocateWorkArea allocate) {
  AssetQuery query;
  if (Status s = parse_asset_query(words, query); !s.ok()) return fail(s);
  // KEEP: a list that could not hold its largest page says so before anything is asked; nothing is
  // stored, since each batch is printed as it comes.
  void* const work_area = allocate(kWorkAreaBytes);
  if (work_area == nullptr) return fail(Status::error("CMPBASE_MALLOC_ERROR"));
  std::free(work_area);
  RpcBatches batches(
      {.module = "assetsobj", .daemon = Daemon::kLog, .style = WordStyle::kBlankAfter}, words);
  while (!batches.done()) {
    if (Status s = batches.fetch(); !s.ok()) return fail(s);
    print_asset_objects(standard_out(), batches.records<AssetObjectRecord>());
  }
  return 0;
}

}  // namespace qsvmon
