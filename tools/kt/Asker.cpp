// SPDX-License-Identifier: MIT

#include "tools/kt/Asker.h"

#include <utility>

#include "tools/kt/Token.h"

namespace kt::tools {

void Asker::ask(const Dictionary &packet, Completion completion) {
  // Two, because a token that the server gave earlier may have become invalid on the way. A server
  // that asks for yet another one has answered.
  constexpr int repeats = 2;
  ask(packet, std::move(completion), repeats);
}

void Asker::ask(const Dictionary &packet, Completion completion, int repeatsLeft) {
  const auto complete = [this, packet, completion = std::move(completion), repeatsLeft,
                         start = Clock::now()](std::optional<Dictionary> answer) {
    const Data *const token = answer && repeatsLeft > 0 ? tokenAskedFor(*answer) : nullptr;
    if (token != nullptr) {
      token_ = *token;
      ask(packet, completion, repeatsLeft - 1);
    } else {
      completion(std::move(answer), Clock::now() - start);
    }
  };
  client_.request(token_ ? withToken(packet, *token_) : packet, complete);
}

}  // namespace kt::tools
