// The cache snapshot's JSON round trip at 1k, 10k and 100k tasks: encode, decode into records, and
// RapidJSON's own parse of the same text with the flags production uses. The parse is the floor no codec
// on top of it can go below, so the figure that matters is the ratio decode / raw parse: it is what the
// record mapping costs, independent of the machine. Peak memory of a decode and of a raw parse is measured
// in a fresh process per case, for the same comparison.
#include "VantrelCore/JSON/RapidJSON.hpp"
#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"
#include "bench/Support/GeneratedDataSet.hpp"
#include "bench/Support/PeakMemory.hpp"

#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>

namespace vantrel::bench {
namespace {

constexpr std::size_t taskCounts[] = {1'000, 10'000, 100'000};

void forEachTaskCount(benchmark::internal::Benchmark* benchmark) {
  for (const auto count : taskCounts) {
    benchmark->Arg(std::int64_t(count));
  }
}

/// Generated once per size, so that no benchmark times the generator.
const GeneratedDataSet& dataSet(std::size_t taskCount) {
  static std::map<std::size_t, GeneratedDataSet> cache;
  auto found = cache.find(taskCount);
  if (found == cache.end()) {
    found = cache.emplace(taskCount, generateDataSet(taskCount)).first;
  }
  return found->second;
}

const std::string& snapshotText(std::size_t taskCount) {
  static std::map<std::size_t, std::string> cache;
  auto found = cache.find(taskCount);
  if (found == cache.end()) {
    found = cache.emplace(taskCount, dataSet(taskCount).encodeJSON()).first;
  }
  return found->second;
}

/// Parses exactly as parseJSON does, minus the error message: the tree without the records.
std::size_t rawParse(const std::string& text) {
  rapidjson::Document document;
  document.Parse<jsonParseFlags>(text.data(), text.size());
  if (document.HasParseError()) {
    throw std::runtime_error("RapidJSON parse failed");
  }
  return document.MemberCount();
}

void BM_SnapshotEncode(benchmark::State& state) {
  const auto& data = dataSet(std::size_t(state.range(0)));
  std::size_t bytes = 0;
  for (auto _ : state) {
    const auto text = data.encodeJSON();
    bytes = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(std::int64_t(bytes) * state.iterations());
  state.counters["records"] = double(data.recordCount());
}

void BM_SnapshotDecode(benchmark::State& state) {
  const auto taskCount = std::size_t(state.range(0));
  const auto& text = snapshotText(taskCount);
  // A decode that loses records would look fast; it must give back what was encoded.
  if (CloudKitCacheSnapshot::decodeJSON(text) != dataSet(taskCount)) {
    state.SkipWithError("decoded records differ from the generated ones");
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(CloudKitCacheSnapshot::decodeJSON(text).recordCount());
  }
  state.SetBytesProcessed(std::int64_t(text.size()) * state.iterations());
}

void BM_RawParse(benchmark::State& state) {
  const auto& text = snapshotText(std::size_t(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(rawParse(text));
  }
  state.SetBytesProcessed(std::int64_t(text.size()) * state.iterations());
}

std::string peakCaseName(const char* operation, std::size_t taskCount) {
  return std::string(operation) + "-" + std::to_string(taskCount);
}

/// One iteration that does nothing here: the work runs in a child process, whose growth is the counter.
void reportPeak(benchmark::State& state, const char* operation) {
  for (auto _ : state) {
  }
  const double growth = peakResidentGrowthMiB(peakCaseName(operation, std::size_t(state.range(0))));
  if (growth < 0) {
    state.SkipWithError("the peak memory child process failed");
    return;
  }
  state.counters["peak_MiB"] = growth;
}

void BM_SnapshotDecodePeakMemory(benchmark::State& state) {
  reportPeak(state, "decode");
}
void BM_RawParsePeakMemory(benchmark::State& state) {
  reportPeak(state, "raw-parse");
}

BENCHMARK(BM_SnapshotEncode)->Apply(forEachTaskCount)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SnapshotDecode)->Apply(forEachTaskCount)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawParse)->Apply(forEachTaskCount)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SnapshotDecodePeakMemory)->Apply(forEachTaskCount)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawParsePeakMemory)->Apply(forEachTaskCount)->Iterations(1)->Unit(benchmark::kMillisecond);

/// The text the child process measures. Only the text stays resident: the generated records are gone
/// before the measurement starts, so the growth is the decode's (or the parse's) alone.
std::string& preparedText() {
  static std::string text;
  return text;
}

std::map<std::string, PeakMemoryCase> peakMemoryCases() {
  std::map<std::string, PeakMemoryCase> cases;
  for (const auto count : taskCounts) {
    const auto prepare = [count] { preparedText() = generateDataSet(count).encodeJSON(); };
    cases.emplace(peakCaseName("decode", count),
                  PeakMemoryCase{prepare, [] {
                                   benchmark::DoNotOptimize(
                                       CloudKitCacheSnapshot::decodeJSON(preparedText()).recordCount());
                                 }});
    cases.emplace(peakCaseName("raw-parse", count),
                  PeakMemoryCase{prepare, [] { benchmark::DoNotOptimize(rawParse(preparedText())); }});
  }
  return cases;
}

} // namespace
} // namespace vantrel::bench

int main(int argc, char** argv) {
  if (const auto code =
          vantrel::bench::runPeakMemoryCaseIfAsked(argc, argv, vantrel::bench::peakMemoryCases())) {
    return *code;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
