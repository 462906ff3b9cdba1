// SPDX-License-Identifier: MIT

// Which methods of a delegate a walker calls, when, and what their results do.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>

#include "kt/walker/_KtWalker.h"
#include "tests/walker/Recorders.h"
#include "tests/walker/Tree.h"

namespace kt::test {
namespace {

class KtWalkerDelegate : public testing::Test {
 protected:
  template <class Delegate>
  void walkFor(Delegate &delegate, const std::string &root) {
    walker_.setFileTypes({"txt"});
    walker_.setDelegate(&delegate);
    walker_.walkTree(root);
  }

  _KtWalker walker_;
};

// ---- Methods ----

struct ReturnsVoid {
  void fileFound(const std::string &) { called = true; }
  bool wantsAbort() { return false; }
  bool called = false;
};

struct AborterOnly {
  bool wantsAbort() {
    ++asked;
    return false;
  }
  int asked = 0;
};

struct Const {
  bool fileFound(const std::string &) const { return ++*found > 0; }
  int *found;
};

template <typename Answer>
struct Answering {
  const Answer &fileFound(const std::string &) {
    ++found;
    return answer;
  }
  Answer answer{};
  int found = 0;
};

TEST_F(KtWalkerDelegate, IsNotCalledIfFileFoundReturnsVoid) {
  const Tree tree{"a.txt"};
  ReturnsVoid delegate;
  walkFor(delegate, tree.root());
  EXPECT_FALSE(delegate.called);
}

TEST_F(KtWalkerDelegate, MayHaveOnlyWantsAbort) {
  const Tree tree{"a.txt", "d/b.txt", "d/e/", "f.txt/"};
  AborterOnly aborter;
  walkFor(aborter, tree.root());
  EXPECT_EQ(aborter.asked, 4);
}

TEST_F(KtWalkerDelegate, MayBeConst) {
  const Tree tree{"a.txt", "b.txt"};
  int found = 0;
  const Const delegate{&found};
  walkFor(delegate, tree.root());
  EXPECT_EQ(found, 2);
}

TEST_F(KtWalkerDelegate, MayBeNullOrRemoved) {
  const Tree tree{"a.txt"};
  Director director;
  walkFor(director, tree.root());
  walker_.setDelegate(nullptr);
  walker_.walkTree(tree.root());
  walker_.setDelegate(static_cast<Director *>(nullptr));
  walker_.walkTree(tree.root());
  EXPECT_EQ(director.found.size(), 1U);
  EXPECT_EQ(director.asked, 1);
}

TEST_F(KtWalkerDelegate, ReplacesMethodsOfPreviousDelegate) {
  const Tree tree{"a.txt"};
  Director director;
  AborterOnly other;
  walker_.setDelegate(&director);
  walkFor(other, tree.root());
  EXPECT_EQ(director.found, Paths());
  EXPECT_EQ(director.asked, 0);
}

TEST_F(KtWalkerDelegate, MayReturnAnythingConvertibleToBool) {
  const Tree tree{"a.txt", "b.txt"};
  Answering<std::optional<int>> nothing;
  walkFor(nothing, tree.root());
  EXPECT_EQ(nothing.found, 1);
  EXPECT_TRUE(walker_.aborted());
  Answering<std::unique_ptr<int>> something{std::make_unique<int>(0)};
  walkFor(something, tree.root());
  EXPECT_EQ(something.found, 2);
  EXPECT_FALSE(walker_.aborted());
  Answering<int> number{256};
  walkFor(number, tree.root());
  EXPECT_EQ(number.found, 2);
}

// ---- fileFound ----

TEST_F(KtWalkerDelegate, SetsAbortedByResultOfFileFound) {
  Finder finder;
  walker_.setDelegate(&finder);
  finder.answer = [](const std::string &path) { return path != "stop"; };
  walker_.fileFound("stop");
  EXPECT_TRUE(walker_.aborted());
  walker_.fileFound("unaccepted");
  EXPECT_FALSE(walker_.aborted());
  EXPECT_EQ(finder.found, (Paths{"stop", "unaccepted"}));
}

TEST_F(KtWalkerDelegate, LeavesAbortedUnchangedWithoutFileFound) {
  Finder finder;
  finder.answer = [](const std::string &) { return false; };
  walker_.setDelegate(&finder);
  walker_.fileFound("a");
  AborterOnly other;
  walker_.setDelegate(&other);
  walker_.fileFound("b");
  EXPECT_TRUE(walker_.aborted());
}

TEST_F(KtWalkerDelegate, StopsWalkAtFirstFile) {
  const Tree tree{"a.txt", "b.txt", "d/c.txt", "d/e/f.txt", "g/h.txt"};
  Finder finder;
  finder.answer = [](const std::string &) { return false; };
  walkFor(finder, tree.root());
  EXPECT_EQ(finder.found.size(), 1U);
  EXPECT_TRUE(walker_.aborted());
}

TEST_F(KtWalkerDelegate, StopsWholeTreeFromSubdirectory) {
  const Tree tree{"d/e/f/deep.txt", "d/e/f/deeper.txt", "d/e/b.txt", "d/c.txt", "a.txt"};
  Finder finder;
  finder.answer = [](const std::string &path) { return path.find("/deep") == std::string::npos; };
  walkFor(finder, tree.root());
  EXPECT_TRUE(walker_.aborted());
  EXPECT_NE(finder.found.back().find("/deep"), std::string::npos) << finder.found.back();
}

TEST_F(KtWalkerDelegate, StopsWalkAtPackageBeforeItsEntries) {
  const Tree tree{"x.txt/a.txt"};
  Finder finder;
  finder.answer = [](const std::string &) { return false; };
  walkFor(finder, tree.root());
  EXPECT_EQ(finder.found, Paths{tree.at("x.txt")});
}

// ---- wantsAbort ----

TEST_F(KtWalkerDelegate, ReceivesDirectoryPathDespiteAbort) {
  const Tree tree{"root.txt/a.txt", "root.txt/d/b.txt"};
  Director director;
  director.abort = [] { return true; };
  walkFor(director, tree.at("root.txt"));
  EXPECT_EQ(director.found, Paths{tree.at("root.txt")});
  EXPECT_EQ(director.asked, 1);
  EXPECT_TRUE(walker_.aborted());
}

TEST_F(KtWalkerDelegate, ReceivesNoUnacceptableDirectoryPathAfterAbort) {
  const Tree tree{"a.txt", "d/b.txt"};
  Director director;
  director.abort = [] { return true; };
  walkFor(director, tree.root());
  EXPECT_EQ(director.found, Paths());
}

TEST_F(KtWalkerDelegate, StopsWholeTreeByWantsAbortInSubdirectory) {
  const Tree tree{"d/e.txt/a.txt"};
  Director director;
  director.abort = [&] { return director.asked == 3; };
  walkFor(director, tree.root());
  EXPECT_EQ(director.found, Paths{tree.at("d/e.txt")});
  EXPECT_TRUE(walker_.aborted());
}

TEST_F(KtWalkerDelegate, IsAskedBeforeDirectoryIsReported) {
  const Tree tree{"x.txt/"};
  Director director;
  int askedBefore = 0;
  director.answer = [&](const std::string &) { return askedBefore = director.asked; };
  walkFor(director, tree.at("x.txt"));
  EXPECT_EQ(askedBefore, 1);
}

// ---- State between calls ----

TEST_F(KtWalkerDelegate, WalkDirectoryKeepsEarlierAbort) {
  const Tree tree{"x.txt/a.txt"};
  Finder finder;
  finder.answer = [](const std::string &) { return false; };
  walkFor(finder, tree.at("x.txt"));
  ASSERT_TRUE(walker_.aborted());
  finder.answer = [](const std::string &) { return true; };
  walker_.walkDirectory(tree.at("x.txt"));
  EXPECT_EQ(finder.found, Paths(2, tree.at("x.txt")))
      << "the result true must not clear the earlier abort";
  EXPECT_TRUE(walker_.aborted());
}

TEST_F(KtWalkerDelegate, WalkTreeClearsEarlierAbort) {
  const Tree tree{"a.txt"};
  Finder finder;
  finder.answer = [](const std::string &) { return false; };
  walkFor(finder, tree.root());
  walkFor(finder, tree.root());
  EXPECT_EQ(finder.found.size(), 2U);
}

TEST_F(KtWalkerDelegate, WantsAbortClearsEarlierAbort) {
  const Tree tree{"a.txt"};
  Director director;
  director.answer = [](const std::string &) { return false; };
  walkFor(director, tree.root());
  walker_.walkDirectory(tree.root());
  EXPECT_EQ(director.found.size(), 2U);
}

TEST_F(KtWalkerDelegate, ReceivesOnlyRootsOfTreesAfterAbort) {
  const Tree tree{"1.txt/a.txt", "2.txt/b.txt", "3/c.txt"};
  Finder finder;
  finder.answer = [](const std::string &path) { return !path.ends_with("a.txt"); };
  walker_.setFileTypes({"txt"});
  walker_.setDelegate(&finder);
  walker_.walkTrees({tree.at("1.txt"), tree.at("2.txt"), tree.at("3")});
  EXPECT_EQ(finder.found, (Paths{tree.at("1.txt"), tree.at("1.txt/a.txt"), tree.at("2.txt")}));
  EXPECT_TRUE(walker_.aborted());
}

TEST_F(KtWalkerDelegate, DecidesAgainForEachTree) {
  const Tree tree{"1.txt/a.txt", "2.txt/b.txt"};
  Director director;
  director.answer = [](const std::string &path) { return !path.ends_with("a.txt"); };
  walker_.setFileTypes({"txt"});
  walker_.setDelegate(&director);
  walker_.walkTrees({tree.at("1.txt"), tree.at("2.txt")});
  EXPECT_EQ(director.found, (Paths{tree.at("1.txt"), tree.at("1.txt/a.txt"), tree.at("2.txt"),
                                   tree.at("2.txt/b.txt")}));
  EXPECT_FALSE(walker_.aborted());
}

TEST_F(KtWalkerDelegate, WalkTreesClearsAbortWithoutTrees) {
  Finder finder;
  finder.answer = [](const std::string &) { return false; };
  walker_.setDelegate(&finder);
  walker_.fileFound("a");
  walker_.walkTrees({});
  EXPECT_FALSE(walker_.aborted());
}

// ---- Side effects ----

TEST_F(KtWalkerDelegate, EndsWalkByException) {
  const Tree tree{"a.txt", "d/b.txt"};
  Director director;
  director.answer = [](const std::string &) -> bool { throw std::runtime_error("found"); };
  EXPECT_THROW(walkFor(director, tree.root()), std::runtime_error);
  EXPECT_EQ(director.found.size(), 1U);
  director.answer = [](const std::string &) { return true; };
  director.abort = [&]() -> bool { throw std::logic_error("asked"); };
  EXPECT_THROW(walker_.walkTree(tree.root()), std::logic_error);
  director.abort = [] { return false; };
  walker_.walkTree(tree.root());
  EXPECT_EQ(director.found.size(), 3U);
}

std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST_F(KtWalkerDelegate, LeavesNoDescriptorOpenAfterException) {
  const Tree tree{"d/e/f/a.txt"};
  const std::ptrdiff_t before = openDescriptors();
  Director director;
  director.abort = [&]() -> bool {
    return director.asked == 3 ? throw std::runtime_error("asked") : false;
  };
  EXPECT_THROW(walkFor(director, tree.root()), std::runtime_error);
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(KtWalkerDelegate, IsCalledWithoutOpenDescriptors) {
  const Tree tree{"d/e/f/a.txt"};
  const std::ptrdiff_t before = openDescriptors();
  Finder finder;
  std::ptrdiff_t during = 0;
  finder.answer = [&](const std::string &) { return (during = openDescriptors()) > 0; };
  walkFor(finder, tree.root());
  EXPECT_EQ(during, before);
}

TEST_F(KtWalkerDelegate, MayWalkWithSameWalker) {
  const Tree tree{"a.txt", "d/b.txt"};
  const Tree other{"c.txt"};
  Finder finder;
  finder.answer = [&](const std::string &path) {
    if (path.starts_with(tree.root())) walker_.walkTree(other.root());
    return true;
  };
  walkFor(finder, tree.root());
  EXPECT_EQ(sorted(finder.found),
            sorted({tree.at("a.txt"), tree.at("d/b.txt"), other.at("c.txt"), other.at("c.txt")}));
}

TEST_F(KtWalkerDelegate, MayChangeSettingsDuringWalk) {
  const Tree tree{"x.txt/a.txt", "x.txt/b.dat", "x.txt/d.dat/c.dat"};
  Finder finder;
  finder.answer = [&](const std::string &) {
    walker_.setFileTypes({"dat"});
    walker_.setRecursive(false);
    return true;
  };
  walkFor(finder, tree.at("x.txt"));
  EXPECT_EQ(sorted(finder.found),
            (Paths{tree.at("x.txt"), tree.at("x.txt/b.dat"), tree.at("x.txt/d.dat")}));
}

TEST_F(KtWalkerDelegate, MayAddFilesThatAreNotVisited) {
  Tree tree{"1.txt", "2.txt", "3.txt"};
  Finder finder;
  finder.answer = [&](const std::string &path) {
    std::filesystem::rename(path, path + ".again.txt");
    tree.add(std::to_string(finder.found.size()) + ".new.txt");
    return true;
  };
  walkFor(finder, tree.root());
  EXPECT_EQ(sorted(finder.found), (Paths{tree.at("1.txt"), tree.at("2.txt"), tree.at("3.txt")}));
}

}  // namespace
}  // namespace kt::test
