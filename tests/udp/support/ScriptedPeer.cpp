// SPDX-License-Identifier: MIT

#include "tests/udp/support/ScriptedPeer.h"

#include <gtest/gtest.h>

#include <utility>

#include "kt/udp/KtMessage.h"

namespace kt::test {

namespace {

const std::string signature{defaultSignature};

// Arrives after everything that the calling thread has sent before it.
constexpr std::string_view endOfPlay = "end of the play";

Dictionary answerTo(const Datagram &request, const Dictionary &packet) {
  return replyEnvelope(signature, handshakeOf(request.message()), packet);
}

}  // namespace

Act silent() {
  return [](const Cue &) {};
}

Act right(const Dictionary &packet) {
  return [packet](const Cue &cue) { cue.answer(answerTo(cue.datagram, packet)); };
}

Act wrongHandshake() {
  return [](const Cue &cue) {
    const std::int32_t handshake = handshakeOf(cue.datagram.message());
    cue.answer(replyEnvelope(signature, handshake + 2, {{"Answer", "wrong handshake"}}));
  };
}

Act wrongSignature() {
  return [](const Cue &cue) {
    const std::int32_t handshake = handshakeOf(cue.datagram.message());
    cue.answer(replyEnvelope("KtUDp", handshake, {{"Answer", "wrong signature"}}));
  };
}

Act identify(const std::string &name, std::int32_t port) {
  return right(serverIdPacket(name, port));
}

Act bytes(const std::string &content) {
  return [content](const Cue &cue) { cue.answer(content); };
}

Act rightToFirst(const Dictionary &packet) {
  return [packet](const Cue &cue) { cue.answer(answerTo(cue.first, packet)); };
}

Act fromElsewhere(const RawSocket &elsewhere, const Dictionary &packet) {
  return [&elsewhere, packet](const Cue &cue) {
    elsewhere.send(bytesOf(answerTo(cue.datagram, packet)), cue.datagram.source);
  };
}

Act inTurn(std::vector<Act> acts) {
  return [acts = std::move(acts)](const Cue &cue) {
    for (const Act &act : acts) {
      act(cue);
    }
  };
}

Act afterLogLine(LogCapture &log, const std::string &line, std::size_t times, Act act) {
  return [&log, line, times, act = std::move(act)](const Cue &cue) {
    EXPECT_TRUE(log.waitFor(line, times)) << line;
    act(cue);
  };
}

ScriptedPeer::ScriptedPeer(std::uint16_t port, std::vector<Act> part)
    : socket_(port), part_(std::move(part)), player_([this] { play(); }) {}

ScriptedPeer::~ScriptedPeer() {
  (void)received();
}

std::vector<Datagram> ScriptedPeer::received() {
  if (player_.joinable()) {
    RawSocket().send(endOfPlay, port());
    player_.join();
  }
  return received_;
}

void ScriptedPeer::play() {
  for (;;) {
    const std::optional<Datagram> datagram = socket_.receive();
    if (!datagram) continue;
    if (datagram->bytes == endOfPlay) return;
    received_.push_back(*datagram);
    const std::size_t index = received_.size() - 1;
    if (index < part_.size()) part_[index]({socket_, *datagram, received_.front()});
  }
}

}  // namespace kt::test
