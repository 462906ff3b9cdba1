// SPDX-License-Identifier: MIT

#include "kt/diagnostics/KtDebug.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/foundation/StandardError.h"

namespace {

using kt::test::StandardErrorWrites;

// Read before any test or main() can have changed it.
const unsigned char switchAtFirst = debug;

// Counts the times that it is asked for its text.
struct Witness {
  std::string description() const {
    ++descriptions;
    return "seen";
  }
  mutable int descriptions = 0;
};

class DebugLog : public testing::Test {
 protected:
  // Without the user's own file of defaults.
  DebugLog() {
    setenv("XDG_CONFIG_HOME", "/nonexistent", 1);
    unsetenv("KtDebugEnabled");
    KtSetDebugEnabled(0);
  }
  ~DebugLog() override {
    KtSetDebugEnabled(0);
    unsetenv("KtDebugEnabled");
  }

  // The texts of the lines that were logged, without what stands in front of them.
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

TEST_F(DebugLog, IsOffAtFirst) {
  EXPECT_EQ(switchAtFirst, 0);
}

TEST_F(DebugLog, SwitchedOffWritesNothing) {
  KtDebug("Bound to port %d", 4798);
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(DebugLog, SwitchedOffDoesNotTouchItsArguments) {
  const Witness witness;
  const char *invalid = reinterpret_cast<const char *>(1);
  KtDebug("%@ %s", witness, invalid);
  KtDebug("%d %n", "for no such format", invalid);
  EXPECT_EQ(witness.descriptions, 0);
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(DebugLog, SwitchedOnWritesOneLineForEachCall) {
  const Witness witness;
  KtSetDebugEnabled(1);
  KtDebug("Registered and waiting.");
  KtDebug("%@: %s %d", witness, "port", 4798);
  EXPECT_EQ(logged(), (Lines{"Registered and waiting.\n", "seen: port 4798\n"}));
  EXPECT_EQ(witness.descriptions, 1);
}

TEST_F(DebugLog, TakesEveryTypeThatAFormatShows) {
  KtSetDebugEnabled(1);
  const char text[] = "array";
  int number = 7;
  volatile int observed = 8;
  KtDebug("%s %s %s %d %d %lld %.1f %@ %p", text, std::string("string"), std::string_view("view"),
          number, observed, 9LL, 0.5, "@", nullptr);
  EXPECT_EQ(logged(), Lines{"array string view 7 8 9 0.5 @ (nil)\n"});
}

TEST_F(DebugLog, FormattedTextIsNotExpandedAgain) {
  KtSetDebugEnabled(1);
  KtDebug("Received request\n%s %d", "%d %@ %s %n %%", 14);
  KtDebug("%@", std::string("100%"));
  EXPECT_EQ(logged(), (Lines{"Received request\n%d %@ %s %n %% 14\n", "100%\n"}));
}

TEST_F(DebugLog, AMismatchShowsInTheLine) {
  KtSetDebugEnabled(1);
  KtDebug("%d %s", "text");
  EXPECT_EQ(logged(), Lines{"%!d(string) %!s(missing)\n"});
}

TEST_F(DebugLog, TheSwitchIsStoredAsItIs) {
  for (const int enabled : {0, 1, 2, 0x80, 255}) {
    KtSetDebugEnabled(static_cast<unsigned char>(enabled));
    EXPECT_EQ(debug, enabled);
    KtDebug("on");
    EXPECT_EQ(logged().size(), enabled ? 1u : 0u) << enabled;
  }
}

TEST_F(DebugLog, TheSwitchMayBeSetDirectly) {
  debug = 4;
  KtDebug("on");
  EXPECT_EQ(logged(), Lines{"on\n"});
}

TEST_F(DebugLog, TheUserDefaultSetsTheSwitch) {
  setenv("KtDebugEnabled", "YES", 1);
  KtAutoSetDebug();
  EXPECT_EQ(debug, 1);
  setenv("KtDebugEnabled", "NO", 1);
  KtAutoSetDebug();
  EXPECT_EQ(debug, 0);
}

TEST_F(DebugLog, AnAbsentUserDefaultSwitchesOff) {
  KtSetDebugEnabled(1);
  KtAutoSetDebug();
  EXPECT_EQ(debug, 0);
}

TEST_F(DebugLog, AUserDefaultThatChangesLaterHasNoEffect) {
  KtAutoSetDebug();
  setenv("KtDebugEnabled", "YES", 1);
  KtDebug("still off");
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(DebugLog, SettingTheSwitchOverridesTheUserDefault) {
  setenv("KtDebugEnabled", "YES", 1);
  KtAutoSetDebug();
  KtSetDebugEnabled(0);
  EXPECT_EQ(debug, 0);
}

}  // namespace
