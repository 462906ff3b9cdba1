// SPDX-License-Identifier: MIT

// What a server knows of the requests that it handed out with a Reply: which are open, and which
// answers a resend gets again. This header is not installed. It has no socket and no clock. One
// thread at a time.
#ifndef KT_UDP_REQUESTMEMORY_H
#define KT_UDP_REQUESTMEMORY_H

#include <netinet/in.h>

#include <chrono>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <string_view>

namespace kt::udp {

// Tells a resend from another request: the same bytes from the same address and port.
struct RequestIdentity {
  RequestIdentity(const sockaddr_in &sender, std::string_view datagram);

  friend auto operator<=>(const RequestIdentity &, const RequestIdentity &) = default;

  std::uint32_t address;
  std::uint16_t port;
  std::size_t size;    // bytes of the datagram
  std::uint64_t hash;  // of the datagram. Equal by chance: once in 10^19 pairs of one size
};

class RequestMemory {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // How long an answer is remembered.
  static constexpr std::chrono::seconds lifetime{10};

  // What the requests of open replies and the remembered answers may take together.
  static constexpr std::size_t mostEntries = 65536;
  static constexpr std::size_t mostBytes = std::size_t{16} << 20;

  // How many requests are known by their identity alone, after their answer had to make room.
  static constexpr std::size_t mostIdentities = 262144;

  // Forgets the answers that are older than their lifetime.
  void advanceTo(Time now);

  // Returns whether the request is open or was answered.
  [[nodiscard]] bool knows(const RequestIdentity &request) const;

  // Returns the remembered answer; null if there is none. Valid until the next change.
  [[nodiscard]] const std::string *answerTo(const RequestIdentity &request) const;

  // Adds an open request, which it does not know yet. Remembered answers make room for it, the
  // oldest first. Returns false and adds nothing if open requests leave no room.
  [[nodiscard]] bool open(const RequestIdentity &request);

  // Replaces an open request by its answer. Keeps its identity alone if there is no room.
  void answer(const RequestIdentity &request, std::string answer, Time now);

  // Removes an open request. A resend of it is a new request.
  void forget(const RequestIdentity &request);

 private:
  enum class State : std::uint8_t { open, answered, identity };

  struct Entry;
  using Entries = std::map<RequestIdentity, Entry>;
  using Order = std::list<Entries::iterator>;

  struct Entry {
    State state = State::open;
    Time answered;          // unless it is open
    std::string answer;     // if it is remembered
    Order::iterator place;  // in the list of its state
  };

  [[nodiscard]] bool makeRoom(std::size_t entries, std::size_t bytes);
  void fade(Entries::iterator entry);
  void remove(Entries::iterator entry);
  Order &orderOf(State state);

  Entries entries_;
  Order open_;  // each list in the order in which its entries came there
  Order answered_;
  Order identities_;
  std::size_t openBytes_ = 0;    // sizes of the open requests
  std::size_t answerBytes_ = 0;  // sizes of the remembered answers
};

}  // namespace kt::udp

#endif
