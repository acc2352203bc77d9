#include "rpc/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/unit/support/captured_out.h"

namespace qsvmon {
namespace {

class ScratchFolder {
 public:
  ScratchFolder() { EXPECT_NE(::mkdtemp(path_), nullptr); }
  ~ScratchFolder() { ::rmdir(path_); }
  std::string file(const char* name) const { return std::string(path_) + "/" + name; }

 private:
  char path_[32] = "/tmp/qsvmon_socket_XXXXXX";
};

// The address that a bound or connected descriptor has, as "family address port".
std::string name_of(int fd) {
  sockaddr_storage storage{};
  socklen_t length = sizeof storage;
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&storage), &length);
  if (storage.ss_family == AF_UNIX) {
    return std::string("unix ") + reinterpret_cast<sockaddr_un*>(&storage)->sun_path;
  }
  const auto* in = reinterpret_cast<sockaddr_in*>(&storage);
  return std::string("inet ") + ::inet_ntoa(in->sin_addr);
}

int port_of(int fd) {
  sockaddr_in in{};
  socklen_t length = sizeof in;
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&in), &length);
  return ntohs(in.sin_port);
}

int type_of(int fd) {
  int type = 0;
  socklen_t length = sizeof type;
  ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &length);
  return type;
}

bool is_nonblocking(int fd) {
  return (::fcntl(fd, F_GETFL) & O_NONBLOCK) != 0;
}

// A port that was free a moment ago.
int free_port() {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in in{};
  in.sin_family = AF_INET;
  in.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ::bind(fd, reinterpret_cast<sockaddr*>(&in), sizeof in);
  const int port = port_of(fd);
  ::close(fd);
  return port;
}

struct AddressCase {
  const char* text;
  const char* printed;  // by socket_connect; every case fails
};

TEST(SocketAddress, InvalidTextsAreRefusedWithTheOperationsName) {
  const std::string longest_path(sizeof sockaddr_un{}.sun_path, 'p');
  const std::string long_path = longest_path + 'p';
  const AddressCase cases[] = {
      {"127.0.0.1:0", "socket_connect: invalid path\n"},
      {"127.0.0.1:65536", "socket_connect: invalid path\n"},
      {"127.0.0.1:-1", "socket_connect: invalid path\n"},
      {"127.0.0.1:", "socket_connect: invalid path\n"},
      {"127.0.0.1:x", "socket_connect: invalid path\n"},
      {":80", "socket_connect: invalid path\n"},
      {"localhost:80", "socket_connect: invalid path\n"},
      {"256.0.0.1:80", "socket_connect: invalid path\n"},
      {"1.2.3.4.5:80", "socket_connect: invalid path\n"},
      {"1.2.3.256:80", "socket_connect: invalid path\n"},
      {"1.2.65536:80", "socket_connect: invalid path\n"},
      {"1.16777216:80", "socket_connect: invalid path\n"},
      {"1.2.3.4x:80", "socket_connect: invalid path\n"},
      {"0.0.0:80", "socket_connect: invalid path\n"},  // value 0 is no address
      {"0:80", "socket_connect: invalid path\n"},
      {long_path.c_str(), "socket_connect: invalid path\n"},
      {longest_path.c_str(), ""},
      {"/nonexistent/qsvmon.sock", ""},  // a refused connection is silent
      {"udp:/nonexistent/qsvmon.sock", ""},
      {"", ""},  // a path too, which no socket has
      {"udp:", ""},
  };
  for (const AddressCase& c : cases) {
    std::string text = c.text;
    CapturedOut out;
    EXPECT_EQ(socket_connect(text.data()), -1) << c.text;
    EXPECT_EQ(out.text(), c.printed) << c.text;
  }
}

#ifdef __linux__
// Here a record of zeroes names a socket outside the file system, which anybody may make.
TEST(SocketAddress, AnEmptyPathIsNoAbstractSocket) {
  sockaddr_un zeroes{};
  zeroes.sun_family = AF_UNIX;
  const int other = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(::bind(other, reinterpret_cast<sockaddr*>(&zeroes), sizeof zeroes), 0);
  ASSERT_EQ(::listen(other, 1), 0);
  char text[] = "";
  EXPECT_EQ(socket_connect(text), -1);
  ::close(other);
  CapturedOut out;
  EXPECT_EQ(socket_listen(text), -1);
  EXPECT_EQ(out.text(), "bind unix fail Invalid argument\n");
}
#endif

TEST(SocketAddress, TheColonIsOverwrittenInTheCallersText) {
  char text[] = "10.1:99999";
  CapturedOut out;
  EXPECT_EQ(socket_connect(text), -1);
  EXPECT_EQ(std::memcmp(text,
                        "10.1\0"
                        "99999",
                        11),
            0);
}

TEST(SocketListen, UnixPathIsReplacedBoundAndNonBlocking) {
  const ScratchFolder folder;
  const std::string path = folder.file("s");
  std::string text = path;
  ::close(::open(path.c_str(), O_CREAT | O_WRONLY, 0600));  // a stale file is no obstacle
  const int listener = socket_listen(text.data());
  ASSERT_GE(listener, 0);
  EXPECT_EQ(name_of(listener), "unix " + path);
  EXPECT_EQ(type_of(listener), SOCK_STREAM);
  EXPECT_TRUE(is_nonblocking(listener));

  std::string prefixed = "udp:" + path;  // connect skips the prefix and stays a stream
  const int client = socket_connect(prefixed.data());
  ASSERT_GE(client, 0);
  EXPECT_EQ(type_of(client), SOCK_STREAM);
  const int served = socket_accept(listener, 1000);
  EXPECT_GE(served, 0);
  ::close(served);
  ::close(client);
  ::close(listener);
  ::unlink(path.c_str());
}

TEST(SocketListen, UdpPrefixMakesADatagramSocket) {
  const ScratchFolder folder;
  const std::string path = folder.file("d");
  std::string text = "udp:" + path;
  const int fd = socket_listen(text.data());
  ASSERT_GE(fd, 0);
  EXPECT_EQ(type_of(fd), SOCK_DGRAM);
  EXPECT_TRUE(is_nonblocking(fd));
  ::close(fd);
  ::unlink(path.c_str());
}

TEST(SocketListen, Ipv4StreamAcceptsConnectionsToShortFormAddresses) {
  const std::string port = std::to_string(free_port());
  std::string any = "0.0.0.0:" + port;
  const int listener = socket_listen(any.data());
  ASSERT_GE(listener, 0);
  EXPECT_EQ(name_of(listener), "inet 0.0.0.0");
  EXPECT_EQ(std::to_string(port_of(listener)), port);
  std::string loopback = "127.1:" + port;  // 127.0.0.1
  const int client = socket_connect(loopback.data());
  ASSERT_GE(client, 0);
  EXPECT_EQ(name_of(client), "inet 127.0.0.1");
  ::close(client);
  ::close(listener);
}

TEST(SocketListen, Ipv4DatagramAndUdpListen) {
  const int port = free_port();
  std::string text = "udp:127.0.0.1:" + std::to_string(port);
  // The prefix is removed before the address is looked at, so its colon is no port's.
  const int fd = socket_listen(text.data());
  ASSERT_GE(fd, 0);
  EXPECT_EQ(type_of(fd), SOCK_DGRAM);
  EXPECT_EQ(name_of(fd), "inet 127.0.0.1");
  ::close(fd);
  const int udp = udp_listen(static_cast<std::uint16_t>(port));
  ASSERT_GE(udp, 0);
  EXPECT_EQ(type_of(udp), SOCK_DGRAM);
  EXPECT_EQ(name_of(udp), "inet 0.0.0.0");
  EXPECT_EQ(port_of(udp), port);
  EXPECT_TRUE(is_nonblocking(udp));
  ::close(udp);
}

TEST(SocketListen, FailuresSayWhat) {
  {
    char text[] = "1.2.3.4.5:80";
    CapturedOut out;
    EXPECT_EQ(socket_listen(text), -1);
    EXPECT_EQ(out.text(), "socket_listen: invalid path\n");
  }
  {
    char text[] = "/nonexistent/folder/s";
    CapturedOut out;
    EXPECT_EQ(socket_listen(text), -1);
    EXPECT_EQ(out.text(), "bind unix fail No such file or directory\n");
  }
  {
    char text[] = "203.0.113.9:8080";  // no interface has it
    CapturedOut out;
    EXPECT_EQ(socket_listen(text), -1);
    EXPECT_EQ(out.text(), "bind tcp fail Cannot assign requested address\n");
  }
}

// No descriptor can be opened while it lives.
class NoDescriptors {
 public:
  NoDescriptors() {
    ::getrlimit(RLIMIT_NOFILE, &saved_);
    const rlimit none{0, saved_.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &saved_); }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;

 private:
  rlimit saved_;
};

TEST(Sockets, WithoutDescriptorsNoneIsMade) {
  CapturedOut out;
  char unix_path[] = "udp:/tmp/never";
  char ip[] = "127.0.0.1:80";
  {
    const NoDescriptors none;
    EXPECT_EQ(socket_connect(ip), -1);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_EQ(socket_listen(unix_path), -1);
    EXPECT_EQ(udp_listen(5353), -1);
  }
  EXPECT_EQ(out.text(),
            "socket_connect: socket fail with Too many open files\n"
            "socket_listen: socket fail with Too many open files, path=udp:/tmp/never\n"
            "udp_listen: socket fail with Too many open files\n");
}

TEST(UdpListen, NamesAPortThatSomebodyElseHas) {
  const int other = ::socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in in{};
  in.sin_family = AF_INET;
  ASSERT_EQ(::bind(other, reinterpret_cast<sockaddr*>(&in), sizeof in),
            0);  // shares it with nobody
  CapturedOut out;
  EXPECT_EQ(udp_listen(static_cast<std::uint16_t>(port_of(other))), -1);
  EXPECT_EQ(errno, EADDRINUSE);
  EXPECT_EQ(out.text(), "bind tcp fail Address already in use\n");
  ::close(other);
}

TEST(SocketListen, OnePortMayBeListenedOnTwice) {
  const int port = free_port();
  std::vector<int> listeners;
  for (int turn = 0; turn < 2; ++turn) {
    std::string stream = "127.0.0.1:" + std::to_string(port);
    listeners.push_back(socket_listen(stream.data()));
    listeners.push_back(udp_listen(static_cast<std::uint16_t>(port)));
  }
  for (const int fd : listeners) {
    EXPECT_GE(fd, 0);
    ::close(fd);
  }
}

#ifdef __linux__
TEST(SocketListen, AThousandConnectionsMayWait) {
  int most = 0;
  std::ifstream("/proc/sys/net/core/somaxconn") >> most;
  std::string text = "127.0.0.1:" + std::to_string(free_port());
  const int listener = socket_listen(text.data());
  tcp_info info{};
  socklen_t length = sizeof info;
  ASSERT_EQ(::getsockopt(listener, IPPROTO_TCP, TCP_INFO, &info, &length), 0);
  EXPECT_EQ(info.tcpi_sacked, static_cast<std::uint32_t>(std::min(most, 1024)));  // of a listener
  ::close(listener);
}
#endif

// Whoever closed standard input gets its number for the next descriptor.
TEST(Sockets, DescriptorZeroIsValid) {
  const ScratchFolder folder;
  const std::string path = folder.file("z");
  CapturedOut out;
  const int saved = ::dup(STDIN_FILENO);
  const auto expect_zero = [](int fd) {
    EXPECT_EQ(fd, 0);
    ::close(STDIN_FILENO);
  };
  ::close(STDIN_FILENO);
  std::string text = path;
  expect_zero(udp_listen(static_cast<std::uint16_t>(free_port())));
  expect_zero(socket_listen(text.data()));
  const int listener = ::dup2(saved, STDIN_FILENO) == 0 ? socket_listen(text.data()) : -1;
  ::close(STDIN_FILENO);
  const int client = socket_connect(text.data());
  EXPECT_EQ(client, 0);
  const int second = ::dup(client);
  ::close(STDIN_FILENO);
  expect_zero(socket_accept(listener, 1000));
  ::dup2(saved, STDIN_FILENO);
  for (const int fd : {saved, listener, second}) ::close(fd);
  ::unlink(path.c_str());
  EXPECT_EQ(out.text(), "");
}

// "127." passes as a dotted address, its empty part counting as 0, but not with the C library.
TEST(SocketListen, WhatTheCLibraryCannotReadIsAnyAddress) {
  std::string text = "127.:" + std::to_string(free_port());
  const int listener = socket_listen(text.data());
  ASSERT_GE(listener, 0);
  EXPECT_EQ(name_of(listener), "inet 0.0.0.0");
  ::close(listener);
}

TEST(SocketAccept, TimesOutSilentlyAndNamesOtherFailures) {
  const ScratchFolder folder;
  std::string text = folder.file("a");
  const int listener = socket_listen(text.data());
  {
    CapturedOut out;
    EXPECT_EQ(socket_accept(listener, 20), -1);
    EXPECT_EQ(out.text(), "");
    EXPECT_EQ(socket_accept(listener, 0), -1);  // no wait: nobody is there
    EXPECT_EQ(out.text(), "socket_accept: Resource temporarily unavailable(11)\n");
  }
  ::close(listener);
  ::unlink(text.c_str());
}

TEST(TransferLoops, MoveABufferLargerThanOnePiece) {
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  std::string sent(100000, '\0');
  for (std::size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<char>(i * 7);
  std::thread sender([&] { EXPECT_EQ(send_all(ends[0], sent.data(), sent.size()), 0); });
  std::string got(sent.size(), '\0');
  EXPECT_EQ(receive_all(ends[1], got.data(), got.size()), 0);
  sender.join();
  EXPECT_EQ(got, sent);
  EXPECT_EQ(receive_all(ends[1], got.data(), 0), 0);  // nothing wanted: at once
  ::close(ends[0]);
  EXPECT_EQ(receive_all(ends[1], got.data(), 1), -1);  // closed
  ::close(ends[1]);
}

std::atomic<int> signals_while_waiting = 0;

// Calls `operation`, which blocks, and sends this thread signals until it is back. Returns whether
// one of them found it waiting for its peer.
template <class Operation>
bool waits_for_its_peer(const Operation& operation) {
  struct sigaction action = {};
  action.sa_handler = [](int) { signals_while_waiting += socket_is_waiting() ? 1 : 0; };
  struct sigaction before = {};
  ::sigaction(SIGUSR1, &action, &before);
  signals_while_waiting = 0;
  std::atomic<bool> back = false;
  std::thread interrupts([&back, thread = ::pthread_self()] {
    while (!back) {
      ::usleep(50000);
      ::pthread_kill(thread, SIGUSR1);
    }
  });
  operation();
  EXPECT_FALSE(socket_is_waiting());
  back = true;
  interrupts.join();
  ::sigaction(SIGUSR1, &before, nullptr);
  return signals_while_waiting > 0;
}

TEST(TransferLoops, AHandlerCanTellThatTheyWait) {
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  std::string much(4 << 20, 'm');
  EXPECT_FALSE(socket_is_waiting());
  EXPECT_TRUE(
      waits_for_its_peer([&] { EXPECT_EQ(send_all(ends[0], much.data(), much.size()), -1); }));
  EXPECT_EQ(errno, EINTR);
  EXPECT_TRUE(waits_for_its_peer([&] { EXPECT_EQ(receive_all(ends[0], much.data(), 1), -1); }));
  ::close(ends[0]);
  ::close(ends[1]);
}

#ifdef __linux__  // elsewhere a full queue refuses at once
TEST(SocketConnect, AHandlerCanTellThatItWaits) {
  const ScratchFolder folder;
  std::string text = folder.file("q");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  text.copy(address.sun_path, sizeof address.sun_path - 1);
  const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(::listen(listener, 0), 0);
  const int first = socket_connect(text.data());  // fills the queue
  EXPECT_TRUE(waits_for_its_peer([&] { EXPECT_EQ(socket_connect(text.data()), -1); }));
  ::close(first);
  ::close(listener);
  ::unlink(text.c_str());
}
#endif

TEST(TransferLoops, OneWaitIsForgivenAndTheReadAfterItBlocks) {
  using namespace std::chrono_literals;
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  std::thread late([&] {
    std::this_thread::sleep_for(2300ms);  // later than two waits together
    EXPECT_EQ(send_all(ends[0], "0123456789", 10), 0);
  });
  char got[10];
  EXPECT_EQ(receive_all(ends[1], got, sizeof got), 0);
  EXPECT_EQ(std::memcmp(got, "0123456789", 10), 0);
  late.join();
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST(TransferLoops, ASecondWaitThatRunsOutFails) {
  using namespace std::chrono_literals;
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  std::thread half([&] {
    std::this_thread::sleep_for(1200ms);  // the first wait runs out, the blocking read gets this
    EXPECT_EQ(send_all(ends[0], "01234", 5), 0);
  });
  char got[10];
  EXPECT_EQ(receive_all(ends[1], got, sizeof got), -1);
  half.join();
  ::close(ends[0]);
  ::close(ends[1]);
}

}  // namespace
}  // namespace qsvmon
