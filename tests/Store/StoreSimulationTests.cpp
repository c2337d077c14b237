#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "tests/Support/StoreDevice.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>

namespace vantrel {
namespace {

using testing::InMemoryCloudDatabase;
using testing::StoreDevice;

/// One title a device gave a task, and the title it saw when it did: what its edit replaced.
struct TitleEdit {
  std::size_t device = 0;
  std::string task;
  std::string title;
  std::string replaced;
  /// How many conflicts on the task the device had met before the edit.
  std::size_t conflictsBefore = 0;
};

/// Three devices of one account change the planner at random (titles, done, deadlines, schedules, new and
/// deleted tasks), send and fetch at random, and meet passing failures, lost responses and expired
/// tokens. Once the network is back and all have synced, every device holds the same data, and every
/// title a device was given either still stands, was built upon (changed again after being seen), or was
/// taken away by a conflict the device told its user of. Titles of tasks some device deleted are left
/// out: a delete wins over edits made without knowing of it, and a device whose creation of the task was
/// never confirmed may still make it anew with its own values. A failure names its seed.
class StoreSimulation : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(StoreSimulation, DevicesConvergeAndNoAcknowledgedEditIsLost) {
  const std::uint32_t seed = GetParam();
  std::mt19937 random(seed);
  const auto below = [&](std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random);
  };

  ::vantrel::testing::TemporaryFolder folder;
  FixedClock clock{Date{800'000'000}};
  InMemoryCloudDatabase server(clock);
  std::vector<std::unique_ptr<StoreDevice>> devices;
  for (int index = 0; index < 3; ++index) {
    devices.push_back(std::make_unique<StoreDevice>(folder.path() / std::to_string(index), server, clock));
    devices.back()->start();
  }
  CloudKitStore& first = devices[0]->store();
  const auto area = first.addArea("Home", "", "");
  for (int task = 0; task < 5; ++task) {
    first.addTaskToArea(area, "initial " + std::to_string(task), {.recordName = "t-" + std::to_string(task)});
  }
  devices[0]->send();
  for (auto& device : devices) {
    device->fetch();
  }

  std::vector<TitleEdit> edits;
  // Every conflict each device met, by task: recentConflicts keeps only the latest few.
  std::vector<std::map<std::string, std::size_t>> conflictsMet(devices.size());
  std::vector<std::optional<SyncConflict>> lastSeenConflict(devices.size());
  const auto noteConflicts = [&](std::size_t index) {
    const auto& recent = devices[index]->store().recentConflicts();
    auto next = recent.begin();
    if (lastSeenConflict[index]) {
      const auto seen = std::ranges::find(recent, *lastSeenConflict[index]);
      next = seen == recent.end() ? recent.begin() : std::next(seen);
    }
    for (; next != recent.end(); ++next) {
      ++conflictsMet[index][next->recordName];
    }
    if (!recent.empty()) {
      lastSeenConflict[index] = recent.back();
    }
  };
  const CloudError passing[] = {CloudError(CloudErrorCode::networkUnavailable),
                                CloudError(CloudErrorCode::zoneBusy),
                                CloudError(CloudErrorCode::serviceUnavailable)};
  std::set<std::string> deleted;
  int created = 0;

  for (int step = 0; step < 250; ++step) {
    const std::size_t index = below(devices.size());
    StoreDevice& device = *devices[index];
    CloudKitStore& store = device.store();
    std::vector<std::string> tasks;
    for (const auto& [name, task] : store.cache().tasks()) {
      tasks.push_back(name);
    }
    const std::string task = tasks.empty() ? std::string() : tasks[below(tasks.size())];
    const auto action = below(12);
    try {
      switch (action) {
      case 0:
      case 1:
      case 2:
        if (!task.empty()) {
          const std::string title = "d" + std::to_string(index) + " s" + std::to_string(step);
          edits.push_back(
              {index, task, title, store.cache().tasks().at(task).title, conflictsMet[index][task]});
          store.setTaskTitle(task, title);
        }
        break;
      case 3:
        if (!task.empty()) {
          store.setTaskDone(task, below(2) == 0);
        }
        break;
      case 4:
        if (!task.empty()) {
          store.setTaskSchedule(task, CalendarDate{2026, 3, 7 + int(below(3))}, below(2) ? "09:00" : "14:00");
        }
        break;
      case 5:
        if (below(3) == 0 && !task.empty()) {
          store.deleteTask(task);
          deleted.insert(task);
        } else {
          store.addTaskToArea(area, "new", {.recordName = "t-new" + std::to_string(++created)});
        }
        break;
      case 6:
      case 7:
        device.send();
        break;
      case 8:
      case 9:
        device.fetch();
        break;
      case 10:
        switch (below(3)) {
        case 0:
          device.database().failNextCalls(1 + int(below(3)), passing[below(3)]);
          break;
        case 1:
          device.database().loseNextResponses(1);
          break;
        default:
          server.expireChangeTokens();
          break;
        }
        break;
      default:
        clock.advance(1);
        break;
      }
    } catch (const CloudError&) {
      // A failed send is part of the run; what it left pending goes later.
    } catch (const CloudKitStoreError&) {
      // The task went while this device looked at it.
    }
    noteConflicts(index);
  }

  for (auto& device : devices) {
    device->database().failNextCalls(0, CloudError(CloudErrorCode::networkUnavailable));
    device->database().loseNextResponses(0);
  }
  const auto settled = [&] {
    return std::ranges::all_of(devices,
                               [](const auto& device) { return device->store().pendingWriteCount() == 0; });
  };
  for (int round = 0; round < 6 && !(round > 1 && settled()); ++round) {
    for (std::size_t index = 0; index < devices.size(); ++index) {
      try {
        devices[index]->send();
      } catch (const CloudError&) {
        // Tried again next round.
      }
      noteConflicts(index);
    }
    for (auto& device : devices) {
      device->fetch();
    }
  }
  ASSERT_TRUE(settled()) << "seed " << seed;

  const auto truth = devices[0]->store().cache().snapshot();
  for (std::size_t index = 1; index < devices.size(); ++index) {
    EXPECT_TRUE(devices[index]->store().cache().snapshot() == truth)
        << "seed " << seed << ", device " << index;
  }
  std::map<std::string, std::string> replacedBy;
  for (const auto& edit : edits) {
    replacedBy[edit.title] = edit.replaced;
  }
  for (const auto& edit : edits) {
    const auto final = truth.tasks.find(edit.task);
    if (final == truth.tasks.end() || deleted.contains(edit.task)) {
      continue;
    }
    bool builtUpon = false;
    for (std::string title = final->second.title; !title.empty() && !builtUpon;) {
      builtUpon = title == edit.title;
      const auto before = replacedBy.find(title);
      title = before == replacedBy.end() ? std::string() : before->second;
    }
    const bool toldOfConflict = conflictsMet[edit.device][edit.task] > edit.conflictsBefore;
    EXPECT_TRUE(builtUpon || toldOfConflict)
        << "seed " << seed << ": \"" << edit.title << "\" on " << edit.task << " was lost; it ended as \""
        << final->second.title << "\"";
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, StoreSimulation, ::testing::Range(std::uint32_t{1}, std::uint32_t{41}));

} // namespace
} // namespace vantrel
