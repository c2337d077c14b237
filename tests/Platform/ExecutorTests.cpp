#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Platform/SerialQueue.hpp"

#include <future>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace vantrel {
namespace {

TEST(ManualExecutor, RunsJobsInOrderIncludingThoseTheyPost) {
  ManualExecutor executor;
  std::vector<int> ran;
  executor.post([&] {
    ran.push_back(1);
    executor.post([&] { ran.push_back(3); });
  });
  executor.post([&] { ran.push_back(2); });
  EXPECT_EQ(executor.drain(), 3u);
  EXPECT_EQ(ran, (std::vector{1, 2, 3}));
  EXPECT_FALSE(executor.runNext());
}

TEST(ManualExecutor, DelayedJobsWaitForTimeToMoveOnAndRunEarliestFirst) {
  ManualExecutor executor;
  std::vector<int> ran;
  executor.postAfter(5, [&] { ran.push_back(5); });
  executor.postAfter(2, [&] { ran.push_back(2); });
  EXPECT_EQ(executor.drain(), 0u);
  EXPECT_EQ(executor.nextDelay(), 2.0);
  executor.advance(1.5);
  EXPECT_EQ(executor.drain(), 0u);
  executor.advance(4);
  EXPECT_EQ(executor.drain(), 2u);
  EXPECT_EQ(ran, (std::vector{2, 5}));
  EXPECT_EQ(executor.nextDelay(), std::nullopt);
}

TEST(SerialQueue, RunsJobsOneAtATimeInOrderOffTheCallersThread) {
  std::vector<int> ran;
  std::thread::id worker;
  {
    SerialQueue queue("com.vantrel.vantrel.test", SerialQueue::Priority::utility);
    for (int job = 0; job < 100; ++job) {
      queue.post([&, job] {
        ran.push_back(job);
        worker = std::this_thread::get_id();
      });
    }
    std::promise<void> delayedRan;
    queue.postAfter(0.01, [&] { delayedRan.set_value(); });
    queue.waitUntilIdle();
    EXPECT_EQ(ran.size(), 100u);
    delayedRan.get_future().wait();
    EXPECT_NE(worker, std::this_thread::get_id());
    // Work still queued when the queue goes away is done, not dropped.
    queue.post([] { std::this_thread::sleep_for(std::chrono::milliseconds(20)); });
    queue.post([&] { ran.push_back(100); });
  }
  ASSERT_EQ(ran.size(), 101u);
  for (int job = 0; job <= 100; ++job) {
    EXPECT_EQ(ran[std::size_t(job)], job);
  }
}

} // namespace
} // namespace vantrel
