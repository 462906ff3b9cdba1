// SPDX-License-Identifier: MIT

// The network that the tests of this folder run in: one of their own, with nothing but a loopback
// interface that takes broadcasts too (tests/private-network makes it). Including this header makes
// the test program refuse to run anywhere else, because clients send to 255.255.255.255.
#ifndef KT_TESTS_UDP_SUPPORT_PRIVATENETWORK_H
#define KT_TESTS_UDP_SUPPORT_PRIVATENETWORK_H

#include <netinet/in.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace test {

// Makes `content` the hosts file of this network while the object lives, and the hosts file the
// only source of names. One at a time.
class HostsFile {
 public:
  explicit HostsFile(std::string_view content);
  HostsFile(const HostsFile &) = delete;
  HostsFile &operator=(const HostsFile &) = delete;
  ~HostsFile();

 private:
  std::string folder_;  // holds the two files that cover those of the system
};

// The address of a dotted text, in network byte order.
[[nodiscard]] std::uint32_t address(const char *dotted);

[[nodiscard]] sockaddr_in loopback(std::uint16_t port);

// "127.0.0.1:4798", for failures that show what was seen.
[[nodiscard]] std::string text(const sockaddr_in &value);

}  // namespace test

#endif
