// A whole command in this process: its words, and what the daemon answers to each request. The
// input's first byte chooses the row of the command table, the second bits 0-2: batches before the
// last, bit 3: a dictionary library is claimed. Then the words, one a line, up to an empty line;
// then 16 bytes of the reply record (result, replylen, status, and the first four of the error
// text); the rest is what is in the area, again with every batch.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "rpc/socket.h"
#include "rpc/wire/request.h"
#include "tests/hostile/appliance_root.h"
#include "tests/hostile/command_rows.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace qsvmon::hostile {
namespace {

struct Input {
  std::uint8_t row = 0;
  std::uint8_t batches = 0;
  std::vector<std::string> words;
  std::uint32_t head[4] = {};
  std::string_view reply;
};

Input read_input(std::string_view bytes) {
  Input input;
  if (bytes.size() < 2) return input;
  input.row = static_cast<std::uint8_t>(bytes[0]);
  input.batches = static_cast<std::uint8_t>(bytes[1]);
  bytes.remove_prefix(2);
  while (!bytes.empty() && input.words.size() < 16) {
    const std::size_t end = std::min(bytes.find('\n'), bytes.size());
    const std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
    if (line.empty()) break;
    input.words.emplace_back(line.substr(0, line.find('\0')));
  }
  const std::size_t head = std::min(bytes.size(), sizeof input.head);
  if (head != 0) std::memcpy(input.head, bytes.data(), head);
  input.reply = bytes.substr(head);
  return input;
}

/// Both daemons, which answer with the input at hand. One command runs at a time.
class CannedDaemon {
 public:
  CannedDaemon() {
    char log_path[] = "./var/tmp/qsvlog.d";
    char mgmt_path[] = "./usr/ramdisk/var/mgmt.d";
    listeners_[0] = socket_listen(log_path);
    listeners_[1] = socket_listen(mgmt_path);
    thread_ = std::thread([this] { serve(); });
  }
  ~CannedDaemon() {
    stop_ = true;
    thread_.join();
    for (const int fd : listeners_) ::close(fd);
  }
  CannedDaemon(const CannedDaemon&) = delete;
  CannedDaemon& operator=(const CannedDaemon&) = delete;

  void begin(const Input& input) {
    input_ = &input;
    left_ = input.batches & 7;
  }

 private:
  void serve() {
    while (!stop_) {
      pollfd wanted[2] = {{listeners_[0], POLLIN, 0}, {listeners_[1], POLLIN, 0}};
      if (::poll(wanted, 2, 50) <= 0) continue;
      for (const pollfd& ready : wanted) {
        const int fd = (ready.revents & POLLIN) != 0 ? ::accept(ready.fd, nullptr, nullptr) : -1;
        if (fd < 0) continue;
        answer(fd);
        ::close(fd);
      }
    }
  }

  void answer(int fd) {
    RpcRequest record{};
    if (::recv(fd, &record, sizeof record, MSG_WAITALL) != sizeof record) return;
    void* area = ::shmat(record.shmid, nullptr, 0);
    if (area == reinterpret_cast<void*>(-1)) return;
    const std::size_t bytes = std::min<std::size_t>(input_->reply.size(), record.shmsize);
    if (bytes != 0) std::memcpy(area, input_->reply.data(), bytes);
    ::shmdt(area);
    std::memcpy(&record.result, &input_->head[0], sizeof record.result);
    record.replylen = input_->head[1];
    record.status = input_->head[2];
    std::memcpy(record.errtext, &input_->head[3], sizeof input_->head[3]);
    record.syncdesc = (input_->batches & 8) != 0;
    record.islast = left_ == 0;
    if (left_ != 0) --left_;
    (void)::send(fd, &record, sizeof record, MSG_NOSIGNAL);
  }

  const Input* input_ = nullptr;
  unsigned left_ = 0;
  std::atomic<bool> stop_{false};
  int listeners_[2] = {-1, -1};
  std::thread thread_;
};

/// What lives as long as the fuzzer.
struct Setting {
  Setting() {
    ::signal(SIGPIPE, SIG_IGN);
    (void)ScratchRoot::set_dictionary(QSVMON_FAKE_DICT);
    scratch = ::open(".", O_RDONLY | O_DIRECTORY);
  }
  int home = ::open(".", O_RDONLY | O_DIRECTORY);  // the fuzzer's files are named from here
  int scratch = -1;
  ScratchRoot root;
  MutedOut muted;
  CannedDaemon daemon;
  std::vector<CommandMatch> rows = command_rows();
};

}  // namespace
}  // namespace qsvmon::hostile

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qsvmon::hostile;
  static Setting setting;
  const Input input = read_input({reinterpret_cast<const char*>(data), size});
  std::vector<std::string> texts = input.words;
  std::vector<char*> words;
  for (std::string& text : texts) words.push_back(text.data());
  setting.daemon.begin(input);
  if (::fchdir(setting.scratch) != 0) std::abort();
  if (!run_command(setting.rows[input.row % setting.rows.size()], words, true)) std::abort();
  if (::fchdir(setting.home) != 0) std::abort();
  return 0;
}
