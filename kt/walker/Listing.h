// SPDX-License-Identifier: MIT

// Open directories and their entries, as the system lists them. Listing.cpp has every system call
// of the walker that concerns files. No object here may be used by two threads at once.
#ifndef KT_WALKER_LISTING_H
#define KT_WALKER_LISTING_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kt::walker {

// Returns whether `path` is a directory or a link to one.
[[nodiscard]] bool isDirectory(const std::string &path);

// A directory, open unless opening it failed. Its destructor closes it.
class Directory {
 public:
  // Opens the directory at `path` and follows links. isOpen() tells whether that succeeded.
  explicit Directory(const std::string &path);
  Directory(Directory &&other) noexcept;
  Directory &operator=(Directory &&other) = delete;
  ~Directory();

  // Opens the directory at `path`, which a listing has named. Returns nothing if it is not a
  // directory. A directory that may not be read is returned with isOpen() == false.
  [[nodiscard]] static std::optional<Directory> at(const std::string &path);

  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;  // -1 if it is not open
};

// One entry of a listing.
struct Entry {
  std::string_view name;  // valid until the next directory is listed
  bool mayBeDirectory;    // true for a directory, a link and an entry of unknown type
};

// A stack of listings: those of the directories from the root of a walk to the current one. They
// are kept in the system's format in one block. Once the block is large enough, listing a directory
// allocates no memory.
class Listings {
 public:
  // The part of the block that holds one listing or the rest of it: [begin, end), in bytes.
  struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
  };

  // Lists `directory` to its end and pushes the listing. Returns nothing, and pushes nothing, if
  // the directory is not open or any of its entries cannot be read.
  [[nodiscard]] std::optional<Range> push(const Directory &directory);

  // Returns the range of a listing without entries on top of the stack.
  [[nodiscard]] Range emptyRange() const { return {used_, used_}; }

  // Takes the first entry from `rest`, and skips "." and "..". Returns nothing if none is left.
  [[nodiscard]] std::optional<Entry> next(Range &rest) const;

  // Pops the last listing.
  void pop(Range last) { used_ = last.begin; }

 private:
  std::vector<char> block_;
  std::size_t used_ = 0;  // bytes of the block that hold listings
};

}  // namespace kt::walker

#endif
