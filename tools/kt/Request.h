// SPDX-License-Identifier: MIT

// Requests as a command line names them. Functions without state.
#ifndef KT_TOOLS_KT_REQUEST_H
#define KT_TOOLS_KT_REQUEST_H

#include <cstddef>
#include <string>
#include <vector>

#include "kt/foundation/PropertyList.h"

namespace kt::tools {

// The data packet of kind `keyword` with an entry for each text KEY=VALUE of `entries`. The first
// equals sign ends the key. A value that begins with ( { or < is read as property-list text, any
// other is a string as it stands.
//
//     requestOf("Echo", {"a=b", "list=(1, 2)"})    { KtUDPKeyword = Echo; a = b; list = ( 1, 2 ); }
//
// Throws Misuse for an entry without equals sign or key, for a key that was there before, the
// keyword's own included, and for a value that is malformed.
[[nodiscard]] Dictionary requestOf(const std::string &keyword,
                                   const std::vector<std::string> &entries);

// The most bytes that the request `packet` takes as a datagram, whatever its handshake value.
[[nodiscard]] std::size_t datagramSize(const std::string &signature, const Dictionary &packet);

// Throws Failure when that is more than a datagram carries: it would never be sent.
void requireDatagram(const std::string &signature, const Dictionary &packet);

}  // namespace kt::tools

#endif
