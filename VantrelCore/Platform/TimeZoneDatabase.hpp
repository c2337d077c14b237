#pragma once

#include "VantrelCore/Platform/SystemTimeZone.hpp"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unicode/timezone.h>

namespace vantrel {

/// The one place that makes time zones. Every zone comes from the system's tz database (its TZif files),
/// never from the copy of the rules ICU was built with, which lags behind the world's changes.
///
/// A zone is read once per database and shared; callers get cheap copies. All methods throw
/// TimeZoneError, naming the zone, when a zone is unknown or its file cannot be read: nothing falls back
/// to UTC silently.
class TimeZoneDatabase {
public:
  /// A database in `directory` (for tests; the planner uses system()).
  explicit TimeZoneDatabase(std::filesystem::path directory);

  /// The system's database: $TZDIR when set, else /usr/share/zoneinfo.
  static TimeZoneDatabase& system();

  const std::filesystem::path& directory() const { return directory_; }

  /// The zone `identifier` names: "Europe/Berlin", a link such as "US/Eastern", or "UTC" (which needs no
  /// file).
  std::unique_ptr<icu::TimeZone> zone(std::string_view identifier);

  /// The host's zone as the C library finds it: `tzVariable` (TZ: a zone name, ":name", a path, or a
  /// POSIX rule such as "CET-1CEST,M3.5.0,M10.5.0/3"; empty means UTC), else the zone `localtimeFile`
  /// holds (named after the zone its link points to), else UTC when there is no such file.
  std::unique_ptr<icu::TimeZone> hostZone(const char* tzVariable,
                                          const std::filesystem::path& localtimeFile = "/etc/localtime");

  /// Coordinated Universal Time, "UTC".
  static std::unique_ptr<icu::TimeZone> utc();
  /// A zone always `seconds` east of UTC, named like "GMT+05:30".
  static std::unique_ptr<icu::TimeZone> fixedOffset(std::int32_t seconds);

private:
  const SystemTimeZone& cachedZone(const std::string& identifier, const std::filesystem::path& file);

  std::filesystem::path directory_;
  std::mutex mutex_;
  std::map<std::string, std::unique_ptr<SystemTimeZone>, std::less<>> zones_;
};

} // namespace vantrel
