// SPDX-License-Identifier: MIT

// The texts that ktd exchanges with the program of a handler. Functions without state; any thread
// may call them.
#ifndef KT_TOOLS_KTD_HANDLERJSON_H
#define KT_TOOLS_KTD_HANDLERJSON_H

#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

// Returns what the program reads: the request's packet as a JSON object on one line, with a line
// feed. Data is {"$data":"0fbd77"}, numbers are strings. Requires: a parser made the packet, which
// limits its depth.
[[nodiscard]] std::string handlerInput(const Dictionary &packet);

// Returns the answer that the program's whole standard output means.
//
// A JSON object is the answer. {"$data":"0fbd77"} inside it becomes data; an object that differs
// from this form in any way is a dictionary. Null becomes "", true "1", false "0". Integers of 64
// bits become numbers; other numbers become their text. The last of several members with one key
// counts. An object that nests too deep for a message is an answer with an `Error`.
//
// Any other text, malformed JSON included, is { Output = "..."; } without its last line feed.
// Output that is not UTF-8 is { Output = <...>; } with every byte.
[[nodiscard]] Dictionary handlerAnswer(std::string_view output);

}  // namespace kt::tools

#endif
