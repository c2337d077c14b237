// The store at start-up and at its first big fetch: restoring a 100k-task snapshot and starting against a
// local cloud database with nothing new, and taking in 10k fetched records (cache, indexes, and each
// record's kept bookkeeping and base copy on disk).
#include "Linux/PosixFileSystem.hpp"
#include "Linux/SQLiteCloudDatabase.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "bench/Support/GeneratedDataSet.hpp"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace vantrel::bench {
namespace {

namespace fs = std::filesystem;

fs::path makeFolder() {
  std::string pattern = (fs::temp_directory_path() / "vantrel-bench-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("mkdtemp failed");
  }
  return pattern;
}

/// One device's store on a folder and a cloud file, with its loop.
struct BenchDevice {
  BenchDevice(const fs::path& folder, const fs::path& cloudFile, const Clock& clock)
      : store(
            CloudKitPersistence(CloudKitPersistence::Location::directory(folder), PosixFileSystem::shared()),
            CloudKitStore::Environment{.clock = clock,
                                       .owner = owner,
                                       .snapshotQueue = snapshots,
                                       .openContainer =
                                           [cloudFile, &clock](std::string_view) {
                                             return std::make_unique<SQLiteCloudDatabase>(cloudFile, clock);
                                           },
                                       .automaticallySync = false}) {}

  ManualExecutor owner;
  ManualExecutor snapshots;
  CloudKitStore store;
};

void BM_StoreStartup(benchmark::State& state) {
  FixedClock clock;
  const fs::path folder = makeFolder();
  const fs::path cloudFile = folder / "cloud.sqlite";
  {
    BenchDevice device(folder / "device", cloudFile, clock);
    device.store.persistence().writeCacheSnapshot(generateDataSet(std::size_t(state.range(0))).encodeJSON());
  }
  {
    BenchDevice device(folder / "device", cloudFile, clock);
    device.store.start();
    device.store.runFirstLaunchFlow();
    device.owner.drain();
  }
  std::size_t records = 0;
  for (auto _ : state) {
    BenchDevice device(folder / "device", cloudFile, clock);
    device.store.start();
    device.owner.drain();
    records = device.store.cache().recordCount();
    state.PauseTiming();
    device.snapshots.drain();
    state.ResumeTiming();
  }
  state.counters["records"] = double(records);
  fs::remove_all(folder);
}

void BM_StoreIngest(benchmark::State& state) {
  FixedClock clock;
  const fs::path folder = makeFolder();
  const fs::path cloudFile = folder / "cloud.sqlite";
  const auto count = std::size_t(state.range(0));
  {
    BenchDevice writer(folder / "writer", cloudFile, clock);
    writer.store.start();
    writer.store.runFirstLaunchFlow();
    for (const auto& [name, task] : generateDataSet(count).tasks) {
      writer.store.saveRecord(task);
      if (writer.store.pendingWriteCount() >= std::int64_t(count)) {
        break;
      }
    }
    writer.store.syncEngine()->sendChanges();
  }
  int run = 0;
  std::size_t records = 0;
  for (auto _ : state) {
    state.PauseTiming();
    auto device =
        std::make_unique<BenchDevice>(folder / ("reader-" + std::to_string(++run)), cloudFile, clock);
    device->store.start();
    state.ResumeTiming();
    device->owner.drain();
    records = device->store.cache().recordCount();
    state.PauseTiming();
    device.reset();
    fs::remove_all(folder / ("reader-" + std::to_string(run)));
    state.ResumeTiming();
  }
  state.counters["records"] = double(records);
  fs::remove_all(folder);
}

BENCHMARK(BM_StoreStartup)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_StoreIngest)->Arg(10'000)->Unit(benchmark::kMillisecond)->Iterations(2);

} // namespace
} // namespace vantrel::bench

BENCHMARK_MAIN();
