#pragma once

#include "VantrelCore/Planning/EventStore.hpp"

#include <map>
#include <memory>

namespace vantrel::testing {

/// Calendars and event occurrences held in memory, with the access the test sets and a change signal
/// the test fires; counts the queries made of it.
class InMemoryEventStore final : public EventStore {
public:
  EventStoreAuthorization status = EventStoreAuthorization::fullAccess;
  /// What requestFullAccess() turns the status into.
  EventStoreAuthorization grantedOnRequest = EventStoreAuthorization::fullAccess;
  std::vector<EventStoreCalendar> calendarList;
  std::vector<EventStoreEvent> occurrences;
  mutable int queryCount = 0;

  EventStoreAuthorization authorizationStatus() const override { return status; }
  EventStoreAuthorization requestFullAccess() override { return status = grantedOnRequest; }
  std::vector<EventStoreCalendar> calendars() const override { return calendarList; }
  std::vector<EventStoreEvent> events(Date start, Date end,
                                      std::span<const std::string> calendarIds) const override;
  std::unique_ptr<Observation> observeChanges(std::function<void()> changed) override;
  /// Calls every handler still observing.
  void signalChange();

private:
  class Handle;

  std::shared_ptr<std::map<int, std::function<void()>>> handlers_ =
      std::make_shared<std::map<int, std::function<void()>>>();
  int nextHandler_ = 0;
};

} // namespace vantrel::testing
