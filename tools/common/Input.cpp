// SPDX-License-Identifier: MIT

#include "tools/common/Input.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tools/common/Failure.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// Returns the rest of `stream`, which is null if it could not be opened; errno then says why.
std::string contentsOf(std::FILE *stream, const std::string &name) {
  std::string text;
  if (stream != nullptr) {
    std::array<char, 65536> block;
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), stream)) {
      text.append(block.data(), count);
    }
  }
  if (stream == nullptr || std::ferror(stream) != 0) {
    throw Failure(escaped(name) + ": can't read it: " + std::strerror(errno));
  }
  return text;
}

struct Closer {
  // Nothing was written, so closing can lose nothing.
  void operator()(std::FILE *stream) const { (void)std::fclose(stream); }
};

}  // namespace

std::string contentsOfFile(const std::string &path) {
  const std::unique_ptr<std::FILE, Closer> stream(std::fopen(path.c_str(), "re"));
  return contentsOf(stream.get(), path);
}

std::string contentsOfStandardInput() {
  return contentsOf(stdin, "standard input");
}

}  // namespace kt::tools
