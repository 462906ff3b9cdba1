// SPDX-License-Identifier: MIT

// Walks directory trees depth first and reports each path whose extension is in a list.
//
//   _KtWalker walker;
//   walker.setFileTypes({"txt", "md"});
//   walker.setDelegate(&finder);
//   walker.walkTree("/srv/documents");
//
// A walker is configured once and may walk any number of times. A walk calls its delegate on the
// calling thread and returns when it is over. One walker may be used by one thread at a time;
// several walkers may walk at the same time.
//
// Paths are bytes, reported as the file system stores them. Entries are visited in the order in
// which the file system lists them. Links to directories are followed. No error is reported: a
// directory that cannot be read has no entries.
#ifndef KT_WALKER__KTWALKER_H
#define KT_WALKER__KTWALKER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kt {

namespace walker {
class Walk;
}  // namespace walker

// A class with the method that receives the paths a walker finds.
template <class Delegate>
concept FileFinder = requires(Delegate &delegate, const std::string &path) {
  static_cast<bool>(delegate.fileFound(path));
};

// A class with the method that decides whether a walk stops.
template <class Delegate>
concept WalkAborter = requires(Delegate &delegate) {
  static_cast<bool>(delegate.wantsAbort());
};

}  // namespace kt

class _KtWalker {
 public:
  // Makes a recursive walker without file types and without a delegate.
  _KtWalker();
  _KtWalker(const _KtWalker &) = delete;
  _KtWalker &operator=(const _KtWalker &) = delete;
  ~_KtWalker();

  // Sets whether subdirectories are entered. If not, they are treated as files.
  void setRecursive(bool recursive);

  // Sets the accepted extensions, without their dot: "txt". The empty extension accepts names
  // without one. If the list is empty, nothing is reported.
  void setFileTypes(std::vector<std::string> types);

  // Sets the object that receives the paths. It may be of any class with one of these methods or
  // both.
  //   bool fileFound(const std::string &path)   Receives an accepted path; false stops the walk.
  //                                             Any result that converts to bool is allowed, such
  //                                             as a pointer or an optional. A method that returns
  //                                             void is not called.
  //   bool wantsAbort()                         Called at the start of each directory. True stops
  //                                             the walk; false continues it, even if it was
  //                                             stopped before.
  // `path` is valid during the call only. An exception thrown by a method ends the walk and
  // propagates; the walker can be used again. The delegate is not owned.
  // Requires: the delegate outlives every walk that uses it.
  template <class Delegate>
  void setDelegate(Delegate *delegate);
  void setDelegate(std::nullptr_t);

  // Returns whether the extension of `path` equals one of the types; case matters. The extension is
  // the text after the last dot of the last component. Trailing slashes are ignored.
  // "a.txt/", "b.c.txt" and ".txt" have the extension "txt"; "a", "a." and "d.txt/a" have "".
  [[nodiscard]] bool isAcceptableFile(std::string_view path) const;

  // Returns whether `path` is a directory or a link to one.
  [[nodiscard]] bool isDirectoryAtAbsolutePath(const std::string &path) const;

  // Returns the names in the directory at `path`, hidden ones included, "." and ".." excluded, in
  // the file system's order. Returns nothing if the directory cannot be listed.
  [[nodiscard]] std::optional<std::vector<std::string>> directoryContentsAtPath(
      const std::string &path) const;

  // Passes `path` to the delegate, whatever its extension, and sets aborted() to the opposite of
  // the result. Does nothing if the delegate has no such method.
  void fileFound(const std::string &path);

  // Walks the directory at `path`. Does not clear aborted() first.
  // 1. Calls the delegate's wantsAbort, if any, and sets aborted() to its result.
  // 2. Lists the directory to its end. A path that is not a directory has no entries.
  // 3. Reports `path` itself, exactly as given, if it is acceptable. This happens even if the walk
  //    is aborted; the result of that report does not clear the abort.
  // 4. Visits the entries until the walk is aborted. If recursive(), a subdirectory is walked as by
  //    walkTree. Any other path is reported if it is acceptable.
  //
  // The path of an entry is `path`, exactly one slash, and the entry's name. A subdirectory is
  // opened before wantsAbort is called for it. Cycles of links are not detected: they end at the
  // system's limit of links in one path, which is 40 on Linux.
  void walkDirectory(const std::string &path);

  // Clears aborted(), then walks the directory at `path`. Does not expand a tilde.
  void walkTree(const std::string &path);

  // Clears aborted() once, then walks each path in order, with a leading tilde expanded. `~` and
  // `~/x` use HOME or, if it is unset or empty, the home of the process's user. `~name` and
  // `~name/x` use the home of that user. A path is left unchanged if there is no such user.
  //
  // Starts every tree, even after an abort. Without wantsAbort, a tree after an aborted one reports
  // at most its own path; with it, the delegate decides again for each tree.
  void walkTrees(const std::vector<std::string> &paths);

  // Returns whether the walk is to stop or, after a walk, whether it was stopped.
  [[nodiscard]] bool aborted() const { return aborted_; }
  [[nodiscard]] bool recursive() const { return recursive_; }

 private:
  friend class kt::walker::Walk;

  using FileFound = bool (*)(void *delegate, const std::string &path);
  using WantsAbort = bool (*)(void *delegate);

  [[nodiscard]] bool isAcceptableName(std::string_view name) const;
  void askForAbort();

  bool aborted_ = false;             // whether the walk is to stop
  bool recursive_ = true;            // whether subdirectories are entered
  void *delegate_ = nullptr;         // not owned; nullptr if there is none
  FileFound fileFound_ = nullptr;    // calls the delegate's method; nullptr if it has none
  WantsAbort wantsAbort_ = nullptr;  // calls the delegate's method; nullptr if it has none
  std::vector<std::string> types_;   // accepted extensions, without dots
};

template <class Delegate>
void _KtWalker::setDelegate(Delegate *delegate) {
  static_assert(
      kt::FileFinder<Delegate> || kt::WalkAborter<Delegate>,
      "a delegate needs bool fileFound(const std::string &path), bool wantsAbort() or both");
  setDelegate(nullptr);
  if (delegate == nullptr) return;
  delegate_ = const_cast<void *>(static_cast<const void *>(delegate));
  if constexpr (kt::FileFinder<Delegate>) {
    fileFound_ = [](void *object, const std::string &path) {
      return static_cast<bool>(static_cast<Delegate *>(object)->fileFound(path));
    };
  }
  if constexpr (kt::WalkAborter<Delegate>) {
    wantsAbort_ = [](void *object) {
      return static_cast<bool>(static_cast<Delegate *>(object)->wantsAbort());
    };
  }
}

#endif
