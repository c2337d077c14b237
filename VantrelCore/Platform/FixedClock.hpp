#pragma once

#include "VantrelCore/Platform/Clock.hpp"

#include <atomic>

namespace vantrel {

/// A clock that stands still until it is moved: the command line's `--now` and every test use it.
/// Reading and moving it from several threads at once is safe.
class FixedClock : public Clock {
public:
  explicit FixedClock(Date instant = Date{});

  Date now() const override;
  void set(Date instant);
  void advance(double seconds);

private:
  std::atomic<double> secondsSinceReferenceDate_;
};

} // namespace vantrel
