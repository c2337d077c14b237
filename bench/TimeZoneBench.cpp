// The planner's zones, read from the system's tz database, beside ICU's own zones built from the copy of
// the rules ICU ships: making a zone (once per process), copying it (every calendar and formatter takes
// a copy), and converting an instant to a wall time and back through an ICU calendar.
#include "VantrelCore/Platform/TimeZoneDatabase.hpp"

#include <benchmark/benchmark.h>
#include <memory>
#include <unicode/gregocal.h>

namespace vantrel::bench {
namespace {

constexpr const char* zoneName = "Europe/Berlin";
/// 2026-01-01 00:00 UTC, in ICU's milliseconds.
constexpr double year2026 = 1767225600000.0;
/// A little over a day, so a year of steps visits every hour and both sides of each change.
constexpr double step = 25.0 * 3600 * 1000 + 61 * 1000;

std::unique_ptr<icu::TimeZone> zoneFor(bool system) {
  return system ? TimeZoneDatabase(TimeZoneDatabase::system().directory()).zone(zoneName)
                : std::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(zoneName));
}

void MakeZone(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(zoneFor(state.range(0) != 0));
  }
}

void CopyZone(benchmark::State& state) {
  const auto zone = zoneFor(state.range(0) != 0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::unique_ptr<icu::TimeZone>(zone->clone()));
  }
}

/// The offset at an instant: what every day and time shown is computed from.
void OffsetAtInstant(benchmark::State& state) {
  const auto zone = zoneFor(state.range(0) != 0);
  double instant = year2026;
  for (auto _ : state) {
    std::int32_t raw = 0;
    std::int32_t daylight = 0;
    UErrorCode status = U_ZERO_ERROR;
    zone->getOffset(instant, false, raw, daylight, status);
    benchmark::DoNotOptimize(raw + daylight);
    instant = instant + step < year2026 + 366.0 * 86400000 ? instant + step : year2026;
  }
}

/// An instant to the calendar's fields, as a day is read from a date.
void InstantToWallTime(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::GregorianCalendar calendar(zoneFor(state.range(0) != 0).release(), status);
  double instant = year2026;
  for (auto _ : state) {
    calendar.setTime(instant, status);
    benchmark::DoNotOptimize(calendar.get(UCAL_HOUR_OF_DAY, status));
    instant = instant + step < year2026 + 366.0 * 86400000 ? instant + step : year2026;
  }
}

/// Fields to an instant, as a gap's start is placed on a day.
void WallTimeToInstant(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::GregorianCalendar calendar(zoneFor(state.range(0) != 0).release(), status);
  int day = 0;
  for (auto _ : state) {
    calendar.clear();
    calendar.set(2026, UCAL_JANUARY, 1 + day, day % 24, 30);
    benchmark::DoNotOptimize(calendar.getTime(status));
    day = (day + 1) % 365;
  }
}

// Argument 1: the system's database; 0: ICU's own rules.
BENCHMARK(MakeZone)->Arg(1)->Arg(0);
BENCHMARK(CopyZone)->Arg(1)->Arg(0);
BENCHMARK(OffsetAtInstant)->Arg(1)->Arg(0);
BENCHMARK(InstantToWallTime)->Arg(1)->Arg(0);
BENCHMARK(WallTimeToInstant)->Arg(1)->Arg(0);

} // namespace
} // namespace vantrel::bench

BENCHMARK_MAIN();
