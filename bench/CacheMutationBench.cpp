// The cost of one change to a full cache, at 1k, 10k and 100k tasks. Each change keeps the derived
// indexes current, so the figure must stay flat as the cache grows: a change that rebuilt an index, or
// walked every record, would show up here as a cost that grows tenfold per size. Copying the maps for a
// snapshot write, which does grow with the data, is measured beside it.
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"
#include "bench/Support/GeneratedDataSet.hpp"

#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

namespace vantrel::bench {
namespace {

void forEachTaskCount(benchmark::internal::Benchmark* benchmark) {
  for (const std::int64_t count : {1'000, 10'000, 100'000}) {
    benchmark->Arg(count);
  }
}

/// Filled once per size and kept, so that no benchmark times the generator or the first index build.
CloudKitCache& filledCache(std::size_t taskCount) {
  static std::map<std::size_t, std::unique_ptr<CloudKitCache>> caches;
  auto& cache = caches[taskCount];
  if (!cache) {
    cache = std::make_unique<CloudKitCache>();
    cache->replaceAll(generateDataSet(taskCount));
  }
  return *cache;
}

template <class Record> Record anyRecord(const CloudKitCache& cache) {
  return cache.records<Record>().begin()->second;
}

/// Moves one task between two projects and back: every task index changes twice.
void BM_CacheMoveTask(benchmark::State& state) {
  auto& cache = filledCache(std::size_t(state.range(0)));
  auto task = anyRecord<TaskRecord>(cache);
  const std::string homes[] = {task.homeRef, anyRecord<ProjectRecord>(cache).recordName};
  std::size_t turn = 0;
  for (auto _ : state) {
    task.homeRef = homes[++turn % 2];
    cache.upsert(task);
  }
  state.counters["records"] = double(cache.recordCount());
}

void BM_CacheAddAndRemoveTask(benchmark::State& state) {
  auto& cache = filledCache(std::size_t(state.range(0)));
  TaskRecord task = anyRecord<TaskRecord>(cache);
  task.recordName = "t-bench";
  for (auto _ : state) {
    cache.upsert(task);
    cache.remove<TaskRecord>(task.recordName);
  }
}

/// Replans one of the user's schedules onto another day: the schedule and day indexes change.
void BM_CacheReplanSchedule(benchmark::State& state) {
  auto& cache = filledCache(std::size_t(state.range(0)));
  auto schedule = anyRecord<UserTaskScheduleRecord>(cache);
  schedule.userRef = cache.currentUserRef();
  const Date days[] = {CalendarDate{2026, 3, 7}.noonUTC(), CalendarDate{2026, 3, 8}.noonUTC()};
  std::size_t turn = 0;
  for (auto _ : state) {
    schedule.date = days[++turn % 2];
    cache.upsert(schedule);
  }
}

/// Files one project in another area and back: the project's tasks change area.
void BM_CacheMoveProject(benchmark::State& state) {
  auto& cache = filledCache(std::size_t(state.range(0)));
  auto placement = anyRecord<UserProjectPlacementRecord>(cache);
  placement.userRef = cache.currentUserRef();
  const std::string areas[] = {placement.areaRef, "area-bench"};
  std::size_t turn = 0;
  for (auto _ : state) {
    placement.areaRef = areas[++turn % 2];
    cache.upsert(placement);
  }
}

/// What a scheduled snapshot write costs the owner thread before the queue takes over.
void BM_CacheSnapshotCopy(benchmark::State& state) {
  const auto& cache = filledCache(std::size_t(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(cache.snapshot().recordCount());
  }
}

BENCHMARK(BM_CacheMoveTask)->Apply(forEachTaskCount);
BENCHMARK(BM_CacheAddAndRemoveTask)->Apply(forEachTaskCount);
BENCHMARK(BM_CacheReplanSchedule)->Apply(forEachTaskCount);
BENCHMARK(BM_CacheMoveProject)->Apply(forEachTaskCount);
BENCHMARK(BM_CacheSnapshotCopy)->Apply(forEachTaskCount)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vantrel::bench

BENCHMARK_MAIN();
