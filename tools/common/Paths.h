// SPDX-License-Identifier: MIT

// Paths of files on their way: as bytes on the disk, as values in messages. Functions without
// state.
#ifndef KT_TOOLS_COMMON_PATHS_H
#define KT_TOOLS_COMMON_PATHS_H

#include <optional>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

// A path or a name as a value that arrives as it was: a string where the bytes are UTF-8, else
// data.
[[nodiscard]] PropertyList pathValue(std::string_view path);

// The bytes of such a value. Nothing for a value that is neither a string nor data.
[[nodiscard]] std::optional<std::string> pathBytes(const PropertyList &value);

// `directory`, one slash and `name`: "/srv/" and "a.txt" give "/srv/a.txt".
[[nodiscard]] std::string joined(std::string_view directory, std::string_view name);

// What is wrong with `text` as an extension, for people; empty when nothing is. One with a dot or a
// slash in it is no file's: "\".h\" is no extension: it has a dot".
[[nodiscard]] std::string extensionProblem(const std::string &text);

// Why the directory at `path` can't be listed, in the system's words: "Permission denied". Nothing
// when it can.
[[nodiscard]] std::optional<std::string> whyNotListed(const std::string &path);

}  // namespace kt::tools

#endif
