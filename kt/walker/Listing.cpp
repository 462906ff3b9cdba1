// SPDX-License-Identifier: MIT

#include "kt/walker/Listing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace kt::walker {

namespace {

// Bytes offered to each call that lists entries. An entry takes at most 280 bytes, and one call
// lists a directory of several hundred entries.
constexpr std::size_t bytesPerCall = 32768;

// A system call would read such a path only up to its first NUL and find another file.
bool hasNul(const std::string &path) {
  return path.find('\0') != std::string::npos;
}

bool mayBeDirectory(unsigned char type) {
  return type == DT_DIR || type == DT_LNK || type == DT_UNKNOWN;
}

bool isDotOrDotDot(std::string_view name) {
  return name == "." || name == "..";
}

}  // namespace

bool isDirectory(const std::string &path) {
  struct stat status {};
  return !hasNul(path) && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// ---- Directories ----

Directory::Directory(const std::string &path) {
  if (hasNul(path)) return;
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
  // ENOTDIR, most often from a link to a file, saves a call of stat.
  if (errno == ENOTDIR || !isDirectory(path)) return std::nullopt;
  return directory;
}

// ---- Listings ----

std::optional<Listings::Range> Listings::push(const Directory &directory) {
  if (!directory.isOpen()) return std::nullopt;
  const std::size_t begin = used_;
  std::size_t end = begin;
  // Only a count of 0 is the end: a call may return fewer entries than there is room for.
  while (true) {
    if (block_.size() - end < bytesPerCall) block_.resize(2 * block_.size() + bytesPerCall);
    const ssize_t count = ::getdents64(directory.descriptor(), &block_[end], block_.size() - end);
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    end += static_cast<std::size_t>(count);
  }
  used_ = end;
  return Range{begin, end};
}

std::optional<Entry> Listings::next(Range &rest) const {
  while (rest.begin < rest.end) {
    const auto *record = reinterpret_cast<const dirent64 *>(&block_[rest.begin]);
    rest.begin += record->d_reclen;
    const std::string_view name(record->d_name);
    if (!isDotOrDotDot(name)) return Entry{name, mayBeDirectory(record->d_type)};
  }
  return std::nullopt;
}

}  // namespace kt::walker
