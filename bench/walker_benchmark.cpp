// SPDX-License-Identifier: MIT

// A walk of 200,000 files in 20,000 directories that reports one file in ten, compared with:
// - a lower bound: open, list and close each directory and look only at the types of its entries,
// - fts(3) and std::filesystem,
// - the programs find and fd with one thread, including their start; a missing program is skipped.
// The tree is made in a scratch folder and is in the page cache.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <fts.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/ratios.h"
#include "kt/walker/_KtWalker.h"

namespace {

namespace fs = std::filesystem;

constexpr int directoryCount = 20'000;
constexpr int filesPerDirectory = 10;
constexpr int childrenPerDirectory = 8;  // makes the tree six levels deep
constexpr std::size_t wantedCount = directoryCount;

// A scratch tree. Its destructor removes it.
class Tree {
 public:
  Tree() : root_((fs::temp_directory_path() / "kt-walker-benchmark-XXXXXX").string()) {
    if (::mkdtemp(root_.data()) == nullptr) {
      throw std::runtime_error("cannot make a scratch folder");
    }
    std::vector<std::string> directories{root_};
    for (std::size_t number = 1; number < directoryCount; ++number) {
      const std::string &parent = directories[(number - 1) / childrenPerDirectory];
      directories.push_back(parent + "/directory" + std::to_string(number));
      fs::create_directory(directories.back());
    }
    for (const std::string &directory : directories) {
      fill(directory);
    }
  }
  Tree(const Tree &) = delete;
  Tree &operator=(const Tree &) = delete;
  ~Tree() { fs::remove_all(root_); }

  [[nodiscard]] const std::string &root() const { return root_; }

 private:
  static void fill(const std::string &directory) {
    for (int number = 0; number < filesPerDirectory; ++number) {
      const char *extension = number == 0 ? ".txt" : ".dat";
      std::ofstream(directory + "/file_number_" + std::to_string(number) + extension);
    }
  }

  std::string root_;
};

const Tree &tree() {
  static const Tree made;
  return made;
}

// Fails the benchmark if its walk did not find all files.
void expectWanted(benchmark::State &state, std::size_t count) {
  if (count != wantedCount) state.SkipWithError("did not find all files");
}

// The lower bound: lists each directory with a plain loop and opens it relative to its parent,
// which stays open. Returns the number of entries that are not directories.
std::size_t listBelow(int parent, const char *name) {
  const int directory = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0) return 0;
  alignas(dirent64) std::array<char, 32768> entries;
  std::size_t files = 0;
  for (ssize_t size; (size = ::getdents64(directory, entries.data(), entries.size())) > 0;) {
    for (ssize_t position = 0; position < size;) {
      const auto *entry = reinterpret_cast<const dirent64 *>(entries.data() + position);
      position += entry->d_reclen;
      if (entry->d_type != DT_DIR) {
        ++files;
      } else if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
        files += listBelow(directory, entry->d_name);
      }
    }
  }
  ::close(directory);
  return files;
}

void systemCalls(benchmark::State &state) {
  for (auto _ : state) {
    const std::size_t files = listBelow(AT_FDCWD, tree().root().c_str());
    if (files != directoryCount * filesPerDirectory) state.SkipWithError("did not find all files");
  }
}

struct Counter {
  bool fileFound(const std::string &) {
    ++count;
    return true;
  }
  std::size_t count = 0;
};

std::size_t countWithWalker() {
  Counter counter;
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setDelegate(&counter);
  walker.walkTree(tree().root());
  return counter.count;
}

void ktWalker(benchmark::State &state) {
  for (auto _ : state) {
    expectWanted(state, countWithWalker());
  }
}

bool isWanted(std::string_view name) {
  return name.ends_with(".txt");
}

void ftsWalk(benchmark::State &state) {
  for (auto _ : state) {
    std::string root = tree().root();
    std::array<char *, 2> roots{root.data(), nullptr};
    FTS *walk = fts_open(roots.data(), FTS_PHYSICAL | FTS_NOCHDIR | FTS_NOSTAT, nullptr);
    std::size_t count = 0;
    while (const FTSENT *entry = fts_read(walk)) {
      const bool isFile = entry->fts_info != FTS_D && entry->fts_info != FTS_DP;
      if (isFile && isWanted(entry->fts_path)) ++count;
    }
    fts_close(walk);
    expectWanted(state, count);
  }
}

void stdFilesystem(benchmark::State &state) {
  for (auto _ : state) {
    std::size_t count = 0;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(tree().root())) {
      if (!entry.is_directory() && isWanted(entry.path().native())) ++count;
    }
    expectWanted(state, count);
  }
}

// Returns the number of lines that a shell command prints.
std::size_t linesOf(const std::string &command) {
  FILE *output = ::popen(command.c_str(), "r");
  if (output == nullptr) return 0;
  std::array<char, 65536> block;
  std::size_t lines = 0;
  while (const std::size_t size = fread(block.data(), 1, block.size(), output)) {
    lines += static_cast<std::size_t>(std::count(block.begin(), block.begin() + size, '\n'));
  }
  ::pclose(output);
  return lines;
}

// Returns the processor time of all finished child processes.
double childrensSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Measures processor time, like the other benchmarks: elapsed time depends on the load.
void program(benchmark::State &state, const std::string &name, const std::string &arguments) {
  const std::string test = "command -v " + name + " >/dev/null";
  if (std::system(test.c_str()) != 0) {
    state.SkipWithError("is not installed");
    return;
  }
  for (auto _ : state) {
    const double before = childrensSeconds();
    expectWanted(state, linesOf(std::string("exec ").append(name).append(" ").append(arguments)));
    state.SetIterationTime(childrensSeconds() - before);
  }
}

void findProgram(benchmark::State &state) {
  program(state, "find", tree().root() + " -name '*.txt'");
}

void fdProgram(benchmark::State &state) {
  program(state, "fdfind", "--unrestricted --threads 1 --extension txt . " + tree().root());
}

BENCHMARK(systemCalls)->Unit(benchmark::kMillisecond);
BENCHMARK(ktWalker)->Unit(benchmark::kMillisecond);
BENCHMARK(ftsWalk)->Unit(benchmark::kMillisecond);
BENCHMARK(stdFilesystem)->Unit(benchmark::kMillisecond);
BENCHMARK(findProgram)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(fdProgram)->Unit(benchmark::kMillisecond)->UseManualTime();

}  // namespace

int main(int argc, char **argv) {
  (void)listBelow(AT_FDCWD, tree().root().c_str());  // makes the tree and caches it
  return bench::runWithRatios(argc, argv,
                              {{"ktWalker", "systemCalls", 1.10},
                               {"ktWalker", "ftsWalk", 1},
                               {"ktWalker", "stdFilesystem", 1},
                               {"ktWalker", "findProgram", 1},
                               {"ktWalker", "fdProgram", 1}});
}
