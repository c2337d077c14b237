#pragma once

#include "VantrelCore/Platform/PosixTimeZoneRule.hpp"
#include "VantrelCore/Platform/TZifFile.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unicode/timezone.h>
#include <vector>

namespace vantrel {

/// An ICU time zone whose rules come from the system's tz database rather than from ICU's own copy, so
/// calendars, day arithmetic and formatting all see the rules the rest of the system sees.
///
/// The rules are immutable and shared between copies: ICU clones a zone for every calendar and formatter,
/// and a clone here costs an allocation, not a rebuild. Lookups are binary searches over the transitions,
/// then the footer's POSIX rule, evaluated the way glibc evaluates it.
///
/// ICU handles it as a plain TimeZone: a wall time that a change skips resolves forward and a repeated
/// one to the later instant, as with ICU's own zones.
class SystemTimeZone final : public icu::TimeZone {
public:
  /// An offset split the way ICU wants it: standard (raw) plus daylight savings, in seconds.
  struct Offset {
    std::int32_t raw{};
    std::int32_t daylight{};

    std::int32_t total() const { return raw + daylight; }
    friend bool operator==(const Offset&, const Offset&) = default;
  };

  /// Throws TZifFile::FormatError when the footer is not a POSIX TZ rule.
  static std::unique_ptr<SystemTimeZone> fromTZif(const std::string& identifier, const TZifFile& file);
  /// A zone that follows `rule` at all times: TZ="CET-1CEST,M3.5.0,M10.5.0/3", or a fixed offset.
  static std::unique_ptr<SystemTimeZone> fromRule(const std::string& identifier,
                                                  const PosixTimeZoneRule& rule);

  /// The offset in force at `unixSeconds`.
  Offset offsetAt(std::int64_t unixSeconds) const;
  /// The offset that turns the wall time `wallSeconds` (seconds since 1970-01-01 00:00 on this zone's
  /// clock) into an instant.
  Offset offsetAtWallTime(std::int64_t wallSeconds) const;

  SystemTimeZone(const SystemTimeZone&) = default;
  SystemTimeZone& operator=(const SystemTimeZone&) = delete;

  bool operator==(const icu::TimeZone& other) const override;
  int32_t getOffset(uint8_t era, int32_t year, int32_t month, int32_t day, uint8_t dayOfWeek, int32_t millis,
                    UErrorCode& status) const override;
  int32_t getOffset(uint8_t era, int32_t year, int32_t month, int32_t day, uint8_t dayOfWeek, int32_t millis,
                    int32_t monthLength, UErrorCode& status) const override;
  void getOffset(UDate date, UBool local, int32_t& rawOffset, int32_t& dstOffset,
                 UErrorCode& status) const override;
  /// Does nothing: the zone's rules are the database's, as with ICU's own zones.
  void setRawOffset(int32_t offsetMillis) override;
  int32_t getRawOffset() const override;
  UBool useDaylightTime() const override;
  UBool inDaylightTime(UDate date, UErrorCode& status) const override;
  UBool hasSameRules(const icu::TimeZone& other) const override;
  int32_t getDSTSavings() const override;
  SystemTimeZone* clone() const override;
  UClassID getDynamicClassID() const override;
  static UClassID getStaticClassID();

private:
  struct Rules {
    /// In force before the first transition.
    Offset initial;
    /// Strictly increasing Unix seconds, and the offset each brings.
    std::vector<std::int64_t> times;
    std::vector<Offset> offsets;
    /// The wall time from which each offset holds: the time of its transition on its own clock.
    std::vector<std::int64_t> wallStarts;
    bool wallStartsIncrease{true};
    /// For times from the last transition on; without it the last offset holds for ever.
    std::optional<PosixTimeZoneRule> footer;

    friend bool operator==(const Rules& left, const Rules& right) {
      return left.initial == right.initial && left.times == right.times && left.offsets == right.offsets &&
             left.footer == right.footer;
    }
  };

  SystemTimeZone(const std::string& identifier, std::shared_ptr<const Rules> rules);
  static Offset footerOffset(const PosixTimeZoneRule& rule, std::int64_t unixSeconds);

  std::shared_ptr<const Rules> rules_;
};

} // namespace vantrel
