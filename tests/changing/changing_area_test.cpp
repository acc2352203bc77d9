// A daemon may write the shared area while a listing reads it: every loop over records runs over
// ones that another thread changes all the time. Built without and with optimisation, since whether
// a value is read twice is the compiler's choice, and with the address sanitizer.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <span>
#include <thread>

#include "commands/malclog/malc_detail.h"
#include "commands/malclog/malc_fold.h"
#include "commands/tcpreset/reset_fold.h"
#include "commands/tcpreset/reset_print.h"

namespace qsvmon {
namespace {

constexpr std::size_t kRecords = 16;
constexpr std::uint64_t kTurns = 20000;       // of folded records
constexpr std::uint64_t kTurnsPrinted = 500;  // of printed ones

/// Records that turn into each of `forms` in its turn, field by field, as long as this lives. A
/// reader may see any mixture of them.
template <class Record, std::size_t Forms>
class ChangingRecords {
 public:
  explicit ChangingRecords(const std::array<Record, Forms>& forms)
      : forms_(forms),
        records_(std::make_unique<Bytes[]>(kRecords)),
        writer_([this] { write(); }) {}
  ~ChangingRecords() {
    stop_ = true;
    writer_.join();
  }
  ChangingRecords(const ChangingRecords&) = delete;
  ChangingRecords& operator=(const ChangingRecords&) = delete;

  std::span<const Record> get() const {
    return {reinterpret_cast<const Record*>(records_.get()), kRecords};
  }
  /// How often all records have changed.
  std::uint64_t turns() const { return turns_; }

 private:
  using Bytes = std::array<char, sizeof(Record)>;

  void write() {
    for (; !stop_; ++turns_) {
      const auto* from = reinterpret_cast<const char*>(&forms_[turns_ % Forms]);
      for (std::size_t i = 0; i < kRecords; ++i) {
        volatile char* to = records_[i].data();
        for (std::size_t at = 0; at < sizeof(Record); ++at) to[at] = from[at];
      }
    }
  }

  std::array<Record, Forms> forms_;
  std::unique_ptr<Bytes[]> records_;
  std::atomic<bool> stop_{false};
  std::atomic<std::uint64_t> turns_{0};
  std::thread writer_;
};

MalcEvent event_of(std::uint16_t apid, std::uint8_t host_len, std::uint64_t bitmap, char letter) {
  MalcEvent event{};
  event.time_secs = 1;
  event.apid = apid;
  event.host_len = host_len;
  event.bitmap = bitmap;
  std::memset(event.host, letter, sizeof event.host);
  return event;
}

// Ids, lengths and bitmaps on both sides of what is checked; 1500 lies behind the applications'
// table, near enough for the sanitizer to see it.
const std::array<MalcEvent, 4> kEvents = {event_of(5, 1, 1, 'a'), event_of(1500, 255, ~0ULL, 'b'),
                                          event_of(999, 42, 2, '\0'),
                                          event_of(65535, 43, 0x1f, 'c')};

TidPool filled_pool() {
  TidPool tids{MalcQuery()};
  tids.fill(std::array<char, sizeof(SignatureTable)>{}, true);
  return tids;
}

/// Folds changing events again and again, then looks whether the rows count no more than there
/// were.
template <class Agg>
void fold_changing_events(Agg& agg, std::uint64_t turns = kTurns) {
  const ChangingRecords events(kEvents);
  std::uint64_t walks = 0;
  for (; events.turns() < turns; ++walks) agg.add(events.get());
  std::uint64_t total = 0;
  for (std::uint32_t row = 0; row < agg.size(); ++row) total += agg[row].total;
  EXPECT_LE(total, walks * kRecords * kSlots);
}

TEST(ChangingArea, ApplicationsAreCountedWithinTheirTable) {
  const TidPool tids = filled_pool();
  const auto agg = std::make_unique<MalcAppAgg>(tids);
  fold_changing_events(*agg, 10 * kTurns);
  for (std::uint32_t row = 0; row < agg->size(); ++row) {
    const std::uint16_t apid = (*agg)[row].apid;
    EXPECT_TRUE(apid == 0 || apid == row) << row;
  }
}

TEST(ChangingArea, HostsKeepToTheirRows) {
  const TidPool tids = filled_pool();
  MalcHostAgg agg(tids);
  fold_changing_events(agg);
  for (std::uint32_t row = 0; row < agg.size(); ++row) EXPECT_LE(agg[row].name.length(), 42u);
}

TEST(ChangingArea, AddressesAndSignaturesAreCounted) {
  const TidPool tids = filled_pool();
  MalcIpAgg ips(tids, IpSide::kSrc);
  fold_changing_events(ips);
  MalcTidAgg signatures(tids);
  fold_changing_events(signatures);
}

TEST(ChangingArea, EventsArePrinted) {
  const TidPool tids = filled_pool();
  const std::array<ItlgcEntry, kItlgcCategories> categories{};
  MalcQuery query;
  query.host = "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa";
  MemoryPrinter out;
  MalcDetail detail(out, query, {tids, categories});
  const ChangingRecords events(kEvents);
  while (events.turns() < kTurnsPrinted) detail.add(events.get());
}

ResetRecord session_of(std::uint32_t appword, char letter) {
  ResetRecord record{};
  record.appword = appword;
  std::memset(record.name, letter, sizeof record.name);
  return record;
}

const std::array<ResetRecord, 3> kSessions = {session_of(0, 'a'), session_of(0xffffffff, '\0'),
                                              session_of(0x3fff, 'b')};

TEST(ChangingArea, SessionsAreFoldedByNameAndAddress) {
  const ChangingRecords sessions(kSessions);
  DnsFold names;
  IpFold sources(IpSide::kSrc);
  while (sessions.turns() < kTurns) {
    names.add(sessions.get());
    sources.add(sessions.get());
  }
  for (std::uint32_t row = 0; row < names.size(); ++row) {
    EXPECT_LE(names[row].name.length(), 31u);
    EXPECT_GE(names[row].name.length(), 1u);
  }
  for (std::uint32_t row = 0; row < sources.size(); ++row) {
    for (unsigned place = 0; place < 8; ++place) {
      const std::uint16_t app = sources[row].slots.value[place];
      EXPECT_TRUE(app == 0 || (app <= 0x3fff && app % 8 == place)) << app;
    }
  }
}

TEST(ChangingArea, SessionsArePrinted) {
  const ChangingRecords sessions(kSessions);
  MemoryPrinter out;
  while (sessions.turns() < kTurnsPrinted) PlainPrint{out}.add(sessions.get());
}

}  // namespace
}  // namespace qsvmon
