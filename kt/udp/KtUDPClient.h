// SPDX-License-Identifier: MIT

// Finds a server by broadcast and sends it requests over UDP. Every call blocks until a reply
// arrives or its time is up. An object keeps one socket and one receive buffer for its whole life.
// It serves one thread at a time; different objects may be used on different threads.
//
//   KtUDPClient client;
//   if (client.connectToServer()) reply = client.replyForRequest(packet);
//
// Failures are empty or false results, never exceptions. The debug log shows them, and everything
// that is sent and received.
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

class KtUDPClient {
 public:
  // Creates an unconnected client: default ports and signature, base timeout 100 ms, 3 retries. If
  // the system refuses a socket, every request goes unanswered.
  KtUDPClient();
  KtUDPClient(const KtUDPClient &) = delete;
  KtUDPClient &operator=(const KtUDPClient &) = delete;
  virtual ~KtUDPClient();

  // Sets the ports to which discovery is sent, in this order. Only the low 16 bits of each are
  // used.
  void setPorts(std::vector<std::int32_t> ports);

  // Sets the base timeout in milliseconds: the first wait of a request, and the minimum time for
  // which the client listens after each send. The value is not checked.
  void setBaseReplyTimeout(std::int32_t milliseconds);

  // Sets the signature that requests carry and that replies must carry.
  void setSignature(std::string signature);

  // Sets how often an unanswered request is sent again. Ignores a negative number.
  void setNumberOfRetries(std::int32_t retries);

  // Returns the text of the discovery packet: `{ KtUDPKeyword = HelloKtUDP; }`.
  [[nodiscard]] std::string hello() const;

  // Sets inet() to the address of the host "broadcasthost", or to 255.255.255.255 if there is no
  // IPv4 host of that name. To send discovery elsewhere, override this method and call
  // serverIPFromHostname with any name or dotted address.
  virtual void broadcastIP();

  // Sets inet() to the first IPv4 address of the host `name` and returns true. An unknown host sets
  // inet() to 255.255.255.255 and also returns true: the fallback counts as success. Returns false
  // and leaves inet() unchanged if the host has no IPv4 address.
  virtual bool serverIPFromHostname(const std::string &name);

  // Sets the longest single wait for a datagram. 0 becomes 100 ms: the client never polls.
  void setRcvTimeout(std::int32_t milliseconds);

  // Returns whether `packet`, the data packet of a reply or null, identifies a server. If so,
  // records its address in inet() and its port in port().
  virtual bool isServerIdReply(const kt::Dictionary *packet);

  // Returns whether the envelope `reply` answers the envelope `message`: its handshake answers that
  // of `message`, and it carries this client's signature.
  [[nodiscard]] virtual bool isValidReplyForMessage(const kt::Dictionary &reply,
                                                    const kt::Dictionary &message) const;

  // Listens for a reply to `message` and returns its envelope. Checks the time after each wait and
  // each dropped datagram, and returns nothing if the base timeout has passed.
  [[nodiscard]] std::optional<kt::Dictionary> validateReplyForMessage(
      const kt::Dictionary &message);

  // Sends the envelope `message` to sin() as one datagram. Reports nothing if it is too large or
  // the system refuses it.
  void sendMessage(const kt::Dictionary &message);

  // Sends the envelope `message` and listens, at most 1 + retries() times, with waits that double.
  // Returns the reply's envelope, or nothing.
  [[nodiscard]] std::optional<kt::Dictionary> replyForMessage(const kt::Dictionary &message);

  // Discovers a server: sends to every port at the broadcast address, in at most two passes, and
  // takes the first server that answers. Returns true once a server was found, even if it then
  // ignores the confirming request; returns false, with port() == -1, if none answered.
  [[nodiscard]] bool connectToServer();

  // Discovers a server at a known host: the same, but sent to the first IPv4 address of `host`, a
  // name or a dotted address, and never by broadcast. Returns false at once, with port() == -1, if
  // there is no such host or if it has no IPv4 address.
  [[nodiscard]] bool connectToServer(const std::string &host);

  // Discovers a server at several addresses (network byte order): the same, but each pass sends to
  // every port of each address. They may be broadcast addresses, such as those that
  // kt::interfaceBroadcastAddresses() returns. Returns false at once, with port() == -1, if there
  // are none.
  [[nodiscard]] bool connectToServerAt(const std::vector<std::uint32_t> &addresses);

  // Sends the data packet `packet` to the server found and returns the data packet of its answer.
  // Returns nothing
  // - at once, without sending, if port() < 0, as it is before a successful connectToServer;
  // - after the sum of the doubled waits (1.5 s by default) if no send is answered;
  // - if the answer's data packet is not a dictionary.
  // If there is no `packet`, the envelope has no data packet, and the server's bare reply to such a
  // request is dropped.
  [[nodiscard]] std::optional<kt::Dictionary> replyForRequest(
      const std::optional<kt::Dictionary> &packet);

  [[nodiscard]] const std::vector<std::int32_t> &ports() const { return ports_; }
  [[nodiscard]] const std::string &signature() const { return signature_; }
  [[nodiscard]] std::int32_t timeout() const { return timeout_; }
  [[nodiscard]] std::int32_t retries() const { return retries_; }
  [[nodiscard]] int sockIn() const { return sockIn_.descriptor(); }
  // Returns the address that discovery sends to and, once a server was found, the address of the
  // server's name. It is in network byte order, except for the initial value, 0x7f000001.
  [[nodiscard]] std::uint32_t inet() const { return inet_; }
  [[nodiscard]] std::int32_t port() const { return port_; }
  [[nodiscard]] const sockaddr_in &sin() const { return sin_; }
  [[nodiscard]] const sockaddr_in &sinrep() const { return sinrep_; }
  [[nodiscard]] const timeval &timeValue() const { return timeValue_; }

 private:
  template <typename SendPass>
  bool discover(const SendPass &sendPass);
  bool failToConnect();
  void sendToPorts(const std::vector<std::int32_t> &ports, const kt::Dictionary &envelope);
  std::optional<kt::Dictionary> receiveReply(const kt::Dictionary &message);

  std::vector<std::int32_t> ports_;  // to which discovery is sent, in order
  std::string signature_;            // in every request, and required in every reply
  std::int32_t timeout_;             // milliseconds; the base of waits and deadlines
  std::int32_t retries_;             // sends of a request after the first one; >= 0
  kt::Socket sockIn_;                // sends and receives
  std::uint32_t inet_;               // the recorded address; requests log it and go to sin_
  std::int32_t port_;                // the recorded server port; < 0: no requests are sent
  std::vector<char> buffer_;         // receives datagrams; kt::bufferSize bytes
  sockaddr_in sin_{};                // the destination of datagrams; zero before discovery
  sockaddr_in sinrep_{};             // the sender of the last received datagram
  timeval timeValue_{};              // the longest single wait; zero before setRcvTimeout
  [[maybe_unused]] std::int32_t recvport_ = 0;  // unused, kept as part of the class
};

#endif
