#pragma once

#include "VantrelCore/Platform/Executor.hpp"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace vantrel {

/// A background thread that runs posted jobs one at a time, in order. Destroying the queue runs what is
/// still queued before the thread ends, so no posted work (a snapshot write, say) is dropped at exit;
/// delayed jobs not yet due are dropped, as a retry that would come too late.
///
/// A job must not throw: there is no one to catch it on the queue's thread, so an escaping exception
/// stops the process.
class SerialQueue : public Executor {
public:
  enum class Priority { userInitiated, utility };

  SerialQueue(std::string label, Priority priority);
  ~SerialQueue() override;
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  const std::string& label() const { return label_; }
  Priority priority() const { return priority_; }

  void post(Job job) override;
  void postAfter(double seconds, Job job) override;
  /// Blocks until no job is queued or running; delayed jobs not yet due do not count.
  void waitUntilIdle();

private:
  void run();

  std::string label_;
  Priority priority_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable idle_;
  std::deque<Job> jobs_;
  std::multimap<std::chrono::steady_clock::time_point, Job> delayed_;
  bool running_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

} // namespace vantrel
