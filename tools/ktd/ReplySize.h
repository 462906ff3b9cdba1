// SPDX-License-Identifier: MIT

// The size of a reply. A function without state.
#ifndef KT_TOOLS_KTD_REPLYSIZE_H
#define KT_TOOLS_KTD_REPLYSIZE_H

#include <cstddef>
#include <string>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

// Returns the most bytes that `answer` takes as a datagram of a server with this signature,
// whatever the handshake of the request.
[[nodiscard]] std::size_t replySize(const std::string &signature, const Dictionary &answer);

}  // namespace kt::tools

#endif
