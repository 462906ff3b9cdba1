// SPDX-License-Identifier: MIT

#include "tools/ktd/SenderTokens.h"

#include <sodium.h>

#include <cstring>
#include <stdexcept>

#include "tools/common/Requests.h"

namespace kt::tools {

SenderTokens::SenderTokens() {
  if (::sodium_init() < 0) throw std::runtime_error("libsodium cannot be initialised");
  ::randombytes_buf(secret_.data(), secret_.size());
}

Data SenderTokens::tokenOf(const sockaddr_in &sender) const {
  std::array<unsigned char, sizeof sender.sin_addr.s_addr + sizeof sender.sin_port> text{};
  std::memcpy(text.data(), &sender.sin_addr.s_addr, sizeof sender.sin_addr.s_addr);
  std::memcpy(text.data() + sizeof sender.sin_addr.s_addr, &sender.sin_port,
              sizeof sender.sin_port);
  Data token(tokenSize);
  // Cannot fail: the sizes are among those that it takes.
  (void)::crypto_generichash(reinterpret_cast<unsigned char *>(token.data()), token.size(),
                             text.data(), text.size(), secret_.data(), secret_.size());
  return token;
}

bool SenderTokens::isProven(const Dictionary &request, const sockaddr_in &sender) const {
  const Data *given = request.data(tokenKey);
  if (given == nullptr || given->size() != tokenSize) return false;
  return ::sodium_memcmp(given->data(), tokenOf(sender).data(), tokenSize) == 0;
}

}  // namespace kt::tools
