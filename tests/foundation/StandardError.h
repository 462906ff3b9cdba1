// SPDX-License-Identifier: MIT

// Standard error, taken by a test. Each object replaces the descriptor for as long as it lives; one
// at a time, while no other thread writes there.
#ifndef KT_TESTS_FOUNDATION_STANDARDERROR_H
#define KT_TESTS_FOUNDATION_STANDARDERROR_H

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace kt::test {

// Makes `descriptor`, which it closes, standard error.
class StandardErrorReplaced {
 public:
  explicit StandardErrorReplaced(int descriptor) : saved_(dup(STDERR_FILENO)) {
    if (saved_ < 0 || dup2(descriptor, STDERR_FILENO) < 0) throw std::runtime_error("dup2");
    close(descriptor);
  }
  StandardErrorReplaced(const StandardErrorReplaced &) = delete;
  StandardErrorReplaced &operator=(const StandardErrorReplaced &) = delete;
  ~StandardErrorReplaced() { restore(); }

  void restore() {
    if (saved_ < 0) return;
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    saved_ = -1;
  }

 private:
  int saved_;  // the descriptor that was standard error; -1 when it is again
};

// The two ends of a socket that keeps messages apart: each write arrives as one.
struct MessageSockets {
  MessageSockets() {
    std::array<int, 2> ends;
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0) {
      throw std::runtime_error("socketpair");
    }
    readEnd = ends[0];
    writeEnd = ends[1];
  }
  int readEnd;
  int writeEnd;
};

// Records the writes to standard error, each by itself. Holds about 100 KB until they are taken.
class StandardErrorWrites {
 public:
  StandardErrorWrites() : replaced_(sockets_.writeEnd) {}
  StandardErrorWrites(const StandardErrorWrites &) = delete;
  StandardErrorWrites &operator=(const StandardErrorWrites &) = delete;
  ~StandardErrorWrites() { close(sockets_.readEnd); }

  // What was written since the last call, one entry for each write.
  std::vector<std::string> take() {
    std::vector<std::string> writes;
    std::vector<char> message(1 << 18);
    for (;;) {
      const ssize_t size = recv(sockets_.readEnd, message.data(), message.size(), MSG_DONTWAIT);
      if (size <= 0) return writes;
      writes.emplace_back(message.data(), static_cast<std::size_t>(size));
    }
  }

 private:
  MessageSockets sockets_;
  StandardErrorReplaced replaced_;
};

}  // namespace kt::test

#endif
