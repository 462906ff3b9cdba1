// SPDX-License-Identifier: MIT

// Finds a server by broadcast and sends it requests over UDP. Every call blocks until a reply has
// come or its time is up. One object has one socket and one receive buffer for its whole life and
// serves one thread at a time; several objects may live on several threads.
//
//   KtUDPClient client;
//   if (client.connectToServer()) reply = client.replyForRequest(packet);
//
// Failures are empty or false results, never exceptions. They, and all that is sent and received,
// show in the debug log.
#ifndef KT_UDP_KTUDPCLIENT_H
#define KT_UDP_KTUDPCLIENT_H

#include <netinet/in.h>
#include <sys/time.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "kt/udp/Socket.h"

#pragma GCC visibility push(default)

class KtUDPClient {
 public:
  // A client without a server: default ports and signature, base time-out 100 ms, 3 retries. A
  // socket that could not be opened shows as requests without replies.
  KtUDPClient();
  KtUDPClient(const KtUDPClient &) = delete;
  KtUDPClient &operator=(const KtUDPClient &) = delete;
  virtual ~KtUDPClient();

  // The ports at which discovery looks for servers, in this order; the low 16 bits of each count.
  void setPorts(std::vector<std::int32_t> ports);

  // The first wait of a request, and how long each send of it is listened for, in milliseconds.
  // Taken unchecked.
  void setBaseReplyTimeout(std::int32_t milliseconds);

  // The signature of every request, and required of every reply.
  void setSignature(std::string signature);

  // How often an unanswered request is sent again, 0 or more. A negative number is ignored.
  void setNumberOfRetries(std::int32_t retries);

  // The text of the discovery request's data packet: `{ KtUDPKeyword = HelloKtUDP; }`.
  [[nodiscard]] std::string hello() const;

  // Makes inet() the address of the host "broadcasthost", or 255.255.255.255 when no IPv4 host of
  // that name is known. Override it to discover elsewhere: serverIPFromHostname takes any address.
  virtual void broadcastIP();

  // Makes inet() the address of the host `name`. True as well for a host that is not known, which
  // makes inet() 255.255.255.255: the fallback counts as success on purpose. False, with inet() as
  // it was, for a host that is not IPv4.
  virtual bool serverIPFromHostname(const std::string &name);

  // The longest single wait for a datagram. 0 becomes 100 ms; it never means a poll.
  void setRcvTimeout(std::int32_t milliseconds);

  // Whether `packet`, a reply's data packet or null for none, identifies a server. If so, records
  // its address in inet() and its port in port().
  virtual bool isServerIdReply(const kt::Dictionary *packet);

  // Whether the envelope `reply` answers the envelope `message`: its handshake is the answer to the
  // message's and it has this client's signature.
  [[nodiscard]] virtual bool isValidReplyForMessage(const kt::Dictionary &reply,
                                                    const kt::Dictionary &message) const;

  // Listens for a reply to `message` until one is accepted, or until a wait or a dropped datagram
  // ends after the base time-out. The reply's envelope, or nothing.
  [[nodiscard]] std::optional<kt::Dictionary> validateReplyForMessage(
      const kt::Dictionary &message);

  // Sends the envelope `message` to sin() as one datagram. A message that is too large, or that the
  // system refuses, is lost without a sign.
  void sendMessage(const kt::Dictionary &message);

  // Sends the envelope `message` and listens, up to 1 + retries() times with doubled waits. The
  // reply's envelope, or nothing.
  [[nodiscard]] std::optional<kt::Dictionary> replyForMessage(const kt::Dictionary &message);

  // Discovery: asks every port at the broadcast address, twice if need be, and takes the first
  // server that answers. True makes the client ready for requests; false leaves port() -1. Ready
  // it is even when the server then leaves a confirming request without an answer.
  [[nodiscard]] bool connectToServer();

  // Sends the data packet `packet` to the server found and returns the data packet of its answer.
  // Nothing at once, without sending, before a successful connectToServer; nothing after about the
  // sum of the doubled waits (1.5 s by default) when no send is answered; nothing for an answer
  // whose data packet is no dictionary. An empty `packet` is sent as an envelope without one, which
  // no server answers.
  [[nodiscard]] std::optional<kt::Dictionary> replyForRequest(
      const std::optional<kt::Dictionary> &packet);

  [[nodiscard]] const std::vector<std::int32_t> &ports() const { return ports_; }
  [[nodiscard]] const std::string &signature() const { return signature_; }
  [[nodiscard]] std::int32_t timeout() const { return timeout_; }
  [[nodiscard]] std::int32_t retries() const { return retries_; }
  [[nodiscard]] int sockIn() const { return sockIn_.descriptor(); }
  [[nodiscard]] std::uint32_t inet() const { return inet_; }
  [[nodiscard]] std::int32_t port() const { return port_; }
  [[nodiscard]] const sockaddr_in &sin() const { return sin_; }
  [[nodiscard]] const sockaddr_in &sinrep() const { return sinrep_; }
  [[nodiscard]] const timeval &timeValue() const { return timeValue_; }

 private:
  void sendToPorts(const std::vector<std::int32_t> &ports, const kt::Dictionary &envelope);
  std::optional<kt::Dictionary> receiveReply(const kt::Dictionary &message);

  std::vector<std::int32_t> ports_;  // where discovery looks, in order
  std::string signature_;            // in every request, and required in every reply
  std::int32_t timeout_;             // milliseconds; the base of waits and deadlines
  std::int32_t retries_;             // sends after the first one of a request; never negative
  kt::Socket sockIn_;                // sends and receives; without a descriptor if none was had
  std::uint32_t inet_;               // the recorded server address, network order; for the log only
  std::int32_t port_;                // the recorded server port; -1 while no server is known
  std::vector<char> buffer_;         // receives datagrams; kt::bufferSize bytes
  sockaddr_in sin_{};                // where datagrams really go; unset before discovery
  sockaddr_in sinrep_{};             // where the last received datagram came from
  timeval timeValue_{};              // the longest single wait; unset before setRcvTimeout
  [[maybe_unused]] std::int32_t recvport_ = 0;  // kept, though nothing uses it
};

#pragma GCC visibility pop

#endif
