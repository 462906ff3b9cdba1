// SPDX-License-Identifier: MIT

#include "kt/udp/RequestMemory.h"

#include <utility>

namespace kt::udp {

namespace {

// FNV-1a with 64 bits (Fowler, Noll, Vo). Whoever makes two of his requests equal loses one.
std::uint64_t hashOf(std::string_view bytes) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char byte : bytes) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
  }
  return hash;
}

}  // namespace

RequestIdentity::RequestIdentity(const sockaddr_in &sender, std::string_view datagram)
    : address(sender.sin_addr.s_addr),
      port(sender.sin_port),
      size(datagram.size()),
      hash(hashOf(datagram)) {}

// ---- Looking up ----

bool RequestMemory::knows(const RequestIdentity &request) const {
  return entries_.contains(request);
}

const std::string *RequestMemory::answerTo(const RequestIdentity &request) const {
  const auto entry = entries_.find(request);
  if (entry == entries_.end() || entry->second.state != State::answered) return nullptr;
  return &entry->second.answer;
}

// ---- Changes ----

bool RequestMemory::open(const RequestIdentity &request) {
  if (!makeRoom(1, request.size)) return false;
  Order added(1);  // made first: what follows cannot fail, or changes nothing
  const auto entry = entries_.try_emplace(request).first;
  added.front() = entry;
  entry->second.place = added.begin();
  open_.splice(open_.end(), added);
  openBytes_ += request.size;
  return true;
}

void RequestMemory::answer(const RequestIdentity &request, std::string answer, Time now) {
  const auto entry = entries_.find(request);
  if (entry == entries_.end()) return;
  Entry &kept = entry->second;
  openBytes_ -= request.size;
  answerBytes_ += answer.size();
  kept.state = State::answered;
  kept.answered = now;
  kept.answer = std::move(answer);
  answered_.splice(answered_.end(), open_, kept.place);
  (void)makeRoom(0, 0);  // at worst this answer makes room itself
}

void RequestMemory::forget(const RequestIdentity &request) {
  const auto entry = entries_.find(request);
  if (entry != entries_.end()) remove(entry);
}

void RequestMemory::advanceTo(Time now) {
  for (Order *order : {&answered_, &identities_}) {
    while (!order->empty() && now - order->front()->second.answered > lifetime) {
      remove(order->front());
    }
  }
}

// ---- Room ----

// Takes away remembered answers until so many more entries and bytes fit. Returns false if open
// requests leave no room for them.
bool RequestMemory::makeRoom(std::size_t entries, std::size_t bytes) {
  if (open_.size() + entries > mostEntries || openBytes_ + bytes > mostBytes) return false;
  while (open_.size() + answered_.size() + entries > mostEntries ||
         openBytes_ + answerBytes_ + bytes > mostBytes) {
    fade(answered_.front());
  }
  return true;
}

// Keeps the identity of an answered request alone.
void RequestMemory::fade(Entries::iterator entry) {
  answerBytes_ -= entry->second.answer.size();
  entry->second.answer = std::string();
  entry->second.state = State::identity;
  identities_.splice(identities_.end(), answered_, entry->second.place);
  if (identities_.size() > mostIdentities) remove(identities_.front());
}

void RequestMemory::remove(Entries::iterator entry) {
  const Entry &gone = entry->second;
  if (gone.state == State::open) openBytes_ -= entry->first.size;
  answerBytes_ -= gone.answer.size();
  orderOf(gone.state).erase(gone.place);
  entries_.erase(entry);
}

RequestMemory::Order &RequestMemory::orderOf(State state) {
  switch (state) {
    case State::open:
      return open_;
    case State::answered:
      return answered_;
    case State::identity:
      break;
  }
  return identities_;
}

}  // namespace kt::udp
