// SPDX-License-Identifier: MIT

// kt walk: the files of some types in trees of directories on this machine.
#include <sys/stat.h>

#include <csignal>
#include <cstdio>

#include "kt/walker/_KtWalker.h"
#include "tools/common/Arguments.h"
#include "tools/common/Json.h"
#include "tools/common/Paths.h"
#include "tools/kt/Results.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

constexpr const char *help = R"(
Prints the path of each file whose extension is one of the types, as it is found. Links to
directories are followed; if several of them lead back up, the walk may never end. A directory
with such an extension is printed too, before its contents. On a terminal, characters that are
not printable are escaped; elsewhere paths are the bytes on the disk. As JSON: path, or with
--count count; bytes that are not UTF-8 are {"data": "ff2e68"}. If a DIR can't be read, the
others are walked and the status is 1.

Examples:
  kt walk --type h /usr/include
  kt walk --type h --type hpp --count /usr/include /usr/local/include
  kt walk --type jpg --null . | xargs -0 ls -l
)";

struct Arguments {
  std::vector<std::string> types;
  bool notRecursive = false;          // whether subdirectories are not entered
  std::optional<std::int32_t> first;  // the most files to find; nothing: all
  bool countOnly = false;
  bool endsWithNul = false;
  std::vector<std::string> roots;
};

// The walker's delegate.
class Finder {
 public:
  Finder(const Arguments &arguments, const Options &options)
      : arguments_(arguments), results_(options, arguments.endsWithNul) {}

  bool fileFound(const std::string &path) {
    ++count_;
    if (!arguments_.countOnly) {
      results_.add([&] { return results_.textOf(path); },
                   [&] { return JsonObject().addValue("path", pathValue(path)).text(); });
    }
    return !isDone();
  }

  // Called at each directory: a walk that finds nothing for a while shows what it has found.
  bool wantsAbort() {
    results_.flushWhenDue();
    return isDone();
  }

  [[nodiscard]] bool isDone() const { return count_ == arguments_.first; }

  void finish() {
    if (arguments_.countOnly) {
      results_.add([&] { return std::to_string(count_); },
                   [&] { return JsonObject().addNumber("count", count_).text(); });
    }
    results_.flush();
  }

 private:
  const Arguments &arguments_;
  PathResults results_;
  std::int64_t count_ = 0;
};

// Whether a walk may begin at `root`: at any file, and at a directory that can be listed. Reports
// why not.
bool isReadable(const std::string &root) {
  struct stat status;
  if (::stat(root.c_str(), &status) == 0 && !S_ISDIR(status.st_mode)) return true;
  const std::optional<std::string> reason = whyNotListed(root);
  if (reason) std::fprintf(stderr, "kt walk: %s: %s\n", inQuotes(root).c_str(), reason->c_str());
  return !reason;
}

class Walk : public Command {
 public:
  void declare(CommandLine &line) override {
    line.addTexts({"--type", "EXT",
                   "An extension to accept, without its dot; may be given\n"
                   "several times; '' accepts names without extension"},
                  arguments_.types, extensionProblem);
    line.addFlag("--no-recursive", arguments_.notRecursive, "Enter no subdirectory");
    line.addOption<readPositive>({"--first", "N", "Stop after N files"}, arguments_.first,
                                 "a number of files from 1 up");
    line.addFlag("--count", arguments_.countOnly, "Print the number of files, not their paths");
    line.addFlag("--null", arguments_.endsWithNul,
                 "End each path with a NUL, not with a line feed");
    line.addArguments("DIR", arguments_.roots, true, "Where to begin");
    line.setFooter(help);
  }

  int run(const Options &options) override {
    Finder finder(arguments_, options);
    if (arguments_.types.empty()) {
      std::fputs("kt walk: without --type no file is of an accepted type\n", stderr);
    }
    std::signal(SIGPIPE, SIG_DFL);  // a reader that has seen enough ends the walk silently
    const int status = walkRoots(finder);
    finder.finish();
    return status;
  }

 private:
  int walkRoots(Finder &finder) const {
    _KtWalker walker;
    walker.setFileTypes(arguments_.types);
    walker.setRecursive(!arguments_.notRecursive);
    walker.setDelegate(&finder);
    int status = exitDone;
    for (const std::string &root : arguments_.roots) {
      if (finder.isDone()) break;
      if (isReadable(root)) {
        walker.walkTree(root);
      } else {
        status = exitFailed;
      }
    }
    return status;
  }

  Arguments arguments_;
};

}  // namespace

Command &walkCommand() {
  static Walk command;
  return command;
}

}  // namespace kt::tools
