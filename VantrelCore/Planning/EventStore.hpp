#pragma once

#include "VantrelCore/Planning/EventStoreAuthorization.hpp"
#include "VantrelCore/Planning/EventStoreCalendar.hpp"
#include "VantrelCore/Planning/EventStoreEvent.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vantrel {

/// The user's calendars as the planner reads them: access, the calendar list, events by interval, and a
/// signal when any of it changed.
class EventStore {
public:
  /// Ends a change observation when destroyed.
  class Observation {
  public:
    virtual ~Observation() = default;
  };

  virtual ~EventStore() = default;

  virtual EventStoreAuthorization authorizationStatus() const = 0;
  /// Asks for full access to events and answers the status that follows.
  virtual EventStoreAuthorization requestFullAccess() = 0;
  virtual std::vector<EventStoreCalendar> calendars() const = 0;
  /// The occurrences in the listed calendars that overlap [start, end), recurrences expanded, in no set
  /// order. An event without length at `start` counts.
  virtual std::vector<EventStoreEvent> events(Date start, Date end,
                                              std::span<const std::string> calendarIds) const = 0;
  /// Calls `changed` whenever calendars or events may have changed, on the thread that owns the store,
  /// until the returned observation is destroyed.
  virtual std::unique_ptr<Observation> observeChanges(std::function<void()> changed) = 0;
};

} // namespace vantrel
