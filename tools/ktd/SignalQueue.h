// SPDX-License-Identifier: MIT

// Receives signals as data, from a descriptor, so that a loop can wait for them and for datagrams
// together. One thread at a time.
#ifndef KT_TOOLS_KTD_SIGNALQUEUE_H
#define KT_TOOLS_KTD_SIGNALQUEUE_H

#include <initializer_list>
#include <optional>

namespace kt::tools {

class SignalQueue {
 public:
  // Blocks `signals` for this thread and for those that it starts afterwards, and queues them.
  // Throws std::system_error if the system has no descriptor.
  explicit SignalQueue(std::initializer_list<int> signals);
  SignalQueue(const SignalQueue &) = delete;
  SignalQueue &operator=(const SignalQueue &) = delete;
  ~SignalQueue();

  // Returns the descriptor, which can be read when a signal has arrived.
  [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

  // Takes the next signal that has arrived, without waiting.
  [[nodiscard]] std::optional<int> next();

 private:
  int descriptor_;
};

}  // namespace kt::tools

#endif
