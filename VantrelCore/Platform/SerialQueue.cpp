#include "VantrelCore/Platform/SerialQueue.hpp"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

namespace vantrel {
namespace {

/// Thread names hold 15 bytes: keep the end of the label, which is the part that tells queues apart.
std::string threadName(const std::string& label) {
  constexpr std::size_t limit = 15;
  return label.size() <= limit ? label : label.substr(label.size() - limit);
}

} // namespace

SerialQueue::SerialQueue(std::string label, Priority priority)
    : label_(std::move(label)), priority_(priority), thread_([this] { run(); }) {}

SerialQueue::~SerialQueue() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void SerialQueue::post(Job job) {
  {
    const std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
  }
  wake_.notify_one();
}

void SerialQueue::postAfter(double seconds, Job job) {
  {
    const std::lock_guard lock(mutex_);
    const auto due =
        std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                               std::chrono::duration<double>(seconds));
    delayed_.emplace(due, std::move(job));
  }
  wake_.notify_one();
}

void SerialQueue::waitUntilIdle() {
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [this] { return jobs_.empty() && !running_; });
}

void SerialQueue::run() {
  pthread_setname_np(pthread_self(), threadName(label_).c_str());
  // Background work yields to the owner thread, the way a utility-priority queue does.
  if (priority_ == Priority::utility) {
    setpriority(PRIO_PROCESS, id_t(gettid()), 10);
  }
  std::unique_lock lock(mutex_);
  while (true) {
    while (!delayed_.empty() && delayed_.begin()->first <= std::chrono::steady_clock::now()) {
      jobs_.push_back(std::move(delayed_.begin()->second));
      delayed_.erase(delayed_.begin());
    }
    if (jobs_.empty() && !stopping_) {
      if (delayed_.empty()) {
        wake_.wait(lock);
      } else {
        wake_.wait_until(lock, delayed_.begin()->first);
      }
      continue;
    }
    if (jobs_.empty()) {
      return;
    }
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    running_ = true;
    lock.unlock();
    job();
    lock.lock();
    running_ = false;
    if (jobs_.empty()) {
      idle_.notify_all();
    }
  }
}

} // namespace vantrel
