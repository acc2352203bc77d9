#include "format/printer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "format/message.h"
#include "tests/unit/support/captured_out.h"

namespace qsvmon {
namespace {

// Keeps what reaches the destination piece by piece.
class Pieces : public Printer {
 public:
  std::vector<std::string> pieces;

 protected:
  void drain(std::string_view bytes) override { pieces.emplace_back(bytes); }
};

TEST(Printer, TextsAsLongAsItsBufferAreWrittenDirectly) {
  const std::string fits(Printer::kBufferBytes - 1, 'f');
  const std::string whole(Printer::kBufferBytes, 'w');
  const std::string longer(Printer::kBufferBytes * 3 + 1, 'l');
  Pieces out;
  out.put("a", whole);  // at once, behind what was put before
  EXPECT_EQ(out.pieces, (std::vector<std::string>{"a", whole}));
  out.put(longer);
  EXPECT_EQ(out.pieces, (std::vector<std::string>{"a", whole, longer}));
  out.put("b", fits);  // fills the buffer to its last byte
  EXPECT_EQ(out.pieces.size(), 3U);
  out.put(fits, "c");
  out.flush();
  EXPECT_EQ(out.pieces, (std::vector<std::string>{"a", whole, longer, "b" + fits, fits + "c"}));
}

TEST(Printer, AskedForRoomItHasIt) {
  Pieces out;
  const std::string nearly(Printer::kBufferBytes - 10, 'n');
  out.put(nearly);
  char* at = out.room(10);
  EXPECT_TRUE(out.pieces.empty());
  *at = 'x';
  out.advance(at + 1);
  at = out.room(10);  // nine are left
  EXPECT_EQ(out.pieces, std::vector<std::string>{nearly + 'x'});
  *at = 'y';
  out.advance(at + 1);
  out.flush();
  out.flush();
  EXPECT_EQ(out.pieces, (std::vector<std::string>{nearly + 'x', "y"}));
}

// A pipe that does not block its writer.
struct FullPipe {
  int ends[2];
  FullPipe() {
    ::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(::pipe(ends), 0);
    ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
    char byte = '#';
    while (::write(ends[1], &byte, 1) == 1) ++held;
  }
  ~FullPipe() {
    for (const int fd : ends) {
      if (fd >= 0) ::close(fd);
    }
  }
  std::size_t held = 0;
};

TEST(FilePrinter, WaitsForAReaderThatIsLate) {
  FullPipe pipe;
  std::string got;
  const std::string text(300000, 't');
  std::thread reader([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::string piece(5000, '\0');
    while (got.size() < pipe.held + text.size()) {
      const ssize_t n = ::read(pipe.ends[0], piece.data(), piece.size());
      if (n <= 0) return;
      got.append(piece, 0, static_cast<std::size_t>(n));
    }
  });
  FilePrinter(pipe.ends[1]).put(text);
  ::close(std::exchange(pipe.ends[1], -1));
  reader.join();
  EXPECT_TRUE(got == std::string(pipe.held, '#') + text);
}

TEST(FilePrinter, WaitsNoLongerForAReaderThatIsGone) {
  FullPipe pipe;
  std::thread reader([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ::close(pipe.ends[0]);
    pipe.ends[0] = -1;
  });
  FilePrinter out(pipe.ends[1]);
  out.put("never read");
  out.flush();  // comes back
  reader.join();
  out.put("nor this");
}

// Standard output is a full pipe with a late reader, so that writing meets errors on its way.
TEST(Message, IsWrittenAtOnceAndLeavesErrnoAlone) {
  FullPipe pipe;
  CapturedOut restores_it;
  ::dup2(pipe.ends[1], STDOUT_FILENO);
  std::string got(pipe.held, '\0');
  std::thread reader([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    for (std::size_t at = 0; at < got.size();) {
      const ssize_t n = ::read(pipe.ends[0], got.data() + at, got.size() - at);
      at += n > 0 ? static_cast<std::size_t>(n) : got.size();
    }
  });
  errno = ENOTTY;
  put_message("said ", 5, " times\n");
  EXPECT_EQ(errno, ENOTTY);
  reader.join();
  ::fcntl(pipe.ends[0], F_SETFL, O_NONBLOCK);
  char text[64];
  const ssize_t n = ::read(pipe.ends[0], text, sizeof text);
  EXPECT_EQ(std::string(text, n > 0 ? static_cast<std::size_t>(n) : 0), "said 5 times\n");
}

TEST(FilePrinter, LosesWhatItsDestinationRefuses) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_NONBLOCK), 0);
  const int fd = ::open("/dev/null", O_RDONLY);
  FilePrinter out(fd);
  out.put("lost");
  out.flush();
  ::dup2(ends[1], fd);
  out.put("lost as well");  // it would follow a gap
  out.flush();
  char byte = 0;
  EXPECT_EQ(::read(ends[0], &byte, 1), -1);
  for (const int open : {fd, ends[0], ends[1]}) ::close(open);
}

}  // namespace
}  // namespace qsvmon
