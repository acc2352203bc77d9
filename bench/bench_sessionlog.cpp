// The session lists: converters beside iconv(3), decoders, and the way of a record to its row.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <iconv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "commands/sessionlog/codec/base64.h"
#include "commands/sessionlog/codec/gb2312.h"
#include "commands/sessionlog/codec/mail_header.h"
#include "commands/sessionlog/codec/quoted_printable.h"
#include "commands/sessionlog/login_fold.h"
#include "commands/sessionlog/login_print.h"
#include "commands/sessionlog/mail_fold.h"
#include "commands/sessionlog/mail_print.h"
#include "commands/sessionlog/session_page.h"
#include "format/address.h"
#include "pools/desc_pools.h"

namespace qsvmon {
namespace {

// ---- converters ----

/// A text of at most 480 characters, all GB2312 has: Chinese, ASCII or words of both.
std::string utf8_text(int kind) {
  static constexpr const char* kChinese[] = {
      "\xE6\xB5\x81", "\xE9\x87\x8F", "\xE7\x9B\x91", "\xE6\x8E\xA7", "\xE4\xBD\xA0",
      "\xE5\xA5\xBD", "\xEF\xBC\x8C", "\xE7\x95\x8C", "\xE9\xBE\x99", "\xE3\x80\x82"};
  std::mt19937 random(1);
  std::string text;
  for (int i = 0; i < 480; ++i) {
    const bool chinese = kind == 0 || (kind == 2 && i / 12 % 2 == 0);
    text +=
        chinese ? kChinese[random() % 10] : std::string(1, static_cast<char>('a' + random() % 26));
  }
  return text;
}

std::string gb_text(int kind) {
  const std::string utf8 = utf8_text(kind);
  char out[2048] = {};
  utf8_to_gb2312(out, sizeof out, utf8.data(), static_cast<int>(utf8.size()));
  return out;
}

void count_bytes(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void BM_utf8_to_gb2312(benchmark::State& state) {
  const std::string text = utf8_text(static_cast<int>(state.range(0)));
  char out[1024] = {};
  for (auto _ : state) {
    utf8_to_gb2312(out, sizeof out, text.data(), static_cast<int>(text.size()));
    benchmark::DoNotOptimize(out);
  }
  count_bytes(state, text);
}

void BM_gb2312_to_utf8(benchmark::State& state) {
  const std::string text = gb_text(static_cast<int>(state.range(0)));
  char out[2048];
  for (auto _ : state) {
    gb2312_to_utf8(out, sizeof out, text.data(), static_cast<int>(text.size()));
    benchmark::DoNotOptimize(out);
  }
  count_bytes(state, text);
}

void run_iconv(benchmark::State& state, const char* to, const char* from, std::string text) {
  const iconv_t cd = iconv_open(to, from);
  char out[2048];
  for (auto _ : state) {
    char* in = text.data();
    std::size_t in_left = text.size();
    char* at = out;
    std::size_t room = sizeof out;
    if (iconv(cd, &in, &in_left, &at, &room) != 0 || in_left != 0) state.SkipWithError("iconv");
    benchmark::DoNotOptimize(out);
  }
  iconv_close(cd);
  count_bytes(state, text);
}

void BM_utf8_to_gb2312_iconv(benchmark::State& state) {
  run_iconv(state, "EUC-CN", "UTF-8", utf8_text(static_cast<int>(state.range(0))));
}
void BM_gb2312_to_utf8_iconv(benchmark::State& state) {
  run_iconv(state, "UTF-8", "EUC-CN", gb_text(static_cast<int>(state.range(0))));
}

// 0: Chinese, 1: ASCII, 2: both in turn.
BENCHMARK(BM_utf8_to_gb2312)->DenseRange(0, 2);
BENCHMARK(BM_utf8_to_gb2312_iconv)->DenseRange(0, 2);
BENCHMARK(BM_gb2312_to_utf8)->DenseRange(0, 2);
BENCHMARK(BM_gb2312_to_utf8_iconv)->DenseRange(0, 2);

// ---- decoders ----

void BM_base64_decode(benchmark::State& state) {
  const std::string plain = utf8_text(2);
  std::string encoded(base64_encoded_bytes(plain.size()), '\0');
  encoded.resize(static_cast<std::size_t>(base64_encode(encoded.data(), plain)));
  std::string out(base64_decoded_bytes(encoded.size()), '\0');
  for (auto _ : state) {
    base64_decode(out.data(), encoded);
    benchmark::DoNotOptimize(out.data());
  }
  count_bytes(state, encoded);
}
BENCHMARK(BM_base64_decode);

void BM_qp_decode(benchmark::State& state) {
  std::string encoded;
  for (int i = 0; i < 80; ++i) encoded += "=E4=BD=A0abc";
  char out[1024];
  for (auto _ : state) {
    benchmark::DoNotOptimize(qp_decode(encoded, out, sizeof out));
    benchmark::DoNotOptimize(out);
  }
  count_bytes(state, encoded);
}
BENCHMARK(BM_qp_decode);

void BM_decode_header(benchmark::State& state) {
  const std::string header =
      "=?UTF-8?B?5rWB6YeP55uR5o6n5L2g5aW9?= <someone@example.com>,\r\n"
      " =?gb2312?Q?=C4=E3=BA=C3?= <other@example.com>, Third Person <third@example.com>";
  std::string text;
  char out[1024];
  for (auto _ : state) {
    text = header;  // it is split in place
    benchmark::DoNotOptimize(
        decode_header(text.data(), static_cast<int>(text.size()), out, sizeof out));
  }
  count_bytes(state, header);
}
BENCHMARK(BM_decode_header);

// ---- mails ----

constexpr std::size_t kMails = 100000;

void add(MailRecord& record, int type, const std::string& value) {
  char* at = record.elems + record.elemlen;
  at[0] = static_cast<char>(type);
  at[1] = static_cast<char>(value.size() & 0xFF);
  at[2] = static_cast<char>(value.size() >> 8);
  std::memcpy(at + 3, value.data(), value.size());
  record.elemlen = static_cast<std::uint16_t>(record.elemlen + 3 + value.size());
}

const std::vector<MailRecord>& mails() {
  static const std::vector<MailRecord> all = [] {
    std::mt19937 random(2);
    std::vector<MailRecord> made(kMails);
    for (MailRecord& record : made) {
      record = MailRecord{};
      record.key = static_cast<std::uint32_t>(random() | 1);
      std::string endpoints(12, '\0');
      for (char& c : endpoints) c = static_cast<char>(random());
      add(record, kMailAddresses, endpoints);
      add(record, kMailTime, std::string("\xA9\xC4\xE6\x65", 4));
      add(record, kMailMac, std::string("\0\x11\x22\x33\x44\x55", 6));
      add(record, kMailFrom, "=?UTF-8?B?5rWB6YeP55uR5o6n?= <from@example.com>");
      add(record, kMailTo, "Some One <someone@example.com>, <other@example.com>");
      add(record, kMailSubject, "Re: =?UTF-8?B?5rWB6YeP55uR5o6n5L2g5aW9?= report of the week");
      add(record, kMailAttachment, std::string("=?gb2312?B?xOO6ww==?=\0", 22));
    }
    return made;
  }();
  return all;
}

constexpr PageRange kAll{0, 0xFFFFFFFF};

void fill(RecordList& list, const MailQuery& query) {
  MailFold(query, list).add(mails());
}

void BM_filter_100k_mails(benchmark::State& state) {
  mails();
  MailQuery query;
  if (state.range(0) != 0) query.keyword = "no such word";
  for (auto _ : state) {
    RecordList list(state.range(1) != 0 ? page_range(1, 20) : kAll, is_hidden_mail);
    fill(list, query);
    benchmark::DoNotOptimize(list.count());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kMails));
}
// With a keyword or without, for one page or for all.
BENCHMARK(BM_filter_100k_mails)->ArgsProduct({{0, 1}, {0, 1}})->Unit(benchmark::kMillisecond);

void BM_print_100k_mails(benchmark::State& state) {
  RecordList list(kAll, is_hidden_mail);
  fill(list, MailQuery{});
  list.sort();
  const int null = ::open("/dev/null", O_WRONLY);
  for (auto _ : state) {
    FilePrinter out(null);
    print_record_page<MailRow>(out, list);
  }
  ::close(null);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kMails));
}
BENCHMARK(BM_print_100k_mails)->Unit(benchmark::kMillisecond);

// ---- FTP rows ----

constexpr std::uint32_t kFtpRows = 20000;

/// Fills every pool from files in a scratch folder: 1024 descriptions of addresses and 1024 of
/// MACs, 8192 ranges, 4096 objects; and goes there.
void load_full_pools() {
  char folder[] = "/tmp/bench_sessionlog_XXXXXX";
  if (::mkdtemp(folder) == nullptr || ::chdir(folder) != 0 || ::mkdir("conf", 0700) != 0) {
    std::abort();
  }
  std::FILE* conf = std::fopen("conf/korvale.conf", "w");
  for (int i = 0; i < 1024; ++i) {
    std::fprintf(conf, "mac m=10.1.%d.%d d=desk-%d\n", i >> 8, i & 255, i);
    std::fprintf(conf, "mac m=00:11:22:33:%02x:%02x d=laptop-%d\n", i >> 8, i & 255, i);
  }
  for (int i = 0; i < 8192; ++i) {
    std::fprintf(conf, "cusiprng iprng=172.%d.%d.0/24 info=range-%d\n", 16 + (i >> 8), i & 255, i);
  }
  std::fclose(conf);
  conf = std::fopen("conf/qsv_assets.conf", "w");
  std::fprintf(conf, "group id=1 name=all\n");
  for (int i = 1; i <= 4096; ++i) {
    std::fprintf(conf, "assets id=%d pid=1 name=host-%d value=192.168.%d.%d\n", i, i, i >> 8,
                 i & 255);
  }
  std::fclose(conf);
  if (desc_pools_init() != 0) std::abort();
  std::remove("conf/korvale.conf");
  std::remove("conf/qsv_assets.conf");
  ::rmdir("conf");
  ::rmdir(folder);
}

std::uint32_t pick(std::mt19937& random, std::uint32_t count) {
  return static_cast<std::uint32_t>(random() % count);
}

/// A day's operations of clients and servers that all have labels; `per_session` of each session.
std::vector<FtpLogRecord> ftp_records(std::uint32_t per_session) {
  std::mt19937 random(3);
  std::vector<FtpLogRecord> records(kFtpRows);
  FtpLogRecord record;
  std::memset(static_cast<void*>(&record), 0, sizeof record);
  for (std::uint32_t i = 0; i < kFtpRows; ++i) {
    if (i % per_session == 0) {
      const std::uint32_t client = pick(random, 1024);
      record.head.start = 1709600000 + pick(random, 86400);
      record.head.sip_net = __builtin_bswap32(0x0A010000U | client);
      record.head.dip_net =
          __builtin_bswap32(pick(random, 2) != 0 ? 0xAC100000U | pick(random, 0x200000)
                                                 : 0xC0A80001U + pick(random, 4096));
      record.head.sport_net = static_cast<std::uint16_t>(random());
      record.head.dport_net = 0x1500;
      const std::uint8_t mac[6] = {0,
                                   0x11,
                                   0x22,
                                   0x33,
                                   static_cast<std::uint8_t>(client >> 8),
                                   static_cast<std::uint8_t>(client)};
      std::memcpy(record.head.mac, mac, sizeof mac);
      std::snprintf(record.user, sizeof record.user, "user%u", static_cast<unsigned>(client));
    }
    record.head.time = record.head.start + i % per_session * 5;
    record.optype = static_cast<std::uint8_t>(pick(random, 9));
    std::snprintf(record.name, sizeof record.name, "/pub/files/report-%u.txt",
                  static_cast<unsigned>(random()));
    records[i] = record;
  }
  return records;
}

void fill(RecordList& list, std::int64_t per_session) {
  static const bool loaded = (load_full_pools(), true);
  (void)loaded;
  LoginFold<FtpLogRecord>(list).add(ftp_records(static_cast<std::uint32_t>(per_session)));
  list.sort();
}

void print_label_plainly(std::FILE* out, const char* name, const void* address, int family) {
  char label[1024];
  if (desc_lookup(address, family, label, sizeof label) != nullptr) {
    std::fprintf(out, ",\"%s\":\"%s\"", name, label);
  } else {
    std::fprintf(out, ",\"%s\":\"\"", name);
  }
}

void print_address_plainly(std::FILE* out, const char* format, std::uint32_t net) {
  char text[32];
  const std::uint32_t ip = __builtin_bswap32(net);
  std::snprintf(text, sizeof text, "%u.%u.%u.%u", ip >> 24, ip >> 16 & 255, ip >> 8 & 255,
                ip & 255);
  std::fprintf(out, format, text);
}

/// The same row, member by member through the C library.
void print_row_plainly(std::FILE* out, const PackedLogin& r) {
  std::fprintf(out, "{");
  print_address_plainly(out, "\"src_ip\":\"%s\"", r.head.sip_net);
  std::fprintf(out, ",\"src_port\":%d", __builtin_bswap16(r.head.sport_net));
  print_address_plainly(out, ",\"dst_ip\":\"%s\"", r.head.dip_net);
  std::fprintf(out, ",\"dst_port\":%d", __builtin_bswap16(r.head.dport_net));
  std::fprintf(out, ",\"mac\":\"%02x-%02x-%02x-%02x-%02x-%02x\"", r.head.mac[0], r.head.mac[1],
               r.head.mac[2], r.head.mac[3], r.head.mac[4], r.head.mac[5]);
  std::fprintf(out, ",\"start\":%u", std::uint32_t{r.head.start});
  const std::time_t seconds = r.head.time;
  const std::tm* t = std::localtime(&seconds);
  char text[64];
  std::snprintf(text, sizeof text, "%2d-%02d-%02d/%02d:%02d:%02d", t->tm_year + 1900, t->tm_mon + 1,
                t->tm_mday, t->tm_hour, t->tm_min, t->tm_sec);
  std::fprintf(out, ",\"req_time\":\"%s\"", text);
  std::fprintf(out, ",\"time\":%u", std::uint32_t{r.head.time});
  const std::uint32_t sip = r.head.sip_net;
  const std::uint32_t dip = r.head.dip_net;
  print_label_plainly(out, "srcip_desc", &sip, 4);
  print_label_plainly(out, "dstip_desc", &dip, 4);
  print_label_plainly(out, "ipmac_desc", r.head.mac, kDescFamilyMac);
  std::fprintf(out, ",\"user\":\"%.*s\"", static_cast<int>(r.user().size()), r.user().data());
  std::fprintf(out, ",\"optype\":\"%s\"", ftp_verb(r.code).data());
  std::fprintf(out, ",\"name\":\"%.*s\"", static_cast<int>(r.text().size()), r.text().data());
  std::fprintf(out, "}");
}

void BM_ftp_rows(benchmark::State& state) {
  ::unsetenv("TZ");
  RecordList list(kAll);
  fill(list, state.range(0));
  const int null = ::open("/dev/null", O_WRONLY);
  for (auto _ : state) {
    FilePrinter out(null);
    print_record_page<FtpRow>(out, list);
  }
  ::close(null);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kFtpRows));
}
// Operations of a session: 1 means that no two rows have the same endpoints.
BENCHMARK(BM_ftp_rows)->Arg(10)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_ftp_rows_printf_localtime(benchmark::State& state) {
  ::unsetenv("TZ");
  RecordList list(kAll);
  fill(list, state.range(0));
  std::FILE* null = std::fopen("/dev/null", "w");
  for (auto _ : state) {
    std::fprintf(null, "{\"data\":[");
    for (std::uint32_t at = 0; at < kFtpRows; ++at) {
      if (at > 0) std::fprintf(null, ",");
      print_row_plainly(null, packed_login(list[at]));
    }
    std::fprintf(null, "],\"count\":%u}", kFtpRows);
  }
  std::fclose(null);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kFtpRows));
}
BENCHMARK(BM_ftp_rows_printf_localtime)->Arg(10)->Arg(1)->Unit(benchmark::kMillisecond);

// ---- a million Telnet records ----

constexpr std::uint32_t kTelnetRecords = 1000000;

void fill_telnet(RecordList& list) {
  std::mt19937 random(4);
  TelnetLogRecord record;
  std::memset(static_cast<void*>(&record), 0, sizeof record);
  std::snprintf(record.cmd, sizeof record.cmd, "ls -l /tmp");
  record.cmdlen = 10;
  LoginFold<TelnetLogRecord> fold(list);
  for (std::uint32_t i = 0; i < kTelnetRecords; ++i) {
    record.head.time = 1700000000 + static_cast<std::uint32_t>(random() % 864000);
    fold.add({&record, 1});
  }
}

/// Collects a million records for the page given and prints it; 0 for a page that shows nothing.
void BM_telnet_million(benchmark::State& state) {
  const int null = ::open("/dev/null", O_WRONLY);
  for (auto _ : state) {
    RecordList list(page_range(static_cast<int>(state.range(0)), 100));
    fill_telnet(list);
    list.sort();
    FilePrinter out(null);
    print_record_page<TelnetRow>(out, list);
  }
  ::close(null);
}
BENCHMARK(BM_telnet_million)->Arg(0)->Arg(1)->Arg(5000)->Unit(benchmark::kMillisecond);

/// What collecting and sorting all of them by pointer costs instead.
void BM_sort_a_million_pointers(benchmark::State& state) {
  RecordList list(kAll);
  fill_telnet(list);
  const auto at = [&](std::uint32_t i) {
    return reinterpret_cast<const LoginHead*>(list[i].data());
  };
  std::vector<const LoginHead*> pointers(kTelnetRecords);
  for (auto _ : state) {
    for (std::uint32_t i = 0; i < kTelnetRecords; ++i) pointers[i] = at(i);
    std::sort(pointers.begin(), pointers.end(), [](const auto* a, const auto* b) {
      return std::uint32_t{a->time} > std::uint32_t{b->time};
    });
    benchmark::DoNotOptimize(pointers.data());
  }
}
BENCHMARK(BM_sort_a_million_pointers)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace qsvmon
