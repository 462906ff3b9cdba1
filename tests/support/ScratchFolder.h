// SPDX-License-Identifier: MIT

// An empty folder of its own for a test.
#ifndef KT_TESTS_SUPPORT_SCRATCHFOLDER_H
#define KT_TESTS_SUPPORT_SCRATCHFOLDER_H

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace kt::test {

// Makes the folder in the folder for temporary files, or throws. Its destructor removes it and
// everything in it.
class ScratchFolder {
 public:
  ScratchFolder() : path_((std::filesystem::temp_directory_path() / "kt-test-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) {
      throw std::runtime_error("cannot make scratch folder " + path_);
    }
  }
  ScratchFolder(const ScratchFolder &) = delete;
  ScratchFolder &operator=(const ScratchFolder &) = delete;
  ~ScratchFolder() {
    std::error_code ignored;  // a leftover among temporary files is harmless
    std::filesystem::remove_all(path_, ignored);
  }

  [[nodiscard]] const std::string &path() const { return path_; }

  // Returns the whole path of `name`, which is relative to the folder.
  [[nodiscard]] std::string at(const std::string &name) const { return path_ + '/' + name; }

 private:
  std::string path_;
};

}  // namespace kt::test

#endif
