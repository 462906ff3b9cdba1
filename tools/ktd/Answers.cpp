// SPDX-License-Identifier: MIT

#include "tools/ktd/Answers.h"

#include <algorithm>
#include <string>
#include <utility>

#include "kt/foundation/Format.h"
#include "kt/udp/KtMessage.h"
#include "tools/ktd/ReplySize.h"

namespace kt::tools {

namespace {

// The kind that the request's keyword names, or null. A keyword that is no string names none.
const Kind *kindOf(const Dictionary &request) {
  const PropertyList *keyword = request.find(keywordKey);
  const std::string *name = keyword != nullptr ? keyword->asString() : nullptr;
  if (name == nullptr) return nullptr;
  const auto kind = std::ranges::find(allKinds(), *name, &Kind::name);
  return kind != allKinds().end() ? &*kind : nullptr;
}

// "Echo, Files, Status"
std::string kindNames() {
  std::string names;
  for (const Kind &kind : allKinds()) {
    if (!names.empty()) names += ", ";
    names += kind.name;
  }
  return names;
}

Dictionary errorAnswer(const std::string &sentence) {
  return {{"Error", sentence}};
}

}  // namespace

Answers::Answers(const KtUDPDaemon &daemon, ServedFiles files)
    : server_{daemon, std::chrono::steady_clock::now(), std::move(files)} {}

Dictionary Answers::replyForRequest(const Dictionary &request) const {
  const Kind *kind = kindOf(request);
  // The keyword itself is not repeated: it may be of any length and hold anything.
  if (kind == nullptr) {
    return errorAnswer("This server has no such kind of request. It knows: " + kindNames() + '.');
  }
  Dictionary answer = kind->answer(request, server_);
  answer.erase(keywordKey);
  if (replySize(server_.daemon, answer) <= largestDatagram) return answer;
  return errorAnswer(kt::format("The answer is too large for a datagram, which carries %d bytes.",
                                largestDatagram));
}

}  // namespace kt::tools
