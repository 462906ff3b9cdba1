// SPDX-License-Identifier: MIT

#include "kt/walker/_KtWalker.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <type_traits>

#include "tests/walker/Recorders.h"
#include "tests/walker/Tree.h"

namespace kt::test {
namespace {

static_assert(!std::is_copy_constructible_v<_KtWalker> && !std::is_move_constructible_v<_KtWalker>);

bool accepts(const std::string &type, std::string_view path) {
  _KtWalker walker;
  walker.setFileTypes({type});
  return walker.isAcceptableFile(path);
}

// ---- Types ----

TEST(KtWalker, StartsRecursiveAndNotAborted) {
  const _KtWalker walker;
  EXPECT_TRUE(walker.recursive());
  EXPECT_FALSE(walker.aborted());
}

TEST(KtWalker, AcceptsNothingWithoutTypes) {
  _KtWalker walker;
  EXPECT_FALSE(walker.isAcceptableFile("a.txt"));
  EXPECT_FALSE(walker.isAcceptableFile("a"));
  walker.setFileTypes({});
  EXPECT_FALSE(walker.isAcceptableFile("a"));
}

TEST(KtWalker, ComparesTypesExactly) {
  EXPECT_TRUE(accepts("txt", "/d/a.txt"));
  EXPECT_FALSE(accepts("txt", "/d/a.TXT"));
  EXPECT_FALSE(accepts("txt", "/d/a.text"));
  EXPECT_FALSE(accepts("txt", "/d/a.tx"));
  EXPECT_FALSE(accepts(".txt", "/d/a.txt"));
}

TEST(KtWalker, TakesExtensionAfterLastDotOfLastComponent) {
  for (const char *path :
       {"a.b.txt", ".txt", "..txt", "/d.c/a.txt", "a.txt/", "a.txt///", "/.txt"}) {
    EXPECT_TRUE(accepts("txt", path)) << path;
  }
  for (const char *path : {"txt", "a.txt.b", "a.txt/b", "/d.txt/a", "a.txt.", "a.txt ", "a/txt"}) {
    EXPECT_FALSE(accepts("txt", path)) << path;
  }
}

TEST(KtWalker, AcceptsEmptyExtensionByEmptyTypeOnly) {
  for (const char *path : {"a", "a.", "d.txt/a", "/", "", "//", ".", "..", "a./"}) {
    EXPECT_TRUE(accepts("", path)) << path;
    EXPECT_FALSE(accepts("txt", path)) << path;
  }
  EXPECT_FALSE(accepts("", "a.txt"));
}

TEST(KtWalker, AcceptsEachTypeUntilTypesAreReplaced) {
  _KtWalker walker;
  walker.setFileTypes({"txt", "h", "txt"});
  EXPECT_TRUE(walker.isAcceptableFile("a.txt"));
  EXPECT_TRUE(walker.isAcceptableFile("a.h"));
  walker.setFileTypes({"c"});
  EXPECT_FALSE(walker.isAcceptableFile("a.txt"));
  EXPECT_TRUE(walker.isAcceptableFile("a.c"));
}

// ---- Directories ----

TEST(KtWalker, RecognisesLinkToDirectory) {
  Tree tree{"directory/file"};
  tree.link("to-directory", "directory");
  tree.link("to-file", "directory/file");
  tree.link("to-nothing", "missing");
  tree.link("to-itself", "to-itself");
  const _KtWalker walker;
  EXPECT_TRUE(walker.isDirectoryAtAbsolutePath(tree.at("directory")));
  EXPECT_TRUE(walker.isDirectoryAtAbsolutePath(tree.at("to-directory")));
  for (const char *path : {"directory/file", "to-file", "to-nothing", "to-itself", "missing"}) {
    EXPECT_FALSE(walker.isDirectoryAtAbsolutePath(tree.at(path))) << path;
  }
}

TEST(KtWalker, FindsNothingAtPathWithNul) {
  const Tree tree{"a.txt"};
  const std::string path = tree.root() + std::string("\0/x", 3);
  const _KtWalker walker;
  EXPECT_FALSE(walker.isDirectoryAtAbsolutePath(path));
  EXPECT_FALSE(walker.directoryContentsAtPath(path));
  EXPECT_EQ(foundBelow(path, {"txt"}), Paths());
}

TEST(KtWalker, LeavesStandardInputOpenAtPathWithNul) {
  ASSERT_GE(::fcntl(STDIN_FILENO, F_GETFD), 0) << "this test needs an open standard input";
  const std::string path("/tmp\0/x", 7);
  EXPECT_FALSE(_KtWalker().directoryContentsAtPath(path));
  EXPECT_EQ(foundBelow(path, {"txt"}), Paths());
  EXPECT_GE(::fcntl(STDIN_FILENO, F_GETFD), 0);
}

TEST(KtWalker, ListsHiddenNamesWithoutDots) {
  const Tree tree{".hidden", "..two", "file.txt", "directory/inside"};
  const _KtWalker walker;
  EXPECT_EQ(sorted(*walker.directoryContentsAtPath(tree.root())),
            (Paths{"..two", ".hidden", "directory", "file.txt"}));
}

// Returns the names in a directory in the order of readdir.
Paths listed(const std::string &path) {
  Paths names;
  const std::unique_ptr<DIR, int (*)(DIR *)> directory(::opendir(path.c_str()), ::closedir);
  while (const dirent *entry = ::readdir(directory.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

TEST(KtWalker, ListsContentsInFileSystemOrder) {
  Tree tree;
  for (int number = 0; number < 1000; ++number) {
    tree.add(std::to_string(number * 7919 % 1000) + ".txt");
  }
  const _KtWalker walker;
  EXPECT_EQ(walker.directoryContentsAtPath(tree.root()), listed(tree.root()));
}

TEST(KtWalker, DistinguishesEmptyDirectoryFromUnlistablePath) {
  const Tree tree{"empty/", "file"};
  const _KtWalker walker;
  EXPECT_EQ(walker.directoryContentsAtPath(tree.at("empty")), Paths());
  EXPECT_FALSE(walker.directoryContentsAtPath(tree.at("file")));
  EXPECT_FALSE(walker.directoryContentsAtPath(tree.at("missing")));
  EXPECT_FALSE(walker.directoryContentsAtPath(""));
}

// ---- Walks ----

TEST(KtWalker, ReportsAcceptedFilesWithFullPath) {
  const Tree tree{"a.txt", "b.TXT", "c"};
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}), Paths{tree.at("a.txt")});
}

TEST(KtWalker, ReportsPackageDirectoryThenEntersIt) {
  const Tree tree{"x.txt/inner.txt"};
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}),
            (Paths{tree.at("x.txt"), tree.at("x.txt/inner.txt")}));
}

TEST(KtWalker, DoesNotEnterPackageDirectoryIfNotRecursive) {
  Tree tree{"x.txt/inner.txt", "plain/b.txt"};
  tree.link("link.txt", "plain");
  Finder finder;
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setDelegate(&finder);
  walker.setRecursive(false);
  EXPECT_FALSE(walker.recursive());
  walker.walkTree(tree.root());
  EXPECT_EQ(sorted(finder.found), (Paths{tree.at("link.txt"), tree.at("x.txt")}));
}

TEST(KtWalker, ReportsAcceptableRootFirst) {
  const Tree tree{"root.txt/a.txt"};
  EXPECT_EQ(foundBelow(tree.at("root.txt"), {"txt"}),
            (Paths{tree.at("root.txt"), tree.at("root.txt/a.txt")}));
}

TEST(KtWalker, WalksSubdirectoryBeforeNextEntry) {
  const Tree tree{"a.txt", "d/1.txt", "d/e/2.txt", "d/3.txt", "f/4.txt", "g.txt"};
  const Paths found = foundBelow(tree.root(), {"txt"});
  Paths expected;
  for (const std::string &name : listed(tree.root())) {
    if (name.ends_with(".txt")) expected.push_back(tree.at(name));
    for (const std::string &path : foundBelow(tree.at(name), {"txt"})) {
      if (!name.ends_with(".txt")) expected.push_back(path);
    }
  }
  EXPECT_EQ(found, expected);
  EXPECT_EQ(found.size(), 6U);
}

TEST(KtWalker, ReportsAcceptableRootThatIsNotDirectory) {
  const Tree tree{"a.txt"};
  EXPECT_EQ(foundBelow(tree.at("a.txt"), {"txt"}), Paths{tree.at("a.txt")});
  EXPECT_EQ(foundBelow(tree.at("missing.txt"), {"txt"}), Paths{tree.at("missing.txt")});
  EXPECT_EQ(foundBelow(tree.at("missing"), {"txt"}), Paths());
  EXPECT_EQ(foundBelow("", {""}), Paths{""});
}

TEST(KtWalker, ReportsRootAsGivenAndJoinsWithOneSlash) {
  const Tree tree{"root.txt/a.txt"};
  const std::string given = tree.at("root.txt//");
  EXPECT_EQ(foundBelow(given, {"txt"}), (Paths{given, tree.at("root.txt/a.txt")}));
  EXPECT_EQ(foundBelow(tree.root() + "//root.txt", {"txt"}),
            (Paths{tree.root() + "//root.txt", tree.root() + "//root.txt/a.txt"}));
}

TEST(KtWalker, JoinsSystemRootWithOneSlash) {
  _KtWalker walker;
  Finder finder;
  walker.setFileTypes({""});
  walker.setDelegate(&finder);
  walker.setRecursive(false);
  walker.walkTree("//");
  Paths expected{"//"};
  for (const std::string &name : listed("/")) {
    if (name.find('.') == std::string::npos) expected.push_back('/' + name);
  }
  EXPECT_EQ(finder.found, expected);
}

TEST(KtWalker, WalksAgainWithSameSettings) {
  const Tree tree{"a.txt"};
  Finder finder;
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setDelegate(&finder);
  walker.walkTree(tree.root());
  walker.walkTree(tree.root());
  walker.walkTrees({tree.root(), tree.root()});
  EXPECT_EQ(finder.found, Paths(4, tree.at("a.txt")));
}

}  // namespace
}  // namespace kt::test
