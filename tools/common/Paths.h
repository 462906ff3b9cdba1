// SPDX-License-Identifier: MIT

// Paths of files: as bytes on the disk, as values in messages. Functions without state.
#ifndef KT_TOOLS_COMMON_PATHS_H
#define KT_TOOLS_COMMON_PATHS_H

#include <optional>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

// Returns a path or a name as a value that arrives unchanged: a string if it is UTF-8, otherwise
// data.
[[nodiscard]] PropertyList pathValue(std::string_view path);

// Returns the bytes of such a value, or nothing if it is neither a string nor data.
[[nodiscard]] std::optional<std::string> pathBytes(const PropertyList &value);

// Returns `directory`, one slash and `name`: "/srv/" and "a.txt" yield "/srv/a.txt".
[[nodiscard]] std::string joined(std::string_view directory, std::string_view name);

// Returns what is wrong with `text` as an extension, or an empty string. No file has an extension
// with a dot or a slash in it: "\".h\" is not an extension: it has a dot".
[[nodiscard]] std::string extensionProblem(const std::string &text);

// Returns why the directory at `path` can't be listed, in the system's words ("Permission denied"),
// or nothing if it can.
[[nodiscard]] std::optional<std::string> whyNotListed(const std::string &path);

// Returns why the program in the file `path` can't be run, in the same words, or nothing if it can.
[[nodiscard]] std::optional<std::string> whyNotRun(const std::string &path);

}  // namespace kt::tools

#endif
