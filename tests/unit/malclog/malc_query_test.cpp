#include "commands/malclog/malc_query.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "tests/unit/malclog/malc_samples.h"

namespace qsvmon {
namespace {

using malc_samples::net;

/// Parses `words`, which outlive the query; returns the error word, empty on success.
std::string parse(std::initializer_list<const char*> words, MalcQuery& query) {
  std::vector<char*> vector;
  for (const char* word : words) vector.push_back(const_cast<char*>(word));
  const Status status = parse_malc_query(Words(vector.data(), vector.size()), query);
  return std::string(status.line());
}

TEST(MalcQuery, DefaultsOfEveryMember) {
  MalcQuery query;
  EXPECT_EQ(parse({"listtype=dst"}, query), "");
  EXPECT_EQ(query.listtype, MalcListType::kDst);
  EXPECT_EQ(query.type, -1);
  EXPECT_EQ(query.tid, -1);
  EXPECT_EQ(query.itlgc_id, -1);
  EXPECT_EQ(query.src_net, 0U);
  EXPECT_EQ(query.dst_net, 0U);
  EXPECT_EQ(query.apid, -1);
  EXPECT_EQ(query.host, nullptr);
  EXPECT_EQ(query.page, 1);
  EXPECT_EQ(query.limit, 100);
  EXPECT_EQ(query.range().start, 0U);
  EXPECT_EQ(query.range().end, 100U);
}

struct ListTypeCase {
  const char* word;
  MalcListType expected;
};

// KEEP: twelve characters decide.
constexpr ListTypeCase kListTypes[] = {
    {"listtype=dst", MalcListType::kDst},
    {"listtype=src", MalcListType::kSrc},
    {"listtype=app", MalcListType::kApp},
    {"listtype=tab", MalcListType::kTable},
    {"listtype=table", MalcListType::kTable},
    {"listtype=tabular", MalcListType::kTable},
    {"listtype=det", MalcListType::kDetail},
    {"listtype=detail", MalcListType::kDetail},
    {"listtype=details", MalcListType::kDetail},
    {"listtype=hos", MalcListType::kHost},
    {"listtype=host", MalcListType::kHost},
    {"listtype=hostile", MalcListType::kHost},
    {"listtype=dstination", MalcListType::kDst},
    {"listtype=source", MalcListType::kNone},
    {"listtype=apple", MalcListType::kApp},
    {"listtype=DST", MalcListType::kNone},
    {"listtype=de", MalcListType::kNone},
    {"listtype=", MalcListType::kNone},
    {" listtype=dst", MalcListType::kNone},
    {"listtype", MalcListType::kNone},
    {"", MalcListType::kNone},
};

TEST(MalcQuery, ListTypesAreKnownByTwelveCharacters) {
  for (const ListTypeCase& c : kListTypes) {
    MalcQuery query;
    const std::string error = parse({c.word}, query);
    EXPECT_EQ(query.listtype, c.expected) << c.word;
    EXPECT_EQ(error, c.expected == MalcListType::kNone ? "INV_LISTTYPE" : "") << c.word;
  }
}

TEST(MalcQuery, EveryWordSetsItsMember) {
  MalcQuery query;
  EXPECT_EQ(parse({"type=dns", "host=evil.example", "itlgc_id=7", "tid=12", "src=10.1.2.3",
                   "dst=192.168.0.9", "apid=443", "page=3", "limit=25", "listtype=detail"},
                  query),
            "");
  EXPECT_EQ(query.type, 1);
  EXPECT_STREQ(query.host, "evil.example");
  EXPECT_EQ(query.itlgc_id, 7);
  EXPECT_EQ(query.tid, 12);
  EXPECT_EQ(query.src_net, net(10, 1, 2, 3));
  EXPECT_EQ(query.dst_net, net(192, 168, 0, 9));
  EXPECT_EQ(query.apid, 443);
  EXPECT_EQ(query.page, 3);
  EXPECT_EQ(query.limit, 25);
  EXPECT_EQ(query.range().start, 50U);
  EXPECT_EQ(query.range().end, 75U);
}

TEST(MalcQuery, TypesAreKnownByHowTheyBegin) {
  MalcQuery query;
  parse({"type=ip", "listtype=dst"}, query);
  EXPECT_EQ(query.type, 0);
  parse({"type=dnssec", "listtype=dst"}, query);
  EXPECT_EQ(query.type, 1);
  parse({"type=ipv6", "listtype=dst"}, query);
  EXPECT_EQ(query.type, 0);
  MalcQuery other;
  parse({"type=dn", "type=i", "type=", "listtype=dst"}, other);
  EXPECT_EQ(other.type, -1);
}

TEST(MalcQuery, TidAndIdAreOneMemberAndTheLastWins) {
  MalcQuery query;
  EXPECT_EQ(parse({"type=ip", "tid=5", "id=6", "listtype=dst"}, query), "");
  EXPECT_EQ(query.tid, 6);
  EXPECT_EQ(parse({"id=6", "tid=5", "listtype=dst"}, query), "");
  EXPECT_EQ(query.tid, 5);
}

TEST(MalcQuery, ALaterWordOverridesAnEarlierOne) {
  MalcQuery query;
  EXPECT_EQ(parse({"listtype=dst", "page=2", "host=a", "src=1.1.1.1", "listtype=src", "page=5",
                   "host=", "src=0.0.0.0"},
                  query),
            "");
  EXPECT_EQ(query.listtype, MalcListType::kSrc);
  EXPECT_EQ(query.page, 5);
  EXPECT_STREQ(query.host, "");
  EXPECT_EQ(query.src_net, 0U);
}

TEST(MalcQuery, AnUnknownListTypeLeavesAnEarlierOne) {
  MalcQuery query;
  EXPECT_EQ(parse({"listtype=host", "listtype=nothing"}, query), "");
  EXPECT_EQ(query.listtype, MalcListType::kHost);
}

TEST(MalcQuery, NumbersAreReadAsTheLibraryReadsThem) {
  MalcQuery query;
  parse({"listtype=dst", "page= 7x", "limit=+9", "apid=abc", "itlgc_id=-2", "tid=4294967301",
         "type=ip"},
        query);
  EXPECT_EQ(query.page, 7);
  EXPECT_EQ(query.limit, 9);
  EXPECT_EQ(query.apid, 0);
  EXPECT_EQ(query.itlgc_id, -2);
  EXPECT_EQ(query.tid, 5);  // 2^32 + 5
}

struct AddressCase {
  const char* word;
  const char* error;
};

constexpr AddressCase kBadAddresses[] = {
    {"src=256.1.1.1", "INV_SRCIP"}, {"src=1.2.3.4x", "INV_SRCIP"}, {"src=host", "INV_SRCIP"},
    {"dst=1.2.3.4.5", "INV_DSTIP"}, {"dst=-1", "INV_DSTIP"},       {"dst=10.0.0.0/8", "INV_DSTIP"},
};

TEST(MalcQuery, BadAddressesStopAtTheFirst) {
  for (const AddressCase& c : kBadAddresses) {
    MalcQuery query;
    EXPECT_EQ(parse({"listtype=dst", c.word}, query), c.error) << c.word;
    EXPECT_EQ(parse({c.word, "listtype=dst", "src=1.1.1.1", "dst=2.2.2.2"}, query), c.error);
  }
  MalcQuery query;
  EXPECT_EQ(parse({"dst=x", "src=x"}, query), "INV_DSTIP");
  EXPECT_EQ(parse({"src=x", "dst=x"}, query), "INV_SRCIP");
  EXPECT_EQ(parse({"src=x"}, query), "INV_SRCIP");  // before INV_LISTTYPE
}

TEST(MalcQuery, ShortAddressFormsAndTheEmptyOneAreAccepted) {
  MalcQuery query;
  EXPECT_EQ(parse({"listtype=dst", "src=10.1", "dst="}, query), "");
  EXPECT_EQ(query.src_net, net(10, 0, 0, 1));
  EXPECT_EQ(query.dst_net, 0U);
}

TEST(MalcQuery, ASignatureIdNeedsItsTypeOrACategory) {
  MalcQuery query;
  EXPECT_EQ(parse({"tid=5", "listtype=dst"}, query), "INV_TYPE");
  EXPECT_EQ(parse({"tid=5"}, query), "INV_TYPE");  // before INV_LISTTYPE
  MalcQuery with_category;
  EXPECT_EQ(parse({"tid=5", "itlgc_id=2", "listtype=dst"}, with_category), "");
  MalcQuery bad_category;
  EXPECT_EQ(parse({"tid=5", "itlgc_id=-9", "listtype=dst"}, bad_category), "");
  MalcQuery unset_category;
  EXPECT_EQ(parse({"tid=5", "itlgc_id=-1", "listtype=dst"}, unset_category), "INV_TYPE");
  MalcQuery zero;
  EXPECT_EQ(parse({"tid=0", "listtype=dst"}, zero), "");
  MalcQuery negative;
  EXPECT_EQ(parse({"tid=-5", "listtype=dst"}, negative), "");
  MalcQuery typed;
  EXPECT_EQ(parse({"type=dns", "id=5", "listtype=dst"}, typed), "");
}

TEST(MalcQuery, UnknownWordsAreIgnored) {
  MalcQuery query;
  EXPECT_EQ(parse({"", "json=1", "listtype=app", "Host=x", "xtid=4", "limi=4"}, query), "");
  EXPECT_EQ(query.listtype, MalcListType::kApp);
  EXPECT_EQ(query.host, nullptr);
  EXPECT_EQ(query.tid, -1);
  EXPECT_EQ(query.limit, 100);
}

TEST(MalcQuery, NoWordsAtAll) {
  MalcQuery query;
  EXPECT_EQ(parse({}, query), "INV_LISTTYPE");
}

}  // namespace
}  // namespace qsvmon
