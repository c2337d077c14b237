#include "VantrelCore/Platform/FixedClock.hpp"

namespace vantrel {

FixedClock::FixedClock(Date instant) : secondsSinceReferenceDate_(instant.secondsSinceReferenceDate) {}

Date FixedClock::now() const {
  return Date{secondsSinceReferenceDate_.load()};
}

void FixedClock::set(Date instant) {
  secondsSinceReferenceDate_.store(instant.secondsSinceReferenceDate);
}

void FixedClock::advance(double seconds) {
  secondsSinceReferenceDate_.fetch_add(seconds);
}

} // namespace vantrel
