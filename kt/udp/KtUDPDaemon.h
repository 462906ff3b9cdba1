// SPDX-License-Identifier: MIT

// A request/reply server over UDP: binds the first free port of a list, answers discovery itself
// and hands every other request to a delegate. A host configures it, calls registerPort and then
// processQueries, on a thread of its choice; from then on the object belongs to that thread.
//
//   KtUDPDaemon daemon;
//   daemon.setDelegate(&application);
//   if (daemon.registerPort()) daemon.processQueries();
//
// Serving never ends by itself; the host ends by ending the process.
#ifndef KT_UDP_KTUDPDAEMON_H
#define KT_UDP_KTUDPDAEMON_H

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "kt/udp/Socket.h"

#pragma GCC visibility push(default)

namespace kt {

// A class with the method that the server asks of its delegate.
template <class Delegate>
concept RequestResponder = requires(Delegate &delegate, const Dictionary &packet) {
  std::optional<Dictionary>(delegate.replyForRequest(packet));
};

}  // namespace kt

class KtUDPDaemon {
 public:
  // A server without a socket: default ports and signature, no delegate, not unique.
  KtUDPDaemon();
  KtUDPDaemon(const KtUDPDaemon &) = delete;
  KtUDPDaemon &operator=(const KtUDPDaemon &) = delete;
  ~KtUDPDaemon();

  // The ports to try, in this order; the low 16 bits of each count, 0 lets the system choose.
  void setPorts(std::vector<std::int32_t> ports);

  // The signature that requests must carry and that replies are sent with.
  void setSignature(std::string signature);

  // The object that answers requests, through its method
  //   kt::Dictionary replyForRequest(const kt::Dictionary &packet), or std::optional of it.
  // It is called on the serving thread with the request's data packet and returns the reply's. Any
  // class will do. The delegate is not owned and must live as long as the server serves.
  template <class Delegate>
  KtUDPDaemon &setDelegate(Delegate *delegate);
  KtUDPDaemon &setDelegate(std::nullptr_t);

  // Whether registerPort refuses while another server of this signature answers.
  void setMustBeUnique(bool unique);

  // The client class that looks for such a server. It is default-constructed and must have
  // setSignature, setPorts, setNumberOfRetries, setBaseReplyTimeout and connectToServer as
  // KtUDPClient, the default, has them.
  template <class Client>
  void setCounterpartClass();

  // Whether this server may start: true without any traffic unless it must be unique, else whether
  // no server of this signature answers on any of the ports. Blocks for the discovery's time.
  [[nodiscard]] bool ensureUniqueness();

  // Binds the first port of the list that is free. False when none is, or when the server must be
  // unique and is not; the server is then as it was.
  [[nodiscard]] bool registerPort();

  // The reply to a parsed request: nothing for none, for one without "_Handshake" and for another
  // signature; a bare empty dictionary for one without a keyword, which clients drop; otherwise the
  // envelope around the answer.
  // Throws std::invalid_argument when the data packet is no dictionary, std::logic_error when the
  // delegate is missing or gives no answer, and whatever the delegate throws.
  [[nodiscard]] std::optional<kt::Dictionary> replyFor(
      const std::optional<kt::Dictionary> &request);

  // Serves. Returns at once when no port is registered, otherwise never. What replyFor throws
  // leaves it; called again it goes on with the next datagram.
  void processQueries();

  [[nodiscard]] const std::vector<std::int32_t> &ports() const { return ports_; }
  [[nodiscard]] const std::string &signature() const { return signature_; }
  [[nodiscard]] int socketIn() const { return socketIn_.descriptor(); }
  // The port that is bound, 0 before registerPort succeeded.
  [[nodiscard]] std::int32_t port() const { return port_; }
  [[nodiscard]] bool unique() const { return unique_; }

  // How many datagrams processQueries has received, and for how many of them it has sent a reply.
  // For the serving thread, so for the delegate, whose request has been received and not answered.
  [[nodiscard]] std::uint64_t received() const { return received_; }
  [[nodiscard]] std::uint64_t answered() const { return answered_; }

 private:
  using Responder = std::optional<kt::Dictionary> (*)(void *delegate, const kt::Dictionary &packet);
  using Probe = bool (*)(const std::string &signature, const std::vector<std::int32_t> &ports);

  template <class Client>
  static bool anotherServerAnswers(const std::string &signature,
                                   const std::vector<std::int32_t> &ports);

  kt::Dictionary answerTo(const kt::Dictionary &packet);
  std::ptrdiff_t nextDatagram(kt::ReadSet &readSet, sockaddr_in &sender);
  void serve(std::span<char> datagram, const sockaddr_in &sender);

  void *delegate_ = nullptr;         // answers requests, not owned; null when there is none
  Responder responder_ = nullptr;    // calls the delegate's method; null when it has none
  std::vector<std::int32_t> ports_;  // to try, in order
  std::string signature_;            // required in requests, sent in replies
  kt::Socket socketIn_;              // bound; without a descriptor until registered
  std::int32_t port_ = 0;            // the port bound; 0 until registered
  std::vector<char> buffer_;         // receives datagrams; kt::bufferSize bytes
  Probe counterpart_;                // looks for another server with the counterpart class
  bool unique_ = false;              // whether the server must be the only one answering
  std::uint64_t received_ = 0;       // datagrams received, empty ones too
  std::uint64_t answered_ = 0;       // datagrams that a reply was sent for
};

template <class Delegate>
KtUDPDaemon &KtUDPDaemon::setDelegate(Delegate *delegate) {
  setDelegate(nullptr);
  if (delegate == nullptr) return *this;
  delegate_ = const_cast<void *>(static_cast<const void *>(delegate));
  if constexpr (kt::RequestResponder<Delegate>) {
    responder_ = [](void *object, const kt::Dictionary &packet) -> std::optional<kt::Dictionary> {
      return static_cast<Delegate *>(object)->replyForRequest(packet);
    };
  }
  return *this;
}

template <class Client>
bool KtUDPDaemon::anotherServerAnswers(const std::string &signature,
                                       const std::vector<std::int32_t> &ports) {
  Client client;
  client.setSignature(signature);
  client.setPorts(ports);
  client.setNumberOfRetries(1);
  client.setBaseReplyTimeout(50);
  return client.connectToServer();
}

template <class Client>
void KtUDPDaemon::setCounterpartClass() {
  counterpart_ = &anotherServerAnswers<Client>;
}

#pragma GCC visibility pop

#endif
