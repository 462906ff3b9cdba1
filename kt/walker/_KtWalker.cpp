// SPDX-License-Identifier: MIT

#include "kt/walker/_KtWalker.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "kt/walker/Listing.h"

// ---- Paths ----

namespace {

std::string_view withoutSlashesAtEnd(std::string_view path) {
  path.remove_suffix(path.size() - (path.find_last_not_of('/') + 1));
  return path;
}

std::string_view lastComponent(std::string_view path) {
  const std::string_view whole = withoutSlashesAtEnd(path);
  return whole.substr(whole.rfind('/') + 1);
}

std::string_view extensionOf(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

}  // namespace

// ---- Tildes ----

namespace {

// The home directory that `look` finds in the user database; nothing when it finds no user.
// `look` is getpwnam_r or getpwuid_r but for its first argument.
template <typename Look>
std::optional<std::string> homeInDatabase(Look look) {
  constexpr std::size_t usualSize = 1024;
  constexpr std::size_t largestSize = 1 << 20;  // the database holds nothing that needs more
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
  return std::string(withoutSlashesAtEnd(*home)) += path.substr(userEnd);
}

}  // namespace

// ---- The walk ----

namespace kt {

// One walk of a tree. The walker has the settings and the state that outlive it.
class Walk {
 public:
  Walk(_KtWalker &walker, std::string root) : walker_(walker), path_(std::move(root)) {}

  void walkRoot() {
    walker_.askForAbort();
    walkDirectory(Directory(path_));
  }

 private:
  // Walks the directory at path_ once the delegate has been asked whether it wants an abort.
  void walkDirectory(Directory directory) {
    const bool abortStood = walker_.aborted_;
    const Listings::Range entries = list(std::move(directory));
    reportDirectory(abortStood);
    visit(entries);
    listings_.pop(entries);
  }

  // Takes the directory in order to close it: however deep the walk, no descriptor stays open. All
  // entries are read before anything is told of them, so what the delegate does to the directory
  // changes nothing about which entries are visited.
  Listings::Range list(Directory directory) {
    return listings_.push(directory).value_or(listings_.none());
  }

  // The report comes even when the walk is aborted, kept on purpose; but its answer does not undo
  // an abort that stood before it.
  void reportDirectory(bool abortStood) {
    if (walker_.isAcceptableFile(path_)) walker_.fileFound(path_);
    if (abortStood) walker_.aborted_ = true;
  }

  void visit(Listings::Range entries) {
    path_.resize(withoutSlashesAtEnd(path_).size());
    path_ += '/';
    const std::size_t prefixSize = path_.size();
    while (!walker_.aborted_) {
      const std::optional<Entry> entry = listings_.next(entries);
      if (!entry) return;
      path_.resize(prefixSize);
      visit(*entry);
    }
  }

  // The entry's path is made only where it is needed: it is looked at, or told of.
  void visit(const Entry &entry) {
    const bool isAcceptable = walker_.isAcceptableName(entry.name);
    const bool mayBeEntered = walker_.recursive_ && entry.mayBeDirectory;
    if (!isAcceptable && !mayBeEntered) return;
    path_ += entry.name;
    if (mayBeEntered && walkedAsTree()) return;
    if (isAcceptable) walker_.fileFound(path_);
  }

  // Walks the tree at path_ if there is a directory. Opening it is how that is found out, so that
  // what was taken for a directory is walked as one.
  bool walkedAsTree() {
    std::optional<Directory> directory = Directory::at(path_);
    if (!directory) return false;
    walker_.aborted_ = false;
    walker_.askForAbort();
    walkDirectory(*std::move(directory));
    return true;
  }

  _KtWalker &walker_;
  std::string path_;   // of the directory or entry that the walk is at
  Listings listings_;  // of the directories between the root and path_
};

}  // namespace kt

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
  return kt::isDirectory(path);
}

std::optional<std::vector<std::string>> _KtWalker::directoryContentsAtPath(
    const std::string &path) const {
  kt::Listings listings;
  std::optional<kt::Listings::Range> rest = listings.push(kt::Directory(path));
  if (!rest) return std::nullopt;
  std::vector<std::string> names;
  while (const std::optional<kt::Entry> entry = listings.next(*rest)) {
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
  kt::Walk(*this, path).walkRoot();
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
