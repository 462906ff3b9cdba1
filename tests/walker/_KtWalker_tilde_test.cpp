// SPDX-License-Identifier: MIT

// Leading tildes: walkTrees expands them; walkTree and walkDirectory do not.
#include <gtest/gtest.h>
#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

#include "kt/walker/_KtWalker.h"
#include "tests/walker/Recorders.h"
#include "tests/walker/Tree.h"

namespace kt::test {
namespace {

// Each test has its own working directory and its own HOME.
class KtWalkerTilde : public testing::Test {
 protected:
  void SetUp() override {
    if (const char *home = getenv("HOME"); home != nullptr) home_ = home;
    setenv("HOME", tree_.at("home").c_str(), 1);
    folder_ = std::filesystem::current_path();
    std::filesystem::current_path(tree_.root());
  }

  void TearDown() override {
    std::filesystem::current_path(folder_);
    if (home_) setenv("HOME", home_->c_str(), 1);
  }

  // Returns the expanded `paths`: what walkTrees reports if the empty extension is accepted and
  // none of them exists.
  static Paths rootsOf(const Paths &paths) {
    Finder finder;
    _KtWalker walker;
    walker.setFileTypes({""});
    walker.setDelegate(&finder);
    walker.setRecursive(false);
    walker.walkTrees(paths);
    return finder.found;
  }

  Tree tree_{"home/docs.txt/a.txt", "~/docs.txt/b.txt", "~nobody-of-that-name/c"};
  std::optional<std::string> home_;
  std::filesystem::path folder_;
};

TEST_F(KtWalkerTilde, ExpandsToHomeInWalkTrees) {
  Finder finder;
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setDelegate(&finder);
  walker.walkTrees({"~/docs.txt", "~"});
  EXPECT_EQ(finder.found, (Paths{tree_.at("home/docs.txt"), tree_.at("home/docs.txt/a.txt"),
                                 tree_.at("home/docs.txt"), tree_.at("home/docs.txt/a.txt")}));
}

TEST_F(KtWalkerTilde, StaysLiteralInWalkTreeAndWalkDirectory) {
  EXPECT_EQ(foundBelow("~/docs.txt", {"txt"}), (Paths{"~/docs.txt", "~/docs.txt/b.txt"}));
  Finder finder;
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setDelegate(&finder);
  walker.walkDirectory("~");
  EXPECT_EQ(finder.found, (Paths{"~/docs.txt", "~/docs.txt/b.txt"}));
}

TEST_F(KtWalkerTilde, ExpandsToHomeOfNamedUser) {
  const passwd *user = getpwuid(getuid());
  ASSERT_NE(user, nullptr);
  const std::string name = user->pw_name;
  const std::string home = user->pw_dir;
  EXPECT_EQ(rootsOf({"~" + name + "/no such file"}), Paths{home + "/no such file"});
}

TEST_F(KtWalkerTilde, StaysLiteralForUnknownUser) {
  EXPECT_EQ(rootsOf({"~nobody-of-that-name"}),
            (Paths{"~nobody-of-that-name", "~nobody-of-that-name/c"}));
}

TEST_F(KtWalkerTilde, StaysLiteralInsidePath) {
  EXPECT_EQ(rootsOf({"./~/x", "x~", ""}), (Paths{"./~/x", "x~", ""}));
}

TEST_F(KtWalkerTilde, ExpandsByUserDatabaseWithoutHome) {
  const passwd *user = getpwuid(getuid());
  ASSERT_NE(user, nullptr);
  const Paths expected{std::string(user->pw_dir) + "/no such file"};
  unsetenv("HOME");
  EXPECT_EQ(rootsOf({"~/no such file"}), expected);
  setenv("HOME", "", 1);
  EXPECT_EQ(rootsOf({"~/no such file"}), expected);
}

TEST_F(KtWalkerTilde, JoinsWithOneSlashAndKeepsTrailingSlashes) {
  setenv("HOME", "/no/such/home//", 1);
  EXPECT_EQ(rootsOf({"~/x", "~/x/", "~/", "~"}),
            (Paths{"/no/such/home/x", "/no/such/home/x/", "/no/such/home/", "/no/such/home//"}));
  setenv("HOME", "/", 1);
  EXPECT_EQ(rootsOf({"~/no such file"}), Paths{"/no such file"});
}

}  // namespace
}  // namespace kt::test
