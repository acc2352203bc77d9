#include "commands/malclog/malc_query.h"

#include "format/address.h"
#include "format/byte_order.h"
#include "format/number.h"

namespace qsvmon {
namespace {

/// Words that carry a number.
constexpr struct {
  std::string_view prefix;
  int MalcQuery::*member;
} kNumbers[] = {
    {"itlgc_id=", &MalcQuery::itlgc_id}, {"tid=", &MalcQuery::tid},   {"id=", &MalcQuery::tid},
    {"apid=", &MalcQuery::apid},         {"page=", &MalcQuery::page}, {"limit=", &MalcQuery::limit},
};

// KEEP: a list type is known by the first twelve characters of its word, so that "listtype=tabular"
// lists signatures and "listtype=hos" hosts; scripts have come to rely on the short forms.
constexpr struct {
  std::string_view prefix;
  MalcListType value;
} kListTypes[] = {
    {"listtype=dst", MalcListType::kDst},    {"listtype=src", MalcListType::kSrc},
    {"listtype=app", MalcListType::kApp},    {"listtype=tab", MalcListType::kTable},
    {"listtype=det", MalcListType::kDetail}, {"listtype=hos", MalcListType::kHost},
};

/// Into network order; false for a text that is no address.
bool parse_address(const char* text, std::uint32_t& net) {
  std::uint32_t host_order = 0;
  if (parse_ipv4(text, &host_order) != 0) return false;
  net = from_net32(host_order);
  return true;
}

/// The beginnings of words exclude each other, so that their order here does not matter.
Status parse_word(const char* word, MalcQuery& query) {
  if (after_prefix(word, "type=ip")) query.type = 0;
  if (after_prefix(word, "type=dns")) query.type = 1;
  if (const char* text = after_prefix(word, "host=")) query.host = text;
  for (const auto& number : kNumbers) {
    if (const char* text = after_prefix(word, number.prefix))
      query.*number.member = parse_atoi(text);
  }
  if (const char* text = after_prefix(word, "src="); text && !parse_address(text, query.src_net))
    return Status::error("INV_SRCIP");
  if (const char* text = after_prefix(word, "dst="); text && !parse_address(text, query.dst_net))
    return Status::error("INV_DSTIP");
  for (const auto& list : kListTypes) {
    if (after_prefix(word, list.prefix)) query.listtype = list.value;
  }
  return Status::good();
}

}  // namespace

Status parse_malc_query(Words words, MalcQuery& query) {
  for (const char* word : words) {
    if (Status s = parse_word(word, query); !s.ok()) return s;
  }
  // KEEP: a category other than -1, valid or not, excuses a signature id from naming its type; the
  // pages that filter by category do not send one.
  if (query.itlgc_id == -1 && query.names_signature() && query.type == -1) {
    return Status::error("INV_TYPE");
  }
  if (query.listtype == MalcListType::kNone) return Status::error("INV_LISTTYPE");
  return Status::good();
}

}  // namespace qsvmon
