// SPDX-License-Identifier: MIT

// A peer that plays a scripted part: the first datagram triggers the first act, the second the
// second, and datagrams after the last act get no answer. Keeps every datagram.
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

namespace kt::test {

// The arguments of an act: a datagram, and the socket that received it.
struct Cue {
  const RawSocket &socket;
  const Datagram &datagram;
  const Datagram &first;  // the first datagram of the part

  void answer(const Dictionary &envelope) const { answer(bytesOf(envelope)); }
  void answer(std::string_view bytes) const { socket.send(bytes, datagram.source); }
};
using Act = std::function<void(const Cue &)>;

[[nodiscard]] Act silent();
// Answers as a server with the default signature does.
[[nodiscard]] Act right(const Dictionary &packet = {{"Answer", "right"}});
[[nodiscard]] Act wrongHandshake();
[[nodiscard]] Act wrongSignature();
// Answers with a server identification packet.
[[nodiscard]] Act identify(const std::string &name = "localhost", std::int32_t port = 4798);
// Answers with these bytes.
[[nodiscard]] Act bytes(const std::string &content);
// Answers the first datagram of the part.
[[nodiscard]] Act rightToFirst(const Dictionary &packet);
// Answers from another socket of this host.
[[nodiscard]] Act fromElsewhere(const RawSocket &elsewhere, const Dictionary &packet);
// Performs several acts for the same datagram.
[[nodiscard]] Act inTurn(std::vector<Act> acts);
// Performs `act` once the log has shown `line` so many times.
[[nodiscard]] Act afterLogLine(LogCapture &log, const std::string &line, std::size_t times,
                               Act act);

class ScriptedPeer {
 public:
  // Listens at `port` on every interface; 0 lets the system choose.
  ScriptedPeer(std::uint16_t port, std::vector<Act> part);
  ScriptedPeer(const ScriptedPeer &) = delete;
  ScriptedPeer &operator=(const ScriptedPeer &) = delete;
  ~ScriptedPeer();

  [[nodiscard]] std::uint16_t port() const { return socket_.port(); }

  // Sends from the peer's port, apart from its part. Any thread.
  void say(std::string_view bytes, const sockaddr_in &destination) const {
    socket_.send(bytes, destination);
  }

  // Ends the play and returns every datagram received until then.
  std::vector<Datagram> received();

 private:
  void play();

  RawSocket socket_;
  std::vector<Act> part_;
  std::vector<Datagram> received_;  // belongs to the player until it has joined
  std::thread player_;
};

}  // namespace kt::test

#endif
