// SPDX-License-Identifier: MIT

#include "tools/ktd/Workers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <semaphore>
#include <vector>

namespace kt::test {
namespace {

using tools::Workers;

constexpr std::uint32_t otherAddress = 1000;

// Jobs that begin and wait until they are let go.
class Gate {
 public:
  Workers::Job job() {
    return [this](const std::stop_token &) {
      begun_.release();
      open_.acquire();
    };
  }

  // Waits until another `count` jobs have begun.
  void awaitBegun(int count) {
    for (int number = 0; number < count; ++number) {
      begun_.acquire();
    }
  }

  void letGo(int count) { open_.release(count); }

 private:
  std::counting_semaphore<> begun_{0};
  std::counting_semaphore<> open_{0};
};

void ignore(const std::stop_token &) {}

// Fills the queue with jobs of different addresses and returns how many it took.
std::size_t fillQueue(Workers &workers) {
  std::size_t taken = 0;
  while (workers.offer(static_cast<std::uint32_t>(taken), ignore)) {
    ++taken;
  }
  return taken;
}

TEST(Workers, RunJobsOfferedToThem) {
  Workers workers(2);
  std::latch done(10);
  for (std::uint32_t address = 0; address < 10; ++address) {
    EXPECT_TRUE(workers.offer(address, [&](const std::stop_token &) { done.count_down(); }));
  }
  done.wait();
}

TEST(Workers, WorkOnAsManyJobsAsThereAreThreads) {
  Gate gate;
  Workers workers(3);
  for (std::uint32_t address = 0; address < 4; ++address) {
    ASSERT_TRUE(workers.offer(address, gate.job()));
  }
  gate.awaitBegun(3);
  EXPECT_EQ(workers.load().working, 3U);
  EXPECT_EQ(workers.load().queued, 1U);
  gate.letGo(1);
  gate.awaitBegun(1);
  EXPECT_EQ(workers.load().queued, 0U);
  gate.letGo(3);
}

TEST(Workers, GiveOneAddressHalfOfThreads) {
  Gate gate;
  Workers workers(4);
  for (int count = 0; count < 3; ++count) {
    ASSERT_TRUE(workers.offer(1, gate.job()));
  }
  ASSERT_TRUE(workers.offer(otherAddress, gate.job()));
  gate.awaitBegun(3);  // two of address 1, and the one that came after its third
  EXPECT_EQ(workers.load().working, 3U);
  EXPECT_EQ(workers.load().queued, 1U);
  gate.letGo(1);
  gate.letGo(3);
  workers.end();
}

TEST(Workers, GiveOnlyThreadToAnyAddress) {
  Gate gate;
  Workers workers(1);
  ASSERT_TRUE(workers.offer(1, gate.job()));
  gate.awaitBegun(1);
  gate.letGo(1);
}

TEST(Workers, RefuseJobIfQueueIsFull) {
  Gate gate;
  Workers workers(1);
  ASSERT_TRUE(workers.offer(otherAddress, gate.job()));
  gate.awaitBegun(1);
  EXPECT_EQ(fillQueue(workers), Workers::longestQueue);
  EXPECT_EQ(workers.load().queued, Workers::longestQueue);
  gate.letGo(1);
}

TEST(Workers, GiveOneAddressHalfOfQueue) {
  Gate gate;
  Workers workers(1);
  ASSERT_TRUE(workers.offer(otherAddress, gate.job()));
  gate.awaitBegun(1);
  std::size_t taken = 0;
  while (workers.offer(1, ignore)) {
    ++taken;
  }
  EXPECT_EQ(taken, Workers::longestQueue / 2);
  EXPECT_TRUE(workers.offer(2, ignore));
  gate.letGo(1);
}

TEST(Workers, TakeJobsAgainOnceQueueHasRoom) {
  Gate gate;
  Workers workers(2);
  ASSERT_TRUE(workers.offer(otherAddress, gate.job()));
  ASSERT_TRUE(workers.offer(otherAddress + 1, gate.job()));
  gate.awaitBegun(2);
  fillQueue(workers);
  gate.letGo(1);
  while (!workers.offer(1, ignore)) {
    std::this_thread::yield();  // until the free thread takes a job
  }
  gate.letGo(1);
}

TEST(Workers, CloseRunsQueuedJobsWithStopRequested) {
  Gate gate;
  Workers workers(1);
  ASSERT_TRUE(workers.offer(otherAddress, gate.job()));
  gate.awaitBegun(1);
  std::vector<bool> stopped;
  for (std::uint32_t address = 0; address < 3; ++address) {
    ASSERT_TRUE(workers.offer(
        address, [&](const std::stop_token &stop) { stopped.push_back(stop.stop_requested()); }));
  }
  workers.close();
  EXPECT_EQ(stopped, (std::vector<bool>{true, true, true}));
  EXPECT_EQ(workers.load().working, 1U) << "what is in work goes on";
  EXPECT_EQ(workers.load().queued, 0U);
  gate.letGo(1);
}

TEST(Workers, RefuseJobsOnceClosed) {
  Workers workers(1);
  workers.close();
  EXPECT_FALSE(workers.offer(1, ignore));
}

TEST(Workers, EndRequestsStopOfJobsInWork) {
  std::atomic<bool> wasStopped = false;
  std::binary_semaphore begun{0};
  Workers workers(1);
  ASSERT_TRUE(workers.offer(1, [&](const std::stop_token &stop) {
    begun.release();
    while (!stop.stop_requested()) {
      std::this_thread::yield();
    }
    wasStopped = true;
  }));
  begun.acquire();
  workers.end();
  EXPECT_TRUE(wasStopped);
  EXPECT_EQ(workers.load().working, 0U);
}

TEST(Workers, DestroyJobBeforeLoadSaysItIsDone) {
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watched = held;
  Workers workers(1);
  ASSERT_TRUE(workers.offer(1, [held](const std::stop_token &) {}));
  held.reset();
  while (workers.load().working + workers.load().queued > 0) {
    std::this_thread::yield();
  }
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace kt::test
