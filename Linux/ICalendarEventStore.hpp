#pragma once

#include "VantrelCore/Planning/EventStore.hpp"
#include "VantrelCore/Platform/Executor.hpp"

#include <filesystem>
#include <optional>

namespace vantrel {

/// The user's calendars on Linux, read from iCalendar files: either a folder in the vdir layout (every
/// sub-folder is a calendar holding one event per .ics file, with optional `displayname` and `color`
/// files) or a single .ics file that is one calendar.
///
/// Recurrences (RRULE, RDATE, EXDATE, overridden and cancelled instances) are expanded per query. Times
/// with a TZID follow the file's VTIMEZONE or the zone of that name; floating times and all-day events
/// follow the device zone. Parsed files are kept until they change, and what cannot be read is skipped.
///
/// Every call, and every handler, runs on the thread of `owner`: libical is not thread-safe. Change
/// observation watches the location with inotify on a thread of its own, which only posts to `owner`.
class ICalendarEventStore final : public EventStore {
public:
  /// `location` is none when the user chose no calendars. `owner` must outlive the store and take posts
  /// from any thread.
  ICalendarEventStore(std::optional<std::filesystem::path> location, Executor& owner);
  ~ICalendarEventStore() override;
  ICalendarEventStore(const ICalendarEventStore&) = delete;
  ICalendarEventStore& operator=(const ICalendarEventStore&) = delete;

  /// notDetermined without a location, fullAccess when it can be read, denied otherwise.
  EventStoreAuthorization authorizationStatus() const override;
  /// Files need no prompt: checks the location again.
  EventStoreAuthorization requestFullAccess() override;
  /// Sorted by id: a sub-folder's name, or the single file's name.
  std::vector<EventStoreCalendar> calendars() const override;
  std::vector<EventStoreEvent> events(Date start, Date end,
                                      std::span<const std::string> calendarIds) const override;
  /// Starts watching the location the first time it is called. Throws std::system_error when inotify
  /// cannot be set up.
  std::unique_ptr<Observation> observeChanges(std::function<void()> changed) override;

  const std::optional<std::filesystem::path>& location() const { return location_; }

private:
  struct State;
  class Watcher;
  class Handle;

  std::optional<std::filesystem::path> location_;
  Executor& owner_;
  std::shared_ptr<State> state_;
  std::unique_ptr<Watcher> watcher_;
};

} // namespace vantrel
