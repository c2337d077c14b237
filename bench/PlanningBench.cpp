// The open time of a day with 50 events, as the widget and every day screen compute it on each redraw.
#include "VantrelCore/Planning/CalendarGapEngine.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <benchmark/benchmark.h>
#include <random>

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

} // namespace
} // namespace vantrel::bench

BENCHMARK_MAIN();
