#include "Linux/SQLiteCloudDatabase.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <atomic>
#include <gtest/gtest.h>
#include <map>
#include <thread>

namespace vantrel {
namespace {

constexpr auto privateScope = CloudDatabaseScope::privateDatabase;
const CloudRecordZoneID zone{"VantrelZone"};

// Writers on their own connections, as other processes would be, save while a reader follows the change
// feed. A change committed behind a token the reader already holds would never reach it.
TEST(SQLiteCloudDatabase, AReaderFollowingTheFeedMissesNoChangeOfConcurrentWriters) {
  testing::TemporaryFolder folder;
  const auto file = folder.path() / "cloud.sqlite";
  FixedClock clock;
  SQLiteCloudDatabase(file, clock).saveRecordZone(privateScope, zone);

  std::atomic<int> writing = 2;
  const auto write = [&](int writer) {
    try {
      SQLiteCloudDatabase database(file, clock);
      for (int index = 0; index < 60; ++index) {
        // Both writers also keep rewriting one shared record, whichever wins.
        for (const auto& name :
             {"w" + std::to_string(writer) + "-" + std::to_string(index), std::string("shared")}) {
          CloudRecord record("Task", CloudRecordID{name, zone});
          record.setValue("value", std::int64_t(writer * 1000 + index));
          database.modifyRecords(privateScope,
                                 {.recordsToSave = {record}, .savePolicy = CloudSavePolicy::allKeys});
        }
      }
    } catch (const CloudError& error) {
      ADD_FAILURE() << "writer " << writer << ": " << error.what();
    }
    --writing;
  };
  std::thread first(write, 1);
  std::thread second(write, 2);

  SQLiteCloudDatabase reader(file, clock);
  std::map<std::string, std::int64_t> followed;
  std::optional<CloudChangeToken> token;
  const auto follow = [&] {
    const auto changes = reader.fetchZoneChanges(privateScope, zone, token, 0);
    for (const auto& record : changes.modifiedRecords) {
      followed[record.recordID().recordName] = std::get<std::int64_t>(*record.value("value"));
    }
    token = changes.changeToken;
  };
  while (writing > 0) {
    follow();
  }
  first.join();
  second.join();
  follow();

  std::map<std::string, std::int64_t> stored;
  for (const auto& record : reader.fetchZoneChanges(privateScope, zone, std::nullopt, 0).modifiedRecords) {
    stored[record.recordID().recordName] = std::get<std::int64_t>(*record.value("value"));
  }
  EXPECT_EQ(stored.size(), 121u);
  EXPECT_EQ(followed, stored);
}

TEST(SQLiteCloudDatabase, TheFileKeepsItsAccountAndHoldsOthersApart) {
  testing::TemporaryFolder folder;
  const auto file = folder.path() / "cloud.sqlite";
  FixedClock clock;
  const std::string account = SQLiteCloudDatabase(file, clock).userRecordName();
  EXPECT_EQ(SQLiteCloudDatabase(file, clock).userRecordName(), account);
  EXPECT_EQ(account.size(), 33u);

  SQLiteCloudDatabase(file, clock).saveRecordZone(privateScope, zone);
  SQLiteCloudDatabase other(file, clock, "_someoneElse");
  EXPECT_TRUE(other.fetchAllRecordZones(privateScope).empty());
  other.saveRecordZone(privateScope, zone);
  EXPECT_EQ(SQLiteCloudDatabase(file, clock).fetchAllRecordZones(privateScope), std::vector{zone});
}

} // namespace
} // namespace vantrel
