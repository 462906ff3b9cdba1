// SPDX-License-Identifier: MIT

// Walks directory trees depth first and tells a delegate of each path whose extension is in a list.
// A walker is configured once and may walk any number of times; each call walks on the calling
// thread, calls the delegate there and returns when the walk is over. One walker serves one thread
// at a time, any number of walkers may be at work.
//
//   _KtWalker walker;
//   walker.setFileTypes({"txt", "md"});
//   walker.setDelegate(&finder);
//   walker.walkTree("/srv/documents");
//
// Paths are bytes, as they stand on the disk. Nothing is sorted: entries come as the file system
// lists them. Links to directories are followed. What cannot be read is passed over in silence.
#ifndef KT_WALKER__KTWALKER_H
#define KT_WALKER__KTWALKER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Friends, named here because what is first named below is visible outside the library.
namespace kt {
class Walk;
}  // namespace kt

#pragma GCC visibility push(default)

namespace kt {

// A class with the method by which a walker tells its delegate of a path.
template <class Delegate>
concept FileFinder = requires(Delegate &delegate, const std::string &path) {
  static_cast<bool>(delegate.fileFound(path));
};

// A class with the method by which a walker asks its delegate whether to go on.
template <class Delegate>
concept WalkAborter = requires(Delegate &delegate) {
  static_cast<bool>(delegate.wantsAbort());
};

}  // namespace kt

class _KtWalker {
 public:
  // A walker that enters subdirectories, without types and without a delegate.
  _KtWalker();
  _KtWalker(const _KtWalker &) = delete;
  _KtWalker &operator=(const _KtWalker &) = delete;
  ~_KtWalker();

  // Whether subdirectories are entered. Where they are not, they count as files.
  void setRecursive(bool recursive);

  // The extensions that are accepted, without their dot: "txt". The empty one accepts names without
  // extension. Without any type nothing is reported.
  void setFileTypes(std::vector<std::string> types);

  // The object that is told of files. Any class will do; both methods are optional:
  //   bool fileFound(const std::string &path)   told of an accepted path; false stops the walk. Any
  //                                             answer that converts to bool will do, so a pointer
  //                                             or an optional too, but not void.
  //   bool wantsAbort()                         asked whenever a directory is begun; true stops the
  //                                             walk, false lets it go on even where an abort stood
  // The path is the walker's own and holds for the length of the call. What a method throws leaves
  // the walk, and the walker can be used again. The delegate is not owned and must live as long as
  // the walker walks.
  template <class Delegate>
  void setDelegate(Delegate *delegate);
  void setDelegate(std::nullptr_t);

  // Whether the extension of `path` is one of the types, to the letter: the text behind the last
  // dot of its last component, slashes at its end set aside. "a.txt/", "b.c.txt" and ".txt" have
  // txt; "a", "a." and "d.txt/a" have the empty one.
  [[nodiscard]] bool isAcceptableFile(std::string_view path) const;

  // Whether there is a directory at `path`, or a link that leads to one.
  [[nodiscard]] bool isDirectoryAtAbsolutePath(const std::string &path) const;

  // The names of the entries of the directory at `path`, hidden ones included, "." and ".." not, in
  // the file system's order. Nothing when it cannot be listed.
  [[nodiscard]] std::optional<std::vector<std::string>> directoryContentsAtPath(
      const std::string &path) const;

  // Tells the delegate of `path`, whatever its extension, and takes its answer as the new state of
  // aborted(). Does nothing when there is no delegate or it has no such method.
  void fileFound(const std::string &path);

  // Walks the directory at `path`, from whatever aborted() holds:
  // - asks the delegate whether it wants an abort,
  // - reports `path` itself, as it is given, if it is acceptable, even when the walk is aborted,
  // - unless it is aborted, visits the entries that the directory had before that report: enters
  //   directories, by walkTree, and reports other paths that are acceptable. An abort in one entry
  //   ends it.
  // A path that is no directory has no entries. An entry's path is `path`, one slash and its name.
  // A subdirectory is opened, which shows whether it is one, before wantsAbort is asked about it,
  // and listed behind that. A chain of links that leads back up is followed as far as the system
  // follows links in one path, 40 of them on Linux.
  void walkDirectory(const std::string &path);

  // Clears aborted(), then walks the directory at `path`. A tilde is a character like any other.
  void walkTree(const std::string &path);

  // Clears aborted() once, then walks each of `paths` in this order. A tilde at the front of a path
  // stands for a home directory: ~ and ~/x for that of HOME or, where that is empty, of the
  // process's user, ~name and ~name/x for that of the user `name`; it stays when there is none.
  // Every tree is begun: where an earlier one was aborted, a later one still reports its own path,
  // and its entries if the delegate's wantsAbort says so.
  void walkTrees(const std::vector<std::string> &paths);

  // Whether the walk is to stop; after a walk, whether it was stopped.
  [[nodiscard]] bool aborted() const { return aborted_; }
  [[nodiscard]] bool recursive() const { return recursive_; }

 private:
  friend class kt::Walk;

  using FileFound = bool (*)(void *delegate, const std::string &path);
  using WantsAbort = bool (*)(void *delegate);

  [[nodiscard]] bool isAcceptableName(std::string_view name) const;
  void askForAbort();

  bool aborted_ = false;             // whether the walk is to stop
  bool recursive_ = true;            // whether subdirectories are entered
  void *delegate_ = nullptr;         // is told of files, not owned; null when there is none
  FileFound fileFound_ = nullptr;    // calls the delegate's method; null when it has none
  WantsAbort wantsAbort_ = nullptr;  // the same
  std::vector<std::string> types_;   // the extensions accepted, without dots
};

template <class Delegate>
void _KtWalker::setDelegate(Delegate *delegate) {
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

#pragma GCC visibility pop

#endif
