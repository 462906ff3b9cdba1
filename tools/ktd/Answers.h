// SPDX-License-Identifier: MIT

// The delegate of ktd's server. Dispatches a request to its kind and checks the answer before it
// leaves the server. Used on the serving thread.
#ifndef KT_TOOLS_KTD_ANSWERS_H
#define KT_TOOLS_KTD_ANSWERS_H

#include "kt/foundation/PropertyList.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tools/ktd/Kinds.h"

namespace kt::tools {

class Answers {
 public:
  // Answers for `daemon`, which must outlive this object, and serves `files`. The uptime begins
  // here.
  explicit Answers(const KtUDPDaemon &daemon, ServedFiles files = {});

  // Returns the answer of the request's kind. If there is no such kind, or the answer is too large
  // for a datagram and would be lost silently, returns a packet with the one entry `Error`.
  //
  // Removes `KtUDPKeyword` from every answer. A reply envelope with a keyword would be a valid
  // request: one forged datagram could make two servers answer each other forever.
  [[nodiscard]] Dictionary replyForRequest(const Dictionary &request) const;

 private:
  ServerState server_;
};

}  // namespace kt::tools

#endif
