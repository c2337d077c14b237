// The bridge's whole round trip over the generated data: every project and area tasks file rendered and
// written to a folder, hashed, the folder diffed against those hashes, and every file read back.
#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Bridge/AreaTasksFile.hpp"
#include "VantrelCore/Bridge/BridgeAreaFolders.hpp"
#include "VantrelCore/Bridge/BridgeFolderDiff.hpp"
#include "VantrelCore/Bridge/BridgeHash.hpp"
#include "VantrelCore/Bridge/BridgeLayout.hpp"
#include "VantrelCore/Bridge/BridgeRenderer.hpp"
#include "VantrelCore/Bridge/ProjectFile.hpp"
#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Store/ListOrder.hpp"
#include "bench/Support/GeneratedDataSet.hpp"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <unistd.h>

namespace vantrel::bench {
namespace {

void BM_BridgeRoundTrip(benchmark::State& state) {
  DeviceSettings::setTimeZone("UTC");
  CloudKitCache cache;
  cache.replaceAll(generateDataSet(std::size_t(state.range(0))));
  const auto areas = inListOrder(cache.areas());
  const auto folders = BridgeAreaFolders::assign(areas);
  std::string pattern = (std::filesystem::temp_directory_path() / "vantrel-bench-bridge-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("mkdtemp failed");
  }
  const std::filesystem::path root = pattern;
  auto& fileSystem = PosixFileSystem::shared();
  const AtomicFileWriter writer(fileSystem);
  std::size_t files = 0;
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::map<std::string, std::string> hashes;
    std::vector<std::pair<std::filesystem::path, std::string>> written;
    for (const auto* area : areas) {
      const auto folder = folders.folderOf(area->recordName);
      if (!folder) {
        continue;
      }
      written.emplace_back(BridgeLayout::areaTasksYamlURL(root, *folder, false),
                           BridgeRenderer::areaTasksFile(cache, area->recordName));
      for (const auto& project : CloudKitCache::namesIn(cache.projectsInArea(), area->recordName)) {
        written.emplace_back(
            BridgeLayout::projectYamlURL(root, *folder, project, cache.projects().at(project).isArchived()),
            BridgeRenderer::projectFile(cache, project));
      }
    }
    std::vector<AtomicFileWriter::File> batch;
    for (const auto& [path, text] : written) {
      fileSystem.createDirectories(path.parent_path());
      batch.push_back({path, text});
      hashes[std::filesystem::relative(path, root).string()] = BridgeHash::sha256Hex(text);
    }
    writer.writeFiles(batch);
    const auto diff = bridgeDiffFolderAgainstBackup(fileSystem, root, hashes);
    if (diff.unchanged.size() != written.size()) {
      state.SkipWithError("the folder does not match what was written");
    }
    for (const auto& [path, text] : written) {
      if (path.filename() == "_tasks.yaml") {
        benchmark::DoNotOptimize(AreaTasksFile::parse(text, path.string()));
      } else {
        benchmark::DoNotOptimize(ProjectFile::parse(text, path.string()));
      }
    }
    files = written.size();
    bytes = 0;
    for (const auto& [path, text] : written) {
      bytes += text.size();
    }
  }
  state.counters["files"] = double(files);
  state.counters["MiB"] = double(bytes) / (1024.0 * 1024.0);
  std::filesystem::remove_all(root);
}

BENCHMARK(BM_BridgeRoundTrip)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vantrel::bench

BENCHMARK_MAIN();
