#pragma once

#include "VantrelCore/Planning/EventStore.hpp"
#include "VantrelCore/Platform/Executor.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
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
/// Calendar files come from other programs and other people, so reading them is bounded (see Limits):
/// whatever a file holds, a call costs at most about a second per megabyte of calendars, and every file,
/// event or part of a day left out is logged with the file it came from.
///
/// Every call, and every handler, runs on the thread of `owner`: libical is not thread-safe. Change
/// observation watches the location with inotify on a thread of its own, which only posts to `owner`.
class ICalendarEventStore final : public EventStore {
public:
  /// What reading calendars may cost.
  struct Limits {
    /// Larger .ics files are skipped. A decade of a busy calendar exported as one file (about 40,000
    /// events) is some 13 MB and takes ten times that once libical has parsed it.
    std::uintmax_t largestFile = 16 * 1024 * 1024;
    /// The .ics files of one calendar folder beyond this many are skipped: a vdir holds one event per
    /// file, and a decade of a busy calendar is about 15,000 of them.
    std::size_t mostFilesPerCalendar = 50'000;
    /// Iterator steps that one recurrence rule may take per query, and once when its COUNT is read: a
    /// whole day of a rule that repeats every second, with the margins for clock changes, fits.
    std::size_t mostStepsPerRule = 150'000;
    /// The time one call may take: this much, and timePerMegabyte more for each megabyte of calendar
    /// files it reads. Real calendars need a small part of it; it stops what no other limit foresaw.
    std::chrono::milliseconds leastTime{1000};
    std::chrono::milliseconds timePerMegabyte{1000};
  };

  /// `location` is none when the user chose no calendars. `owner` must outlive the store and take posts
  /// from any thread.
  ICalendarEventStore(std::optional<std::filesystem::path> location, Executor& owner);
  ICalendarEventStore(std::optional<std::filesystem::path> location, Executor& owner, const Limits& limits);
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
