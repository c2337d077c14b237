#include "Linux/SQLiteCloudStorage.hpp"
#include "VantrelCore/Sync/CloudError.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace vantrel {
namespace {

using namespace std::chrono_literals;
using Names = std::vector<std::string>;
using Transaction = CloudStorageTransaction;

const std::string alice = "_alice";
const std::string bob = "_bob";
const std::string zone = "VantrelZone";

CloudRecord task(const std::string& name, const std::string& changeTag, const std::string& title = "x") {
  CloudRecord record("Task", CloudRecordID{name, CloudRecordZoneID{zone}});
  record.setValue("title", title);
  CloudRecordSystemFields fields;
  fields.changeTag = changeTag;
  record.setSystemFields(fields);
  record.clearChangedKeys(); // as every record read back
  return record;
}

std::string titleOf(const std::optional<CloudRecord>& record) {
  return record ? std::get<std::string>(*record->value("title")) : "none";
}

class SQLiteCloudStorageTest : public ::testing::Test {
protected:
  /// A transaction of a storage opened just for it, as another process would.
  void transact(const std::function<void(Transaction&)>& work) const {
    SQLiteCloudStorage(file_).transact(work);
  }

  testing::TemporaryFolder temporary_;
  const std::filesystem::path file_ = temporary_.path() / "cloud.sqlite";
};

TEST_F(SQLiteCloudStorageTest, EverythingWrittenReadsBackThroughAnotherObject) {
  const CloudRecordZoneID zoneID{zone, alice};
  const CloudReference parent{CloudRecordID{"p-1", zoneID}, CloudReference::Action::none};
  const CloudReference owner{CloudRecordID{"p-2", zoneID}, CloudReference::Action::deleteSelf};
  CloudRecord record("Task", CloudRecordID{"t-1", zoneID});
  record.setValue("text", std::string("Grüße \"q\"\n") + '\0' + "\xF0\x9F\x93\x85");
  record.setValue("number", std::int64_t{-9'000'000'000'000'000'000});
  record.setValue("flag", true);
  record.setValue("when", Date{784108800.123456789});
  record.setValue("owner", owner);
  record.setValue("texts", std::vector<std::string>{"", "日本"});
  record.setValue("numbers", std::vector<std::int64_t>{0, -1});
  record.setValue("dates", std::vector<Date>{Date{-1.5}, Date{1e9}});
  record.setValue("references", std::vector<CloudReference>{parent, owner});
  record.setParent(parent);
  record.setSystemFields({"3-7", Date{1.0}, Date{2.0}, "_creator", "_modifier"});
  record.clearChangedKeys();
  const std::string bytes("\0\xff", 2);

  SQLiteCloudStorage writer(file_);
  SQLiteCloudStorage reader(file_); // opened before the writes, as another process would be
  writer.transact([&](Transaction& storage) {
    storage.putZone(alice, zone, {});
    storage.putRecord(alice, zone, record, 5, {});
    storage.setValue("empty", "");
    storage.setValue("bytes", bytes);
    storage.setDatabaseSequence(alice, 9);
    storage.putZone(alice, "b", {1, 2, 3, 4});
    storage.putZone(alice, "a", {5, 6, 7, 8});
  });
  reader.transact([&](Transaction& storage) {
    EXPECT_EQ(storage.record(alice, zone, "t-1")->record, record);
    EXPECT_EQ(storage.recordVersion(alice, zone, "t-1", "3-7"), record);
    const auto changes = storage.changesSince(alice, zone, 0, 10);
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(std::tie(changes[0].sequence, changes[0].recordName, changes[0].recordType),
              std::make_tuple(5, "t-1", "Task"));
    EXPECT_EQ(changes[0].record, record);
    EXPECT_EQ(storage.value("empty"), "");
    EXPECT_EQ(storage.value("bytes"), bytes);
    EXPECT_EQ(storage.value("missing"), std::nullopt);
    EXPECT_EQ(storage.databaseSequence(alice), 9);
    EXPECT_EQ(storage.databaseSequence(bob), 0);
    EXPECT_EQ(storage.zoneNames(alice), (Names{zone, "a", "b"}));
    EXPECT_EQ(storage.zone(alice, "a"), (CloudStoredZone{5, 6, 7, 8}));
    EXPECT_EQ(storage.zone(bob, "a"), std::nullopt);
  });
}

TEST_F(SQLiteCloudStorageTest, VersionsAreKeptUpToTheLimitAndDroppedWithTheRecord) {
  // Tags up to "v10", which sorts before "v2": pruning must go by age.
  const std::size_t saved = CloudStorage::keptVersionsPerRecord + 2;
  transact([&](Transaction& storage) {
    storage.putZone(alice, zone, {});
    storage.putRecord(alice, zone, task("other", "v1", "other"), 1, {});
    for (std::size_t index = 1; index <= saved; ++index) {
      const auto tag = "v" + std::to_string(index);
      storage.putRecord(alice, zone, task("t-1", tag, tag), std::int64_t(index + 1), {});
    }
  });
  transact([&](Transaction& storage) {
    for (std::size_t index = 1; index <= saved; ++index) {
      const auto tag = "v" + std::to_string(index);
      const bool kept = index > saved - CloudStorage::keptVersionsPerRecord;
      EXPECT_EQ(titleOf(storage.recordVersion(alice, zone, "t-1", tag)), kept ? tag : "none");
    }
    storage.removeRecord(alice, zone, "t-1", "Task", 20);
    EXPECT_EQ(storage.record(alice, zone, "t-1"), std::nullopt);
    EXPECT_EQ(storage.recordVersion(alice, zone, "t-1", "v" + std::to_string(saved)), std::nullopt);
    EXPECT_EQ(titleOf(storage.recordVersion(alice, zone, "other", "v1")), "other");
    storage.putRecord(alice, zone, task("t-1", "v99", "back"), 21, {});
    EXPECT_EQ(titleOf(storage.record(alice, zone, "t-1")->record), "back");
  });
}

TEST_F(SQLiteCloudStorageTest, AFailedTransactionLeavesNoTrace) {
  SQLiteCloudStorage cloud(file_);
  cloud.transact([&](Transaction& storage) {
    storage.putZone(alice, zone, {});
    storage.putRecord(alice, zone, task("r", "1", "before"), 1, {"t"});
  });
  EXPECT_THROW(cloud.transact([&](Transaction& storage) {
    storage.setValue("k", "v");
    storage.setDatabaseSequence(alice, 5);
    storage.putRecord(alice, zone, task("r", "2", "after"), 2, {});
    storage.deleteZone(alice, {zone, CloudZoneDeletionReason::deleted, 5});
    throw std::runtime_error("stop");
  }),
               std::runtime_error);
  // A transaction inside another of the same storage is a program error that fails the outer one too.
  EXPECT_THROW(cloud.transact([&](Transaction& storage) {
    storage.setValue("k", "v");
    cloud.transact([](Transaction&) {});
  }),
               std::logic_error);
  transact([&](Transaction& storage) {
    EXPECT_EQ(storage.value("k"), std::nullopt);
    EXPECT_EQ(storage.databaseSequence(alice), 0);
    EXPECT_EQ(storage.zoneDeletions(alice, 0).size(), 0U);
    EXPECT_EQ(titleOf(storage.recordVersion(alice, zone, "r", "1")), "before");
    EXPECT_EQ(storage.deleteSelfReferrers(alice, zone, "t"), Names{"r"});
    EXPECT_EQ(titleOf(storage.changesSince(alice, zone, 0, 10).at(0).record), "before");
  });
  Transaction* escaped = nullptr;
  cloud.transact([&](Transaction& storage) { escaped = &storage; });
  EXPECT_THROW(escaped->value("k"), std::logic_error);
}

TEST_F(SQLiteCloudStorageTest, ASecondWriterWaitsForTheFirstAndSeesItsCommit) {
  for (const bool sameObject : {false, true}) {
    SCOPED_TRACE(sameObject ? "two threads, one object" : "two objects, as two processes");
    const auto file = temporary_.path() / (sameObject ? "same.sqlite" : "two.sqlite");
    SQLiteCloudStorage first(file);
    std::optional<SQLiteCloudStorage> other;
    if (!sameObject) {
      other.emplace(file);
    }
    std::promise<void> inside;
    auto entered = inside.get_future();
    {
      const std::jthread writer([&] { // joins also when the second writer fails
        first.transact([&](Transaction& storage) {
          inside.set_value();
          storage.setValue("log", "first");
          std::this_thread::sleep_for(50ms); // lets the second writer run into the lock
        });
      });
      entered.wait();
      (sameObject ? first : *other).transact([](Transaction& storage) {
        storage.setValue("log", storage.value("log").value_or("") + ",second");
      });
    }
    first.transact([](Transaction& storage) { EXPECT_EQ(storage.value("log"), "first,second"); });
  }
}

TEST_F(SQLiteCloudStorageTest, AWriterWaitingPastTheBusyTimeoutFailsAsZoneBusy) {
  SQLiteCloudStorage holder(file_);
  SQLiteCloudStorage impatient(file_, 20ms);
  std::promise<void> inside;
  std::promise<void> release;
  auto entered = inside.get_future();
  std::jthread writer([&, released = release.get_future()] {
    holder.transact([&](Transaction&) {
      inside.set_value();
      released.wait();
    });
  });
  entered.wait();
  std::optional<CloudError> failure;
  try {
    impatient.transact([](Transaction& storage) { storage.setValue("k", "v"); });
  } catch (const CloudError& error) {
    failure = error;
  }
  release.set_value();
  writer.join();
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->code(), CloudErrorCode::zoneBusy) << failure->what();
  impatient.transact([](Transaction& storage) { storage.setValue("k", "v"); }); // nothing was left open
}

// Whatever the umask, and also for a file an older version left readable to others.
TEST_F(SQLiteCloudStorageTest, TheFileAndEverythingBesideItArePrivate) {
  const std::pair<mode_t, bool> cases[] = {{022, false}, {0277, false}, {022, true}};
  for (const auto& [mask, leftOpen] : cases) {
    SCOPED_TRACE(std::to_string(mask) + (leftOpen ? ", left open" : ""));
    std::filesystem::remove(file_);
    if (leftOpen) {
      std::ofstream{file_};
      std::filesystem::permissions(file_, std::filesystem::perms(0644));
    }
    const mode_t previous = ::umask(mask);
    std::optional<SQLiteCloudStorage> storage;
    EXPECT_NO_THROW(storage.emplace(file_));
    ::umask(previous);
    ASSERT_TRUE(storage);
    storage->transact([&](Transaction& open) {
      open.setValue("k", "v");
      for (const char* suffix : {"", "-wal", "-shm"}) {
        EXPECT_EQ(std::filesystem::status(file_.string() + suffix).permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write)
            << suffix;
      }
    });
  }
}

TEST_F(SQLiteCloudStorageTest, UnreadableFilesFailAsBadDatabaseNamingTheFile) {
  const auto tamper = [&](const char* sql) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file_.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
  };
  const std::pair<std::string, std::function<void()>> damages[] = {
      {"not a database", [&] { std::ofstream(file_) << std::string(8192, 'Z'); }},
      {"newer schema", [&] { tamper("PRAGMA user_version = 99"); }},
      {"schema version lost", [&] { tamper("PRAGMA user_version = 0"); }},
      {"table dropped", [&] { tamper("DROP TABLE zone_deletions"); }},
      {"unknown deletion reason", [&] { tamper("UPDATE zone_deletions SET reason = 9"); }},
      {"a folder in its place",
       [&] {
         std::filesystem::remove(file_);
         std::filesystem::create_directory(file_);
       }},
  };
  for (const auto& [name, damage] : damages) {
    SCOPED_TRACE(name);
    std::filesystem::remove_all(file_);
    transact([](Transaction& storage) {
      storage.putZone(alice, zone, {});
      storage.putRecord(alice, zone, task("r", "1"), 1, {});
      storage.deleteZone(alice, {"Old", CloudZoneDeletionReason::deleted, 1});
    });
    damage();
    try {
      transact([](Transaction& storage) {
        storage.record(alice, zone, "r");
        storage.zoneDeletions(alice, 0);
      });
      ADD_FAILURE() << "no CloudError";
    } catch (const CloudError& error) {
      EXPECT_EQ(error.code(), CloudErrorCode::badDatabase) << error.what();
      EXPECT_EQ(error.localizedDescription().rfind("SQLite cloud database " + file_.string() + ": ", 0), 0U)
          << error.what();
    }
  }
}

} // namespace
} // namespace vantrel
