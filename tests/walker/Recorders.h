// SPDX-License-Identifier: MIT

// Delegates that record the calls of a walker. Use one from one thread at a time.
#ifndef KT_TESTS_WALKER_RECORDERS_H
#define KT_TESTS_WALKER_RECORDERS_H

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kt/walker/_KtWalker.h"

namespace kt::test {

using Paths = std::vector<std::string>;

// Records the paths and returns the result of `answer`, by default true.
struct Finder {
  bool fileFound(const std::string &path) {
    found.push_back(path);
    return answer(path);
  }

  Paths found;
  std::function<bool(const std::string &path)> answer = [](const std::string &) { return true; };
};

// Also counts the calls of wantsAbort and returns the result of `abort`, by default false.
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

// Returns the paths that walkTree(root) reports for `types`.
[[nodiscard]] inline Paths foundBelow(const std::string &root, std::vector<std::string> types) {
  Finder finder;
  _KtWalker walker;
  walker.setFileTypes(std::move(types));
  walker.setDelegate(&finder);
  walker.walkTree(root);
  return finder.found;
}

}  // namespace kt::test

#endif
