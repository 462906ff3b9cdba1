// SPDX-License-Identifier: MIT

#include "kt/walker/_KtWalker.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "kt/walker/Listing.h"

namespace {

// ---- Paths ----

std::string_view withoutTrailingSlashes(std::string_view path) {
  path.remove_suffix(path.size() - (path.find_last_not_of('/') + 1));
  return path;
}

std::string_view lastComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  return path.substr(path.rfind('/') + 1);
}

std::string_view extensionOf(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

// ---- Tildes ----

// Returns the home directory of the user that `look` finds in the user database, or nothing.
// `look` is getpwnam_r or getpwuid_r with its first argument bound.
template <typename Look>
std::optional<std::string> homeInDatabase(Look look) {
  constexpr std::size_t usualSize = 1024;  // bytes, for the texts of one user
  constexpr std::size_t largestSize = 1 << 20;
  for (std::size_t size = usualSize; size <= largestSize; size *= 2) {
    std::vector<char> texts(size);
    passwd user{};
    passwd *found = nullptr;
    if (look(&user, texts.data(), texts.size(), &found) == ERANGE) continue;
    if (found == nullptr || found->pw_dir == nullptr) return std::nullopt;
    return found->pw_dir;
  }
  return std::nullopt;
}

std::optional<std::string> ownHome() {
  const char *home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') return home;
  return homeInDatabase([](auto... place) { return ::getpwuid_r(::getuid(), place...); });
}

std::optional<std::string> homeOf(const std::string &user) {
  return homeInDatabase([&](auto... place) { return ::getpwnam_r(user.c_str(), place...); });
}

std::string expandingTilde(const std::string &path) {
  if (!path.starts_with('~')) return path;
  const std::size_t userEnd = std::min(path.find('/'), path.size());
  const std::string user = path.substr(1, userEnd - 1);
  const std::optional<std::string> home = user.empty() ? ownHome() : homeOf(user);
  if (!home) return path;
  if (userEnd == path.size()) return *home;
  return std::string(withoutTrailingSlashes(*home)) += path.substr(userEnd);
}

}  // namespace

// ---- Walks ----

namespace kt::walker {

// One walk of one directory and everything below it. It holds what is needed only during the walk;
// the walker holds the settings and aborted_, which outlive it.
class Walk {
 public:
  Walk(_KtWalker &walker, std::string root) : walker_(walker), path_(std::move(root)) {}

  void walkRoot() {
    walker_.askForAbort();
    walkDirectory(Directory(path_));
  }

 private:
  // Walks the directory at path_, after the delegate was asked whether to abort.
  void walkDirectory(Directory directory) {
    const bool wasAborted = walker_.aborted_;
    const Listings::Range entries = list(std::move(directory));
    reportDirectory(wasAborted);
    visit(entries);
    listings_.pop(entries);
  }

  // Lists the directory and closes it, so that a walk holds no descriptor open, however deep it is.
  // It is listed to its end before anything is reported: what the delegate changes in it does not
  // change which entries are visited.
  Listings::Range list(Directory directory) {
    return listings_.push(directory).value_or(listings_.emptyRange());
  }

  // Reports path_ even if the walk was aborted, so that the delegate learns which directory was
  // started. Its answer does not clear that abort.
  void reportDirectory(bool wasAborted) {
    if (walker_.isAcceptableFile(path_)) walker_.fileFound(path_);
    if (wasAborted) walker_.aborted_ = true;
  }

  void visit(Listings::Range entries) {
    path_.resize(withoutTrailingSlashes(path_).size());
    path_ += '/';
    const std::size_t prefixSize = path_.size();
    while (!walker_.aborted_) {
      const std::optional<Entry> entry = listings_.next(entries);
      if (!entry) return;
      path_.resize(prefixSize);
      visit(*entry);
    }
  }

  // Appends the name to path_ only if the entry is to be entered or reported.
  void visit(const Entry &entry) {
    const bool isAcceptable = walker_.isAcceptableName(entry.name);
    const bool mayBeEntered = walker_.recursive_ && entry.mayBeDirectory;
    if (!isAcceptable && !mayBeEntered) return;
    path_ += entry.name;
    if (mayBeEntered && walkIfDirectory()) return;
    if (isAcceptable) walker_.fileFound(path_);
  }

  // Walks path_ and returns true, or returns false if it is not a directory. Opening path_ decides,
  // so that the directory that is found is the one that is walked. No abort needs to be cleared for
  // the new tree: entries are visited only while aborted_ is false.
  bool walkIfDirectory() {
    std::optional<Directory> directory = Directory::at(path_);
    if (!directory) return false;
    walker_.askForAbort();
    walkDirectory(*std::move(directory));
    return true;
  }

  _KtWalker &walker_;
  std::string path_;   // the directory or entry that the walk is at
  Listings listings_;  // of the directories from the root to path_
};

}  // namespace kt::walker

// ---- The walker ----

_KtWalker::_KtWalker() = default;

_KtWalker::~_KtWalker() = default;

void _KtWalker::setRecursive(bool recursive) {
  recursive_ = recursive;
}

void _KtWalker::setFileTypes(std::vector<std::string> types) {
  types_ = std::move(types);
}

void _KtWalker::setDelegate(std::nullptr_t) {
  delegate_ = nullptr;
  fileFound_ = nullptr;
  wantsAbort_ = nullptr;
}

bool _KtWalker::isAcceptableFile(std::string_view path) const {
  return isAcceptableName(lastComponent(path));
}

bool _KtWalker::isAcceptableName(std::string_view name) const {
  return std::ranges::find(types_, extensionOf(name)) != types_.end();
}

bool _KtWalker::isDirectoryAtAbsolutePath(const std::string &path) const {
  return kt::walker::isDirectory(path);
}

std::optional<std::vector<std::string>> _KtWalker::directoryContentsAtPath(
    const std::string &path) const {
  kt::walker::Listings listings;
  std::optional<kt::walker::Listings::Range> rest = listings.push(kt::walker::Directory(path));
  if (!rest) return std::nullopt;
  std::vector<std::string> names;
  while (const std::optional<kt::walker::Entry> entry = listings.next(*rest)) {
    names.emplace_back(entry->name);
  }
  return names;
}

void _KtWalker::askForAbort() {
  if (wantsAbort_ != nullptr) aborted_ = wantsAbort_(delegate_);
}

void _KtWalker::fileFound(const std::string &path) {
  if (fileFound_ != nullptr) aborted_ = !fileFound_(delegate_, path);
}

void _KtWalker::walkDirectory(const std::string &path) {
  kt::walker::Walk(*this, path).walkRoot();
}

void _KtWalker::walkTree(const std::string &path) {
  aborted_ = false;
  walkDirectory(path);
}

void _KtWalker::walkTrees(const std::vector<std::string> &paths) {
  aborted_ = false;
  for (const std::string &path : paths) {
    walkDirectory(expandingTilde(path));
  }
}
