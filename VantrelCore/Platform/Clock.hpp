#pragma once

#include "VantrelCore/Platform/Date.hpp"

namespace vantrel {

/// Where "now" comes from. The system reads the current instant only through a clock, so a run of the
/// command line (`--now`) and every test can fix it.
class Clock {
public:
  virtual ~Clock() = default;
  virtual Date now() const = 0;
};

} // namespace vantrel
