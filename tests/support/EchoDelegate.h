// SPDX-License-Identifier: MIT

#ifndef KT_TESTS_SUPPORT_ECHODELEGATE_H
#define KT_TESTS_SUPPORT_ECHODELEGATE_H

#include "kt/foundation/PropertyList.h"

namespace kt::test {

// A server's delegate that answers with the request's data packet.
struct EchoDelegate {
  Dictionary replyForRequest(const Dictionary &packet) const { return packet; }
};

}  // namespace kt::test

#endif
