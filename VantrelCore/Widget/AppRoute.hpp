#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace vantrel {

class JSONWriter;

/// A screen the planner's main window can show. Window restoration keeps it as JSON, detached windows
/// show one each, and the focused window publishes its own (CurrentAppRouteKey).
///
/// Routes are made by the factories below, so a route always carries the payload its case needs.
class AppRoute {
public:
  /// In this order; the names are those of the JSON form.
  enum class Case {
    today,
    plan,
    upcomingDeadlines,
    anyday,
    archives,
    area,
    project,
    day,
    pinnedProject,
    sharedProject,
    inbox,
    settings
  };

  static AppRoute today() { return AppRoute(Case::today, {}); }
  /// The week plan.
  static AppRoute plan() { return AppRoute(Case::plan, {}); }
  static AppRoute upcomingDeadlines() { return AppRoute(Case::upcomingDeadlines, {}); }
  static AppRoute anyday() { return AppRoute(Case::anyday, {}); }
  static AppRoute archives() { return AppRoute(Case::archives, {}); }
  /// The area with that record name.
  static AppRoute area(std::string identifier) { return AppRoute(Case::area, std::move(identifier)); }
  /// The project with that record name.
  static AppRoute project(std::string identifier) { return AppRoute(Case::project, std::move(identifier)); }
  static AppRoute day(CalendarDate date) { return AppRoute(Case::day, date); }
  static AppRoute pinnedProject(std::string identifier) {
    return AppRoute(Case::pinnedProject, std::move(identifier));
  }
  /// A project another person shares with the user.
  static AppRoute sharedProject(std::string identifier) {
    return AppRoute(Case::sharedProject, std::move(identifier));
  }
  static AppRoute inbox() { return AppRoute(Case::inbox, {}); }
  static AppRoute settings() { return AppRoute(Case::settings, {}); }

  Case routeCase() const { return case_; }
  /// "today", "upcomingDeadlines", "pinnedProject", ...
  std::string_view caseName() const;
  /// The record an `area`, `project`, `pinnedProject` or `sharedProject` route shows; null otherwise.
  const std::string* identifier() const { return std::get_if<std::string>(&payload_); }
  /// The day a `day` route shows; null otherwise.
  const CalendarDate* date() const { return std::get_if<CalendarDate>(&payload_); }

  /// Whether the route may open in a window of its own: every route with a payload, and Today, the week
  /// plan, upcoming deadlines and Anyday; not archives, the inbox or settings.
  bool isDetachable() const;
  /// The route a detached window shows: this route when it is detachable, none for archives, the inbox
  /// and settings.
  std::optional<AppRoute> detached() const;

  /// One key, the case's name, holding an object with the payload under "_0" (empty without payload):
  /// {"today":{}}, {"project":{"_0":"p-abc123"}}, {"day":{"_0":"2026-03-07"}}.
  std::string encodeJSON() const;
  /// The same object, written as one value into a larger document.
  void encodeJSON(JSONWriter& json) const;
  /// Accepts exactly that form; anything else (another key beside the case, an unknown case, a missing or
  /// extra payload key, a payload of the wrong kind, a day that does not parse) throws DecodingError.
  static AppRoute decodeJSON(std::string_view text);

  std::size_t hash() const;
  friend bool operator==(const AppRoute&, const AppRoute&) = default;

private:
  using Payload = std::variant<std::monostate, std::string, CalendarDate>;

  AppRoute(Case routeCase, Payload payload) : case_(routeCase), payload_(std::move(payload)) {}

  Case case_;
  Payload payload_;
};

} // namespace vantrel

template <> struct std::hash<vantrel::AppRoute> {
  std::size_t operator()(const vantrel::AppRoute& route) const { return route.hash(); }
};
