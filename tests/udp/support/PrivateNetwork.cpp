// SPDX-License-Identifier: MIT

#include "tests/udp/support/PrivateNetwork.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/mount.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>

namespace test {

namespace {

// Whether the process has a user namespace of its own and sees no interface but loopback.
bool inPrivateNetwork() {
  std::ifstream map("/proc/self/uid_map");
  const std::string users{std::istreambuf_iterator<char>(map), {}};
  if (users.find("4294967295") != std::string::npos) return false;
  struct if_nameindex *interfaces = ::if_nameindex();
  if (interfaces == nullptr) return false;
  const bool onlyOne = interfaces[0].if_index != 0 && interfaces[1].if_index == 0;
  ::if_freenameindex(interfaces);
  return onlyOne;
}

class RequirePrivateNetwork : public testing::Environment {
 public:
  void SetUp() override {
    if (inPrivateNetwork()) return;
    std::cerr << "This test sends broadcasts: run it with tests/private-network.\n";
    std::_Exit(1);
  }
};

[[maybe_unused]] testing::Environment *const environment =
    testing::AddGlobalTestEnvironment(new RequirePrivateNetwork);

void cover(const std::string &file, const char *systemFile, std::string_view content) {
  std::ofstream(file) << content;
  ASSERT_EQ(::mount(file.c_str(), systemFile, nullptr, MS_BIND, nullptr), 0)
      << systemFile << ": errno " << errno;
}

}  // namespace

HostsFile::HostsFile(std::string_view content) {
  std::array<char, 32> name{"/tmp/kt-hosts-XXXXXX"};
  if (::mkdtemp(name.data()) == nullptr) std::abort();
  folder_ = name.data();
  cover(folder_ + "/hosts", "/etc/hosts", content);
  cover(folder_ + "/nsswitch.conf", "/etc/nsswitch.conf", "hosts: files\n");
}

HostsFile::~HostsFile() {
  for (const char *systemFile : {"/etc/hosts", "/etc/nsswitch.conf"}) {
    EXPECT_EQ(::umount2(systemFile, MNT_DETACH), 0) << systemFile;
  }
  for (const char *file : {"/hosts", "/nsswitch.conf", ""}) {
    EXPECT_EQ(std::remove((folder_ + file).c_str()), 0) << folder_ << file;
  }
}

std::uint32_t address(const char *dotted) {
  return ::inet_addr(dotted);
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  result.sin_port = htons(port);
  result.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return result;
}

std::string text(const sockaddr_in &value) {
  std::array<char, INET_ADDRSTRLEN> dotted{};
  ::inet_ntop(AF_INET, &value.sin_addr, dotted.data(), dotted.size());
  return std::string(dotted.data()) + ":" + std::to_string(ntohs(value.sin_port));
}

}  // namespace test
