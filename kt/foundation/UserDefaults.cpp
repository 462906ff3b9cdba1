// SPDX-License-Identifier: MIT

#include "kt/foundation/UserDefaults.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <vector>

#include "kt/foundation/File.h"
#include "kt/foundation/PropertyList.h"

namespace kt {

namespace {

// In bytes. Nobody writes this much by hand: a larger file is not a settings file.
constexpr std::size_t fileSizeLimit = 1 << 20;

// Returns the contents of the settings file; nothing if there is none, or if it is too large.
std::optional<std::string> contentsOfSettings(const std::string &path) {
  // Non-blocking, because opening a FIFO would wait for a writer.
  const file::Descriptor settings(
      ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  struct stat status {};
  if (::fstat(settings.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return file::contents(settings, fileSizeLimit);
}

// Returns the variable's value; null if it is not set or empty.
const char *nonEmptyVariable(const char *name) {
  const char *value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : nullptr;
}

std::string homeFromUserDatabase() {
  passwd entry{};
  passwd *found = nullptr;
  std::vector<char> strings(1024);
  while (::getpwuid_r(::getuid(), &entry, strings.data(), strings.size(), &found) == ERANGE) {
    strings.resize(strings.size() * 2);
  }
  return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : "";
}

std::string defaultsPath() {
  std::string folder;
  if (const char *configuration = nonEmptyVariable("XDG_CONFIG_HOME")) {
    folder = configuration;
  } else {
    const char *home = nonEmptyVariable("HOME");
    folder = (home != nullptr ? home : homeFromUserDatabase()) + "/.config";
  }
  return folder + "/kt/defaults.plist";
}

bool isYes(const PropertyList &value) {
  if (value.intValue() != 0) return true;
  const std::string *text = value.asString();
  if (text == nullptr) return false;
  const auto equals = [text](std::string_view word) {
    return std::ranges::equal(*text, word, {}, [](char character) {
      const bool isLower = character >= 'a' && character <= 'z';
      return static_cast<char>(isLower ? character - 'a' + 'A' : character);
    });
  };
  return equals("YES") || equals("TRUE") || equals("Y") || equals("T");
}

bool isYesInText(const std::string &text, const std::string &key) {
  try {
    const PropertyList defaults = PropertyList::parse(text);
    const Dictionary *dictionary = defaults.asDictionary();
    const PropertyList *value = dictionary != nullptr ? dictionary->find(key) : nullptr;
    return value != nullptr && isYes(*value);
  } catch (const PropertyListError &) {
    return false;  // a malformed file sets nothing
  }
}

}  // namespace

bool boolUserDefault(const std::string &key) {
  if (const char *value = std::getenv(key.c_str())) return isYes(value);
  const std::optional<std::string> text = contentsOfSettings(defaultsPath());
  return text && isYesInText(*text, key);
}

}  // namespace kt
