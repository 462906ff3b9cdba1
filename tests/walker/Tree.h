// SPDX-License-Identifier: MIT

// A scratch tree of files for a test. Use one from one thread at a time.
#ifndef KT_TESTS_WALKER_TREE_H
#define KT_TESTS_WALKER_TREE_H

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <stdexcept>
#include <string>

#include "tests/support/ScratchFolder.h"

namespace kt::test {

// Makes an empty file or throws.
inline void touch(const std::string &path) {
  if (!std::ofstream(path)) throw std::runtime_error("cannot make " + path);
}

// A folder with directories, files and links in it. Its destructor removes them.
class Tree {
 public:
  // Makes the folder and adds `paths` to it.
  Tree(std::initializer_list<const char *> paths = {}) {
    for (const std::string path : paths) {
      add(path);
    }
  }

  // Makes a directory if `path` ends in a slash, or else an empty file. Makes its parents too.
  void add(const std::string &path) {
    const std::filesystem::path whole = at(path);
    std::filesystem::create_directories(whole.parent_path());
    if (!path.ends_with('/')) touch(whole);
  }

  // Makes a symbolic link at `path`. A relative `target` starts from the folder of the link.
  void link(const std::string &path, const std::string &target) {
    std::filesystem::create_symlink(target, at(path));
  }

  [[nodiscard]] const std::string &root() const { return folder_.path(); }

  // Returns the whole path of `path`, which is relative to the root.
  [[nodiscard]] std::string at(const std::string &path) const { return folder_.at(path); }

 private:
  ScratchFolder folder_;
};

}  // namespace kt::test

#endif
