#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "format/output_sink.h"

namespace qsvmon {

/// A sink into a buffer of `capacity` bytes with a guard byte behind it.
class BufferSink {
 public:
  explicit BufferSink(std::uint32_t capacity = 4096) : bytes_(capacity + 1, '#') {
    sink.shmsize = capacity;
    sink.reply = bytes_.data();
  }
  /// What was written, `replylen` bytes.
  std::string text() const { return std::string(bytes_.data(), sink.replylen); }
  /// True when a NUL follows the text and the guard is whole.
  bool closed() const {
    return sink.replylen < sink.shmsize && bytes_[sink.replylen] == '\0' && bytes_.back() == '#';
  }
  bool untouched() const { return bytes_ == std::vector<char>(bytes_.size(), '#'); }

  OutputSink sink{};

 private:
  std::vector<char> bytes_;
};

/// A sink onto a stdio stream that keeps what is written.
class StreamSink {
 public:
  StreamSink() : stream_(::open_memstream(&data_, &size_)) {
    sink.flags = kSinkToStream;
    sink.stream = stream_;
  }
  ~StreamSink() {
    std::fclose(stream_);
    std::free(data_);
  }
  StreamSink(const StreamSink&) = delete;
  StreamSink& operator=(const StreamSink&) = delete;
  std::string text() const {
    std::fflush(stream_);
    return std::string(data_, size_);
  }

  OutputSink sink{};

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::FILE* stream_;
};

/// What `write(sink)` puts into a buffer; "differs" when the stream form gives other bytes.
template <class Write>
std::string written(const Write& write) {
  BufferSink buffer;
  StreamSink stream;
  write(buffer.sink);
  write(stream.sink);
  if (!buffer.text().empty() && !buffer.closed()) return "not closed";
  return buffer.text() == stream.text() ? buffer.text() : "differs";
}

}  // namespace qsvmon
