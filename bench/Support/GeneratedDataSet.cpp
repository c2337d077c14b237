#include "bench/Support/GeneratedDataSet.hpp"

#include <array>
#include <random>

namespace vantrel::bench {
namespace {

constexpr std::array<std::string_view, 12> words = {"review", "draft",   "call",   "plan",
                                                    "order",  "fix",     "write",  "budget",
                                                    "garden", "invoice", "design", "read"};

class Generator {
public:
  explicit Generator(std::uint32_t seed) : random_(seed) {}

  std::string name(std::string_view prefix, std::size_t index) {
    return std::string(prefix) + std::to_string(index);
  }

  std::string title() {
    std::string text;
    const auto count = 2 + pick(5);
    for (std::size_t i = 0; i < count; ++i) {
      text += (i ? " " : "");
      text += words[pick(words.size())];
    }
    // A share of titles carries text that JSON must escape or that is not ASCII.
    if (pick(10) == 0) {
      text += " \"quoted\" – café\n";
    }
    return text;
  }

  std::size_t pick(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
  }
  bool chance(double probability) { return std::bernoulli_distribution(probability)(random_); }
  Date instant() { return Date{std::uniform_real_distribution<double>(7.5e8, 8.5e8)(random_)}; }

private:
  std::mt19937 random_;
};

} // namespace

GeneratedDataSet generateDataSet(std::size_t taskCount, std::uint32_t seed) {
  Generator generator(seed);
  GeneratedDataSet data;
  data.currentUserRef = "_4f1d2c9e8a7b6c5d4e3f2a1b0c9d8e7f";
  data.schemaVersion = SchemaVersionRecord{7};
  data.sharingUserNames.emplace(
      "sun-" + data.currentUserRef,
      SharingUserNameRecord{"sun-" + data.currentUserRef, data.currentUserRef, "Robin", "device"});

  const std::size_t areaCount = 8;
  const std::size_t projectCount = std::max<std::size_t>(1, taskCount / 10);
  for (std::size_t i = 0; i < areaCount; ++i) {
    const auto name = generator.name("area-", i);
    data.areas.emplace(name, AreaRecord{name, "Area " + std::to_string(i), "blue", "folder",
                                        std::int64_t(i) * 1000, i == areaCount - 1});
    const auto header = generator.name("h-a", i);
    data.areaSections.emplace(
        header, AreaSectionRecord{header, data.currentUserRef, name, generator.title(), 500, false});
  }
  for (std::size_t i = 0; i < projectCount; ++i) {
    const auto name = generator.name("p-", i);
    ProjectRecord project{.recordName = name, .name = generator.title()};
    if (generator.chance(0.3)) {
      project.purpose = generator.title();
    }
    if (generator.chance(0.2)) {
      project.dueDate = generator.instant();
    }
    data.projects.emplace(name, std::move(project));
    const auto placement = generator.name("up-", i);
    data.userProjectPlacements.emplace(
        placement, UserProjectPlacementRecord{placement, data.currentUserRef, name,
                                              generator.name("area-", i % areaCount), std::int64_t(i) * 1000,
                                              generator.chance(0.05)});
    for (std::size_t s = 0; s < 4; ++s) {
      const auto section = generator.name("h-" + std::to_string(i) + "-", s);
      data.projectSections.emplace(
          section, ProjectSectionRecord{section, name, generator.title(), std::int64_t(s) * 10000});
      if (s < 2) {
        const auto state = generator.name("us-" + std::to_string(i) + "-", s);
        data.userProjectSectionStates.emplace(
            state, UserProjectSectionStateRecord{state, data.currentUserRef, section, generator.chance(0.5)});
      }
    }
  }
  for (std::size_t i = 0; i < taskCount; ++i) {
    const auto name = generator.name("t-", i);
    TaskRecord task{.recordName = name, .homeRef = generator.name("p-", i % projectCount)};
    if (i % 5 == 4) {
      task.parentTaskRef = generator.name("t-", i - 1);
    }
    task.title = generator.title();
    task.done = generator.chance(0.4);
    if (generator.chance(0.15)) {
      task.dueDate = generator.instant();
    }
    task.sortIndex = std::int64_t(i) * 1000;
    data.tasks.emplace(name, std::move(task));
    if (generator.chance(0.9)) {
      const auto schedule = generator.name("ut-", i);
      UserTaskScheduleRecord record{.recordName = schedule, .userRef = data.currentUserRef, .taskRef = name};
      record.date = Date{double(8e8 + 86400.0 * double(i % 365))};
      if (generator.chance(0.6)) {
        record.gapTime = "09:30";
      }
      data.userTaskSchedules.emplace(schedule, std::move(record));
    }
  }
  const std::size_t gapCount = taskCount * 2 / 5;
  for (std::size_t d = 0; d < 365 && d * 4 < gapCount + 4; ++d) {
    const auto day = generator.name("2026-day-", d);
    data.days.emplace(day, DayRecord{day, Date{8e8 + 86400.0 * double(d)}});
  }
  const auto dayCount = data.days.size();
  for (std::size_t i = 0; i < gapCount; ++i) {
    const auto name = generator.name("g-", i);
    GapRecord gap{.recordName = name,
                  .dayRef = generator.name("2026-day-", i % dayCount),
                  .time = i % 2 ? "13:30" : "09:00"};
    if (generator.chance(0.5)) {
      gap.label = generator.title();
    }
    gap.reminder = generator.chance(0.3);
    gap.sortIndex = std::int64_t(i) * 1000;
    data.gaps.emplace(name, std::move(gap));
  }
  for (std::size_t i = 0; i < taskCount / 20 + 1; ++i) {
    const auto name = generator.name("i-", i);
    InboxItemRecord item{.recordName = name, .title = generator.title(), .capturedAt = generator.instant()};
    if (generator.chance(0.3)) {
      item.notes = generator.title();
    }
    item.sortIndex = std::int64_t(i) * 1000;
    data.inbox.emplace(name, std::move(item));
  }
  return data;
}

} // namespace vantrel::bench
