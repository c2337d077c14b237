#include "VantrelCore/Platform/SystemClock.hpp"

#include <chrono>

namespace vantrel {

Date SystemClock::now() const {
  const std::chrono::duration<double> sinceUnixEpoch = std::chrono::system_clock::now().time_since_epoch();
  return Date::fromUnixSeconds(sinceUnixEpoch.count());
}

} // namespace vantrel
