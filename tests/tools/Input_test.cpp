// SPDX-License-Identifier: MIT

#include "tools/common/Input.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/ScratchFolder.h"
#include "tools/common/Failure.h"

namespace kt::test {
namespace {

using namespace tools;

// Returns why the file can't be read.
std::string refusal(const std::string &path) {
  try {
    return "read: " + contentsOfFile(path);
  } catch (const Failure &error) {
    return error.what();
  }
}

TEST(Input, IsWholeFile) {
  const ScratchFolder folder;
  const std::string text = std::string("a\0b", 3) + std::string(100'000, 'c') + "\r\n";
  std::ofstream(folder.at("file")) << text;
  EXPECT_EQ(contentsOfFile(folder.at("file")), text);
}

TEST(Input, MayBeEmpty) {
  EXPECT_EQ(contentsOfFile("/dev/null"), "");
}

TEST(Input, NamesFileThatCannotBeReadAndReason) {
  const ScratchFolder folder;
  EXPECT_EQ(refusal(folder.at("none")),
            folder.at("none") + ": can't read it: No such file or directory");
  EXPECT_EQ(refusal(folder.path()), folder.path() + ": can't read it: Is a directory");
}

}  // namespace
}  // namespace kt::test
