#pragma once

#include "VantrelCore/Platform/Executor.hpp"

#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <optional>

namespace vantrel {

/// Runs posted jobs only when asked, on the thread that asks: the owner loop of a single-threaded
/// program, and in tests a queue they drain so that nothing sleeps or races. Jobs may be posted from any
/// thread. Its time stands still until advanced, so delayed jobs run exactly when a test says.
class ManualExecutor : public Executor {
public:
  void post(Job job) override;
  void postAfter(double seconds, Job job) override;

  /// Moves time on: delayed jobs now due join the queue, earliest first (they run at the next drain).
  void advance(double seconds);
  /// Seconds until the earliest delayed job is due; nothing when none waits.
  std::optional<double> nextDelay() const;

  /// Runs the oldest job; false when there was none.
  bool runNext();
  /// Runs jobs, including those the jobs post, until none is left; answers how many ran.
  std::size_t drain();
  std::size_t pendingCount() const;

private:
  mutable std::mutex mutex_;
  std::deque<Job> jobs_;
  double now_ = 0;
  std::multimap<double, Job> delayed_;
};

} // namespace vantrel
