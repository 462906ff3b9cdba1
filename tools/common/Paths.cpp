// SPDX-License-Identifier: MIT

#include "tools/common/Paths.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "kt/foundation/Utf8.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const Utf8Character character = firstUtf8Character(text);
    if (!character.wellFormed) return false;
    text.remove_prefix(character.byteCount);
  }
  return true;
}

}  // namespace

// In the text of a string, bytes that are not UTF-8 are lost.
PropertyList pathValue(std::string_view path) {
  if (isUtf8(path)) return path;
  Data bytes(path.size());
  std::transform(path.begin(), path.end(), bytes.begin(),
                 [](char byte) { return static_cast<std::byte>(byte); });
  return bytes;
}

std::optional<std::string> pathBytes(const PropertyList &value) {
  if (const std::string *text = value.asString()) return *text;
  const Data *data = value.asData();
  if (data == nullptr) return std::nullopt;
  std::string bytes(data->size(), '\0');
  std::transform(data->begin(), data->end(), bytes.begin(),
                 [](std::byte byte) { return static_cast<char>(byte); });
  return bytes;
}

std::string joined(std::string_view directory, std::string_view name) {
  std::string path(directory.substr(0, directory.find_last_not_of('/') + 1));
  return (path += '/').append(name);
}

std::string extensionProblem(const std::string &text) {
  if (text.find('.') != std::string::npos) {
    return inQuotes(text) + " is not an extension: it has a dot";
  }
  if (text.find('/') != std::string::npos) {
    return inQuotes(text) + " is not an extension: it has a slash";
  }
  return {};
}

std::optional<std::string> whyNotListed(const std::string &path) {
  DIR *directory = ::opendir(path.c_str());
  if (directory == nullptr) return std::strerror(errno);
  (void)::closedir(directory);  // only opening it mattered
  return std::nullopt;
}

std::optional<std::string> whyNotRun(const std::string &path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::strerror(errno);
  if (S_ISDIR(status.st_mode)) return std::strerror(EISDIR);
  if (!S_ISREG(status.st_mode)) return "Not a regular file";
  if (::access(path.c_str(), X_OK) != 0) return std::strerror(errno);
  return std::nullopt;
}

}  // namespace kt::tools
