// SPDX-License-Identifier: MIT

#include "tools/kt/Token.h"

#include <utility>

#include "tools/common/Requests.h"

namespace kt::tools {

const Data *tokenAskedFor(const Dictionary &answer) {
  constexpr std::size_t tokenSize = 16;
  if (!answer.contains(errorKey)) return nullptr;
  const Data *token = answer.data(tokenKey);
  return token != nullptr && token->size() == tokenSize ? token : nullptr;
}

Dictionary withToken(Dictionary packet, const Data &token) {
  packet[tokenKey] = token;
  return packet;
}

}  // namespace kt::tools
