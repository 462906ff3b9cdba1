// SPDX-License-Identifier: MIT

// Directories as the system lists them. Everything that is particular to the system's calls for
// files is in Listing.cpp. Each object belongs to one walk.
#ifndef KT_WALKER_LISTING_H
#define KT_WALKER_LISTING_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kt {

// Whether there is a directory at `path`, links followed.
[[nodiscard]] bool isDirectory(const std::string &path);

// An open directory, closed with the object; or none.
class Directory {
 public:
  Directory() = default;
  // The directory at `path`, links followed. Gives none when it cannot be opened.
  explicit Directory(const std::string &path);
  Directory(Directory &&other) noexcept;
  Directory &operator=(Directory &&other) = delete;
  ~Directory();

  // The directory at `path`, which an entry of a listing has; nothing when there is no directory.
  // One that may not be opened is a directory all the same, and not open.
  [[nodiscard]] static std::optional<Directory> at(const std::string &path);

  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;  // -1 when there is none
};

// What a listing says of an entry.
struct Entry {
  std::string_view name;  // valid until the next directory is listed
  bool mayBeDirectory;    // false settles it; true may also be a link or an entry of unknown kind
};

// The entries of the directories that a walk is in, each directory's on top of its parent's. They
// are kept as the system writes them, in one block for the whole walk, so that listing a directory
// costs no allocation.
class Listings {
 public:
  // Where entries of one directory stand in the block: from `begin` up to `end`, in bytes.
  struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
  };

  // Lists `directory` on top of what is there. Nothing when it cannot be listed to its end.
  [[nodiscard]] std::optional<Range> push(const Directory &directory);

  // A range on top without entries, for a directory that cannot be listed.
  [[nodiscard]] Range none() const { return {used_, used_}; }

  // Takes the first entry off `rest`, nothing when it is empty. "." and ".." are no entries.
  [[nodiscard]] std::optional<Entry> next(Range &rest) const;

  // Takes away the range on top.
  void pop(Range top) { used_ = top.begin; }

 private:
  std::vector<char> block_;
  std::size_t used_ = 0;  // bytes of the block that hold entries
};

}  // namespace kt

#endif
