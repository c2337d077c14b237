#pragma once

#include "VantrelCore/Platform/Clock.hpp"

namespace vantrel {

/// The machine's wall clock.
class SystemClock : public Clock {
public:
  Date now() const override;
};

} // namespace vantrel
