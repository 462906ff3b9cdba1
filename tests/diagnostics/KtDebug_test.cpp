// SPDX-License-Identifier: MIT

#include "kt/diagnostics/KtDebug.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "tests/foundation/StandardError.h"

namespace kt::test {
namespace {

// Read during static initialisation, before a test or main() can change it.
const unsigned char switchAtFirst = debug;

// Counts the calls of its description().
struct Witness {
  std::string description() const {
    ++descriptions;
    return "seen";
  }
  mutable int descriptions = 0;
};

class DebugLog : public testing::Test {
 protected:
  // Hides the user's own file of defaults.
  DebugLog() {
    setenv("XDG_CONFIG_HOME", "/nonexistent", 1);
    unsetenv("KtDebugEnabled");
    KtSetDebugEnabled(0);
  }
  ~DebugLog() override {
    KtSetDebugEnabled(0);
    unsetenv("KtDebugEnabled");
  }

  // Returns the texts of the logged lines, without their prefixes.
  std::vector<std::string> logged() {
    std::vector<std::string> texts = writes_.take();
    for (std::string &text : texts) {
      text = text.substr(text.find("] ") + 2);
    }
    return texts;
  }

  StandardErrorWrites writes_;
};

using Lines = std::vector<std::string>;

TEST_F(DebugLog, IsOffAtStart) {
  EXPECT_EQ(switchAtFirst, 0);
}

TEST_F(DebugLog, WritesNothingWhenOff) {
  KtDebug("Bound to port %d", 4798);
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(DebugLog, LeavesArgumentsUntouchedWhenOff) {
  const Witness witness;
  const char *invalid = reinterpret_cast<const char *>(1);
  KtDebug("%@ %s", witness, invalid);
  KtDebug("%d %n", "for no such format", invalid);
  EXPECT_EQ(witness.descriptions, 0);
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(DebugLog, WritesOneLinePerCallWhenOn) {
  const Witness witness;
  KtSetDebugEnabled(1);
  KtDebug("Registered and waiting.");
  KtDebug("%@: %s %d", witness, "port", 4798);
  EXPECT_EQ(logged(), (Lines{"Registered and waiting.\n", "seen: port 4798\n"}));
  EXPECT_EQ(witness.descriptions, 1);
}

TEST_F(DebugLog, TakesEveryTypeOfFormatArgument) {
  KtSetDebugEnabled(1);
  const char text[] = "array";
  int number = 7;
  volatile int observed = 8;
  KtDebug("%s %s %s %d %d %lld %.1f %@ %p", text, std::string("string"), std::string_view("view"),
          number, observed, 9LL, 0.5, "@", nullptr);
  EXPECT_EQ(logged(), Lines{"array string view 7 8 9 0.5 @ (nil)\n"});
}

TEST_F(DebugLog, DoesNotExpandFormattedTextAgain) {
  KtSetDebugEnabled(1);
  KtDebug("Received request\n%s %d", "%d %@ %s %n %%", 14);
  KtDebug("%@", std::string("100%"));
  EXPECT_EQ(logged(), (Lines{"Received request\n%d %@ %s %n %% 14\n", "100%\n"}));
}

TEST_F(DebugLog, ShowsMismatchedArgumentsInLine) {
  KtSetDebugEnabled(1);
  KtDebug("%d %s", "text");
  EXPECT_EQ(logged(), Lines{"%!d(string) %!s(missing)\n"});
}

TEST_F(DebugLog, StoresSwitchUnchanged) {
  for (const int enabled : {0, 1, 2, 0x80, 255}) {
    KtSetDebugEnabled(static_cast<unsigned char>(enabled));
    EXPECT_EQ(debug, enabled);
    KtDebug("on");
    EXPECT_EQ(logged().size(), enabled ? 1u : 0u) << enabled;
  }
}

TEST_F(DebugLog, ObeysSwitchSetDirectly) {
  debug = 4;
  KtDebug("on");
  EXPECT_EQ(logged(), Lines{"on\n"});
}

TEST_F(DebugLog, TakesSwitchFromUserDefault) {
  setenv("KtDebugEnabled", "YES", 1);
  KtAutoSetDebug();
  EXPECT_EQ(debug, 1);
  setenv("KtDebugEnabled", "NO", 1);
  KtAutoSetDebug();
  EXPECT_EQ(debug, 0);
}

TEST_F(DebugLog, TurnsOffWithoutUserDefault) {
  KtSetDebugEnabled(1);
  KtAutoSetDebug();
  EXPECT_EQ(debug, 0);
}

TEST_F(DebugLog, IgnoresLaterChangeOfUserDefault) {
  KtAutoSetDebug();
  setenv("KtDebugEnabled", "YES", 1);
  KtDebug("still off");
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(DebugLog, LetsCallerOverrideUserDefault) {
  setenv("KtDebugEnabled", "YES", 1);
  KtAutoSetDebug();
  KtSetDebugEnabled(0);
  EXPECT_EQ(debug, 0);
}

}  // namespace
}  // namespace kt::test
