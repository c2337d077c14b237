// The open time of a day with 50 events, as the widget and every day screen compute it on each redraw;
// and a month of a calendar folder read day by day.
#include "Linux/ICalendarEventStore.hpp"
#include "VantrelCore/Planning/CalendarGapEngine.hpp"
#include "VantrelCore/Planning/CalendarSource.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/InMemoryPreferences.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

namespace vantrel::bench {
namespace {

void BM_OpenWindows(benchmark::State& state) {
  DeviceSettings::setTimeZone("America/New_York");
  const CalendarDate day{2026, 3, 7};
  const Date midnight = *day.localTime(0);
  std::mt19937 random(7);
  std::vector<CalendarEvent> events;
  for (int index = 0; index < state.range(0); ++index) {
    // Short events inside the working window, some overlapping, a few all-day.
    const double start = 8 * 3600 + std::uniform_real_distribution<double>(0, 11 * 3600)(random);
    const double length = std::uniform_real_distribution<double>(5 * 60, 15 * 60)(random);
    events.push_back(CalendarEvent{.id = std::to_string(index),
                                   .start = midnight.adding(start),
                                   .end = midnight.adding(start + length),
                                   .isAllDay = index % 17 == 0});
  }
  std::size_t gaps = 0;
  for (auto _ : state) {
    const auto windows = CalendarGapEngine::compute(day, events, 8, 20, 15);
    gaps = windows.size();
    benchmark::DoNotOptimize(windows);
  }
  state.counters["gaps"] = double(gaps);
}

BENCHMARK(BM_OpenWindows)->Arg(50)->Unit(benchmark::kMicrosecond);

/// A vdir folder of two calendars holding 20 weekly series over five years (5,200 occurrences), written
/// once per process.
const std::filesystem::path& calendarFolder() {
  static const std::filesystem::path folder = [] {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "vantrel-bench-calendars-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("mkdtemp failed");
    }
    const std::filesystem::path root = pattern;
    for (int series = 0; series < 20; ++series) {
      const auto calendar = root / (series % 2 ? "work" : "home");
      std::filesystem::create_directories(calendar);
      std::ofstream(calendar / "displayname") << (series % 2 ? "Work" : "Home");
      const int day = 2 + series % 5;
      const int hour = 8 + series % 10;
      char start[32];
      std::snprintf(start, sizeof start, "202501%02dT%02d%02d00", day, hour, (series * 7) % 60);
      std::ofstream(calendar / ("series-" + std::to_string(series) + ".ics"))
          << "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Vantrel//Bench//EN\r\nBEGIN:VEVENT\r\n"
          << "UID:series-" << series << "\r\nDTSTAMP:20250101T000000Z\r\nSUMMARY:Series " << series << "\r\n"
          << "DTSTART;TZID=America/New_York:" << start << "\r\nDURATION:PT45M\r\n"
          << "RRULE:FREQ=WEEKLY;COUNT=260\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
    }
    return root;
  }();
  return folder;
}

/// A month of days read through the calendar source, as the day screens and the widget read them: the
/// first read of each day fetches from the folder (the first of all also parses it), a second is cached.
void BM_CalendarMonthDayByDay(benchmark::State& state) {
  DeviceSettings::setTimeZone("America/New_York");
  ManualExecutor owner;
  InMemoryPreferences preferences;
  std::size_t events = 0;
  for (auto _ : state) {
    ICalendarEventStore store(calendarFolder(), owner);
    CalendarSource source(store, preferences);
    events = 0;
    for (int day = 0; day < 30; ++day) {
      events += source.events(CalendarDate{2027, 6, 1}.adding(day)).size();
    }
  }
  state.counters["events"] = double(events);
}

BENCHMARK(BM_CalendarMonthDayByDay)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vantrel::bench

BENCHMARK_MAIN();
