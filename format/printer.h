#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace qsvmon {

/// Buffered output in one large buffer; the first argument of everything that prints. Bytes come
/// out in the order they were put. A destination that fails swallows the rest, as printf's would.
class Printer {
 public:
  static constexpr std::size_t kBufferBytes = std::size_t{64} << 10;
  /// The most that one `room` call may ask for.
  static constexpr std::size_t kMaxRoom = 4096;

  Printer(const Printer&) = delete;
  Printer& operator=(const Printer&) = delete;
  virtual ~Printer() = default;

  /// Writes each part in turn: text (`const char*`, `std::string_view`), a `char` as itself, an
  /// integer in decimal (8-bit integers too), and values: a type that has `kMostBytes` and, beside
  /// it, a `char* write_value(char* at, T)` that writes at most so many and returns their end, such
  /// as the addresses and times of format/.
  template <class... Parts>
  void put(const Parts&... parts) {
    (put_one(parts), ...);
  }

  /// At least `bytes` (at most kMaxRoom) of buffer to write into; `advance` says how much of it was
  /// used. The pointer is valid until the next call of any other member.
  char* room(std::size_t bytes) {
    if (static_cast<std::size_t>(limit_ - next_) < bytes) flush();
    return next_;
  }
  /// Counts the bytes from the last `room` pointer up to `end` as written.
  void advance(char* end) { next_ = end; }

  void text(std::string_view bytes) {
    if (static_cast<std::size_t>(limit_ - next_) < bytes.size()) {
      text_slowly(bytes);
      return;
    }
    if (!bytes.empty()) std::memcpy(next_, bytes.data(), bytes.size());
    next_ += bytes.size();
  }

  /// Hands everything put so far to the destination.
  void flush();

 protected:
  /// Prints through a buffer of its own, made at the first use.
  constexpr Printer() = default;
  /// Prints through `buffer` (kBufferBytes), which outlives the printer.
  constexpr explicit Printer(std::span<char, kBufferBytes> buffer)
      : buffer_(buffer.data()), next_(buffer.data()), limit_(buffer.data() + buffer.size()) {}
  /// Writes the bytes to the destination; what cannot be written is lost.
  virtual void drain(std::string_view bytes) = 0;

 private:
  void text_slowly(std::string_view bytes);
  void make_buffer();

  template <class Part>
  void put_one(const Part& part) {
    if constexpr (std::same_as<Part, char>) {
      char* at = room(1);
      *at = part;
      advance(at + 1);
    } else if constexpr (std::integral<Part>) {
      char* at = room(24);
      if constexpr (sizeof(Part) < sizeof(int)) {
        advance(std::to_chars(at, at + 24, static_cast<int>(part)).ptr);
      } else {
        advance(std::to_chars(at, at + 24, part).ptr);
      }
    } else if constexpr (std::is_convertible_v<const Part&, std::string_view>) {
      text(std::string_view(part));
    } else {
      static_assert(Part::kMostBytes <= kMaxRoom);
      advance(write_value(room(Part::kMostBytes), part));
    }
  }

  std::unique_ptr<char[]> own_buffer_;
  char* buffer_ = nullptr;
  char* next_ = nullptr;
  char* limit_ = nullptr;
};

/// Prints to a file descriptor, which it does not own. A partial or interrupted write is continued;
/// a descriptor that is non-blocking and full is waited for.
class FilePrinter : public Printer {
 public:
  explicit FilePrinter(int fd) : fd_(fd) {}
  constexpr FilePrinter(int fd, std::span<char, kBufferBytes> buffer) : Printer(buffer), fd_(fd) {}
  ~FilePrinter() override { flush(); }

 protected:
  void drain(std::string_view bytes) override;

 private:
  int fd_;
  bool failed_ = false;
};

/// Keeps what is printed; for tests and benchmarks.
class MemoryPrinter : public Printer {
 public:
  /// All that was put so far.
  const std::string& str() {
    flush();
    return text_;
  }

 protected:
  void drain(std::string_view bytes) override { text_.append(bytes); }

 private:
  std::string text_;
};

/// The program's standard output, which `main` flushes at the end. Handlers and the dispatcher
/// alone name it; the floors below say what they have to say through format/message.h, and
/// tools/check_floors holds them to it.
Printer& standard_out();

}  // namespace qsvmon
