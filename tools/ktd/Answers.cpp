// SPDX-License-Identifier: MIT

#include "tools/ktd/Answers.h"

#include <algorithm>
#include <string>
#include <utility>

#include "kt/udp/KtMessage.h"
#include "tools/common/Requests.h"
#include "tools/ktd/ReplySize.h"
#include "tools/text/Numerals.h"

namespace kt::tools {

namespace {

// Returns the kind that the request's keyword names, or null. A keyword that is not a string names
// none.
const Kind *kindOf(const Dictionary &request) {
  const PropertyList *keyword = request.find(keywordKey);
  const std::string *name = keyword != nullptr ? keyword->asString() : nullptr;
  if (name == nullptr) return nullptr;
  const std::span<const Kind> kinds = allKinds();
  const auto kind = std::find_if(kinds.begin(), kinds.end(),
                                 [&](const Kind &candidate) { return candidate.name == *name; });
  return kind != kinds.end() ? &*kind : nullptr;
}

}  // namespace

Answers::Answers(const KtUDPDaemon &daemon, ServedFiles files)
    : server_{daemon, std::chrono::steady_clock::now(), std::move(files)} {}

Dictionary Answers::replyForRequest(const Dictionary &request) const {
  const Kind *kind = kindOf(request);
  if (kind == nullptr) {
    // The keyword itself is not repeated: it may have any length and any content.
    return {{errorKey, "This server has no such kind of request. It knows: " + kindNames() + '.'}};
  }
  Dictionary answer = kind->answer(request, server_);
  answer.erase(keywordKey);
  if (replySize(server_.daemon, answer) <= largestDatagram) return answer;
  return {{errorKey, "The answer is too large for a datagram, which carries " +
                         withCommas(largestDatagram) + " bytes."}};
}

}  // namespace kt::tools
