// SPDX-License-Identifier: MIT

#include "kt/foundation/File.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace kt::file {

namespace {

// Returns the path of the file that `path` leads to; `path` itself if there is no such file yet.
// Returns nothing, with the reason in errno, if the system cannot tell.
std::optional<std::string> resolved(const std::string &path) {
  const std::unique_ptr<char, decltype(&std::free)> found(::realpath(path.c_str(), nullptr),
                                                          &std::free);
  if (found != nullptr) return found.get();
  if (errno != ENOENT) return std::nullopt;
  return path;
}

// Returns the part of `path` up to its last slash, and "./" if it has none.
std::string folderOf(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

// Returns a name that no other writer uses.
std::string temporaryName() {
  std::uint64_t random = 0;
  (void)::getentropy(&random, sizeof random);  // if refused, a name in use cannot be opened
  return ".kt-" + std::to_string(::getpid()) + "-" + std::to_string(random);
}

// A file without contents beside another one. Removes it again unless it took the other's place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string &folder)
      : path_(folder + temporaryName()),
        file_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {}
  TemporaryFile(const TemporaryFile &) = delete;
  TemporaryFile &operator=(const TemporaryFile &) = delete;
  ~TemporaryFile() {
    if (file_.get() < 0 || renamed_) return;
    const int reason = errno;
    (void)::unlink(path_.c_str());  // what remains is a name that nobody opens
    errno = reason;
  }

  [[nodiscard]] bool isOpen() const { return file_.get() >= 0; }

  // Takes over the permissions of the file `other`, if there is one.
  [[nodiscard]] bool copyPermissions(const std::string &other) const {
    struct stat status {};
    if (::stat(other.c_str(), &status) != 0) return errno == ENOENT;
    if (!S_ISREG(status.st_mode)) {  // a device or a FIFO must not be replaced by a file
      errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
      return false;
    }
    // Only root may give a file to another user. Whoever else may replace it becomes its owner.
    [[maybe_unused]] const int given = ::fchown(file_.get(), status.st_uid, status.st_gid);
    return ::fchmod(file_.get(), status.st_mode & 07777) == 0;
  }

  [[nodiscard]] bool write(std::string_view text) const {
    while (!text.empty()) {
      const ssize_t count = ::write(file_.get(), text.data(), text.size());
      if (count >= 0) {
        text.remove_prefix(static_cast<std::size_t>(count));
      } else if (errno != EINTR) {
        return false;
      }
    }
    return ::fsync(file_.get()) == 0;
  }

  [[nodiscard]] bool renameTo(const std::string &path) {
    renamed_ = std::rename(path_.c_str(), path.c_str()) == 0;
    return renamed_;
  }

 private:
  std::string path_;
  Descriptor file_;
  bool renamed_ = false;
};

// Makes the names in a folder durable. Not every file system can; those that cannot say EINVAL.
bool synchronise(const Descriptor &folder) {
  return ::fsync(folder.get()) == 0 || errno == EINVAL;
}

}  // namespace

std::optional<std::string> contents(const Descriptor &file, std::size_t limit) {
  std::string text;
  std::array<char, 65536> chunk;
  while (text.size() <= limit) {
    const ssize_t count = ::read(file.get(), chunk.data(), chunk.size());
    if (count == 0) return text;
    if (count > 0) text.append(chunk.data(), static_cast<std::size_t>(count));
    if (count < 0 && errno != EINTR) return std::nullopt;
  }
  errno = EFBIG;
  return std::nullopt;
}

bool replaceContents(const std::string &path, std::string_view text) {
  const std::optional<std::string> target = resolved(path);
  if (!target) return false;
  const std::string folder = folderOf(*target);
  const Descriptor openFolder(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (openFolder.get() < 0) return false;
  TemporaryFile file(folder);
  return file.isOpen() && file.copyPermissions(*target) && file.write(text) &&
         file.renameTo(*target) && synchronise(openFolder);
}

}  // namespace kt::file
