// SPDX-License-Identifier: MIT

// An echo server that answers from worker threads: each request is in work for up to --work ms,
// drawn from a seed. Prints "serving PORT". When its standard input ends, it stops while requests
// may be in work, and prints one line per result: a name, a space, a value.
//
// --seed NUMBER, --ports N,N,..., --work MS, --workers COUNT
#include <netinet/in.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kt/udp/KtUDPDaemon.h"
#include "tests/system/Options.h"

namespace kt::test {
namespace {

using Clock = std::chrono::steady_clock;

class Workers {
 public:
  Workers(unsigned seed, int workMs, int workers)
      : random_(seed), workMs_(static_cast<unsigned>(workMs)) {
    for (int i = 0; i < workers; ++i) {
      threads_.emplace_back([this](const std::stop_token &stop) { work(stop); });
    }
  }

  void replyForRequest(Dictionary packet, Reply reply) {
    const std::scoped_lock lock(mutex_);
    ++runs_[{reply.sender().sin_port, packet.integer("Number").value_or(-1)}];
    const auto duration = std::chrono::milliseconds(random_() % (workMs_ + 1));
    jobs_.emplace(Clock::now() + duration, Job{std::move(packet), std::move(reply)});
    changed_.notify_one();
  }

  // Ends what is in work and the threads.
  void finish() { threads_.clear(); }

  // Requires: finish() was called.
  void print() const {
    int repeated = 0;
    for (const auto &[request, runs] : runs_) {
      repeated += runs > 1 ? 1 : 0;
    }
    std::printf("run %zu\nrepeated %d\nsent %d\nunsent %d\n", runs_.size(), repeated, sent_,
                unsent_);
  }

 private:
  struct Job {
    Dictionary packet;
    Reply reply;
  };

  // Once a stop is requested, answers what is left at once.
  void work(const std::stop_token &stop) {
    std::unique_lock lock(mutex_);
    for (;;) {
      changed_.wait(lock, stop, [this] { return !jobs_.empty(); });
      if (jobs_.empty()) return;
      const Clock::time_point due = jobs_.begin()->first;
      if (!stop.stop_requested() && Clock::now() < due) {
        changed_.wait_until(lock, stop, due, [&] { return jobs_.empty() || Clock::now() >= due; });
        continue;  // another thread may have taken it
      }
      Job job = std::move(jobs_.begin()->second);
      jobs_.erase(jobs_.begin());
      lock.unlock();
      const bool sent = job.reply.send(job.packet);
      lock.lock();
      ++(sent ? sent_ : unsent_);
    }
  }

  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::mt19937 random_;
  unsigned workMs_;
  std::multimap<Clock::time_point, Job> jobs_;  // in work, by when they will be done
  // How often each request was handed out, by the sender's port and the request's number.
  std::map<std::pair<in_port_t, std::int64_t>, int> runs_;
  int sent_ = 0;
  int unsent_ = 0;
  std::vector<std::jthread> threads_;
};

}  // namespace
}  // namespace kt::test

int main(int count, char **arguments) {
  using namespace kt::test;
  const Options options(count, arguments);
  Workers workers(static_cast<unsigned>(options.number("--seed", 1)), options.number("--work", 10),
                  options.number("--workers", 10));
  auto daemon = std::make_unique<KtUDPDaemon>();
  daemon->setDelegate(&workers).setPorts(options.numbers("--ports"));
  require(daemon->registerPort(), "registerPort");
  std::jthread server([&](const std::stop_token &stop) { daemon->processQueries(stop); });
  std::printf("serving %d\n", daemon->port());
  std::fflush(stdout);
  while (std::getchar() != EOF) {
    // Waits until standard input ends.
  }
  server.request_stop();
  server.join();
  daemon.reset();  // while replies are open
  workers.finish();
  workers.print();
  return 0;
}
