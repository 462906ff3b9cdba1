// SPDX-License-Identifier: MIT

// Trees of files that a test makes and that are gone behind it. For one thread at a time.
#ifndef KT_TESTS_WALKER_TREE_H
#define KT_TESTS_WALKER_TREE_H

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <stdexcept>
#include <string>

namespace test {

// Makes an empty file.
inline void touch(const std::string &path) {
  if (!std::ofstream(path)) throw std::runtime_error("can't make " + path);
}

class Tree {
 public:
  // A folder with these in it: a path that ends in a slash is a directory, any other a file. What
  // leads there is made too.
  Tree(std::initializer_list<const char *> paths = {})
      : root_(testing::TempDir() + "kt-walker-XXXXXX") {
    if (mkdtemp(root_.data()) == nullptr) throw std::runtime_error("no scratch folder " + root_);
    for (const std::string path : paths) {
      add(path);
    }
  }
  Tree(const Tree &) = delete;
  Tree &operator=(const Tree &) = delete;
  ~Tree() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }

  void add(const std::string &path) {
    const std::filesystem::path whole = at(path);
    std::filesystem::create_directories(whole.parent_path());
    if (!path.ends_with('/')) touch(whole);
  }

  // A symbolic link at `path` to `target`, which is relative to where the link is.
  void link(const std::string &path, const std::string &target) {
    std::filesystem::create_symlink(target, at(path));
  }

  [[nodiscard]] const std::string &root() const { return root_; }
  // The path of what is at `path` below the root.
  [[nodiscard]] std::string at(const std::string &path) const { return root_ + '/' + path; }

 private:
  std::string root_;
};

}  // namespace test

#endif
