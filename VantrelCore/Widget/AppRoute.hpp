#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace vantrel {

/// A screen the planner's main window can show. Window restoration keeps it as JSON, detached windows
/// show one each, and the focused window publishes its own (CurrentAppRouteKey).
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

  /// A route without payload. Throws std::invalid_argument for a case that needs one.
  explicit AppRoute(Case routeCase);
  /// `area`, `project`, `pinnedProject` or `sharedProject` of that record. Throws std::invalid_argument
  /// for another case.
  AppRoute(Case routeCase, std::string identifier);
  /// `day` of that date. Throws std::invalid_argument for another case.
  AppRoute(Case routeCase, CalendarDate day);

  Case routeCase() const { return case_; }
  /// "today", "upcomingDeadlines", "pinnedProject", ...
  std::string_view caseName() const;
  /// The record the route shows; null for the other cases.
  const std::string* identifier() const { return std::get_if<std::string>(&payload_); }
  /// The day the `day` route shows; null for the other cases.
  const CalendarDate* date() const { return std::get_if<CalendarDate>(&payload_); }

  /// Whether the route may open in a window of its own: every route with a payload, and Today, the week
  /// plan, upcoming deadlines and Anyday; not archives, the inbox or settings.
  bool isDetachable() const;
  /// The route a detached window shows: this route when it is detachable, none otherwise.
  std::optional<AppRoute> detached() const;

  /// One key, the case's name, holding an object with the payload under "_0" (empty without payload):
  /// {"today":{}}, {"day":{"_0":"2026-03-07"}}.
  std::string encodeJSON() const;
  /// Accepts exactly that form; anything else throws DecodingError naming what is wrong.
  static AppRoute decodeJSON(std::string_view text);

  std::size_t hash() const;
  friend bool operator==(const AppRoute&, const AppRoute&) = default;

private:
  Case case_;
  std::variant<std::monostate, std::string, CalendarDate> payload_;
};

} // namespace vantrel

template <> struct std::hash<vantrel::AppRoute> {
  std::size_t operator()(const vantrel::AppRoute& route) const { return route.hash(); }
};
