#include "VantrelCore/Platform/ManualExecutor.hpp"

#include <utility>

namespace vantrel {

void ManualExecutor::post(Job job) {
  const std::lock_guard lock(mutex_);
  jobs_.push_back(std::move(job));
}

void ManualExecutor::postAfter(double seconds, Job job) {
  const std::lock_guard lock(mutex_);
  delayed_.emplace(now_ + seconds, std::move(job));
}

void ManualExecutor::advance(double seconds) {
  const std::lock_guard lock(mutex_);
  now_ += seconds;
  while (!delayed_.empty() && delayed_.begin()->first <= now_) {
    jobs_.push_back(std::move(delayed_.begin()->second));
    delayed_.erase(delayed_.begin());
  }
}

std::optional<double> ManualExecutor::nextDelay() const {
  const std::lock_guard lock(mutex_);
  if (delayed_.empty()) {
    return std::nullopt;
  }
  return delayed_.begin()->first - now_;
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
