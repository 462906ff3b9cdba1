// SPDX-License-Identifier: MIT

// kt walk: the files of some types in trees of directories, on this machine.
#include <csignal>
#include <filesystem>
#include <iostream>
#include <memory>

#include "kt/walker/_KtWalker.h"
#include "tools/common/Failure.h"
#include "tools/common/Numbers.h"
#include "tools/common/Paths.h"
#include "tools/kt/Command.h"
#include "tools/kt/PathPrinter.h"

namespace kt::tools {

namespace {

struct Arguments {
  std::vector<std::string> types;
  bool leaveOut = false;              // whether subdirectories are not entered
  std::optional<std::int32_t> first;  // how many files at most; nothing: all
  bool countOnly = false;
  bool endsWithNul = false;
  std::vector<std::string> roots;
};

// The walker's delegate.
class Finder {
 public:
  Finder(const Arguments &arguments, const Options &options)
      : arguments_(arguments), options_(options), printer_(arguments.endsWithNul) {}

  bool fileFound(const std::string &path) {
    ++count_;
    if (!arguments_.countOnly) print(path);
    return !isDone();
  }

  // Asked at each directory, so that a walk that finds nothing for a while shows what it has found.
  bool wantsAbort() {
    printer_.flushWhenDue();
    return isDone();
  }

  [[nodiscard]] bool isDone() const { return count_ == arguments_.first; }

  void finish() {
    if (arguments_.countOnly) printCount();
    printer_.flush();
  }

 private:
  void print(const std::string &path) {
    if (options_.quiet) return;
    if (options_.json) {
      printer_.printJson(Json{{"path", jsonOf(pathValue(path))}});
    } else {
      printer_.print(path);
    }
  }

  void printCount() {
    if (options_.quiet) return;
    if (options_.json) {
      printer_.printJson(Json{{"count", count_}});
    } else {
      printer_.print(std::to_string(count_));
    }
  }

  const Arguments &arguments_;
  const Options &options_;
  PathPrinter printer_;
  std::int64_t count_ = 0;
};

// Whether a walk may begin at `root`: a file may be, a directory that can be listed, nothing else.
bool isReadable(const std::string &root) {
  std::error_code ignored;
  const std::filesystem::file_status status = std::filesystem::status(root, ignored);
  if (exists(status) && !is_directory(status)) return true;
  const std::optional<std::string> reason = whyNotListed(root);
  if (reason) std::cerr << "kt walk: " << inQuotes(root) << ": " << *reason << '\n';
  return !reason;
}

int walk(const Arguments &arguments, const Options &options) {
  if (arguments.endsWithNul && options.json) throw Misuse("--null excludes --json");
  if (arguments.types.empty()) {
    std::cerr << "kt walk: without --type no file is of an accepted type\n";
  }
  std::signal(SIGPIPE, SIG_DFL);  // a reader that has seen enough ends the walk, without a word
  Finder finder(arguments, options);
  _KtWalker walker;
  walker.setFileTypes(arguments.types);
  walker.setRecursive(!arguments.leaveOut);
  walker.setDelegate(&finder);
  int status = exitDone;
  for (const std::string &root : arguments.roots) {
    if (finder.isDone()) break;
    if (isReadable(root)) {
      walker.walkTree(root);
    } else {
      status = exitFailed;
    }
  }
  finder.finish();
  return status;
}

}  // namespace

Action declareWalk(CLI::App &app) {
  const auto arguments = std::make_shared<Arguments>();
  app.add_option("--type", arguments->types,
                 "An extension to accept, without its dot; may be given\n"
                 "several times; '' accepts names without extension")
      ->type_name("EXT")
      ->check(extensionProblem)
      ->allow_extra_args(false);
  app.add_flag("--no-recursive", arguments->leaveOut, "Enter no subdirectory");
  addOption(app, "--first", arguments->first, readPositive, "a number of files from 1 up",
            "End with the file of this number")
      ->type_name("N");
  app.add_flag("--count", arguments->countOnly,
               "Print how many files there are and not their paths");
  app.add_flag("--null", arguments->endsWithNul, "End each path with a NUL, not with a line feed");
  app.add_option("DIR", arguments->roots, "Where to begin")->required()->type_name("");
  app.footer(
      "Prints the path of each file whose extension is one of the types, as it is found. Links to\n"
      "directories are followed; where several lead back up, a walk has no end in sight. A "
      "directory\n"
      "of such a name is printed too, before what is in it.\n"
      "On a terminal what is not printable is shown escaped; elsewhere paths are the bytes that "
      "are\n"
      "on the disk. As JSON: path, or with --count count; bytes that are not UTF-8 are\n"
      "{\"data\": \"ff2e68\"}. Where a DIR can't be read the others are walked; the status is 1.\n"
      "\n"
      "Examples:\n"
      "  kt walk --type h /usr/include\n"
      "  kt walk --type h --type hpp --count /usr/include /usr/local/include\n"
      "  kt walk --type jpg --null . | xargs -0 ls -l");
  return [arguments](const Options &options) { return walk(*arguments, options); };
}

}  // namespace kt::tools
