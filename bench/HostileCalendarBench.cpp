// Calendar files written to stall the planner, read through the calendar store as `vantrel today` reads
// them: series that began long ago and repeat every second or minute, counts that never end, a rule that
// never matches, thousands of EXDATEs, a long SUMMARY on one line. A day must cost about what it holds,
// and a file must be read in time linear in its size.
#include "Linux/ICalendarEventStore.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace vantrel::bench {
namespace {

namespace fs = std::filesystem;

const std::vector<std::string> calendarIds{"hostile"};

std::string calendarWith(std::string_view lines) {
  return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Vantrel//Bench//EN\r\nBEGIN:VEVENT\r\nUID:hostile\r\n"
         "DTSTAMP:20260101T000000Z\r\n" +
         std::string(lines) + "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

/// A daily series since 2000 with every other day excluded: 100,000 EXDATEs.
std::string manyExclusions() {
  std::string lines = "SUMMARY:Excluded\r\nDTSTART:20000101T090000Z\r\nDURATION:PT1H\r\nRRULE:FREQ=DAILY\r\n";
  const std::chrono::sys_days first{std::chrono::year{2000} / 1 / 1};
  for (int day = 0; day < 200'000; day += 2) {
    const std::chrono::year_month_day date{first + std::chrono::days{day}};
    char line[40];
    std::snprintf(line, sizeof line, "EXDATE:%04d%02u%02uT090000Z\r\n", int(date.year()),
                  unsigned(date.month()), unsigned(date.day()));
    lines += line;
  }
  return calendarWith(lines);
}

std::string longSummary(std::size_t bytes) {
  return calendarWith("DTSTART:20260310T140000Z\r\nSUMMARY:" + std::string(bytes, 's') + "\r\n");
}

/// The calendar folder of case `name`, holding the one file `text`, written once per process.
const fs::path& folderOf(const std::string& name, const std::function<std::string()>& text) {
  static std::map<std::string, fs::path> folders;
  if (const auto found = folders.find(name); found != folders.end()) {
    return found->second;
  }
  std::string pattern = (fs::temp_directory_path() / "vantrel-bench-hostile-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("mkdtemp failed");
  }
  const fs::path root = pattern;
  fs::create_directories(root / "hostile");
  std::ofstream(root / "hostile" / "event.ics", std::ios::binary) << text();
  return folders[name] = root;
}

std::size_t askForADay(const ICalendarEventStore& store) {
  const CalendarDate day{2026, 3, 10};
  return store.events(*day.localTime(0), *day.adding(1).localTime(0), calendarIds).size();
}

/// One day asked of a file already read: what every later day of a session costs.
void BM_HostileDay(benchmark::State& state, const std::string& name,
                   const std::function<std::string()>& text) {
  DeviceSettings::setTimeZone("America/New_York");
  ManualExecutor owner;
  ICalendarEventStore store(folderOf(name, text), owner);
  askForADay(store);
  std::size_t events = 0;
  for (auto _ : state) {
    events = askForADay(store);
  }
  state.counters["events"] = double(events);
}

/// The file read afresh and one day asked of it: what `vantrel today` costs.
void BM_HostileRead(benchmark::State& state, const std::string& name,
                    const std::function<std::string()>& text) {
  DeviceSettings::setTimeZone("America/New_York");
  ManualExecutor owner;
  const fs::path& folder = folderOf(name, text);
  const auto bytes = fs::file_size(folder / "hostile" / "event.ics");
  std::size_t events = 0;
  for (auto _ : state) {
    ICalendarEventStore store(folder, owner);
    events = askForADay(store);
  }
  state.counters["events"] = double(events);
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(bytes));
}

const auto everySecondSince1900 = [] {
  return calendarWith("DTSTART:19000101T000000Z\r\nRRULE:FREQ=SECONDLY\r\n");
};
const auto everyMinuteSinceYear1 = [] {
  return calendarWith("DTSTART:00010101T000000\r\nRRULE:FREQ=MINUTELY\r\n");
};
const auto countOfTwoBillionSeconds = [] {
  return calendarWith("DTSTART:19900101T000000Z\r\nRRULE:FREQ=SECONDLY;COUNT=2147483647\r\n");
};
const auto countPastTheLimit = [] {
  return calendarWith("DTSTART:19000101T000000Z\r\nRRULE:FREQ=MINUTELY;BYSECOND=0,30;COUNT=2147483647\r\n");
};
const auto everySecondOfFebruary = [] {
  return calendarWith("DTSTART:19000101T000000Z\r\nRRULE:FREQ=SECONDLY;BYMONTH=2\r\n");
};
const auto neverMatching = [] {
  return calendarWith("DTSTART:20200101T090000Z\r\nRRULE:FREQ=MONTHLY;BYMONTHDAY=31;BYDAY=1MO\r\n");
};

BENCHMARK_CAPTURE(BM_HostileDay, every_second_since_1900, "second", everySecondSince1900)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_HostileDay, every_minute_since_year_1, "minute", everyMinuteSinceYear1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_HostileDay, count_of_2147483647_seconds, "count", countOfTwoBillionSeconds)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_HostileDay, count_past_the_limit, "limit", countPastTheLimit)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_HostileDay, every_second_of_february, "february", everySecondOfFebruary)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_HostileDay, exdates_100k, "exdates", manyExclusions)->Unit(benchmark::kMillisecond);

BENCHMARK_CAPTURE(BM_HostileRead, exdates_100k, "exdates", manyExclusions)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_HostileRead, count_past_the_limit, "limit", countPastTheLimit)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_HostileRead, never_matching_rule, "never", neverMatching)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_HostileRead, summary_4MB_one_line, "summary4", [] {
  return longSummary(4'000'000);
})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_HostileRead, summary_16MB_one_line, "summary16", [] {
  return longSummary(16'000'000);
})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_HostileRead, file_of_20MB_skipped, "summary20", [] {
  return longSummary(20'000'000);
})->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vantrel::bench

int main(int argc, char** argv) {
  // The hostile files are meant to be skipped and cut short; their log lines are not what is measured.
  vantrel::Logger::setSink(nullptr);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
