// SPDX-License-Identifier: MIT

// Threads for requests that take long, and a bounded queue of those that wait for one. No address
// gets more than half of either, so that one client cannot keep all others waiting. Any thread may
// use it, but only the thread that made it ends it.
#ifndef KT_TOOLS_KTD_WORKERS_H
#define KT_TOOLS_KTD_WORKERS_H

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <vector>

namespace kt::tools {

class Workers {
 public:
  // Works on one request. If `stop` is requested, gives up soon. Must not throw.
  using Job = std::function<void(const std::stop_token &stop)>;

  struct Load {
    std::size_t working = 0;
    std::size_t queued = 0;
  };

  static constexpr std::size_t longestQueue = 512;

  // Starts `threadCount` threads. Throws Failure if the system has not as many.
  // Requires: threadCount >= 1.
  explicit Workers(std::size_t threadCount);
  Workers(const Workers &) = delete;
  Workers &operator=(const Workers &) = delete;
  ~Workers();

  // Queues the job for `address`. Returns false, without it, if the queue is full, if the address
  // has half of it, or after close().
  [[nodiscard]] bool offer(std::uint32_t address, Job job);

  [[nodiscard]] Load load() const;

  // Takes no more jobs, and runs those in the queue here with a stop that was requested. Those in
  // work go on.
  void close();

  // Closes, requests a stop of the jobs in work and returns once they have ended.
  void end();

 private:
  struct Waiting {
    std::uint32_t address;
    Job job;
  };
  void work(const std::stop_token &stop);
  std::optional<Waiting> takeNext();
  void finish(std::uint32_t address);

  const std::size_t mostForAddress_;  // threads
  mutable std::mutex mutex_;          // for all up to threads_
  std::condition_variable_any arrival_;
  std::deque<Waiting> queue_;
  std::vector<std::uint32_t> working_;  // the addresses of the jobs in work
  bool isClosed_ = false;
  std::vector<std::jthread> threads_;
};

}  // namespace kt::tools

#endif
