// SPDX-License-Identifier: MIT

#include "tools/ktd/HandlerText.h"

#include <gtest/gtest.h>

#include "tools/ktd/Kinds.h"

namespace kt::test {
namespace {

using namespace tools;

using Words = std::vector<std::string>;

TEST(HandlerText, NamesKindProgramAndArguments) {
  const auto [kind, handler] = readHandle("Disks=/bin/df -h /srv");
  EXPECT_EQ(kind, "Disks");
  EXPECT_EQ(handler, (Handler{"/bin/df", {"-h", "/srv"}}));
}

TEST(HandlerText, SplitsAtFirstEqualsSign) {
  const auto [kind, handler] = readHandle("Set=/bin/env A=1");
  EXPECT_EQ(kind, "Set");
  EXPECT_EQ(handler, (Handler{"/bin/env", {"A=1"}}));
}

TEST(HandlerText, MayHaveNoArguments) {
  EXPECT_EQ(handleProblem("Uptime=/usr/bin/uptime"), "");
  EXPECT_EQ(readHandle("Uptime=/usr/bin/uptime").second, (Handler{"/usr/bin/uptime", {}}));
}

TEST(HandlerText, SplitsAtRunsOfBlanks) {
  EXPECT_EQ(wordsOf("  /bin/df\t -h\n"), (Words{"/bin/df", "-h"}));
  EXPECT_EQ(wordsOf(" \t\n"), Words{});
  EXPECT_EQ(wordsOf(""), Words{});
}

TEST(HandlerText, HasNoQuoting) {
  EXPECT_EQ(wordsOf("/bin/echo 'a b' \\ c"), (Words{"/bin/echo", "'a", "b'", "\\", "c"}));
}

TEST(HandlerText, WithoutProgramIsRefused) {
  for (const char *text : {"Uptime", "Uptime=", "Uptime= "}) {
    EXPECT_EQ(handleProblem(text), "the program is missing") << text;
  }
}

TEST(HandlerText, WithRelativeProgramIsRefused) {
  EXPECT_EQ(handleProblem("Uptime=uptime"),
            "the program \"uptime\" is not an absolute path such as /usr/bin/uptime");
}

TEST(HandlerText, WithoutKindIsRefused) {
  EXPECT_EQ(handleProblem("=/usr/bin/uptime"), "the kind is empty");
  EXPECT_EQ(handleProblem(""), "the kind is empty");
}

TEST(HandlerText, WithBuiltInKindIsRefused) {
  for (const Kind &kind : allKinds()) {
    EXPECT_NE(kindProblem(kind.name), "") << kind.name;
  }
  EXPECT_EQ(handleProblem("Echo=/bin/echo"), "the kind \"Echo\" is built in");
}

TEST(HandlerText, WithKeywordOfProtocolIsRefused) {
  for (const std::string kind : {"HelloKtUDP", "_ServerName", "Sealed"}) {
    EXPECT_EQ(kindProblem(kind), "the kind \"" + kind + "\" is reserved");
  }
}

TEST(HandlerText, WithKindThatNobodyCanAskForIsRefused) {
  EXPECT_EQ(kindProblem("Uptime "), "the kind \"Uptime \" begins or ends with a blank");
  EXPECT_EQ(kindProblem("\tUptime"), "the kind \"\\tUptime\" begins or ends with a blank");
  EXPECT_EQ(kindProblem("\xff"), "the kind \"\\Ufffd\" is not UTF-8");
}

TEST(HandlerText, MayHaveAnyOtherKind) {
  for (const char *kind : {"Uptime", "echo", "Disk usage", "\u00e4", "a.b/c"}) {
    EXPECT_EQ(kindProblem(kind), "") << kind;
  }
}

}  // namespace
}  // namespace kt::test
