// SPDX-License-Identifier: MIT

#include "kt/walker/_KtWalker.h"

#include <dirent.h>
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "tests/walker/Recorders.h"
#include "tests/walker/Tree.h"

namespace test {
namespace {

static_assert(!std::is_copy_constructible_v<_KtWalker> && !std::is_move_constructible_v<_KtWalker>);

bool accepts(const std::string &type, std::string_view path) {
  _KtWalker walker;
  walker.setFileTypes({type});
  return walker.isAcceptableFile(path);
}

// ---- Types ----

TEST(KtWalker, IsRecursiveAndNotAbortedWhenNew) {
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

TEST(KtWalker, TypesAreComparedToTheLetter) {
  EXPECT_TRUE(accepts("txt", "/d/a.txt"));
  EXPECT_FALSE(accepts("txt", "/d/a.TXT"));
  EXPECT_FALSE(accepts("txt", "/d/a.text"));
  EXPECT_FALSE(accepts("txt", "/d/a.tx"));
  EXPECT_FALSE(accepts(".txt", "/d/a.txt"));
}

TEST(KtWalker, AnExtensionIsWhatStandsBehindTheLastDotOfTheLastComponent) {
  for (const char *path :
       {"a.b.txt", ".txt", "..txt", "/d.c/a.txt", "a.txt/", "a.txt///", "/.txt"}) {
    EXPECT_TRUE(accepts("txt", path)) << path;
  }
  for (const char *path : {"txt", "a.txt.b", "a.txt/b", "/d.txt/a", "a.txt.", "a.txt ", "a/txt"}) {
    EXPECT_FALSE(accepts("txt", path)) << path;
  }
}

TEST(KtWalker, AnEmptyExtensionIsAcceptedByTheEmptyTypeOnly) {
  for (const char *path : {"a", "a.", "d.txt/a", "/", "", "//", ".", "..", "a./"}) {
    EXPECT_TRUE(accepts("", path)) << path;
    EXPECT_FALSE(accepts("txt", path)) << path;
  }
  EXPECT_FALSE(accepts("", "a.txt"));
}

TEST(KtWalker, EachOfSeveralTypesIsAcceptedAndNewTypesReplaceTheOld) {
  _KtWalker walker;
  walker.setFileTypes({"txt", "h", "txt"});
  EXPECT_TRUE(walker.isAcceptableFile("a.txt"));
  EXPECT_TRUE(walker.isAcceptableFile("a.h"));
  walker.setFileTypes({"c"});
  EXPECT_FALSE(walker.isAcceptableFile("a.txt"));
  EXPECT_TRUE(walker.isAcceptableFile("a.c"));
}

// ---- Looking at the disk ----

TEST(KtWalker, ALinkToADirectoryIsADirectory) {
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

TEST(KtWalker, APathWithANulNamesNothing) {
  Tree tree{"a.txt"};
  const std::string path = tree.root() + std::string("\0/x", 3);
  const _KtWalker walker;
  EXPECT_FALSE(walker.isDirectoryAtAbsolutePath(path));
  EXPECT_FALSE(walker.directoryContentsAtPath(path));
  EXPECT_EQ(foundBelow(path, {"txt"}), Paths());
}

TEST(KtWalker, ContentsAreNamesHiddenOnesIncludedWithoutDots) {
  const Tree tree{".hidden", "..two", "file.txt", "directory/inside"};
  const _KtWalker walker;
  EXPECT_EQ(sorted(*walker.directoryContentsAtPath(tree.root())),
            (Paths{"..two", ".hidden", "directory", "file.txt"}));
}

Paths listed(const std::string &path) {
  Paths names;
  const std::unique_ptr<DIR, int (*)(DIR *)> directory(opendir(path.c_str()), closedir);
  while (const dirent *entry = readdir(directory.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

TEST(KtWalker, ContentsComeInTheFileSystemsOrder) {
  Tree tree;
  for (int number = 0; number < 1000; ++number) {
    tree.add(std::to_string(number * 7919 % 1000) + ".txt");
  }
  const _KtWalker walker;
  EXPECT_EQ(walker.directoryContentsAtPath(tree.root()), listed(tree.root()));
}

TEST(KtWalker, ContentsOfAnEmptyDirectoryAreEmptyAndOfNoneAreNothing) {
  const Tree tree{"empty/", "file"};
  const _KtWalker walker;
  EXPECT_EQ(walker.directoryContentsAtPath(tree.at("empty")), Paths());
  EXPECT_FALSE(walker.directoryContentsAtPath(tree.at("file")));
  EXPECT_FALSE(walker.directoryContentsAtPath(tree.at("missing")));
  EXPECT_FALSE(walker.directoryContentsAtPath(""));
}

// ---- Walking ----

TEST(KtWalker, OfTheTypeTxtOnlySuchFilesAreReportedWithTheirFullPath) {
  const Tree tree{"a.txt", "b.TXT", "c"};
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}), Paths{tree.at("a.txt")});
}

TEST(KtWalker, APackageDirectoryIsReportedThenEntered) {
  const Tree tree{"x.txt/inner.txt"};
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}),
            (Paths{tree.at("x.txt"), tree.at("x.txt/inner.txt")}));
}

TEST(KtWalker, APackageDirectoryIsReportedAndNotEnteredWhereRecursiveIsOff) {
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

TEST(KtWalker, TheRootItselfIsReportedFirstWhereItIsAcceptable) {
  const Tree tree{"root.txt/a.txt"};
  EXPECT_EQ(foundBelow(tree.at("root.txt"), {"txt"}),
            (Paths{tree.at("root.txt"), tree.at("root.txt/a.txt")}));
}

TEST(KtWalker, ATreeIsWalkedBeforeItsDirectorysNextEntry) {
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

TEST(KtWalker, APathThatIsNoDirectoryIsReportedOnceWhereItIsAcceptable) {
  const Tree tree{"a.txt"};
  EXPECT_EQ(foundBelow(tree.at("a.txt"), {"txt"}), Paths{tree.at("a.txt")});
  EXPECT_EQ(foundBelow(tree.at("missing.txt"), {"txt"}), Paths{tree.at("missing.txt")});
  EXPECT_EQ(foundBelow(tree.at("missing"), {"txt"}), Paths());
  EXPECT_EQ(foundBelow("", {""}), Paths{""});
}

TEST(KtWalker, ARootIsReportedAsGivenAndJoinedWithOneSlash) {
  const Tree tree{"root.txt/a.txt"};
  const std::string given = tree.at("root.txt//");
  EXPECT_EQ(foundBelow(given, {"txt"}), (Paths{given, tree.at("root.txt/a.txt")}));
  EXPECT_EQ(foundBelow(tree.root() + "//root.txt", {"txt"}),
            (Paths{tree.root() + "//root.txt", tree.root() + "//root.txt/a.txt"}));
}

TEST(KtWalker, TheSystemsRootIsJoinedWithOneSlashToo) {
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

TEST(KtWalker, AWalkerCanBeUsedAgainAndKeepsWhatItWasGiven) {
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
}  // namespace test
