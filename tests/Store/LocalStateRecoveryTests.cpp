#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Widget/IntentActionQueue.hpp"
#include "tests/Support/CountingUUIDs.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/TwoDeviceStoreTest.hpp"

#include <cctype>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>

namespace vantrel {
namespace {

using testing::StoreDevice;
namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void put(const fs::path& file, const std::string& text) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}

// The phone has fetched one task of the laptop's, added two offline and marked the laptop's done from its
// widget; then the laptop adds another. Whatever one of the phone's files suffers now, reopening it must
// lose none of this and send everything.
class LocalStateRecoveryTest : public testing::TwoDeviceStoreTest {
public:
  void SetUp() override {
    TwoDeviceStoreTest::SetUp();
    snapshotBeforeFetch_ = contentOf(snapshot());
    fetched_ = laptop_.store().addTaskToArea(area_, "Fetched before");
    laptop_.send();
    phone_.fetch();
    offline_ = {phone_.store().addTaskToArea(area_, "Offline one"),
                phone_.store().addTaskToArea(area_, "Offline two")};
    testing::CountingUUIDs uuids;
    IntentActionQueue(phone_.store().persistence().sharedDirectory(), PosixFileSystem::shared(), clock_,
                      uuids)
        .appendMarkDone(fetched_, true);
    phone_.store().drainPendingIntentActions();
    phone_.settle();
    later_ = laptop_.store().addTaskToArea(area_, "Made later");
    laptop_.send();
  }

  fs::path root() const { return phone_.folder() / "CloudKit"; }
  fs::path snapshot() const { return phone_.folder() / "Shared" / "cache-snapshot.json"; }
  fs::path engineState() const { return root() / "sync-engine-state.bin"; }
  fs::path journal() const { return root() / "pending-changes.json"; }

  void expectNothingLost(const std::string& damage) {
    for (StoreDevice* device : {&phone_, &laptop_}) {
      const auto& tasks = device->store().cache().tasks();
      for (const auto& name : {fetched_, later_, offline_[0], offline_[1]}) {
        EXPECT_TRUE(tasks.contains(name)) << damage << ": " << name << " on " << device->folder();
      }
      EXPECT_TRUE(tasks.contains(fetched_) && tasks.at(fetched_).done) << damage << ": the widget's toggle";
      EXPECT_TRUE(device->store().cache().areas().contains(area_)) << damage;
    }
    EXPECT_EQ(phone_.store().pendingWriteCount(), 0) << damage;
  }

  std::string fetched_;
  std::string later_;
  std::vector<std::string> offline_;
  std::string snapshotBeforeFetch_;
};

struct Damage {
  const char* name;
  std::function<void(LocalStateRecoveryTest&)> apply;
  /// The file set aside as ".damaged", when one is.
  std::function<fs::path(const LocalStateRecoveryTest&)> setAside;
};

class DamagedLocalStateTest : public LocalStateRecoveryTest, public ::testing::WithParamInterface<Damage> {};

TEST_P(DamagedLocalStateTest, NoLostOrDamagedFileLosesAChangeOrAFetchedRecord) {
  const auto& damage = GetParam();
  damage.apply(*this);
  const std::string damaged = damage.setAside ? contentOf(damage.setAside(*this)) : "";
  phone_.open();
  phone_.start();
  sendAll(phone_);
  phone_.fetch();
  laptop_.fetch();
  expectNothingLost(damage.name);
  if (damage.setAside) {
    EXPECT_EQ(contentOf(fs::path(damage.setAside(*this)) += ".damaged"), damaged) << "kept for a person";
  }
}

INSTANTIATE_TEST_SUITE_P(
    LocalStateRecovery, DamagedLocalStateTest,
    ::testing::Values(
        Damage{"snapshot deleted", [](auto& test) { fs::remove(test.snapshot()); }, nullptr},
        Damage{"snapshot cut short",
               [](auto& test) { put(test.snapshot(), contentOf(test.snapshot()).substr(0, 200)); },
               [](const auto& test) { return test.snapshot(); }},
        Damage{"snapshot not JSON",
               [](auto& test) {
                 put(test.snapshot(), "\x7f"
                                      "ELF");
               },
               [](const auto& test) { return test.snapshot(); }},
        Damage{"snapshot older than the change tokens",
               [](auto& test) { put(test.snapshot(), test.snapshotBeforeFetch_); }, nullptr},
        Damage{"engine state deleted", [](auto& test) { fs::remove(test.engineState()); }, nullptr},
        Damage{"engine state damaged", [](auto& test) { put(test.engineState(), "{\"localCommit\":"); },
               [](const auto& test) { return test.engineState(); }},
        Damage{"journal deleted", [](auto& test) { fs::remove(test.journal()); }, nullptr},
        Damage{"journal damaged", [](auto& test) { put(test.journal(), "[]"); },
               [](const auto& test) { return test.journal(); }},
        Damage{"engine state and journal both damaged",
               [](auto& test) {
                 put(test.engineState(), "garbage");
                 put(test.journal(), "garbage");
               },
               [](const auto& test) { return test.engineState(); }}),
    [](const ::testing::TestParamInfo<Damage>& parameter) {
      std::string name;
      for (const char c : std::string(parameter.param.name)) {
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
      }
      return name;
    });

TEST_F(LocalStateRecoveryTest, AChangeThatFailsHalfWayLeavesNothingBehind) {
  const auto pendingBefore = phone_.store().pendingWriteCount();
  const auto before = phone_.store().cache().snapshot();
  EXPECT_THROW(phone_.store().performAtomically([&] {
    phone_.store().setTaskDone(offline_[0], true);
    phone_.store().deleteTasks(std::vector{offline_[1]});
    phone_.store().setTaskDone("t-missing", true);
  }),
               CloudKitStoreError);
  EXPECT_EQ(phone_.store().cache().snapshot(), before);
  EXPECT_EQ(phone_.store().pendingWriteCount(), pendingBefore);
  EXPECT_FALSE(phone_.store().lastUndoable()) << "the deletion's undo went with it";
}

TEST_F(LocalStateRecoveryTest, AStoreThatCannotReachTheCloudRunsOnItsCacheAndQueuesWrites) {
  phone_.onOpen = [] { throw CloudError(CloudErrorCode::badDatabase, "file is not a database"); };
  phone_.open();
  try {
    phone_.start();
    FAIL() << "started without a database";
  } catch (const CloudError& error) {
    testing::ScopedLogCapture log;
    phone_.store().startOffline(error);
    EXPECT_TRUE(log.contains("[Vantrel] CloudKit start failed; 5 cached records available, proceeding "
                             "offline. Error: file is not a database"));
  }
  EXPECT_TRUE(phone_.store().isOffline());
  EXPECT_EQ(phone_.store().cache().tasks().at(offline_[0]).title, "Offline one");
  const auto queued = phone_.store().addTaskToArea(area_, "Written offline");
  phone_.settle();
  EXPECT_NE(phone_.store().syncHealth(), SyncHealth::healthy);

  phone_.onOpen = nullptr;
  phone_.open();
  phone_.start();
  phone_.send();
  laptop_.fetch();
  EXPECT_TRUE(laptop_.store().cache().tasks().contains(queued));
  expectNothingLost("offline run");
}

} // namespace
} // namespace vantrel
