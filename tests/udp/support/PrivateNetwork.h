// SPDX-License-Identifier: MIT

// The network of this folder's tests: only a loopback interface, which takes broadcasts too
// (tests/private-network creates it). A test program that links this refuses to run anywhere else,
// because clients send to 255.255.255.255.
#ifndef KT_TESTS_UDP_SUPPORT_PRIVATENETWORK_H
#define KT_TESTS_UDP_SUPPORT_PRIVATENETWORK_H

#include <string>
#include <string_view>

namespace kt::test {

// Replaces the hosts file of this network with `content` while the object lives, and makes it the
// only source of names. One object at a time.
class HostsFile {
 public:
  explicit HostsFile(std::string_view content);
  HostsFile(const HostsFile &) = delete;
  HostsFile &operator=(const HostsFile &) = delete;
  ~HostsFile();

 private:
  std::string folder_;  // holds the two files that cover those of the system
};

}  // namespace kt::test

#endif
