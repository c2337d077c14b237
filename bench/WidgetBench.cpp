// The widget's timeline from snapshots of 1k, 10k and 100k tasks: the in-process build, and the entry
// program itself run as a widget host would run it, with its peak resident size.
#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/InMemoryPreferences.hpp"
#include "VantrelCore/Widget/GapWidgetModel.hpp"
#include "bench/Support/GeneratedDataSet.hpp"

#include <benchmark/benchmark.h>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <spawn.h>
#include <stdexcept>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace vantrel::bench {
namespace {

/// The generated data names its days apart from the calendar; here each gap moves to the day its index
/// picks, and every other gap to the time the generated schedules plan into, so that the day measured
/// has gaps with tasks in them (about a hundred gaps and two hundred planned tasks at 100k: the worst
/// case of a day, not a typical one).
struct WidgetProfile {
  std::filesystem::path folder;
  Date now;
  double fileMiB = 0;
};

constexpr double firstScheduledDay = 8e8;

std::map<std::size_t, WidgetProfile> profiles;

const WidgetProfile& profileOf(std::size_t taskCount) {
  if (const auto found = profiles.find(taskCount); found != profiles.end()) {
    return found->second;
  }
  DeviceSettings::setTimeZone("UTC");
  auto data = generateDataSet(taskCount);
  const auto dayCount = std::min<std::size_t>(365, taskCount);
  std::size_t index = 0;
  for (auto& [name, gap] : data.gaps) {
    const auto day = CalendarDate::utcDayOf(Date{firstScheduledDay + 86400.0 * double(index % dayCount)});
    gap.dayRef = day.description();
    gap.time = index % 2 ? "13:30" : "09:30";
    ++index;
  }
  std::string pattern = (std::filesystem::temp_directory_path() / "vantrel-bench-widget-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("mkdtemp failed");
  }
  const std::filesystem::path folder = pattern;
  const auto shared = folder / "group.com.vantrel.vantrel.gen1" / "Vantrel";
  std::filesystem::create_directories(shared);
  const auto text = data.encodeJSON();
  std::ofstream(shared / "cache-snapshot.json") << text;
  const auto day = CalendarDate::utcDayOf(Date{firstScheduledDay});
  WidgetProfile profile{folder, day.localTime(9, 45).value(), double(text.size()) / (1024.0 * 1024.0)};
  return profiles.emplace(taskCount, profile).first->second;
}

void BM_WidgetTimeline(benchmark::State& state) {
  const auto& profile = profileOf(std::size_t(state.range(0)));
  InMemoryPreferences preferences;
  const GapWidgetEnvironment environment{profile.folder / "group.com.vantrel.vantrel.gen1" / "Vantrel",
                                         PosixFileSystem::shared(), preferences};
  std::size_t entries = 0;
  std::size_t tasks = 0;
  for (auto _ : state) {
    const auto timeline = GapWidgetModel::timeline(profile.now, environment);
    entries = timeline.size();
    tasks = timeline.empty() ? 0 : timeline.front().tasks.size();
    benchmark::DoNotOptimize(timeline);
  }
  if (entries < 2 || tasks == 0) {
    state.SkipWithError("the day measured has no gaps with tasks");
  }
  state.counters["entries"] = double(entries);
  state.counters["tasksShown"] = double(tasks);
  state.counters["fileMiB"] = profile.fileMiB;
}

std::vector<std::string> entryProgramArguments(const std::filesystem::path& folder, Date now) {
  char wall[32];
  const auto unixTime = static_cast<std::time_t>(now.secondsSinceReferenceDate + 978307200.0);
  std::strftime(wall, sizeof wall, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&unixTime));
  return {VANTREL_WIDGET_PROGRAM, "--tz", "UTC", "--now", wall, "--profile", folder.string()};
}

std::vector<char*> argumentPointers(std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  for (auto& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

/// Runs the entry program once on `folder`, its output thrown away, and waits for it.
void runEntryProgram(const std::filesystem::path& folder, Date now) {
  auto arguments = entryProgramArguments(folder, now);
  const auto argv = argumentPointers(arguments);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int spawned = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (spawned != 0 || waitpid(child, &status, 0) < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error(arguments[0] + " failed");
  }
}

/// The entry program's own peak resident size in MiB, read from /proc as it is about to exit (a traced
/// child stops there). The rusage of a child would not do: it starts from this process's peak. Negative
/// when the system does not allow tracing.
double entryProgramPeakMiB(const std::filesystem::path& folder, Date now) {
  auto arguments = entryProgramArguments(folder, now);
  const auto argv = argumentPointers(arguments);
  const pid_t child = fork();
  if (child == 0) {
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    const int devNull = ::open("/dev/null", O_WRONLY);
    ::dup2(devNull, STDOUT_FILENO);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0); // stopped at exec
  double peak = -1;
  if (WIFSTOPPED(status) && ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACEEXIT) == 0) {
    ::ptrace(PTRACE_CONT, child, nullptr, nullptr);
    ::waitpid(child, &status, 0); // stopped at exit, its memory still mapped
    std::ifstream proc("/proc/" + std::to_string(child) + "/status");
    for (std::string line; std::getline(proc, line);) {
      if (line.starts_with("VmHWM:")) {
        peak = std::stod(line.substr(6)) / 1024.0;
      }
    }
  }
  ::ptrace(PTRACE_CONT, child, nullptr, nullptr);
  ::waitpid(child, &status, 0);
  return peak;
}

void BM_WidgetEntryProgram(benchmark::State& state) {
  const auto& profile = profileOf(std::size_t(state.range(0)));
  // The same program on a profile without a snapshot: what it costs before it reads any data.
  static const double baselineMiB = [] {
    std::string pattern = (std::filesystem::temp_directory_path() / "vantrel-bench-empty-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("mkdtemp failed");
    }
    const double peak = entryProgramPeakMiB(pattern, Date{firstScheduledDay});
    std::filesystem::remove_all(pattern);
    return peak;
  }();
  for (auto _ : state) {
    runEntryProgram(profile.folder, profile.now);
  }
  const double peakMiB = entryProgramPeakMiB(profile.folder, profile.now);
  state.counters["peakMiB"] = peakMiB;
  state.counters["baselineMiB"] = baselineMiB;
  state.counters["overFileMiB"] = peakMiB - baselineMiB - profile.fileMiB;
  state.counters["fileMiB"] = profile.fileMiB;
}

BENCHMARK(BM_WidgetTimeline)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WidgetEntryProgram)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace
} // namespace vantrel::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  for (const auto& [size, profile] : vantrel::bench::profiles) {
    std::filesystem::remove_all(profile.folder);
  }
  return 0;
}
