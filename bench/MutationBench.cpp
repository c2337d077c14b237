// One planner mutation through the store at 1k, 10k and 100k tasks: validation, cache and indexes, the
// pending change and the engine's saved state (written to disk, synced, on every change). The cost must
// not grow with the data. Sends happen between iterations, untimed, so that every call starts from
// nothing pending. The snapshot write is coalesced off the call path (one write stays queued for the whole
// run, as it would behind a burst of edits); CacheSnapshotBench measures it.
#include "Linux/PosixFileSystem.hpp"
#include "Linux/SQLiteCloudDatabase.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "bench/Support/GeneratedDataSet.hpp"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::bench {
namespace {

namespace fs = std::filesystem;

/// A started store whose cache holds a generated data set of `taskCount` tasks, made once per size.
struct Planner {
  explicit Planner(std::size_t taskCount) {
    std::string pattern = (fs::temp_directory_path() / "vantrel-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("mkdtemp failed");
    }
    folder = pattern;
    const CloudKitPersistence persistence(CloudKitPersistence::Location::directory(folder / "device"),
                                          PosixFileSystem::shared());
    auto data = generateDataSet(taskCount);
    const fs::path cloudFile = folder / "cloud.sqlite";
    data.currentUserRef = SQLiteCloudDatabase(cloudFile, clock).userRecordName();
    for (auto& [name, placement] : data.userProjectPlacements) {
      placement.userRef = data.currentUserRef;
    }
    persistence.writeCacheSnapshot(data.encodeJSON());
    store = std::make_unique<CloudKitStore>(
        persistence, CloudKitStore::Environment{.clock = clock,
                                                .owner = owner,
                                                .snapshotQueue = snapshots,
                                                .openContainer =
                                                    [cloudFile, this](std::string_view) {
                                                      return std::make_unique<SQLiteCloudDatabase>(cloudFile,
                                                                                                   clock);
                                                    },
                                                .automaticallySync = false});
    store->start();
    store->runFirstLaunchFlow();
    owner.drain();
    snapshots.drain();
    settle();
  }
  ~Planner() {
    store.reset();
    fs::remove_all(folder);
  }
  void settle() { store->syncEngine()->sendChanges(); }

  fs::path folder;
  FixedClock clock;
  ManualExecutor owner;
  ManualExecutor snapshots;
  std::unique_ptr<CloudKitStore> store;
};

/// One planner at a time: the one of the size asked for, made afresh when the size changes.
Planner& planner(std::size_t taskCount) {
  static std::pair<std::size_t, std::unique_ptr<Planner>> current;
  if (current.first != taskCount || !current.second) {
    current.second.reset();
    current = {taskCount, std::make_unique<Planner>(taskCount)};
  }
  return *current.second;
}

void measure(benchmark::State& state, const std::function<void(CloudKitStore&, std::size_t)>& mutate) {
  auto& subject = planner(std::size_t(state.range(0)));
  std::size_t turn = 0;
  for (auto _ : state) {
    mutate(*subject.store, ++turn);
    state.PauseTiming();
    subject.settle();
    state.ResumeTiming();
  }
  state.counters["records"] = double(subject.store->cache().recordCount());
}

/// A top-level task of the first project, with a subtask: every generated size has it.
constexpr std::string_view aTask = "t-3";

const std::vector<std::pair<std::string, std::function<void(CloudKitStore&, std::size_t)>>> mutations{
    {"SetTaskDone", [](CloudKitStore& store, std::size_t turn) { store.setTaskDone(aTask, turn % 2 == 0); }},
    {"ScheduleTask",
     [](CloudKitStore& store, std::size_t turn) {
       store.setTaskSchedule(aTask, CalendarDate{2026, 3, 7 + int(turn % 2)}, "09:00");
     }},
    {"MoveTask",
     [](CloudKitStore& store, std::size_t turn) { store.moveTask(aTask, turn % 2 ? "p-1" : "p-0"); }},
    {"AddAndDeleteTask",
     [](CloudKitStore& store, std::size_t) {
       store.deleteTask(store.addTaskToProject("p-0", "bench", {.aboveFirstSection = true}));
     }},
    {"AddAndDeleteHeader",
     [](CloudKitStore& store, std::size_t) { store.deleteHeader(store.addHeaderToProject("p-0", "bench")); }},
    {"AddAndDeleteGap",
     [](CloudKitStore& store, std::size_t) {
       store.deleteGap(store.addGap(CalendarDate{2026, 3, 7}, "09:00", std::nullopt, false));
     }},
    {"AddAndDeleteProject",
     [](CloudKitStore& store, std::size_t) { store.deleteProject(store.addProject("bench", "area-0")); }},
};

} // namespace
} // namespace vantrel::bench

// Sizes outermost, so that each size's planner is made once.
int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const std::int64_t taskCount : {1'000, 10'000, 100'000}) {
    for (const auto& [name, mutate] : vantrel::bench::mutations) {
      benchmark::RegisterBenchmark(
          ("BM_" + name).c_str(),
          [&mutate](benchmark::State& state) { vantrel::bench::measure(state, mutate); })
          ->Arg(taskCount)
          ->Unit(benchmark::kMicrosecond);
    }
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
