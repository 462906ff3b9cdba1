// SPDX-License-Identifier: MIT

// A request/reply server over UDP: binds the first free port of a list, answers discovery itself
// and passes every other request to a delegate. A host configures it and calls registerPort, then
// processQueries on a thread of its choice. From then on only that thread may use the object.
//
//   KtUDPDaemon daemon;
//   daemon.setDelegate(&application);
//   if (daemon.registerPort()) daemon.processQueries();
//
// Serving never ends by itself. The host ends the process, or serves with a std::stop_token, or
// calls processPending from an event loop of its own.
#ifndef KT_UDP_KTUDPDAEMON_H
#define KT_UDP_KTUDPDAEMON_H

#include <netinet/in.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "kt/udp/Reply.h"
#include "kt/udp/Socket.h"

namespace kt {

namespace udp {
class Outbox;
class ReadSet;
}  // namespace udp

// A delegate that returns its answers.
template <class Delegate>
concept RequestResponder = requires(Delegate &delegate, Dictionary packet) {
  { delegate.replyForRequest(std::move(packet)) } -> std::convertible_to<std::optional<Dictionary>>;
};

// A delegate that sends its answers, when it likes, with the kt::Reply that it is given.
template <class Delegate>
concept DeferredResponder = requires(Delegate &delegate, Dictionary packet, Reply reply) {
  { delegate.replyForRequest(std::move(packet), std::move(reply)) } -> std::same_as<void>;
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

  // Sets the object that answers requests. It may be of any class with one of these methods:
  //
  //   kt::Dictionary replyForRequest(const kt::Dictionary &packet);
  //   void replyForRequest(kt::Dictionary packet, kt::Reply reply);
  //
  // The first may also return std::optional<kt::Dictionary>. Either may take the packet by value or
  // by const reference. It is called on the serving thread with the request's data packet. The
  // first returns the reply's; the server remembers nothing of it, so a resend is another request.
  // The second sends it with `reply`, at once or later.
  //
  // The delegate is not owned and must live as long as the server serves. Null removes it.
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
  // A delegate that sends its answers counts if it does so before it returns; its reply then knows
  // no sender.
  // Throws std::invalid_argument if the data packet is not a dictionary, std::logic_error if the
  // delegate is missing or gives no answer, and whatever the delegate throws.
  [[nodiscard]] std::optional<kt::Dictionary> replyFor(
      const std::optional<kt::Dictionary> &request);
  [[nodiscard]] std::optional<kt::Dictionary> replyFor(std::optional<kt::Dictionary> &&request);

  // Serves. Returns at once if no port is registered, otherwise never. Exceptions from replyFor
  // propagate; when called again, it continues with the next datagram.
  void processQueries();

  // The same, but returns once `stop` is requested, from any thread, even if no datagram arrives.
  // Replies may then be open; they can be sent as long as the server lives. An answer for which the
  // system has no room counts as lost. Throws std::system_error if the system has no descriptor for
  // the wait.
  void processQueries(std::stop_token stop);

  // Serves datagrams that have arrived, at most `limit`, without waiting; returns how many. Call it
  // when socketIn() can be read. An answer for which the system has no room counts as lost. If a
  // request throws, its datagram is consumed and the others can still be read. Returns 0 if no port
  // is registered.
  std::size_t processPending(std::size_t limit = 64);

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
  [[nodiscard]] std::uint64_t answered() const;

 private:
  using Responder = std::optional<kt::Dictionary> (*)(void *delegate, kt::Dictionary &&packet);
  using Deferred = void (*)(void *delegate, kt::Dictionary &&packet, kt::Reply &&reply);
  using Probe = bool (*)(const std::string &signature, const std::vector<std::int32_t> &ports);

  template <class Client>
  static bool anotherServerAnswers(const std::string &signature,
                                   const std::vector<std::int32_t> &ports);

  struct Origin;

  // Sends a datagram: one of Socket's two functions.
  using Send = bool (kt::Socket::*)(std::span<const char> datagram, const sockaddr_in &destination);

  void setDelegate(void *delegate, Responder responder, Deferred deferred);
  kt::Dictionary answerSentAtOnce(kt::Dictionary &&packet);
  kt::Dictionary answerTo(kt::Dictionary &&packet);
  std::optional<kt::Dictionary> replyTo(kt::Dictionary &&request, const Origin *origin);
  std::ptrdiff_t nextDatagram(kt::udp::ReadSet &readSet, sockaddr_in &sender);
  std::ptrdiff_t receive(sockaddr_in &sender);
  void process(std::ptrdiff_t count, const sockaddr_in &sender, Send send);
  void serve(std::size_t size, const sockaddr_in &sender, Send send);

  void *delegate_ = nullptr;                 // answers requests; not owned; null if there is none
  Responder responder_ = nullptr;            // calls the delegate's method if it returns its answer
  Deferred deferred_ = nullptr;              // calls the delegate's method if it takes a kt::Reply
  std::vector<std::int32_t> ports_;          // to try, in order
  std::string signature_;                    // required in requests, sent in replies
  kt::Socket socketIn_;                      // without a descriptor until registered
  std::int32_t port_ = 0;                    // the bound port; 0 until registered
  std::vector<char> buffer_;                 // receives datagrams; kt::bufferSize bytes
  Probe counterpart_;                        // looks for another server with the counterpart class
  bool unique_ = false;                      // whether the server must be the only one that answers
  std::uint64_t received_ = 0;               // datagrams received, including empty ones
  std::uint64_t answered_ = 0;               // datagrams that got a reply, except by outbox_
  std::shared_ptr<kt::udp::Outbox> outbox_;  // shared with replies; null before the first
};

template <class Delegate>
KtUDPDaemon &KtUDPDaemon::setDelegate(Delegate *delegate) {
  constexpr bool responds = kt::RequestResponder<Delegate>;
  constexpr bool defers = kt::DeferredResponder<Delegate>;
  static_assert(responds || defers,
                "a delegate needs kt::Dictionary replyForRequest(const kt::Dictionary &packet) or "
                "void replyForRequest(kt::Dictionary packet, kt::Reply reply)");
  static_assert(!(responds && defers),
                "a delegate has either replyForRequest(packet) or replyForRequest(packet, reply)");
  void *const object = const_cast<void *>(static_cast<const void *>(delegate));
  if constexpr (responds) {
    setDelegate(
        object,
        [](void *responder, kt::Dictionary &&packet) -> std::optional<kt::Dictionary> {
          return static_cast<Delegate *>(responder)->replyForRequest(std::move(packet));
        },
        nullptr);
  } else if constexpr (defers) {
    setDelegate(object, nullptr, [](void *responder, kt::Dictionary &&packet, kt::Reply &&reply) {
      static_cast<Delegate *>(responder)->replyForRequest(std::move(packet), std::move(reply));
    });
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
