// SPDX-License-Identifier: MIT

// What --handle and the key `handle` say: which program answers the requests of a kind. Functions
// without state.
#ifndef KT_TOOLS_KTD_HANDLERTEXT_H
#define KT_TOOLS_KTD_HANDLERTEXT_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/ktd/Service.h"

namespace kt::tools {

// Returns what is wrong with `kind` as the kind of a handler, or an empty string. ktd's own kinds
// and those of the protocol can't be handled: "the kind \"Echo\" is built in"
[[nodiscard]] std::string kindProblem(std::string_view kind);

// Returns what is wrong with `words` as a program and its arguments, or an empty string: "the
// program \"uptime\" is not an absolute path such as /usr/bin/uptime"
[[nodiscard]] std::string commandProblem(const std::vector<std::string> &words);

// Returns the words as a handler. Requires: commandProblem(words).empty().
[[nodiscard]] Handler handlerOf(std::vector<std::string> words);

// Returns the words of a command, split at blanks: "/bin/df  -h" has two. There is no quoting.
[[nodiscard]] std::vector<std::string> wordsOf(std::string_view command);

// Returns what is wrong with a text of --handle, "KIND=PROGRAM ARGUMENT...", or an empty string.
[[nodiscard]] std::string handleProblem(const std::string &text);

// Returns the kind and the handler in a text of --handle. Requires: handleProblem(text).empty().
[[nodiscard]] std::pair<std::string, Handler> readHandle(std::string_view text);

}  // namespace kt::tools

#endif
