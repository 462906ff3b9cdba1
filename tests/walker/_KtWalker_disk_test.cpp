// SPDX-License-Identifier: MIT

// Trees as they occur on disks: odd names, long paths, links, cycles of links, unreadable and
// vanishing directories, many files, several walkers.
#include <gtest/gtest.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>

#include "kt/walker/_KtWalker.h"
#include "tests/walker/Recorders.h"
#include "tests/walker/Tree.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;

// ---- Names ----

TEST(KtWalkerDisk, ReportsNamesAsBytes) {
  Tree tree;
  const Paths names{".txt",     "..txt",        "...txt", " .txt",      "\n.txt",        "a\nb.txt",
                    "\xff.txt", "\xc3\xa4.txt", "\\.txt", "\x1b[m.txt", "a\xe2\x82.txt", "*.txt"};
  Paths expected;
  for (const std::string &name : names) {
    tree.add(name);
    expected.push_back(tree.at(name));
  }
  EXPECT_EQ(sorted(foundBelow(tree.root(), {"txt"})), sorted(expected));
}

TEST(KtWalkerDisk, ComparesTypesAsBytes) {
  Tree tree{"a.\xff", "a.\n", "a.txt\n"};
  EXPECT_EQ(foundBelow(tree.root(), {"\xff"}), Paths{tree.at("a.\xff")});
  EXPECT_EQ(foundBelow(tree.root(), {"\n"}), Paths{tree.at("a.\n")});
  EXPECT_EQ(foundBelow(tree.root(), {std::string("\n\0", 2)}), Paths());
}

TEST(KtWalkerDisk, EntersHiddenDirectories) {
  const Tree tree{".git/a.txt"};
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}), Paths{tree.at(".git/a.txt")});
}

TEST(KtWalkerDisk, ReportsLongestNames) {
  const std::string directory(NAME_MAX, 'd');
  const std::string file = std::string(NAME_MAX - 4, 'f') + ".txt";
  Tree tree;
  tree.add(directory + '/' + file);
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}), Paths{tree.at(directory + '/' + file)});
}

// ---- Paths ----

// Makes the file a.txt in a chain of directories named `step`, so that its whole path has `size`
// bytes. Returns its folder.
std::string addDeep(Tree &tree, std::size_t size, const std::string &step) {
  std::string folder = tree.root();
  const std::size_t folderSize = size - std::string("/a.txt").size();
  while (folder.size() < folderSize) {
    const std::size_t left = folderSize - folder.size() - 1;
    folder += '/' + (left < step.size() + 2 ? std::string(left, 'e') : step);
    ::mkdir(folder.c_str(), 0755);
  }
  touch(folder + "/a.txt");
  return folder;
}

TEST(KtWalkerDisk, ReportsLongestPath) {
  Tree tree;
  const std::string folder = addDeep(tree, PATH_MAX - 1, std::string(100, 'd'));
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}), Paths{folder + "/a.txt"});
}

TEST(KtWalkerDisk, WalksDeepestPath) {
  Tree tree;
  const std::string folder = addDeep(tree, PATH_MAX - 1, "d");
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}), Paths{folder + "/a.txt"});
}

// The paths of entries may be longer than the system accepts. It does not recognise them as
// directories, so they count as files.
TEST(KtWalkerDisk, TreatsDirectoryWithTooLongPathAsFile) {
  Tree tree;
  const std::string folder = addDeep(tree, PATH_MAX - 1, std::string(100, 'd'));
  const fs::path before = fs::current_path();
  fs::current_path(folder);
  fs::create_directory("longer.txt");
  fs::create_directory("longer");
  touch("longer.txt/b.txt");
  touch("longer/b.txt");
  fs::current_path(before);
  EXPECT_EQ(sorted(foundBelow(tree.root(), {"txt"})),
            (Paths{folder + "/a.txt", folder + "/longer.txt"}));
}

// ---- Links ----

TEST(KtWalkerDisk, EntersLinkToDirectoryAndReportsLinkToFile) {
  Tree tree{"real/a.txt"};
  tree.link("link", "real");
  tree.link("link.txt", "real");
  tree.link("file.txt", "real/a.txt");
  tree.link("file.dat", "real/a.txt");
  EXPECT_EQ(sorted(foundBelow(tree.root(), {"txt"})),
            (Paths{tree.at("file.txt"), tree.at("link.txt"), tree.at("link.txt/a.txt"),
                   tree.at("link/a.txt"), tree.at("real/a.txt")}));
}

TEST(KtWalkerDisk, ReportsDanglingLinkAsFile) {
  Tree tree;
  tree.link("dangling.txt", "missing");
  tree.link("dangling", "missing");
  tree.link("itself.txt", "itself.txt");
  EXPECT_EQ(sorted(foundBelow(tree.root(), {"txt"})),
            (Paths{tree.at("dangling.txt"), tree.at("itself.txt")}));
}

TEST(KtWalkerDisk, WalksRootThatIsLink) {
  Tree tree{"real/a.txt"};
  tree.link("root", "real");
  EXPECT_EQ(foundBelow(tree.at("root"), {"txt"}), Paths{tree.at("root/a.txt")});
}

// The system follows at most 40 links in one path. After that it does not recognise the link as a
// directory.
TEST(KtWalkerDisk, EndsCycleOfOneLinkAtSystemLimit) {
  constexpr std::size_t linksInAPath = 40;
  Tree tree{"a.txt"};
  tree.link("up.txt", ".");
  Paths expected{tree.at("a.txt")};
  std::string path = tree.root();
  for (std::size_t links = 0; links < linksInAPath; ++links) {
    path += "/up.txt";
    expected.push_back(path);
    expected.push_back(path + "/a.txt");
  }
  expected.push_back(path + "/up.txt");
  // Linux restarts a look-up if any directory is renamed meanwhile, and then sometimes counts links
  // that it has followed twice.
  constexpr int attempts = 10;
  Paths found;
  for (int attempt = 0; attempt < attempts && found.size() != expected.size(); ++attempt) {
    found = sorted(foundBelow(tree.root(), {"txt"}));
  }
  EXPECT_EQ(found, sorted(expected));
}

TEST(KtWalkerDisk, StopsInCycleOfManyLinksOnAbort) {
  Tree tree{"a.txt"};
  for (const char *name : {"1", "2", "3"}) {
    tree.link(name, ".");
  }
  std::size_t count = 0;
  struct Counter {
    bool fileFound(const std::string &) { return ++count < 10'000; }
    std::size_t &count;
  } counter{count};
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setDelegate(&counter);
  walker.walkTree(tree.root());
  EXPECT_EQ(count, 10'000U);
}

// ---- Permissions ----

// Runs `act` in a new process without privileges and returns its result.
Paths asUnprivileged(const std::function<Paths()> &act) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::runtime_error("cannot make a pipe");
  const pid_t child = ::fork();
  if (child == 0) {
    constexpr uid_t nobody = 65534;
    if (::geteuid() == 0 && (::setgid(nobody) != 0 || ::setuid(nobody) != 0)) ::_exit(1);
    for (const std::string &path : act()) {
      if (::write(ends[1], path.c_str(), path.size() + 1) < 0) ::_exit(1);
    }
    ::_exit(0);
  }
  ::close(ends[1]);
  Paths result;
  const std::unique_ptr<FILE, int (*)(FILE *)> answers(::fdopen(ends[0], "r"), fclose);
  std::string path;
  for (int byte = 0; (byte = getc(answers.get())) != EOF;) {
    if (byte != 0) {
      path += static_cast<char>(byte);
      continue;
    }
    result.push_back(path);
    path.clear();
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  if (status != 0) result.emplace_back("the process failed");
  return result;
}

class KtWalkerPermissions : public testing::Test {
 protected:
  void SetUp() override { ::chmod(tree_.root().c_str(), 0755); }
  void TearDown() override { ::chmod(tree_.at("closed.txt").c_str(), 0755); }

  // Returns what a walk finds while closed.txt has the permissions `mode`.
  Paths foundWithMode(mode_t mode) {
    ::chmod(tree_.at("closed.txt").c_str(), mode);
    return asUnprivileged([&] { return sorted(foundBelow(tree_.root(), {"txt"})); });
  }

  Tree tree_{"closed.txt/a.txt", "closed.txt/d/b.txt", "closed.txt/x.txt/c.txt", "open/e.txt"};
};

TEST_F(KtWalkerPermissions, TreatsUnreadableDirectoryAsEmpty) {
  EXPECT_EQ(foundWithMode(0), (Paths{tree_.at("closed.txt"), tree_.at("open/e.txt")}));
}

// Without permission to search the directory, none of its entries can be opened. All of them count
// as files, even those that the listing calls directories.
TEST_F(KtWalkerPermissions, FindsOnlyFilesInUnsearchableDirectory) {
  EXPECT_EQ(foundWithMode(0444), (Paths{tree_.at("closed.txt"), tree_.at("closed.txt/a.txt"),
                                        tree_.at("closed.txt/x.txt"), tree_.at("open/e.txt")}));
}

TEST_F(KtWalkerPermissions, FindsNothingInUnlistableDirectory) {
  EXPECT_EQ(foundWithMode(0111), (Paths{tree_.at("closed.txt"), tree_.at("open/e.txt")}));
}

TEST_F(KtWalkerPermissions, RecognisesUnreadableDirectoryWithoutContents) {
  ::chmod(tree_.at("closed.txt").c_str(), 0);
  EXPECT_EQ(asUnprivileged([&] {
              const _KtWalker walker;
              const std::string path = tree_.at("closed.txt");
              return Paths{walker.isDirectoryAtAbsolutePath(path) ? "directory" : "none",
                           walker.directoryContentsAtPath(path) ? "contents" : "nothing"};
            }),
            (Paths{"directory", "nothing"}));
}

TEST_F(KtWalkerPermissions, AsksAboutUnreadableSubdirectory) {
  ::chmod(tree_.at("closed.txt").c_str(), 0);
  EXPECT_EQ(asUnprivileged([&] {
              Director director;
              _KtWalker walker;
              walker.setDelegate(&director);
              walker.walkTree(tree_.root());
              return Paths{std::to_string(director.asked)};
            }),
            Paths{"3"})
      << "once each for the root, closed.txt and open";
}

// ---- Changes during a walk ----

TEST(KtWalkerDisk, SkipsDirectoryRemovedBeforeItsTurn) {
  const Tree tree{"d/a.txt", "e/a.txt", "f/a.txt"};
  Finder finder;
  finder.answer = [&](const std::string &path) {
    for (const char *name : {"d", "e", "f"}) {
      if (!path.starts_with(tree.at(name))) fs::remove_all(tree.at(name));
    }
    return true;
  };
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setDelegate(&finder);
  walker.walkTree(tree.root());
  EXPECT_EQ(finder.found.size(), 1U) << testing::PrintToString(finder.found);
  EXPECT_FALSE(walker.aborted());
}

TEST(KtWalkerDisk, VisitsEntriesOfDirectoryRemovedAfterListing) {
  const Tree tree{"d/a.txt", "d/b.txt", "d/e/c.txt", "f.txt"};
  Finder finder;
  finder.answer = [&](const std::string &) {
    fs::remove_all(tree.at("d"));
    return true;
  };
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setDelegate(&finder);
  walker.walkTree(tree.at("d"));
  const Paths found = sorted(finder.found);
  EXPECT_GE(found.size(), 2U) << testing::PrintToString(found);
  walker.walkTree(tree.at("d"));
  EXPECT_EQ(sorted(finder.found), found);
}

TEST(KtWalkerDisk, DoesNotFollowDirectoryMovedDuringWalk) {
  const Tree tree{"root.txt/d/a.txt"};
  Finder finder;
  finder.answer = [&](const std::string &path) {
    if (path == tree.at("root.txt")) fs::rename(path, tree.at("elsewhere"));
    return true;
  };
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setDelegate(&finder);
  walker.walkTree(tree.at("root.txt"));
  EXPECT_EQ(finder.found, Paths{tree.at("root.txt")});
}

// ---- Many files ----

Paths foundByFind(const std::string &root) {
  const std::string command = "find '" + root + "' -name '*.txt'";
  const std::unique_ptr<FILE, int (*)(FILE *)> output(::popen(command.c_str(), "r"), pclose);
  Paths found;
  std::string line;
  for (int byte = 0; (byte = getc(output.get())) != EOF;) {
    if (byte != '\n') {
      line += static_cast<char>(byte);
      continue;
    }
    found.push_back(line);
    line.clear();
  }
  return found;
}

class KtWalkerManyFiles : public testing::Test {
 protected:
  // 100,000 files, half of them accepted, in 2,000 directories three levels deep.
  static void SetUpTestSuite() {
    tree = std::make_unique<Tree>();
    for (int number = 0; number < 2000; ++number) {
      const std::string digits = std::to_string(10'000 + number);
      const std::string folder =
          tree->at(digits.substr(1, 2) + '/' + digits.substr(3, 1) + '/' + digits.substr(4));
      fs::create_directories(folder);
      for (int file = 0; file < 50; ++file) {
        touch(folder + '/' + std::to_string(file) + (file % 2 == 0 ? ".txt" : ".dat"));
      }
    }
  }
  static void TearDownTestSuite() { tree.reset(); }

  static inline std::unique_ptr<Tree> tree;
};

TEST_F(KtWalkerManyFiles, FindsSameFilesAsFind) {
  const Paths found = sorted(foundBelow(tree->root(), {"txt"}));
  EXPECT_EQ(found.size(), 50'000U);
  EXPECT_TRUE(found == sorted(foundByFind(tree->root())));
}

TEST_F(KtWalkerManyFiles, FindsSameFilesInTwoThreads) {
  const Paths alone = foundBelow(tree->root(), {"txt"});
  std::array<Paths, 2> found;
  {
    const std::array threads{
        std::jthread([&] { found[0] = foundBelow(tree->root(), {"txt"}); }),
        std::jthread([&] { found[1] = foundBelow(tree->root(), {"txt"}); }),
    };
  }
  EXPECT_TRUE(found[0] == alone);
  EXPECT_TRUE(found[1] == alone);
}

}  // namespace
}  // namespace kt::test
