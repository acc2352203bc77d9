#pragma once

#include <span>

#include "commands/tcpreset/reset_record.h"
#include "format/printer.h"

namespace qsvmon {

/// A value in hundredths, printed with two decimals, or as "0" when it is 0.
struct Hundredths {
  std::uint32_t value;
};
void put_value(Printer& out, Hundredths metric);

/// Prints one session as a line of text, its addresses as decimal numbers.
void print_plain_line(Printer& out, const ResetRecord& record);

/// Prints every session that it is given.
struct PlainPrint {
  Printer& out;
  void add(std::span<const ResetRecord> records) const {
    for (const ResetRecord& record : records) print_plain_line(out, record);
  }
};

}  // namespace qsvmon
