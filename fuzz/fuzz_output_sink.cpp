// The writers of text replies into a buffer of hostile size and state, and onto a stream. Bytes of
// the input choose capacity, bytes in use and one writer after another.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "format/json_writer.h"
#include "format/output_sink.h"
#include "format/text.h"

namespace {

using namespace qsvmon;

void require(bool holds) {
  if (!holds) std::abort();
}

/// Takes values off the front of the input; zeros when it is used up.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}
  bool empty() const { return left_ == 0; }
  std::uint8_t byte() {
    if (left_ == 0) return 0;
    --left_;
    return *data_++;
  }
  std::uint32_t word() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | byte();
    return value;
  }
  std::string text() {
    std::string s;
    for (int n = byte() % 80; n > 0; --n) s.push_back(static_cast<char>(byte()));
    return s;
  }

 private:
  const std::uint8_t* data_;
  std::size_t left_;
};

/// One call of a writer; returns true for the one whose two forms differ.
bool write_one(OutputSink& sink, Input& in) {
  const std::uint8_t choice = in.byte();
  const std::string name = in.text();
  const char* label = (choice & 0x80) != 0 ? nullptr : name.c_str();
  const std::uint32_t a = in.word();
  const std::uint32_t b = in.word();
  std::uint8_t bytes[16];
  for (int i = 0; i < 16; ++i) bytes[i] = static_cast<std::uint8_t>(a >> (3 * i % 25));
  switch (choice % 20) {
    case 0:
      out_label(sink, label);
      break;
    case 1:
      out_ip(sink, label, a);
      break;
    case 2:
      out_iprange(sink, label, a, b);
      break;
    case 3:
      out_mac(sink, label, bytes);
      break;
    case 4:
      out_time(sink, label, a);
      break;
    case 5:
      out_count(sink, label, std::uint64_t{a} << (b % 32));
      break;
    case 6:
      json_key(sink, label);
      break;
    case 7:
      json_int(sink, label, static_cast<std::int32_t>(a));
      break;
    case 8:
      json_uint(sink, label, a);
      break;
    case 9:
      json_ulong(sink, label, a);
      break;
    case 10:
      json_str(sink, label, in.text().c_str());
      break;
    case 11:
      json_strf(sink, label, "%s-%u", in.text().c_str(), a);
      return true;
    case 12:
      json_ip(sink, label, a);
      break;
    case 13:
      json_ip_net(sink, label, a);
      break;
    case 14:
      json_ip6(sink, label, bytes);
      break;
    case 15:
      json_iprange(sink, label, a, b);
      break;
    case 16:
      json_mac(sink, label, bytes);
      break;
    case 17:
      json_time(sink, label, a);
      break;
    case 18:
      json_date(sink, label, a);
      break;
    default:
      out_printf(sink, "%s", name.c_str());
      break;
  }
  return false;
}

void check_fields(const std::string& text) {
  auto field = std::make_unique<char[]>(kField32Bytes);
  const int length = field32_printf(field.get(), "%s", text.c_str());
  require(length <= 31 && field[static_cast<std::size_t>(length)] == '\0');
  field32_copy(field.get(), text.c_str());
  require(std::strncmp(field.get(), text.c_str(), kField32Bytes) == 0);
}

/// Writes everything onto a stream; the text must begin with what the buffer holds.
void compare_stream(Input in, const std::string& in_buffer) {
  char* data = nullptr;
  std::size_t size = 0;
  OutputSink sink{};
  sink.flags = kSinkToStream;
  sink.stream = ::open_memstream(&data, &size);
  require(sink.stream != nullptr);
  while (!in.empty()) write_one(sink, in);
  std::fclose(sink.stream);
  require(size >= in_buffer.size() && std::memcmp(data, in_buffer.data(), in_buffer.size()) == 0);
  std::free(data);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Input in(bytes, size);
  const std::uint32_t capacity = in.word() % 600;
  const bool hostile = in.byte() == 0xff;
  auto buffer = std::make_unique<char[]>(capacity);
  OutputSink sink{};
  sink.reply = buffer.get();
  sink.shmsize = capacity;
  if (hostile) sink.replylen = in.word();
  check_fields(Input(in).text());
  const std::uint32_t start = sink.replylen;
  const Input calls = in;
  bool forms_differ = false;
  while (!in.empty()) forms_differ = write_one(sink, in) || forms_differ;
  require(sink.replylen == start || sink.replylen < capacity);
  if (sink.replylen != start) require(buffer[sink.replylen] == '\0');
  if (!hostile && !forms_differ) {
    compare_stream(calls, std::string(buffer.get(), sink.replylen));
  }
  return 0;
}
