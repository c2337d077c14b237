#pragma once

namespace vantrel {

/// What the calendar back end lets the planner read.
enum class EventStoreAuthorization { notDetermined, restricted, denied, fullAccess, writeOnly };

} // namespace vantrel
