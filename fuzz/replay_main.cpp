// SPDX-License-Identifier: MIT

// Runs a fuzzer's function on every file of the folders named on the command line. The corpus is
// thus an ordinary test, with any compiler.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

void runOn(const std::filesystem::path &file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(stream), {}};
  std::printf("%s\n", file.filename().c_str());
  std::fflush(stdout);  // if the fuzzer aborts, the last line names the file
  (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(content.data()),
                               content.size());  // always 0
}

}  // namespace

int main(int argc, char **argv) {
  int count = 0;
  for (int index = 1; index < argc; ++index) {
    for (const auto &entry : std::filesystem::directory_iterator(argv[index])) {
      if (!entry.is_regular_file()) continue;
      runOn(entry.path());
      ++count;
    }
  }
  std::printf("%d files\n", count);
  return count > 0 ? 0 : 1;
}
