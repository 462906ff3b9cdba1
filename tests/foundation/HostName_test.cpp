// SPDX-License-Identifier: MIT

#include "kt/foundation/HostName.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <string>

#include "tests/foundation/Namespaces.h"

namespace {

bool isHostNameOnceSet(const std::string &name) {
  return sethostname(name.data(), name.size()) == 0 && kt::hostName() == name;
}

TEST(HostName, IsTheNameThatTheSystemReports) {
  utsname system{};
  ASSERT_EQ(uname(&system), 0);
  EXPECT_EQ(kt::hostName(), system.nodename);
}

TEST(HostName, IsTakenAsItWasSetWithoutAskingForIt) {
  const auto taken = kt::test::inNamespaces(CLONE_NEWUTS | CLONE_NEWNET, [] {
    return isHostNameOnceSet("no-such-host.invalid") && isHostNameOnceSet("short") &&
           isHostNameOnceSet("");
  });
  if (!taken) GTEST_SKIP() << "the system gives no namespaces";
  EXPECT_TRUE(*taken);
}

TEST(HostName, OfTheLongestKindIsWhole) {
  const auto whole = kt::test::inNamespaces(CLONE_NEWUTS, [] {
    return isHostNameOnceSet(
        std::string(static_cast<std::size_t>(sysconf(_SC_HOST_NAME_MAX)), 'n'));
  });
  if (!whole) GTEST_SKIP() << "the system gives no namespaces";
  EXPECT_TRUE(*whole);
}

}  // namespace
