// SPDX-License-Identifier: MIT

#include <fcntl.h>

#include <cerrno>
#include <optional>
#include <string>
#include <system_error>

#include "kt/foundation/File.h"
#include "kt/foundation/PropertyList.h"

namespace kt {

PropertyList PropertyList::fromFile(const std::string &path) {
  const file::Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  const std::optional<std::string> text =
      descriptor.get() >= 0 ? file::contents(descriptor) : std::nullopt;
  if (!text) throw std::system_error(errno, std::generic_category(), path + ": can't read it");
  try {
    return parse(*text);
  } catch (const PropertyListError &error) {
    throw error.inFile(path);
  }
}

void PropertyList::toFile(const std::string &path) const {
  if (!file::replaceContents(path, description() + '\n')) {
    throw std::system_error(errno, std::generic_category(), path + ": can't write it");
  }
}

}  // namespace kt
