// SPDX-License-Identifier: MIT

#include "kt/foundation/HostName.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstddef>
#include <string>

#include "tests/foundation/Namespaces.h"

namespace kt::test {
namespace {

// Sets the machine's name and returns whether kt::hostName() returns the same.
bool isHostNameOnceSet(const std::string &name) {
  return ::sethostname(name.data(), name.size()) == 0 && kt::hostName() == name;
}

TEST(HostName, ReturnsNameReportedBySystem) {
  utsname system{};
  ASSERT_EQ(::uname(&system), 0);
  EXPECT_EQ(kt::hostName(), system.nodename);
}

TEST(HostName, ReturnsNameUnchangedWithoutLookup) {
  const auto taken = inNamespaces(CLONE_NEWUTS | CLONE_NEWNET, [] {
    return isHostNameOnceSet("no-such-host.invalid") && isHostNameOnceSet("short") &&
           isHostNameOnceSet("");
  });
  if (!taken) GTEST_SKIP() << "namespaces are not available";
  EXPECT_TRUE(*taken);
}

TEST(HostName, ReturnsLongestNameWhole) {
  const auto whole = inNamespaces(CLONE_NEWUTS, [] {
    return isHostNameOnceSet(
        std::string(static_cast<std::size_t>(sysconf(_SC_HOST_NAME_MAX)), 'n'));
  });
  if (!whole) GTEST_SKIP() << "namespaces are not available";
  EXPECT_TRUE(*whole);
}

}  // namespace
}  // namespace kt::test
