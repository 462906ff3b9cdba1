// SPDX-License-Identifier: MIT

// Looks for servers without waiting: asks at several addresses and collects the servers that
// answer. For programs with an event loop; EveryServer.h waits. One thread at a time may use it.
#ifndef KT_TOOLS_KT_SEARCH_H
#define KT_TOOLS_KT_SEARCH_H

#include <netinet/in.h>

#include <vector>

#include "kt/udp/KtMessage.h"
#include "kt/udp/Socket.h"
#include "tools/kt/Discovery.h"
#include "tools/kt/Milliseconds.h"
#include "tools/kt/OwnAddresses.h"

namespace kt::tools {

// A server that answered.
struct FoundServer {
  sockaddr_in source;      // where the answer came from
  ServerId id;             // what the server says about itself
  Milliseconds roundTrip;  // between the request and this answer
};

// Returns whether two answers come from one server: from the same address and port, or both from
// this host, announcing the same port. A server on this host answers from several of its addresses,
// depending on the network on which it was asked.
[[nodiscard]] bool isSameServer(const FoundServer &left, const FoundServer &right,
                                const OwnAddresses &own);

class Search {
 public:
  // A search on the ports and for the signature of `options`, which must outlive it.
  explicit Search(const Options &options);

  // Sends a request to every port at each of `addresses`, instead of any earlier ones: only answers
  // to these count from here on.
  void ask(const Addresses &addresses);

  // Returns the descriptor to poll for reading, or -1 if the system refused a socket. The object
  // remains its owner.
  [[nodiscard]] int descriptor() const { return socket_.descriptor(); }

  // Receives the next datagram, if one has arrived. Returns whether there was one.
  bool receive();

  // Receives answers until `deadline`.
  void listen(Clock::time_point deadline);

  // Returns each server that has answered, once, in the order of their first answers.
  [[nodiscard]] const std::vector<FoundServer> &found() const { return found_; }

 private:
  // A request to one address, on every port. It has a handshake of its own: the answer to it tells
  // when it was sent, and a late answer to an earlier one must not look like a quick one.
  struct Question {
    Dictionary envelope;
    std::vector<Clock::time_point> sentAt;  // for each port, in their order
  };

  void send(Question &question, std::uint32_t address);
  void take(const Dictionary &reply, const sockaddr_in &source, Clock::time_point receivedAt);
  [[nodiscard]] Clock::time_point timeOfSend(const Question &question, std::int32_t port) const;
  void add(const FoundServer &server);

  const Options &options_;
  const OwnAddresses own_ = OwnAddresses::ofInterfaces();
  Socket socket_ = Socket::open();
  std::vector<Question> questions_;  // the last ones asked, one for each address
  std::vector<FoundServer> found_;   // as found() returns them
  std::vector<char> buffer_ = std::vector<char>(receiveLimit);
};

}  // namespace kt::tools

#endif
