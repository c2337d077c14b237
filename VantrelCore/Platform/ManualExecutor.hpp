#pragma once

#include "VantrelCore/Platform/Executor.hpp"

#include <cstddef>
#include <deque>
#include <mutex>

namespace vantrel {

/// Runs posted jobs only when asked, on the thread that asks: the owner loop of a single-threaded
/// program, and in tests a queue they drain so that nothing sleeps or races. Jobs may be posted from any
/// thread.
class ManualExecutor : public Executor {
public:
  void post(Job job) override;

  /// Runs the oldest job; false when there was none.
  bool runNext();
  /// Runs jobs, including those the jobs post, until none is left; answers how many ran.
  std::size_t drain();
  std::size_t pendingCount() const;

private:
  mutable std::mutex mutex_;
  std::deque<Job> jobs_;
};

} // namespace vantrel
