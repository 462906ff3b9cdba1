// SPDX-License-Identifier: MIT

// Replaces standard error for a test. Only one of these objects may exist at a time, and no other
// thread may write to standard error when it is made or destroyed.
#ifndef KT_TESTS_FOUNDATION_STANDARDERROR_H
#define KT_TESTS_FOUNDATION_STANDARDERROR_H

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace kt::test {

// Makes `descriptor` standard error during its lifetime. Closes `descriptor` itself.
class StandardErrorReplaced {
 public:
  explicit StandardErrorReplaced(int descriptor) : saved_(::dup(STDERR_FILENO)) {
    if (saved_ < 0 || ::dup2(descriptor, STDERR_FILENO) < 0) {
      throw std::runtime_error("cannot replace standard error");
    }
    ::close(descriptor);
  }
  StandardErrorReplaced(const StandardErrorReplaced &) = delete;
  StandardErrorReplaced &operator=(const StandardErrorReplaced &) = delete;
  ~StandardErrorReplaced() { restore(); }

  // Restores the original standard error. May be called more than once.
  void restore() {
    if (saved_ < 0) return;
    ::dup2(saved_, STDERR_FILENO);
    ::close(saved_);
    saved_ = -1;
  }

 private:
  int saved_;  // a copy of the original standard error; -1 once it is restored
};

// A pair of sockets. Each write to one arrives as one message at the other.
struct MessageSockets {
  MessageSockets() {
    std::array<int, 2> ends;
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0) {
      throw std::runtime_error("cannot make sockets");
    }
    readEnd = ends[0];
    writeEnd = ends[1];
  }
  int readEnd;
  int writeEnd;
};

// Records each write to standard error. Holds about 100 KB until take() is called.
class StandardErrorWrites {
 public:
  StandardErrorWrites() : replaced_(sockets_.writeEnd) {}
  StandardErrorWrites(const StandardErrorWrites &) = delete;
  StandardErrorWrites &operator=(const StandardErrorWrites &) = delete;
  ~StandardErrorWrites() { ::close(sockets_.readEnd); }

  // Returns the writes since the last call, one element each.
  std::vector<std::string> take() {
    std::vector<std::string> writes;
    std::vector<char> message(1 << 18);
    while (true) {
      const ssize_t size = ::recv(sockets_.readEnd, message.data(), message.size(), MSG_DONTWAIT);
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
