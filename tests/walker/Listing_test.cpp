// SPDX-License-Identifier: MIT

// Listings as unusual file systems return them. The program replaces getdents64, the system call
// that lists a directory; a test sets what it returns.
#include "kt/walker/Listing.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "tests/walker/Recorders.h"
#include "tests/walker/Tree.h"

namespace kt::test {
namespace {

// How getdents64 behaves.
struct Play {
  bool tellsTypes = true;       // if false, every entry is of unknown type
  std::size_t room = SIZE_MAX;  // the largest number of bytes that a call returns
  int failAfter = -1;           // the number of calls that succeed; -1 if all do
  int calls = 0;                // the number of calls so far, for all directories
};

Play *play = nullptr;  // set by the running test; nullptr if the system call is unchanged

void forgetTypes(char *entries, ssize_t size) {
  for (ssize_t position = 0; position < size;) {
    auto *entry = reinterpret_cast<dirent64 *>(entries + position);
    entry->d_type = DT_UNKNOWN;
    position += entry->d_reclen;
  }
}

}  // namespace
}  // namespace kt::test

// Replaces the C library's function, also for a shared library. The parameters of the library's
// declaration have reserved names.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" ssize_t getdents64(int descriptor, void *entries, size_t room) {
  using kt::test::play;
  if (play != nullptr) {
    if (play->calls++ == play->failAfter) {
      errno = EIO;
      return -1;
    }
    room = std::min(room, play->room);
  }
  const ssize_t size = ::syscall(SYS_getdents64, descriptor, entries, room);
  if (play != nullptr && !play->tellsTypes) {
    kt::test::forgetTypes(static_cast<char *>(entries), size);
  }
  return size;
}

namespace kt::test {
namespace {

class KtWalkerListing : public testing::Test {
 protected:
  void SetUp() override { play = &play_; }
  void TearDown() override { play = nullptr; }

  Play play_;
};

TEST_F(KtWalkerListing, NeedsNoEntryTypes) {
  Tree tree{"a.txt", "d/b.txt", "x.txt/c.txt", "d/e/f"};
  tree.link("to-d", "d");
  tree.link("to-d.txt", "d");
  tree.link("to-a.txt", "a.txt");
  tree.link("to-a", "a.txt");
  tree.link("to-nothing.txt", "missing");
  const Paths found = foundBelow(tree.root(), {"txt"});
  play_.tellsTypes = false;
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}), found);
  EXPECT_EQ(found.size(), 9U);
}

TEST_F(KtWalkerListing, IsReadToEndInSmallPieces) {
  Tree tree;
  for (int number = 0; number < 500; ++number) {
    tree.add(std::to_string(number) + ".txt");
  }
  const Paths found = foundBelow(tree.root(), {"txt"});
  const int callsAtOnce = std::exchange(play_.calls, 0);
  play_.room = 100;
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}), found);
  EXPECT_EQ(found.size(), 500U);
  EXPECT_EQ(callsAtOnce, 2);
  EXPECT_GT(play_.calls, 100);
}

TEST_F(KtWalkerListing, IsDroppedIfReadingFails) {
  const Tree tree{"root.txt/a.txt", "root.txt/b.txt", "root.txt/c.txt"};
  play_.room = 80;
  play_.failAfter = 2;
  EXPECT_EQ(foundBelow(tree.at("root.txt"), {"txt"}), Paths{tree.at("root.txt")});
  play_.calls = 0;
  EXPECT_FALSE(_KtWalker().directoryContentsAtPath(tree.at("root.txt")));
}

TEST_F(KtWalkerListing, FailureKeepsOtherListings) {
  const Tree tree{"d/a.txt", "e/b.txt", "f.txt"};
  play_.failAfter = 2;  // both calls for the root succeed, and the first for a subdirectory fails
  const Paths found = foundBelow(tree.root(), {"txt"});
  EXPECT_EQ(found.size(), 2U) << testing::PrintToString(found);
}

TEST_F(KtWalkerListing, IsReadOncePerDirectory) {
  const Tree tree{"a.txt", "d/b.txt", "d/e/c.txt", "x.txt/d.txt"};
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}).size(), 5U);
  EXPECT_EQ(play_.calls, 8) << "two for each of four directories: the entries and the end";
}

TEST_F(KtWalkerListing, GrowthKeepsListingsOfParents) {
  Tree tree{"0/a.txt", "9/b.txt"};
  const std::string longName(200, 'n');
  for (int number = 0; number < 1000; ++number) {
    tree.add("5/" + longName + std::to_string(number) + ".txt");
  }
  EXPECT_EQ(foundBelow(tree.root(), {"txt"}).size(), 1002U);
}

}  // namespace
}  // namespace kt::test
