#include "VantrelCore/Planning/CalendarSource.hpp"

#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <algorithm>
#include <tuple>

namespace vantrel {

CalendarSource::AuthState CalendarSource::authState(EventStoreAuthorization status) {
  switch (status) {
  case EventStoreAuthorization::notDetermined:
    return AuthState::unknown;
  case EventStoreAuthorization::fullAccess:
    return AuthState::granted;
  default:
    return AuthState::denied;
  }
}

CalendarSource::CalendarSource(EventStore& store, Preferences& standard)
    : store_(store), standard_(standard), authorization_(authState(store.authorizationStatus())),
      eventsCacheZone_(DeviceSettings::timeZoneID()) {
  if (const auto saved = standard_.stringArray(blocklistKey)) {
    blocklist_.insert(saved->begin(), saved->end());
  }
  // The observation ends with this object, so a late signal never reaches a destroyed source.
  changeObserver_ = store_.observeChanges([this] {
    eventsByDay_.clear();
    ++eventsVersion_;
  });
}

CalendarSource::AuthState CalendarSource::requestAccess() {
  authorization_ = authState(store_.requestFullAccess());
  return authorization_;
}

void CalendarSource::refreshAuthorization() {
  authorization_ = authState(store_.authorizationStatus());
}

void CalendarSource::setBlocklist(std::set<std::string> blocklist) {
  blocklist_ = std::move(blocklist);
  standard_.setValue(blocklistKey, std::vector<std::string>(blocklist_.begin(), blocklist_.end()));
  eventsByDay_.clear();
}

std::vector<CalendarSourceInfo> CalendarSource::availableCalendars() const {
  std::vector<CalendarSourceInfo> calendars;
  for (const auto& calendar : store_.calendars()) {
    calendars.push_back(
        CalendarSourceInfo{.id = calendar.id,
                           .title = calendar.title,
                           .sourceTitle = calendar.sourceTitle.value_or(std::string(localSource)),
                           .colorRGB = calendar.color});
  }
  std::ranges::sort(calendars, [](const CalendarSourceInfo& left, const CalendarSourceInfo& right) {
    return std::tie(left.sourceTitle, left.title) < std::tie(right.sourceTitle, right.title);
  });
  return calendars;
}

std::set<std::string> CalendarSource::activeIdentifiers() const {
  std::set<std::string> active;
  for (const auto& calendar : availableCalendars()) {
    if (!blocklist_.contains(calendar.id)) {
      active.insert(calendar.id);
    }
  }
  return active;
}

std::vector<CalendarEvent> CalendarSource::events(const CalendarDate& day) {
  if (authorization_ != AuthState::granted) {
    return {};
  }
  // Cached days were cut at the old zone's midnights.
  if (auto zone = DeviceSettings::timeZoneID(); zone != eventsCacheZone_) {
    eventsByDay_.clear();
    eventsCacheZone_ = std::move(zone);
  }
  const std::string key = day.description();
  if (const auto cached = eventsByDay_.find(key); cached != eventsByDay_.end()) {
    return cached->second;
  }
  fetch(day, key);
  const auto fetched = eventsByDay_.find(key);
  return fetched == eventsByDay_.end() ? std::vector<CalendarEvent>{} : fetched->second;
}

void CalendarSource::fetch(const CalendarDate& day, const std::string& key) {
  const auto start = day.localTime(0);
  const auto end = day.adding(1).localTime(0);
  if (!start || !end) {
    return;
  }
  ++fetchCount_;
  std::unordered_map<std::string, EventStoreCalendar> calendars;
  std::vector<std::string> searched;
  for (auto& calendar : store_.calendars()) {
    if (!blocklist_.contains(calendar.id)) {
      searched.push_back(calendar.id);
      calendars.emplace(calendar.id, std::move(calendar));
    }
  }
  std::vector<CalendarEvent> events;
  for (auto& found : store_.events(*start, *end, searched)) {
    const bool touches = found.start == found.end ? found.start >= *start && found.start < *end
                                                  : found.start < *end && found.end > *start;
    if (!touches) {
      continue;
    }
    const auto calendar = calendars.find(found.calendarId);
    events.push_back(CalendarEvent{
        .id = found.id ? std::move(*found.id) : uuids_.uuidString(),
        .title = found.title ? std::move(*found.title) : std::string(untitledEvent),
        .start = found.start,
        .end = found.end,
        .isAllDay = found.isAllDay,
        .calendarName = calendar == calendars.end() ? std::string() : calendar->second.title,
        .calendarColorRGB = calendar == calendars.end() ? std::nullopt : calendar->second.color,
    });
  }
  eventsByDay_[key] = std::move(events);
}

} // namespace vantrel
