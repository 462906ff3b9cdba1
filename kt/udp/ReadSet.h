// SPDX-License-Identifier: MIT

// Waits with select until a socket can be read. This header is not installed. It is inline because
// the programs of this project use it too and a shared library exports public names only.
#ifndef KT_UDP_READSET_H
#define KT_UDP_READSET_H

#include <sys/select.h>
#include <sys/time.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <vector>

#include "kt/udp/Socket.h"

namespace kt::udp {

// The set of descriptors, one socket, for a series of waits. It is as large as the descriptor
// requires; a plain fd_set ends at descriptor 1,023. As with select, a wait that ends without data
// empties the set, and every later wait with it only lets its time pass.
class ReadSet {
 public:
  explicit ReadSet(const Socket &socket) : descriptor_(socket.descriptor()) {
    constexpr std::size_t bitsPerWord = sizeof(unsigned long) * CHAR_BIT;
    const std::size_t bit = static_cast<std::size_t>(std::max(descriptor_, 0));
    words_.resize(std::max(sizeof(fd_set) / sizeof(unsigned long), bit / bitsPerWord + 1));
    if (descriptor_ >= 0) words_[bit / bitsPerWord] |= 1UL << (bit % bitsPerWord);
  }

  // Waits until the socket can be read, at most for `limit`, which is not changed; null means no
  // limit. Returns what select returns: 1 if readable, 0 after the limit, or -1 on an error or a
  // signal, with the reason in errno.
  int wait(const timeval *limit) {
    timeval remaining = limit != nullptr ? *limit : timeval{};  // select counts its copy down
    return ::select(descriptor_ + 1, reinterpret_cast<fd_set *>(words_.data()), nullptr, nullptr,
                    limit != nullptr ? &remaining : nullptr);
  }

 private:
  int descriptor_;                    // -1 if the socket has none: waits only let time pass
  std::vector<unsigned long> words_;  // select's bit set, at least as long as an fd_set
};

}  // namespace kt::udp

#endif
