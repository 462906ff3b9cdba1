// SPDX-License-Identifier: MIT

// Any datagram, as each end takes it. A server gives nothing, the bare empty dictionary, an
// envelope with its signature and the right handshake answer, or the one exception that an echo
// can't avoid; what it gives, a client reads back and accepts. A client makes something of the
// bytes or nothing, but never throws.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>

#include "kt/udp/KtMessage.h"
#include "kt/udp/KtUDPDaemon.h"

namespace {

const std::string signature{kt::defaultSignature};

struct EchoDelegate {
  kt::Dictionary replyForRequest(const kt::Dictionary &packet) { return packet; }
};

void require(bool condition) {
  if (!condition) std::abort();
}

void checkReply(const kt::Dictionary &request, const kt::Dictionary &reply) {
  require(*request.find("_Signature")->asString() == signature);
  if (reply.empty()) return;
  require(reply.size() == 3);
  const kt::Dictionary *packet = kt::dataPacketOf(request);
  require(*kt::dataPacketOf(reply) == *packet || *packet->find("KtUDPKeyword") == "HelloKtUDP");
  const auto back = kt::parseMessage(reply.description());
  require(back && kt::isReplyTo(request, *back, signature));
}

void serve(const std::optional<kt::Dictionary> &request) {
  EchoDelegate delegate;
  static KtUDPDaemon daemon;  // has a receive buffer, which is slow to make
  daemon.setDelegate(&delegate);
  try {
    if (const auto reply = daemon.replyFor(request)) checkReply(request.value(), *reply);
  } catch (const std::invalid_argument &) {
    require(request->contains("_DataPacket") && kt::dataPacketOf(*request) == nullptr);
  }
}

void listen(const kt::Dictionary &reply) noexcept {
  // Whatever comes of it, it has not thrown.
  (void)kt::isReplyTo(kt::requestEnvelope(signature, 33, std::nullopt), reply, signature);
  if (const kt::Dictionary *packet = kt::dataPacketOf(reply)) (void)kt::serverIdOf(*packet);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
  const auto message = kt::parseMessage({reinterpret_cast<const char *>(bytes), size});
  serve(message);
  if (message) listen(*message);
  return 0;
}
