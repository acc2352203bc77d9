#include "commands/malclog/malc_query.h"

#include "format/address.h"
#include "format/byte_order.h"
#include "format/number.h"

namespace qsvmon {
namespace {

/// A word that stands for one value of one member.
struct ChoiceWord {
  std::string_view prefix;
  int MalcQuery::*member;
  int value;
};

constexpr ChoiceWord kChoices[] = {
    {"type=ip", &MalcQuery::type, 0},
    {"type=dns", &MalcQuery::type, 1},
};

/// A word that carries a number.
struct NumberWord {
  std::string_view prefix;
  int MalcQuery::*member;
};

constexpr NumberWord kNumbers[] = {
    {"itlgc_id=", &MalcQuery::itlgc_id}, {"tid=", &MalcQuery::tid},   {"id=", &MalcQuery::tid},
    {"apid=", &MalcQuery::apid},         {"page=", &MalcQuery::page}, {"limit=", &MalcQuery::limit},
};

/// A word that carries an address, and the error word for one that is none.
struct AddressWord {
  std::string_view prefix;
  std::uint32_t MalcQuery::*member;
  std::string_view error;
};

constexpr AddressWord kAddresses[] = {
    {"src=", &MalcQuery::src_net, "INV_SRCIP"},
    {"dst=", &MalcQuery::dst_net, "INV_DSTIP"},
};

struct ListTypeWord {
  std::string_view prefix;
  MalcListType value;
};

// KEEP: a list type is known by the first twelve characters of its word, so that "listtype=tabular"
// lists signatures and "listtype=hos" hosts; scripts have come to rely on the short forms.
constexpr ListTypeWord kListTypes[] = {
    {"listtype=dst", MalcListType::kDst},    {"listtype=src", MalcListType::kSrc},
    {"listtype=app", MalcListType::kApp},    {"listtype=tab", MalcListType::kTable},
    {"listtype=det", MalcListType::kDetail}, {"listtype=hos", MalcListType::kHost},
};

Status take_word(const char* word, MalcQuery& query) {
  for (const ChoiceWord& choice : kChoices) {
    if (after_prefix(word, choice.prefix)) query.*choice.member = choice.value;
  }
  if (const char* text = after_prefix(word, "host=")) query.host = text;
  for (const NumberWord& number : kNumbers) {
    if (const char* text = after_prefix(word, number.prefix))
      query.*number.member = parse_atoi(text);
  }
  for (const AddressWord& address : kAddresses) {
    const char* text = after_prefix(word, address.prefix);
    if (!text) continue;
    std::uint32_t host_order = 0;
    if (parse_ipv4(text, &host_order) != 0) return Status::error(address.error);
    query.*address.member = from_net32(host_order);
  }
  for (const ListTypeWord& list : kListTypes) {
    if (after_prefix(word, list.prefix)) query.listtype = list.value;
  }
  return Status::good();
}

}  // namespace

Status parse_malc_query(Words words, MalcQuery& query) {
  for (const char* word : words) {
    if (Status s = take_word(word, query); !s.ok()) return s;
  }
  // KEEP: any category word, valid or not, excuses a signature id from naming its type.
  if (query.itlgc_id == -1 && query.names_signature() && query.type == -1) {
    return Status::error("INV_TYPE");
  }
  if (query.listtype == MalcListType::kNone) return Status::error("INV_LISTTYPE");
  return Status::good();
}

}  // namespace qsvmon
