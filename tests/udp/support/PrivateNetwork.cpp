// SPDX-License-Identifier: MIT

#include "tests/udp/support/PrivateNetwork.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>

namespace kt::test {

namespace {

// Returns whether the process has its own user namespace and sees only one interface, loopback.
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
    std::cerr << "This test sends broadcasts. Run it with tests/private-network.\n";
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

}  // namespace kt::test
