// SPDX-License-Identifier: MIT

// Builds the requests that a command line describes. Functions without state.
#ifndef KT_TOOLS_KT_REQUEST_H
#define KT_TOOLS_KT_REQUEST_H

#include <cstddef>
#include <string>
#include <vector>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

// Returns a data packet of kind `keyword` without other entries.
[[nodiscard]] Dictionary requestOfKind(const std::string &keyword);

// Returns the data packet of kind `keyword` with an entry for each text KEY=VALUE of `entries`. The
// first equals sign ends the key. A value that begins with ( { or < is read as property-list text;
// any other is a string, unchanged.
//
//     requestOf("Echo", {"a=b", "list=(1, 2)"})    { KtUDPKeyword = Echo; a = b; list = ( 1, 2 ); }
//
// Throws Misuse for an entry without an equals sign or a key, for a key given twice, for the
// keyword's own key, and for a malformed value.
[[nodiscard]] Dictionary requestOf(const std::string &keyword,
                                   const std::vector<std::string> &entries);

// Returns the most bytes that the request `packet` takes as a datagram, whatever its handshake.
[[nodiscard]] std::size_t datagramSize(const std::string &signature, const Dictionary &packet);

// Throws Failure if that is more than a datagram carries: the request would never be sent.
void requireDatagram(const std::string &signature, const Dictionary &packet);

}  // namespace kt::tools

#endif
