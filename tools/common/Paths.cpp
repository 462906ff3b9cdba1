// SPDX-License-Identifier: MIT

#include "tools/common/Paths.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/common/Visible.h"

namespace kt::tools {

// What is not UTF-8 does not come back from the text of a string.
PropertyList pathValue(std::string_view path) {
  PropertyList text(path);
  if (PropertyList::parse(text.description()) == text) return text;
  Data bytes(path.size());
  std::ranges::transform(path, bytes.begin(),
                         [](char byte) { return static_cast<std::byte>(byte); });
  return bytes;
}

std::optional<std::string> pathBytes(const PropertyList &value) {
  if (const std::string *text = value.asString()) return *text;
  const Data *data = value.asData();
  if (data == nullptr) return std::nullopt;
  std::string bytes(data->size(), '\0');
  std::ranges::transform(*data, bytes.begin(),
                         [](std::byte byte) { return static_cast<char>(byte); });
  return bytes;
}

std::string joined(std::string_view directory, std::string_view name) {
  std::string path(directory.substr(0, directory.find_last_not_of('/') + 1));
  return (path += '/').append(name);
}

std::string extensionProblem(const std::string &text) {
  if (text.find('.') != std::string::npos) return inQuotes(text) + " is no extension: it has a dot";
  if (text.find('/') != std::string::npos) {
    return inQuotes(text) + " is no extension: it has a slash";
  }
  return {};
}

std::optional<std::string> whyNotListed(const std::string &path) {
  DIR *directory = ::opendir(path.c_str());
  if (directory == nullptr) return std::strerror(errno);
  (void)::closedir(directory);  // it was opened to see whether that can be done
  return std::nullopt;
}

}  // namespace kt::tools
