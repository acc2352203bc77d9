// The reply records of the IP tables and of the asset objects, from bytes at an odd address, and
// the words that ask for asset objects: the input's first line is the words, parted by blanks.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "commands/iptable/asset_objects.h"
#include "commands/iptable/iptable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using namespace qsvmon;

template <class Record>
std::span<const Record> records_in(const std::vector<std::uint8_t>& bytes) {
  return {reinterpret_cast<const Record*>(bytes.data() + 1), (bytes.size() - 1) / sizeof(Record)};
}

void parse_words(const std::string& line) {
  std::vector<std::string> texts;
  for (std::size_t at = 0; at <= line.size();) {
    const std::size_t end = std::min(line.find(' ', at), line.size());
    texts.push_back(line.substr(at, end - at));
    at = end + 1;
  }
  std::vector<char*> words;
  for (std::string& text : texts) words.push_back(text.data());
  AssetQuery query;
  const bool taken = parse_asset_query(words, query).ok();
  if (taken && (query.page == 0 || query.limit == 0)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = std::min(input.find('\n'), size);
  parse_words(input.substr(0, end));

  std::vector<std::uint8_t> bytes(1);  // records may begin anywhere in the area
  bytes.insert(bytes.end(), data + end, data + size);
  MemoryPrinter out;
  print_asset_objects(out, records_in<AssetObjectRecord>(bytes));
  print_addresses(out, records_in<TableAddress>(bytes));
  return 0;
}
