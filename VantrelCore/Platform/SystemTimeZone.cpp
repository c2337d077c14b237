#include "VantrelCore/Platform/SystemTimeZone.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <unicode/gregocal.h>
#include <unicode/unistr.h>

namespace vantrel {
namespace {

/// Wider than any offset, so a day and a half either side of a wall time holds every instant it can name.
constexpr std::int64_t wallTimeReach = 36 * 3600;
constexpr double millisecondsPerSecond = 1000;
/// A transition before every time anyone asks about, from which a footer alone holds.
constexpr std::int64_t alwaysBefore = std::numeric_limits<std::int64_t>::min() / 4;

std::int64_t floorSeconds(double milliseconds) {
  const double seconds = std::floor(milliseconds / millisecondsPerSecond);
  // Far beyond any calendar ICU computes; holding the value there keeps the conversion defined.
  constexpr double limit = 1e15;
  return std::int64_t(std::clamp(seconds, -limit, limit));
}

std::int64_t nowInUnixSeconds() {
  return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

/// ICU keeps savings apart from the standard offset. A daylight offset counts its savings against the
/// standard one around it; one that is not ahead of it (Ireland's winter "daylight" time) is taken
/// as standard, which keeps the total exact.
SystemTimeZone::Offset split(std::int32_t total, bool isDaylight, std::int32_t standard) {
  if (isDaylight && total > standard) {
    return {standard, total - standard};
  }
  return {total, 0};
}

/// The standard offset nearest to type `index` of the transitions: the last one before it, else the
/// first after it, else the type's own.
std::int32_t standardOffsetAround(const TZifFile& file, std::size_t index) {
  for (std::size_t before = index; before-- > 0;) {
    const auto& type = file.types[file.transitions[before].type];
    if (!type.isDaylight) {
      return type.offset;
    }
  }
  if (!file.types[0].isDaylight) {
    return file.types[0].offset;
  }
  for (std::size_t after = index + 1; after < file.transitions.size(); ++after) {
    const auto& type = file.types[file.transitions[after].type];
    if (!type.isDaylight) {
      return type.offset;
    }
  }
  return file.types[file.transitions[index].type].offset;
}

} // namespace

SystemTimeZone::SystemTimeZone(const std::string& identifier, std::shared_ptr<const Rules> rules)
    : icu::TimeZone(icu::UnicodeString::fromUTF8(identifier)), rules_(std::move(rules)) {}

std::unique_ptr<SystemTimeZone> SystemTimeZone::fromTZif(const std::string& identifier,
                                                         const TZifFile& file) {
  auto rules = std::make_shared<Rules>();
  const auto& first = file.types.front();
  rules->initial = split(first.offset, first.isDaylight, first.offset);
  Offset current = rules->initial;
  for (std::size_t index = 0; index < file.transitions.size(); ++index) {
    const auto& type = file.types[file.transitions[index].type];
    const Offset offset = split(type.offset, type.isDaylight, standardOffsetAround(file, index));
    // A transition that changes nothing (a new abbreviation, or the marker at 2038 of "fat" files)
    // would only lengthen the searches.
    if (offset == current) {
      continue;
    }
    rules->times.push_back(file.transitions[index].time);
    rules->offsets.push_back(offset);
    current = offset;
  }
  if (!file.footer.empty()) {
    rules->footer = PosixTimeZoneRule::parse(file.footer);
    if (!rules->footer) {
      throw TZifFile::FormatError("a footer that is not a POSIX TZ rule ('" + file.footer + "')");
    }
    if (rules->times.empty() && rules->footer->daylight) {
      // Without transitions the footer holds for all time.
      rules->times.push_back(alwaysBefore);
      rules->offsets.push_back(rules->initial);
    }
  }
  for (std::size_t index = 0; index < rules->times.size(); ++index) {
    rules->wallStarts.push_back(rules->times[index] + rules->offsets[index].total());
    if (index > 0 && rules->wallStarts[index] < rules->wallStarts[index - 1]) {
      rules->wallStartsIncrease = false;
    }
  }
  return std::unique_ptr<SystemTimeZone>(new SystemTimeZone(identifier, std::move(rules)));
}

std::unique_ptr<SystemTimeZone> SystemTimeZone::fromRule(const std::string& identifier,
                                                         const PosixTimeZoneRule& rule) {
  auto rules = std::make_shared<Rules>();
  rules->initial = {rule.standardOffset, 0};
  if (rule.daylight) {
    rules->footer = rule;
    rules->times.push_back(alwaysBefore);
    rules->offsets.push_back(rules->initial);
    rules->wallStarts.push_back(alwaysBefore);
  }
  return std::unique_ptr<SystemTimeZone>(new SystemTimeZone(identifier, std::move(rules)));
}

SystemTimeZone::Offset SystemTimeZone::footerOffset(const PosixTimeZoneRule& rule, std::int64_t unixSeconds) {
  const auto offset = rule.offsetAt(unixSeconds);
  return split(offset.total, offset.isDaylight, rule.standardOffset);
}

SystemTimeZone::Offset SystemTimeZone::offsetAt(std::int64_t unixSeconds) const {
  const Rules& rules = *rules_;
  const auto next = std::upper_bound(rules.times.begin(), rules.times.end(), unixSeconds);
  if (next == rules.times.begin()) {
    return rules.initial;
  }
  if (next == rules.times.end() && rules.footer) {
    return footerOffset(*rules.footer, unixSeconds);
  }
  return rules.offsets[std::size_t(next - rules.times.begin()) - 1];
}

SystemTimeZone::Offset SystemTimeZone::offsetAtWallTime(std::int64_t wallSeconds) const {
  const Rules& rules = *rules_;
  if (rules.footer && !rules.wallStarts.empty() && wallSeconds >= rules.wallStarts.back() + wallTimeReach) {
    // The footer's changes are months apart, so at most one lies within reach. The offset after it
    // applies from its instant on that offset's clock, the one before it until then: reading the wall
    // time with the later offset finds which side it is on.
    const Offset later = offsetAt(wallSeconds + wallTimeReach);
    return offsetAt(wallSeconds - later.total());
  }
  // Each transition's offset holds from its instant on its own clock: a skipped wall time reads with the
  // offset before the change (it moves forward), a repeated one with the offset after it (the later one).
  std::size_t count = 0;
  if (rules.wallStartsIncrease) {
    count = std::size_t(std::upper_bound(rules.wallStarts.begin(), rules.wallStarts.end(), wallSeconds) -
                        rules.wallStarts.begin());
  } else {
    count = rules.wallStarts.size();
    while (count > 0 && wallSeconds < rules.wallStarts[count - 1]) {
      --count;
    }
  }
  return count == 0 ? rules.initial : rules.offsets[count - 1];
}

bool SystemTimeZone::operator==(const icu::TimeZone& other) const {
  return icu::TimeZone::operator==(other) && hasSameRules(other);
}

int32_t SystemTimeZone::getOffset(uint8_t era, int32_t year, int32_t month, int32_t day, uint8_t dayOfWeek,
                                  int32_t millis, UErrorCode& status) const {
  if (U_FAILURE(status)) {
    return 0;
  }
  if (month < 0 || month > 11) {
    status = U_ILLEGAL_ARGUMENT_ERROR;
    return 0;
  }
  const std::chrono::year_month ym{std::chrono::year(era == icu::GregorianCalendar::BC ? 1 - year : year),
                                   std::chrono::month(unsigned(month + 1))};
  const auto length = int32_t(unsigned(std::chrono::year_month_day_last(ym / std::chrono::last).day()));
  return getOffset(era, year, month, day, dayOfWeek, millis, length, status);
}

int32_t SystemTimeZone::getOffset(uint8_t era, int32_t year, int32_t month, int32_t day,
                                  uint8_t /*dayOfWeek*/, int32_t millis, int32_t monthLength,
                                  UErrorCode& status) const {
  if (U_FAILURE(status)) {
    return 0;
  }
  if (month < 0 || month > 11 || day < 1 || day > monthLength || millis < 0 || millis >= 86400000) {
    status = U_ILLEGAL_ARGUMENT_ERROR;
    return 0;
  }
  const int properYear = era == icu::GregorianCalendar::BC ? 1 - year : year;
  const std::chrono::sys_days date{std::chrono::year(properYear) / std::chrono::month(unsigned(month + 1)) /
                                   std::chrono::day(unsigned(day))};
  const std::int64_t wall = std::int64_t(date.time_since_epoch().count()) * 86400 + millis / 1000;
  return offsetAtWallTime(wall).total() * 1000;
}

void SystemTimeZone::getOffset(UDate date, UBool local, int32_t& rawOffset, int32_t& dstOffset,
                               UErrorCode& status) const {
  if (U_FAILURE(status)) {
    return;
  }
  if (std::isnan(date)) {
    status = U_ILLEGAL_ARGUMENT_ERROR;
    return;
  }
  const std::int64_t seconds = floorSeconds(date);
  const Offset offset = local ? offsetAtWallTime(seconds) : offsetAt(seconds);
  rawOffset = offset.raw * 1000;
  dstOffset = offset.daylight * 1000;
}

void SystemTimeZone::setRawOffset(int32_t /*offsetMillis*/) {}

int32_t SystemTimeZone::getRawOffset() const {
  return offsetAt(nowInUnixSeconds()).raw * 1000;
}

UBool SystemTimeZone::useDaylightTime() const {
  const Rules& rules = *rules_;
  if (rules.footer && rules.footer->daylight) {
    return true;
  }
  const std::int64_t now = nowInUnixSeconds();
  if (offsetAt(now).daylight != 0) {
    return true;
  }
  const auto next = std::upper_bound(rules.times.begin(), rules.times.end(), now);
  return std::any_of(rules.offsets.begin() + (next - rules.times.begin()), rules.offsets.end(),
                     [](const Offset& offset) { return offset.daylight != 0; });
}

UBool SystemTimeZone::inDaylightTime(UDate date, UErrorCode& status) const {
  int32_t raw = 0;
  int32_t daylight = 0;
  getOffset(date, false, raw, daylight, status);
  return daylight != 0;
}

UBool SystemTimeZone::hasSameRules(const icu::TimeZone& other) const {
  const auto* zone = dynamic_cast<const SystemTimeZone*>(&other);
  return zone != nullptr && (zone->rules_ == rules_ || *zone->rules_ == *rules_);
}

int32_t SystemTimeZone::getDSTSavings() const {
  const Rules& rules = *rules_;
  if (rules.footer && rules.footer->daylight) {
    return std::max(rules.footer->daylight->offset - rules.footer->standardOffset, 0) * 1000;
  }
  return 0;
}

SystemTimeZone* SystemTimeZone::clone() const {
  return new SystemTimeZone(*this);
}

UClassID SystemTimeZone::getStaticClassID() {
  static char classID = 0;
  return &classID;
}

UClassID SystemTimeZone::getDynamicClassID() const {
  return getStaticClassID();
}

} // namespace vantrel
