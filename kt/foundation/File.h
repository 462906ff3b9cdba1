// SPDX-License-Identifier: MIT

// Reads and replaces whole files. This header is not installed. Any thread may call these
// functions.
#ifndef KT_FOUNDATION_FILE_H
#define KT_FOUNDATION_FILE_H

#include <unistd.h>

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace kt::file {

// Owns one descriptor, or none (-1), and closes it.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) noexcept : descriptor_(descriptor) {}
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  ~Descriptor() {  // inline: the programs use it, and a shared library exports public names only
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  [[nodiscard]] int get() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

// Returns the rest of an open file. Returns nothing, with the reason in errno, if reading fails or
// if there are more than `limit` bytes (EFBIG).
[[nodiscard]] std::optional<std::string> contents(
    const Descriptor &file, std::size_t limit = std::numeric_limits<std::size_t>::max());

// Makes `text` the contents of the file `path`, at once and durably: PropertyList::toFile says how.
// Returns false, with the reason in errno, if that fails; the old contents are then in place,
// unless it was the disk that failed to note the new file's name.
[[nodiscard]] bool replaceContents(const std::string &path, std::string_view text);

}  // namespace kt::file

#endif
