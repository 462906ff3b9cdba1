// SPDX-License-Identifier: MIT

// Walks of random trees, compared with a reference walker that uses only the names of a listing and
// looks at each entry by its path. Both must call the delegate in the same way and order, wherever
// it aborts.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <random>

#include "kt/walker/_KtWalker.h"
#include "tests/walker/Recorders.h"
#include "tests/walker/Tree.h"

namespace kt::test {
namespace {

// Records every call, and aborts at call number `abortAt`.
struct Script {
  bool fileFound(const std::string &path) {
    calls.push_back(path);
    return static_cast<int>(calls.size()) != abortAt;
  }
  bool wantsAbort() {
    calls.emplace_back("wantsAbort");
    return static_cast<int>(calls.size()) == abortAt;
  }

  int abortAt = 0;  // counted from 1; 0 if never
  Paths calls;
};

// The same without wantsAbort.
struct FinderScript {
  bool fileFound(const std::string &path) { return script.fileFound(path); }
  Script script;
};

class ReferenceWalker {
 public:
  ReferenceWalker(Script &delegate, bool asks, bool recursive)
      : delegate_(delegate), asks_(asks), recursive_(recursive) {}

  void walkTree(const std::string &path) {
    aborted_ = false;
    walkDirectory(path);
  }

 private:
  static Paths contents(const std::string &path) {
    Paths names;
    const std::unique_ptr<DIR, int (*)(DIR *)> directory(
        ::opendir(path.c_str()), [](DIR *open) { return open != nullptr ? ::closedir(open) : 0; });
    while (const dirent *entry = directory ? ::readdir(directory.get()) : nullptr) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") names.push_back(name);
    }
    return names;
  }

  static bool isDirectory(const std::string &path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
  }

  static bool isAcceptable(const std::string &path) { return path.ends_with(".txt"); }

  void report(const std::string &path) { aborted_ = !delegate_.fileFound(path); }

  void walkDirectory(const std::string &path) {
    if (asks_) aborted_ = delegate_.wantsAbort();
    const bool wasAborted = aborted_;
    const Paths names = contents(path);
    if (isAcceptable(path)) report(path);
    aborted_ = aborted_ || wasAborted;
    if (aborted_) return;
    for (const std::string &name : names) {
      const std::string entry = path + '/' + name;
      if (recursive_ && isDirectory(entry)) {
        walkTree(entry);
      } else if (isAcceptable(entry)) {
        report(entry);
      }
      if (aborted_) return;
    }
  }

  Script &delegate_;
  bool asks_;
  bool recursive_;
  bool aborted_ = false;
};

template <class Delegate>
Paths callsOfWalker(Delegate &delegate, const Script &script, const std::string &root,
                    bool recursive) {
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setRecursive(recursive);
  walker.setDelegate(&delegate);
  walker.walkTree(root);
  return script.calls;
}

Paths callsOfWalker(const std::string &root, bool asks, bool recursive, int abortAt) {
  if (asks) {
    Script script{abortAt, {}};
    return callsOfWalker(script, script, root, recursive);
  }
  FinderScript finder{{abortAt, {}}};
  return callsOfWalker(finder, finder.script, root, recursive);
}

Paths callsOfReference(const std::string &root, bool asks, bool recursive, int abortAt) {
  Script script{abortAt, {}};
  ReferenceWalker(script, asks, recursive).walkTree(root);
  return script.calls;
}

// Adds random files, directories and links. There are only a few names, so that links lead
// somewhere.
void grow(Tree &tree, std::mt19937 &random, int entryCount) {
  const Paths names{"a.txt", "b", "c.dat", "d.txt", "e", ".f.txt"};
  Paths folders{""};
  for (int count = 0; count < entryCount; ++count) {
    const std::string path = folders[random() % folders.size()] + names[random() % names.size()];
    std::error_code ignored;
    if (std::filesystem::symlink_status(tree.at(path), ignored).type() !=
        std::filesystem::file_type::not_found) {
      continue;
    }
    const auto kind = random() % 8;
    if (kind < 4) {
      std::filesystem::create_directory(tree.at(path));
      folders.push_back(path + '/');
    } else if (kind < 7) {
      tree.add(path);
    } else {
      tree.link(path, names[random() % names.size()]);
    }
  }
}

TEST(KtWalkerRandomTrees, MatchesReferenceWalkerForEveryAbort) {
  constexpr unsigned seed = 20261121;
  std::mt19937 random(seed);
  std::size_t callCount = 0;
  for (int round = 0; round < 40; ++round) {
    Tree tree;
    grow(tree, random, 30);
    for (const bool asks : {false, true}) {
      for (const bool recursive : {false, true}) {
        const auto calls =
            static_cast<int>(callsOfReference(tree.root(), asks, recursive, 0).size());
        for (int abortAt = 0; abortAt <= std::min(calls, 60); ++abortAt) {
          const Paths expected = callsOfReference(tree.root(), asks, recursive, abortAt);
          ASSERT_EQ(callsOfWalker(tree.root(), asks, recursive, abortAt), expected)
              << "seed " << seed << ", round " << round << ", abort at call " << abortAt;
          callCount += expected.size();
        }
      }
    }
  }
  EXPECT_GT(callCount, 10'000U) << "the trees are too small";
}

}  // namespace
}  // namespace kt::test
