#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "rpc/session.h"
#include "tests/integration/appliance.h"

namespace qsvmon::harness {

/// A session of this process itself with one of the appliance's daemons, for handlers that no
/// command reaches. The process works in the appliance's folder until the end.
class OpenSession {
 public:
  OpenSession(const Appliance& appliance, const char* path, std::size_t bytes) {
    ::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(::chdir(appliance.root().c_str()), 0);
    EXPECT_EQ(rpc_init(path, bytes), 0);
  }
  ~OpenSession() {
    rpc_close(true);
    EXPECT_EQ(::chdir("/"), 0);
  }
  OpenSession(const OpenSession&) = delete;
  OpenSession& operator=(const OpenSession&) = delete;
};

/// Words as a handler gets them.
class HandlerWords {
 public:
  explicit HandlerWords(std::vector<std::string> words) : words_(std::move(words)) {
    for (std::string& word : words_) pointers_.push_back(word.data());
    pointers_.push_back(nullptr);
  }
  int count() const { return static_cast<int>(words_.size()); }
  char** words() { return pointers_.data(); }

 private:
  std::vector<std::string> words_;
  std::vector<char*> pointers_;
};

}  // namespace qsvmon::harness
