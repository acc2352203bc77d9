#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "commands/malclog/malclog.h"

// Words and reply batches through every malicious-event listing. The input begins with the words,
// one a line, up to an empty line; the rest is the reply: the length of its first batch (two bytes,
// little-endian), the count that every batch claims (two bytes; 65535 stands for the largest), then
// the bytes. Each batch is in an allocation of its own size.
namespace qsvmon {
namespace {

struct Input {
  std::vector<std::string> words;
  std::size_t first_bytes = 0;
  std::uint32_t claimed = 0;
  std::string_view reply;
};

std::uint32_t read_u16(std::string_view& bytes) {
  unsigned char two[2] = {};
  const std::size_t n = std::min<std::size_t>(bytes.size(), 2);
  std::memcpy(two, bytes.data(), n);
  bytes.remove_prefix(n);
  return two[0] | static_cast<std::uint32_t>(two[1]) << 8;
}

Input read_input(std::string_view bytes) {
  Input input;
  while (!bytes.empty()) {
    const std::size_t end = std::min(bytes.find('\n'), bytes.size());
    const std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
    if (line.empty()) break;
    input.words.emplace_back(line);
  }
  input.first_bytes = read_u16(bytes);
  input.claimed = read_u16(bytes);
  if (input.claimed == 65535) input.claimed = 0xffffffff;
  input.reply = bytes;
  return input;
}

class ReplyBatches final : public BatchSource {
 public:
  explicit ReplyBatches(const Input& input) : claimed_(input.claimed) {
    const std::size_t first = std::min(input.first_bytes, input.reply.size());
    add(input.reply.substr(0, first));
    add(input.reply.substr(first));
  }
  bool done() const override { return next_ == batches_.size(); }
  Status fetch() override {
    ++next_;
    return Status::good();
  }
  std::span<const char> bytes() const override { return batches_[next_ - 1]; }
  std::uint32_t claimed() const override { return claimed_; }

 private:
  void add(std::string_view bytes) { batches_.emplace_back(bytes.begin(), bytes.end()); }

  std::vector<std::vector<char>> batches_;
  std::uint32_t claimed_;
  std::size_t next_ = 0;
};

/// A page may be larger than what a run may hold.
class NoOutput : public Printer {
 protected:
  void drain(std::string_view) override {}
};

}  // namespace
}  // namespace qsvmon

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qsvmon;
  const Input input = read_input({reinterpret_cast<const char*>(data), size});
  std::vector<char*> words;
  for (const std::string& word : input.words) words.push_back(const_cast<char*>(word.c_str()));
  MalcQuery query;
  if (!parse_malc_query(words, query).ok()) return 0;
  for (int listtype = 0; listtype <= 5; ++listtype) {
    query.listtype = static_cast<MalcListType>(listtype);
    std::array<ItlgcEntry, kItlgcCategories> categories{};
    std::strcpy(categories[7].name, "botnet");
    ReplyBatches batches(input);
    TidPool tids(query);
    NoOutput out;
    if (!list_events(out, query, batches, tids, categories).ok()) std::abort();
  }
  return 0;
}
