// SPDX-License-Identifier: MIT

// A request/reply server over UDP: binds the first free port of a list, answers discovery itself
// and passes every other request to a delegate. A host configures it and calls registerPort, then
// processQueries on a thread of its choice. From then on only that thread may use the object.
//
//   KtUDPDaemon daemon;
//   daemon.setDelegate(&application);
//   if (daemon.registerPort()) daemon.processQueries();
//
// Serving never ends by itself; the host ends it by ending the process.
#ifndef KT_UDP_KTUDPDAEMON_H
#define KT_UDP_KTUDPDAEMON_H

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "kt/udp/Socket.h"

namespace kt {

namespace udp {
class ReadSet;
}

// A class with the method that the server calls on its delegate.
template <class Delegate>
concept RequestResponder = requires(Delegate &delegate, const Dictionary &packet) {
  std::optional<Dictionary>(delegate.replyForRequest(packet));
};

}  // namespace kt

class KtUDPDaemon {
 public:
  // Creates a server without a socket: default ports and signature, no delegate, not unique.
  KtUDPDaemon();
  KtUDPDaemon(const KtUDPDaemon &) = delete;
  KtUDPDaemon &operator=(const KtUDPDaemon &) = delete;
  ~KtUDPDaemon();

  // Sets the ports to try, in this order. Only the low 16 bits of each are used; 0 lets the system
  // choose.
  void setPorts(std::vector<std::int32_t> ports);

  // Sets the signature that requests must carry and that replies carry.
  void setSignature(std::string signature);

  // Sets the object that answers requests. It may be of any class with this method:
  //   kt::Dictionary replyForRequest(const kt::Dictionary &packet);
  // It may also return std::optional<kt::Dictionary>. It is called on the serving thread with the
  // request's data packet and returns the reply's. The delegate is not owned and must live as long
  // as the server serves. Null removes it.
  template <class Delegate>
  KtUDPDaemon &setDelegate(Delegate *delegate);
  KtUDPDaemon &setDelegate(std::nullptr_t);

  // Sets whether registerPort fails while another server with this signature answers.
  void setMustBeUnique(bool unique);

  // Sets the client class that looks for such a server; the default is KtUDPClient. It must be
  // default-constructible and have KtUDPClient's setSignature, setPorts, setNumberOfRetries,
  // setBaseReplyTimeout and connectToServer.
  template <class Client>
  void setCounterpartClass();

  // Returns whether this server may start. If it need not be unique, returns true without any
  // traffic. Otherwise runs a discovery and returns whether no server with this signature answers
  // on any of the ports.
  [[nodiscard]] bool ensureUniqueness();

  // Binds the first free port of the list. Returns false and changes nothing if none is free, or if
  // the server must be unique and another one answers.
  [[nodiscard]] bool registerPort();

  // Returns the reply to a parsed request:
  // - nothing if there is no request, no "_Handshake", or another signature;
  // - an empty dictionary, which clients drop, if there is no data packet or no keyword in it;
  // - otherwise the envelope of the answer.
  // Throws std::invalid_argument if the data packet is not a dictionary, std::logic_error if the
  // delegate is missing or returns no answer, and whatever the delegate throws.
  [[nodiscard]] std::optional<kt::Dictionary> replyFor(
      const std::optional<kt::Dictionary> &request);

  // Serves. Returns at once if no port is registered, otherwise never. Exceptions from replyFor
  // propagate; when called again, it continues with the next datagram.
  void processQueries();

  [[nodiscard]] const std::vector<std::int32_t> &ports() const { return ports_; }
  [[nodiscard]] const std::string &signature() const { return signature_; }
  [[nodiscard]] int socketIn() const { return socketIn_.descriptor(); }
  // The bound port; 0 before registerPort succeeded.
  [[nodiscard]] std::int32_t port() const { return port_; }
  [[nodiscard]] bool unique() const { return unique_; }

  // Return how many datagrams processQueries has received and how many of them it has answered.
  // Only the serving thread may call these. The delegate's current request counts as received but
  // not as answered.
  [[nodiscard]] std::uint64_t received() const { return received_; }
  [[nodiscard]] std::uint64_t answered() const { return answered_; }

 private:
  using Responder = std::optional<kt::Dictionary> (*)(void *delegate, const kt::Dictionary &packet);
  using Probe = bool (*)(const std::string &signature, const std::vector<std::int32_t> &ports);

  template <class Client>
  static bool anotherServerAnswers(const std::string &signature,
                                   const std::vector<std::int32_t> &ports);

  kt::Dictionary answerTo(const kt::Dictionary &packet);
  std::ptrdiff_t nextDatagram(kt::udp::ReadSet &readSet, sockaddr_in &sender);
  void serve(std::size_t size, const sockaddr_in &sender);

  void *delegate_ = nullptr;         // answers requests; not owned; null if there is none
  Responder responder_ = nullptr;    // calls the delegate's method; null if it has none
  std::vector<std::int32_t> ports_;  // to try, in order
  std::string signature_;            // required in requests, sent in replies
  kt::Socket socketIn_;              // without a descriptor until registered
  std::int32_t port_ = 0;            // the bound port; 0 until registered
  std::vector<char> buffer_;         // receives datagrams; kt::bufferSize bytes
  Probe counterpart_;                // looks for another server with the counterpart class
  bool unique_ = false;              // whether the server must be the only one that answers
  std::uint64_t received_ = 0;       // datagrams received, including empty ones
  std::uint64_t answered_ = 0;       // datagrams that got a reply
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

#endif
