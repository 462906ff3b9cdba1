// SPDX-License-Identifier: MIT

// Passes any datagram to both ends. An echo server returns nothing, an empty dictionary, or an
// envelope that a client accepts. It throws only std::invalid_argument, for a data packet that is
// not a dictionary. A client accepts the bytes or not, but never throws.
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPDaemon.h"
#include "tests/support/EchoDelegate.h"
#include "tests/support/Require.h"

namespace kt::test {
namespace {

const std::string signature{defaultSignature};

void checkReply(const Dictionary &request, const Dictionary &reply) {
  require(*request.find("_Signature")->asString() == signature);
  if (reply.empty()) return;
  require(reply.size() == 3);
  const Dictionary *packet = dataPacketOf(request);
  require(*dataPacketOf(reply) == *packet || *packet->find("KtUDPKeyword") == "HelloKtUDP");
  const auto back = parseMessage(reply.description());
  require(back && isReplyTo(request, *back, signature));
}

void serve(const std::optional<Dictionary> &request) {
  EchoDelegate delegate;
  static KtUDPDaemon daemon;  // static: its receive buffer is slow to allocate
  daemon.setDelegate(&delegate);
  try {
    if (const auto reply = daemon.replyFor(request)) checkReply(request.value(), *reply);
  } catch (const std::invalid_argument &) {
    require(request->contains("_DataPacket") && dataPacketOf(*request) == nullptr);
  }
}

void listen(const Dictionary &reply) noexcept {
  // The result does not matter: noexcept makes an exception end the fuzzer.
  (void)isReplyTo(requestEnvelope(signature, 33, std::nullopt), reply, signature);
  if (const Dictionary *packet = dataPacketOf(reply)) (void)serverIdOf(*packet);
}

}  // namespace
}  // namespace kt::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
  const auto message = kt::parseMessage({reinterpret_cast<const char *>(bytes), size});
  kt::test::serve(message);
  if (message) kt::test::listen(*message);
  return 0;
}
