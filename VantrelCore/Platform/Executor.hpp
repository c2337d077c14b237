#pragma once

#include <functional>

namespace vantrel {

/// Somewhere to run work later, in the order it was posted: the owner thread's loop, or a background
/// serial queue.
class Executor {
public:
  using Job = std::function<void()>;

  virtual ~Executor() = default;
  virtual void post(Job job) = 0;
  /// Runs the job once `seconds` have passed, after the jobs posted for earlier.
  virtual void postAfter(double seconds, Job job) = 0;
};

} // namespace vantrel
