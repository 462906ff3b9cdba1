// SPDX-License-Identifier: MIT

#include "kt/walker/Listing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace kt {

namespace {

// What one call is given room for. The largest entry takes 280 bytes; a directory of some hundred
// entries comes in one piece.
constexpr std::size_t roomPerCall = 32768;

// The system's calls end a path at its first NUL, behind which a name could hide.
bool endsEarly(const std::string &path) {
  return path.find('\0') != std::string::npos;
}

// Settles it for every kind but a link and one that the file system does not tell.
bool mayBeDirectory(unsigned char type) {
  return type == DT_DIR || type == DT_LNK || type == DT_UNKNOWN;
}

bool isDotOrDots(std::string_view name) {
  return name == "." || name == "..";
}

}  // namespace

bool isDirectory(const std::string &path) {
  struct stat status {};
  return !endsEarly(path) && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// ---- Directories ----

Directory::Directory(const std::string &path) {
  if (endsEarly(path)) return;
  descriptor_ = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

Directory::Directory(Directory &&other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

Directory::~Directory() {
  if (isOpen()) ::close(descriptor_);
}

std::optional<Directory> Directory::at(const std::string &path) {
  Directory directory(path);
  if (directory.isOpen()) return directory;
  // Most often a link to a file, which opening has told by now.
  if (errno == ENOTDIR || !isDirectory(path)) return std::nullopt;
  return directory;
}

// ---- Listings ----

// Until a call gives nothing: a file system may give less than there is room for, and more later.
std::optional<Listings::Range> Listings::push(const Directory &directory) {
  if (!directory.isOpen()) return std::nullopt;
  const std::size_t begin = used_;
  for (std::size_t end = begin;;) {
    if (block_.size() - end < roomPerCall) block_.resize(2 * block_.size() + roomPerCall);
    const ssize_t count = ::getdents64(directory.descriptor(), &block_[end], block_.size() - end);
    if (count < 0) return std::nullopt;
    end += static_cast<std::size_t>(count);
    if (count > 0) continue;
    used_ = end;
    return Range{begin, end};
  }
}

std::optional<Entry> Listings::next(Range &rest) const {
  while (rest.begin < rest.end) {
    const auto *record = reinterpret_cast<const dirent64 *>(&block_[rest.begin]);
    rest.begin += record->d_reclen;
    const std::string_view name(record->d_name);
    if (!isDotOrDots(name)) return Entry{name, mayBeDirectory(record->d_type)};
  }
  return std::nullopt;
}

}  // namespace kt
