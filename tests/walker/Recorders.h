// SPDX-License-Identifier: MIT

// Delegates that write down what a walker tells and asks them. For one thread at a time.
#ifndef KT_TESTS_WALKER_RECORDERS_H
#define KT_TESTS_WALKER_RECORDERS_H

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "kt/walker/_KtWalker.h"

namespace test {

using Paths = std::vector<std::string>;

// Is told of files, and goes on unless `answer` says otherwise.
struct Finder {
  bool fileFound(const std::string &path) {
    found.push_back(path);
    return answer(path);
  }

  Paths found;
  std::function<bool(const std::string &path)> answer = [](const std::string &) { return true; };
};

// The same, and is asked whether it wants an abort: it does where `abort` says so.
struct Director : Finder {
  bool wantsAbort() {
    ++asked;
    return abort();
  }

  int asked = 0;
  std::function<bool()> abort = [] { return false; };
};

[[nodiscard]] inline Paths sorted(Paths paths) {
  std::ranges::sort(paths);
  return paths;
}

// What a walk below `root` for `types` reports.
[[nodiscard]] inline Paths foundBelow(const std::string &root, std::vector<std::string> types) {
  Finder finder;
  _KtWalker walker;
  walker.setFileTypes(std::move(types));
  walker.setDelegate(&finder);
  walker.walkTree(root);
  return finder.found;
}

}  // namespace test

#endif
