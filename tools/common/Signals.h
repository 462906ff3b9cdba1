// SPDX-License-Identifier: MIT

// Signals as events of a loop: they arrive at a descriptor instead of interrupting the program. One
// object at a time, on the main thread; make it before other threads start.
#ifndef KT_TOOLS_COMMON_SIGNALS_H
#define KT_TOOLS_COMMON_SIGNALS_H

#include <csignal>
#include <optional>
#include <span>

namespace kt::tools {

class Signals {
 public:
  // Directs the signals `numbers` to descriptor(). Those that the program was started to ignore, as
  // nohup and shells do, stay ignored. Throws Failure if the system has no descriptor.
  explicit Signals(std::span<const int> numbers);

  Signals(const Signals &) = delete;
  Signals &operator=(const Signals &) = delete;

  // Forgets the signals that were not taken, and gives them all their old effect again.
  ~Signals();

  // Returns the descriptor to poll for reading. The object remains its owner.
  [[nodiscard]] int descriptor() const { return descriptor_; }

  // Returns the next signal that has arrived, without waiting, or nothing.
  [[nodiscard]] std::optional<int> next() const;

  // Gives the program the usual effect of `number`, one of the signals: ends it or stops it.
  // Returns when a stopped program continues, or at once if the signal has no effect now.
  static void obey(int number);

 private:
  sigset_t earlierMask_{};  // the signals that were blocked before this object
  int descriptor_;          // >= 0
};

}  // namespace kt::tools

#endif
