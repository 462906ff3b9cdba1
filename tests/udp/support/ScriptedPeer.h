// SPDX-License-Identifier: MIT

// A peer that plays a written part: the first datagram that comes meets the first act, the second
// one the second, and whatever comes behind the last act meets silence. Every datagram is kept.
//
//   ScriptedPeer server(4798, {identify(), silent(), wrongHandshake(), right()});
#ifndef KT_TESTS_UDP_SUPPORT_SCRIPTEDPEER_H
#define KT_TESTS_UDP_SUPPORT_SCRIPTEDPEER_H

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/RawSocket.h"

namespace test {

// What an act is given: a datagram, and the socket that it came to.
struct Cue {
  const RawSocket &socket;
  const Datagram &datagram;
  const Datagram &first;  // the first one of the whole part

  void answer(const kt::Dictionary &envelope) const { answer(bytesOf(envelope)); }
  void answer(std::string_view bytes) const { socket.send(bytes, datagram.source); }
};
using Act = std::function<void(const Cue &)>;

[[nodiscard]] Act silent();
// The answer that a server of the default signature gives.
[[nodiscard]] Act right(const kt::Dictionary &packet = {{"Answer", "right"}});
[[nodiscard]] Act wrongHandshake();
[[nodiscard]] Act wrongSignature();
// The identification packet of a server.
[[nodiscard]] Act identify(const std::string &name = "localhost", std::int32_t port = 4798);
// Any bytes at all.
[[nodiscard]] Act bytes(const std::string &content);
// The answer to the first datagram of the part.
[[nodiscard]] Act rightToFirst(const kt::Dictionary &packet);
// The answer from another socket of the same host.
[[nodiscard]] Act fromElsewhere(const RawSocket &elsewhere, const kt::Dictionary &packet);
// One act behind the other, for the same datagram.
[[nodiscard]] Act inTurn(std::vector<Act> acts);
// `act`, but not before the log has shown `line` so many times.
[[nodiscard]] Act afterLogLine(LogCapture &log, const std::string &line, std::size_t times,
                               Act act);

class ScriptedPeer {
 public:
  // At a port of this host, on every interface; 0 lets the system choose.
  ScriptedPeer(std::uint16_t port, std::vector<Act> part);
  ScriptedPeer(const ScriptedPeer &) = delete;
  ScriptedPeer &operator=(const ScriptedPeer &) = delete;
  ~ScriptedPeer();

  [[nodiscard]] std::uint16_t port() const { return socket_.port(); }

  // Sends from the peer's port, out of turn. Any thread.
  void say(std::string_view bytes, const sockaddr_in &destination) const {
    socket_.send(bytes, destination);
  }

  // Ends the play. What has come until then, acted upon or not.
  std::vector<Datagram> received();

 private:
  void play();

  RawSocket socket_;
  std::vector<Act> part_;
  std::vector<Datagram> received_;  // the player's until it has joined
  std::thread player_;
};

}  // namespace test

#endif
