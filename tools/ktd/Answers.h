// SPDX-License-Identifier: MIT

// What ktd answers: the delegate of its server. It finds the kind that a request names and sees to
// it that what leaves the server is fit to leave. Used on the serving thread.
#ifndef KT_TOOLS_KTD_ANSWERS_H
#define KT_TOOLS_KTD_ANSWERS_H

#include "kt/foundation/PropertyList.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tools/ktd/kinds/Kind.h"

namespace kt::tools {

class Answers {
 public:
  // Answers for `daemon`, which must outlive this object, and serves `files`. Uptime counts from
  // here.
  explicit Answers(const KtUDPDaemon &daemon, ServedFiles files = {});

  // The answer of the request's kind. Instead of it a packet with one entry, `Error`, when there is
  // no such kind or the answer is too large for a datagram, which would be lost without a sign.
  //
  // No answer has a `KtUDPKeyword`. An answer's envelope has all that a server asks of a request;
  // with a keyword in it too, one request with a forged source would set two servers of one
  // signature to answering each other for ever.
  [[nodiscard]] Dictionary replyForRequest(const Dictionary &request) const;

 private:
  ServerState server_;
};

}  // namespace kt::tools

#endif
