// SPDX-License-Identifier: MIT

#include "tools/ktd/Workers.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "kt/foundation/Format.h"
#include "tools/common/Failure.h"

namespace kt::tools {

Workers::Workers(std::size_t threadCount)
    : mostForAddress_(std::max<std::size_t>(threadCount / 2, 1)) {
  working_.reserve(threadCount);  // from here on no thread needs memory to take a job
  threads_.reserve(threadCount);
  try {
    while (threads_.size() < threadCount) {
      threads_.emplace_back([this](const std::stop_token &stop) { work(stop); });
    }
  } catch (const std::system_error &error) {
    throw Failure(
        kt::format("only %d of %d workers can be started: %s\n"
                   "Raise the limit on processes, or start with fewer --workers.",
                   threads_.size(), threadCount, error.code().message()));
  }
}

Workers::~Workers() {
  end();
}

bool Workers::offer(std::uint32_t address, Job job) {
  {
    const std::scoped_lock lock(mutex_);
    const auto ofAddress = std::ranges::count(queue_, address, &Waiting::address);
    const bool hasHalf = static_cast<std::size_t>(ofAddress) >= longestQueue / 2;
    if (isClosed_ || hasHalf || queue_.size() >= longestQueue) return false;
    queue_.push_back({address, std::move(job)});
  }
  arrival_.notify_one();
  return true;
}

Workers::Load Workers::load() const {
  const std::scoped_lock lock(mutex_);
  return {working_.size(), queue_.size()};
}

void Workers::close() {
  std::deque<Waiting> queue;
  {
    const std::scoped_lock lock(mutex_);
    isClosed_ = true;
    queue.swap(queue_);
  }
  std::stop_source stopped;
  stopped.request_stop();
  for (const Waiting &waiting : queue) {
    waiting.job(stopped.get_token());
  }
}

void Workers::end() {
  close();
  for (std::jthread &thread : threads_) {
    thread.request_stop();
  }
  threads_.clear();
}

// ---- On the threads ----

// Takes the first job whose address has not its share of the threads. Requires: mutex_ is locked.
std::optional<Workers::Waiting> Workers::takeNext() {
  const auto next = std::ranges::find_if(queue_, [&](const Waiting &waiting) {
    const auto ofAddress = std::ranges::count(working_, waiting.address);
    return static_cast<std::size_t>(ofAddress) < mostForAddress_;
  });
  if (next == queue_.end()) return std::nullopt;
  Waiting taken = std::move(*next);
  queue_.erase(next);
  working_.push_back(taken.address);
  return taken;
}

void Workers::finish(std::uint32_t address) {
  const std::scoped_lock lock(mutex_);
  working_.erase(std::ranges::find(working_, address));
}

void Workers::work(const std::stop_token &stop) {
  for (;;) {
    std::optional<Waiting> taken;
    {
      std::unique_lock lock(mutex_);
      const auto hasNext = [&] { return (taken = takeNext()).has_value(); };
      if (!arrival_.wait(lock, stop, hasNext)) return;
    }
    taken->job(stop);
    taken->job = nullptr;  // its reply is destroyed before the load says that it is done
    finish(taken->address);
  }
}

}  // namespace kt::tools
