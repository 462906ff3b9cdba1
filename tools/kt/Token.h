// SPDX-License-Identifier: MIT

// The token with which a sender shows that it receives what it is sent. A server may answer a
// request with an error and a token instead of working on it; the sender then repeats the request
// with that token in it. Functions without state.
#ifndef KT_TOOLS_KT_TOKEN_H
#define KT_TOOLS_KT_TOKEN_H

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

// Returns the token that `answer` asks for, as long as `answer` lives, or null if it asks for none.
[[nodiscard]] const Data *tokenAskedFor(const Dictionary &answer);

// Returns `packet` with `token` in it, instead of any token that it has.
[[nodiscard]] Dictionary withToken(Dictionary packet, const Data &token);

}  // namespace kt::tools

#endif
