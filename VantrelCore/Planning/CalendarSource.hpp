#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Planning/CalendarEvent.hpp"
#include "VantrelCore/Planning/CalendarSourceInfo.hpp"
#include "VantrelCore/Planning/EventStore.hpp"
#include "VantrelCore/Platform/Preferences.hpp"
#include "VantrelCore/Platform/RandomUUIDGenerator.hpp"

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel {

/// The planner's one door to the user's calendars: access, the calendars and the ones the user switched
/// off, and each day's events, cached per day until the calendars, the block list or the device zone
/// change. Bound to the owner thread, as the event store's change signal is.
class CalendarSource {
public:
  enum class AuthState { unknown, denied, granted };
  static constexpr std::string_view blocklistKey = "com.vantrel.calendarBlocklist";
  static constexpr std::string_view untitledEvent = "(no title)";
  static constexpr std::string_view localSource = "Local";

  /// Reads access and the block list, and starts listening for changes of the store.
  CalendarSource(EventStore& store, Preferences& standard);
  CalendarSource(const CalendarSource&) = delete;
  CalendarSource& operator=(const CalendarSource&) = delete;

  AuthState authorization() const { return authorization_; }
  /// Asks the store for access and keeps the answer.
  AuthState requestAccess();
  void refreshAuthorization();

  const std::set<std::string>& blocklist() const { return blocklist_; }
  /// Keeps the calendars to ignore, in the preferences too, and forgets the cached days.
  void setBlocklist(std::set<std::string> blocklist);

  /// By account title, then title.
  std::vector<CalendarSourceInfo> availableCalendars() const;
  /// The calendars not blocked.
  std::set<std::string> activeIdentifiers() const;

  /// Moves on every change the store signals.
  std::int64_t eventsVersion() const { return eventsVersion_; }
  /// The timed and all-day events that touch the day in the device zone, in the store's order; none
  /// without access.
  std::vector<CalendarEvent> events(const CalendarDate& day);
  /// How many days were fetched from the store so far.
  std::int64_t fetchCount() const { return fetchCount_; }

  static AuthState authState(EventStoreAuthorization status);

private:
  void fetch(const CalendarDate& day, const std::string& key);

  EventStore& store_;
  Preferences& standard_;
  AuthState authorization_;
  std::set<std::string> blocklist_;
  std::int64_t eventsVersion_ = 0;
  std::int64_t fetchCount_ = 0;
  std::unordered_map<std::string, std::vector<CalendarEvent>> eventsByDay_;
  std::string eventsCacheZone_;
  RandomUUIDGenerator uuids_;
  std::unique_ptr<EventStore::Observation> changeObserver_;
};

} // namespace vantrel
