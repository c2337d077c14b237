#include "VantrelCore/Platform/ManualExecutor.hpp"

#include <utility>

namespace vantrel {

void ManualExecutor::post(Job job) {
  const std::lock_guard lock(mutex_);
  jobs_.push_back(std::move(job));
}

bool ManualExecutor::runNext() {
  Job job;
  {
    const std::lock_guard lock(mutex_);
    if (jobs_.empty()) {
      return false;
    }
    job = std::move(jobs_.front());
    jobs_.pop_front();
  }
  job();
  return true;
}

std::size_t ManualExecutor::drain() {
  std::size_t count = 0;
  while (runNext()) {
    ++count;
  }
  return count;
}

std::size_t ManualExecutor::pendingCount() const {
  const std::lock_guard lock(mutex_);
  return jobs_.size();
}

} // namespace vantrel
