#include "Linux/SQLiteCloudDatabase.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Sync/StoredCloudDatabase.hpp"
#include "tests/Support/InMemoryCloudStorage.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <set>
#include <sqlite3.h>
#include <tuple>
#include <variant>

namespace vantrel {
namespace {

constexpr auto privateScope = CloudDatabaseScope::privateDatabase;
using Policy = CloudSavePolicy;

/// One storage the cloud database's rules run on; `openAgain` gives what a second process would use, and
/// `damage` overwrites the stored bytes of one of `owner`'s records behind the storage's back.
struct Backend {
  const char* name;
  std::function<std::shared_ptr<CloudStorage>(const std::filesystem::path&)> open;
  std::function<std::shared_ptr<CloudStorage>(const std::filesystem::path&, std::shared_ptr<CloudStorage>)>
      openAgain;
  std::function<void(CloudStorage&, const std::filesystem::path&, const std::string& owner,
                     const CloudRecordID&, const std::string& bytes)>
      damage;
};

/// The tests keep one zone of one account, so a record's name finds its row.
void damageRow(const std::filesystem::path& file, const std::string& recordName, const std::string& bytes) {
  sqlite3* database = nullptr;
  sqlite3_stmt* update = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  sqlite3_prepare_v2(database, "UPDATE entries SET data = ?1 WHERE name = ?2", -1, &update, nullptr);
  sqlite3_bind_blob(update, 1, bytes.data(), int(bytes.size()), SQLITE_STATIC);
  sqlite3_bind_text(update, 2, recordName.c_str(), -1, SQLITE_STATIC);
  EXPECT_EQ(sqlite3_step(update), SQLITE_DONE);
  EXPECT_EQ(sqlite3_changes(database), 1);
  sqlite3_finalize(update);
  sqlite3_close(database);
}

void PrintTo(const Backend& backend, std::ostream* stream) {
  *stream << backend.name;
}

const Backend backends[] = {
    {"InMemory", [](const auto&) { return std::make_shared<testing::InMemoryCloudStorage>(); },
     [](const auto&, auto same) { return same; },
     [](CloudStorage& storage, const auto&, const auto& owner, const auto& id, const auto& bytes) {
       dynamic_cast<testing::InMemoryCloudStorage&>(storage).replaceRecordData(owner, id.zoneID.zoneName,
                                                                               id.recordName, bytes);
     }},
    {"SQLite", [](const auto& file) { return std::make_shared<SQLiteCloudStorage>(file); },
     [](const auto& file, auto) { return std::make_shared<SQLiteCloudStorage>(file); },
     [](CloudStorage&, const auto& file, const auto&, const auto& id, const auto& bytes) {
       damageRow(file, id.recordName, bytes);
     }},
};

class CloudDatabaseConformance : public ::testing::TestWithParam<Backend> {
protected:
  CloudRecord task(const std::string& name, const std::string& title) const {
    CloudRecord record("Task", at(name));
    record.setValue("title", title);
    return record;
  }
  CloudReference dependsOn(const std::string& name) const {
    return CloudReference{at(name), CloudReference::Action::deleteSelf};
  }
  std::variant<CloudRecord, CloudError> saveOne(CloudDatabase& database, const CloudRecord& record,
                                                Policy policy = Policy::ifServerRecordUnchanged) {
    auto result = database.modifyRecords(privateScope, {.recordsToSave = {record}, .savePolicy = policy});
    return std::move(result.saveResults.at(0).second);
  }
  CloudRecord saved(CloudDatabase& database, const CloudRecord& record,
                    Policy policy = Policy::ifServerRecordUnchanged) {
    auto outcome = saveOne(database, record, policy);
    if (const auto* error = std::get_if<CloudError>(&outcome)) {
      ADD_FAILURE() << "save of " << record.recordID().recordName << " failed: " << error->what();
      return record;
    }
    return std::get<CloudRecord>(std::move(outcome));
  }
  static CloudErrorCode codeOf(const std::variant<CloudRecord, CloudError>& outcome) {
    const auto* error = std::get_if<CloudError>(&outcome);
    return error ? error->code() : CloudErrorCode{0};
  }
  static CloudErrorCode codeOf(const std::optional<CloudError>& error) {
    return error ? error->code() : CloudErrorCode{0};
  }
  template <class Call> static CloudErrorCode thrownCode(Call call) {
    try {
      call();
    } catch (const CloudError& error) {
      return error.code();
    }
    return CloudErrorCode{0};
  }
  static std::string title(const CloudRecord& record) {
    return std::get<std::string>(*record.value("title"));
  }
  CloudRecordID at(const std::string& name) const { return CloudRecordID{name, zone_}; }
  /// What fetching the record throws, or 0 when it is there.
  CloudErrorCode fetchCode(const CloudRecordID& recordID) {
    return thrownCode([&] { device_.fetchRecord(privateScope, recordID); });
  }
  /// What deleting the record reports, or 0 when it goes through.
  CloudErrorCode deleteCode(const CloudRecordID& recordID) {
    return codeOf(
        device_.modifyRecords(privateScope, {.recordIDsToDelete = {recordID}}).deleteResults.at(0).second);
  }
  void damage(const std::string& name, const std::string& bytes) {
    GetParam().damage(*storage_, file_, device_.userRecordName(), at(name), bytes);
  }

  testing::TemporaryFolder folder_;
  std::filesystem::path file_ = folder_.path() / "cloud.sqlite";
  FixedClock clock_{Date{800'000'000}};
  std::shared_ptr<CloudStorage> storage_ = GetParam().open(file_);
  StoredCloudDatabase device_{*storage_, clock_};
  CloudRecordZoneID zone_{"VantrelZone"};

  void SetUp() override { device_.saveRecordZone(privateScope, zone_); }
};

// A save gets the server's bookkeeping; then each save policy decides over a record the server changed
// since the client last saw it.
TEST_P(CloudDatabaseConformance, ASaveGetsTheServersBookkeepingAndPoliciesDecideOverAChangedRecord) {
  auto original = task("t-1", "original");
  original.setValue("done", false);
  original.setValue("notes", std::string("keep me"));
  original.setValue("homeRef", dependsOn("p-1"));
  original.setParent(CloudReference{at("p-1")});
  const auto base = saved(device_, original);
  ASSERT_TRUE(base.systemFields().changeTag);
  EXPECT_EQ(base.systemFields().creationDate, clock_.now());
  EXPECT_EQ(base.systemFields().creatorUserRecordName, device_.userRecordName());
  EXPECT_TRUE(base.changedKeys().empty());
  EXPECT_EQ(base.parent(), original.parent());
  EXPECT_EQ(device_.fetchRecord(privateScope, original.recordID()), base);

  clock_.advance(60);
  auto theirs = base;
  theirs.setValue("done", true);
  const auto changed = saved(device_, theirs);
  EXPECT_NE(changed.systemFields().changeTag, base.systemFields().changeTag);
  EXPECT_EQ(changed.systemFields().creationDate, base.systemFields().creationDate);
  EXPECT_EQ(changed.systemFields().modificationDate, clock_.now());
  EXPECT_EQ(std::get<bool>(*changed.value("done")), true);

  auto mine = base;
  mine.clearChangedKeys();
  mine.setValue("title", std::string("mine"));
  mine.removeValue("notes");

  const auto conflict = saveOne(device_, mine, Policy::ifServerRecordUnchanged);
  ASSERT_EQ(codeOf(conflict), CloudErrorCode::serverRecordChanged);
  const auto& error = std::get<CloudError>(conflict);
  ASSERT_TRUE(error.serverRecord() && error.clientRecord() && error.ancestorRecord());
  EXPECT_EQ(std::get<bool>(*error.serverRecord()->value("done")), true);
  EXPECT_EQ(*error.clientRecord(), mine);
  EXPECT_EQ(*error.ancestorRecord(), base);

  const auto merged = saved(device_, mine, Policy::changedKeys);
  EXPECT_EQ(title(merged), "mine");
  EXPECT_EQ(std::get<bool>(*merged.value("done")), true) << "a key the client did not change stays";
  EXPECT_EQ(merged.value("notes"), nullptr);

  auto whole = task("t-1", "whole");
  const auto replaced = saved(device_, whole, Policy::allKeys);
  EXPECT_EQ(replaced.allKeys(), std::vector<std::string>{"title"});

  auto unsaved = task("t-1", "new here");
  EXPECT_EQ(codeOf(saveOne(device_, unsaved)), CloudErrorCode::serverRecordChanged)
      << "a record the client thinks new, but the server has";

  EXPECT_EQ(deleteCode(replaced.recordID()), CloudErrorCode{0});
  EXPECT_EQ(codeOf(saveOne(device_, replaced)), CloudErrorCode::unknownItem) << "saved before, deleted since";
  EXPECT_EQ(codeOf(saveOne(device_, replaced, Policy::changedKeys)), CloudErrorCode{0});
}

TEST_P(CloudDatabaseConformance, AnAtomicModifyAppliesAZoneWhollyOrNotAtAll) {
  const CloudRecordZoneID other{"OtherZone"};
  device_.saveRecordZone(privateScope, other);
  const auto existing = saved(device_, task("t-1", "on the server"));
  const auto stale = task("t-1", "stale");
  CloudRecord elsewhere("Task", CloudRecordID{"t-9", other});
  elsewhere.setValue("title", std::string("other zone"));

  for (const bool atomically : {true, false}) {
    const auto result =
        device_.modifyRecords(privateScope, {.recordsToSave = {task("t-2", "fine"), stale, elsewhere},
                                             .recordIDsToDelete = {at("t-3")},
                                             .atomically = atomically});
    EXPECT_EQ(codeOf(result.saveResults[1].second), CloudErrorCode::serverRecordChanged);
    EXPECT_EQ(codeOf(result.saveResults[0].second),
              atomically ? CloudErrorCode::batchRequestFailed : CloudErrorCode{0});
    ASSERT_EQ(result.deleteResults.size(), 1u);
    EXPECT_EQ(codeOf(result.deleteResults[0].second),
              atomically ? CloudErrorCode::batchRequestFailed : CloudErrorCode{0});
    EXPECT_EQ(codeOf(result.saveResults[2].second), CloudErrorCode{0}) << "another zone is not held back";
    EXPECT_EQ(fetchCode(at("t-2")), atomically ? CloudErrorCode::unknownItem : CloudErrorCode{0});
    elsewhere = std::get<CloudRecord>(result.saveResults[2].second);
  }
  EXPECT_EQ(device_.fetchRecord(privateScope, existing.recordID()), existing);

  std::vector<CloudRecord> tooMany;
  for (int index = 0; index <= 400; ++index) {
    tooMany.push_back(task("t-many-" + std::to_string(index), "x"));
  }
  EXPECT_EQ(thrownCode([&] { device_.modifyRecords(privateScope, {.recordsToSave = tooMany}); }),
            CloudErrorCode::limitExceeded);
  tooMany.pop_back();
  EXPECT_EQ(device_.modifyRecords(privateScope, {.recordsToSave = tooMany}).saveResults.size(), 400u);
}

TEST_P(CloudDatabaseConformance, DeletingARecordDeletesWhatDependsOnIt) {
  saved(device_, CloudRecord("Project", at("p-1")));
  auto parentTask = task("t-1", "task");
  parentTask.setValue("homeRef", dependsOn("p-1"));
  auto subtask = task("t-2", "subtask");
  subtask.setValue("parentTaskRef", dependsOn("t-1"));
  auto looselyLinked = task("t-3", "only a parent link");
  looselyLinked.setParent(CloudReference{at("p-1")});
  auto listed = task("t-4", "listed");
  listed.setValue("links", std::vector{dependsOn("t-9"), dependsOn("p-1")});
  device_.modifyRecords(privateScope, {.recordsToSave = {parentTask, subtask, looselyLinked, listed}});
  const auto token = device_.fetchZoneChanges(privateScope, zone_, std::nullopt, 0).changeToken;

  EXPECT_EQ(deleteCode(at("p-1")), CloudErrorCode{0});
  const auto changes = device_.fetchZoneChanges(privateScope, zone_, token, 0);
  std::set<std::string> deleted;
  for (const auto& record : changes.deletedRecords) {
    deleted.insert(record.recordID.recordName + "/" + record.recordType);
  }
  EXPECT_EQ(deleted, (std::set<std::string>{"p-1/Project", "t-1/Task", "t-2/Task", "t-4/Task"}));
  EXPECT_EQ(device_.fetchRecord(privateScope, looselyLinked.recordID()).recordID(), looselyLinked.recordID());

  EXPECT_EQ(deleteCode(at("p-1")), CloudErrorCode{0}) << "deleting what is gone succeeds";
}

TEST_P(CloudDatabaseConformance, ZoneChangesArriveOnceEachInOrderAndPageByPage) {
  for (int index = 1; index <= 5; ++index) {
    saved(device_, task("t-" + std::to_string(index), "v1"));
  }
  auto edited = device_.fetchRecord(privateScope, at("t-2"));
  edited.setValue("title", std::string("v2"));
  saved(device_, edited);
  deleteCode(at("t-3"));

  std::vector<std::string> seen;
  std::optional<CloudChangeToken> token;
  int pages = 0;
  for (bool more = true; more; ++pages) {
    const auto page = device_.fetchZoneChanges(privateScope, zone_, token, 2);
    EXPECT_LE(page.modifiedRecords.size() + page.deletedRecords.size(), 2u);
    for (const auto& record : page.modifiedRecords) {
      seen.push_back(record.recordID().recordName + "=" + title(record));
    }
    for (const auto& record : page.deletedRecords) {
      seen.push_back(record.recordID.recordName + " deleted");
    }
    token = page.changeToken;
    more = page.moreComing;
  }
  EXPECT_EQ(pages, 3);
  std::ranges::sort(seen);
  EXPECT_EQ(seen, (std::vector<std::string>{"t-1=v1", "t-2=v2", "t-3 deleted", "t-4=v1", "t-5=v1"}));

  const auto quiet = device_.fetchZoneChanges(privateScope, zone_, token, 0);
  EXPECT_TRUE(quiet.modifiedRecords.empty() && quiet.deletedRecords.empty() && !quiet.moreComing);
  EXPECT_EQ(quiet.changeToken, token);
  saved(device_, task("t-6", "later"));
  EXPECT_EQ(device_.fetchZoneChanges(privateScope, zone_, token, 0).modifiedRecords.size(), 1u);

  device_.deleteRecordZone(privateScope, zone_);
  device_.saveRecordZone(privateScope, zone_);
  EXPECT_EQ(thrownCode([&] { device_.fetchZoneChanges(privateScope, zone_, token, 0); }),
            CloudErrorCode::changeTokenExpired);
  EXPECT_EQ(thrownCode([&] { device_.fetchZoneChanges(privateScope, zone_, CloudChangeToken{"junk"}, 0); }),
            CloudErrorCode::changeTokenExpired);
}

TEST_P(CloudDatabaseConformance, ZonesComeAndGoAndDatabaseChangesSayWhy) {
  EXPECT_EQ(device_.fetchAllRecordZones(privateScope), std::vector{zone_});
  const auto start = device_.fetchDatabaseChanges(privateScope, std::nullopt);
  EXPECT_EQ(start.modifiedZoneIDs, std::vector{zone_});
  EXPECT_TRUE(device_.fetchDatabaseChanges(privateScope, start.changeToken).modifiedZoneIDs.empty());

  const CloudRecordZoneID purged{"Purged"};
  const CloudRecordZoneID reset{"Reset"};
  for (const auto& zone : {purged, reset}) {
    device_.saveRecordZone(privateScope, zone);
  }
  const auto kept = saved(device_, task("t-1", "kept"));
  device_.saveRecordZone(privateScope, zone_);
  EXPECT_EQ(device_.fetchRecord(privateScope, kept.recordID()), kept) << "saving an existing zone keeps it";
  device_.deleteRecordZone(privateScope, zone_);
  device_.removeZone(purged, CloudZoneDeletionReason::purged);
  device_.removeZone(reset, CloudZoneDeletionReason::encryptedDataReset);

  const auto changes = device_.fetchDatabaseChanges(privateScope, start.changeToken);
  EXPECT_TRUE(changes.modifiedZoneIDs.empty());
  EXPECT_EQ(changes.deletedZones,
            (std::vector<CloudZoneDeletion>{{purged, CloudZoneDeletionReason::purged},
                                            {reset, CloudZoneDeletionReason::encryptedDataReset},
                                            {zone_, CloudZoneDeletionReason::deleted}}));
  EXPECT_TRUE(device_.fetchAllRecordZones(privateScope).empty());
  EXPECT_EQ(thrownCode([&] { device_.fetchRecordZone(privateScope, zone_); }), CloudErrorCode::zoneNotFound);
  EXPECT_EQ(thrownCode([&] { device_.deleteRecordZone(privateScope, zone_); }), CloudErrorCode::zoneNotFound);
  EXPECT_EQ(fetchCode(kept.recordID()), CloudErrorCode::zoneNotFound);
  EXPECT_EQ(codeOf(saveOne(device_, task("t-2", "x"))), CloudErrorCode::zoneNotFound);
  CloudRecord intoPurged("Task", CloudRecordID{"t-2", purged});
  EXPECT_EQ(codeOf(saveOne(device_, intoPurged)), CloudErrorCode::userDeletedZone);
  EXPECT_EQ(thrownCode([&] { device_.fetchDatabaseChanges(privateScope, CloudChangeToken{"d:999"}); }),
            CloudErrorCode::changeTokenExpired);

  device_.saveRecordZone(privateScope, zone_);
  EXPECT_EQ(fetchCode(kept.recordID()), CloudErrorCode::unknownItem) << "a zone made again starts empty";
  EXPECT_TRUE(device_.fetchAllRecordZones(CloudDatabaseScope::sharedDatabase).empty());
}

TEST_P(CloudDatabaseConformance, DevicesShareAnAccountAndAccountsAreApart) {
  const auto storage = GetParam().openAgain(file_, storage_);
  StoredCloudDatabase secondDevice(*storage, clock_);
  StoredCloudDatabase otherAccount(*storage, clock_, "_someoneElse");
  EXPECT_EQ(secondDevice.userRecordName(), device_.userRecordName());
  EXPECT_EQ(device_.fetchUserRecordID().recordName, device_.userRecordName());

  const auto token = secondDevice.fetchZoneChanges(privateScope, zone_, std::nullopt, 0).changeToken;
  saved(device_, task("t-1", "from the first device"));
  const auto changes = secondDevice.fetchZoneChanges(privateScope, zone_, token, 0);
  ASSERT_EQ(changes.modifiedRecords.size(), 1u);
  EXPECT_EQ(title(changes.modifiedRecords[0]), "from the first device");
  EXPECT_TRUE(otherAccount.fetchAllRecordZones(privateScope).empty());

  device_.signOut();
  EXPECT_EQ(device_.accountStatus(), CloudAccountStatus::noAccount);
  EXPECT_EQ(thrownCode([&] { device_.fetchAllRecordZones(privateScope); }), CloudErrorCode::notAuthenticated);
}

// Bytes that do not decode, that hold another record, or whose record name is not UTF-8 (repaired, it
// would name another record): each is reported by name and passed over, never thrown.
TEST_P(CloudDatabaseConformance, AnUnreadableRecordIsReportedAndHoldsBackNoOther) {
  for (const auto& bytes : {std::string("junk"), task("elsewhere", "x").wholeRecordData(),
                            task("bad-\xff", "x").wholeRecordData()}) {
    const auto token = device_.fetchZoneChanges(privateScope, zone_, std::nullopt, 0).changeToken;
    device_.modifyRecords(privateScope, {.recordsToSave = {task("a", "x"), task("bad", "x"), task("c", "x")},
                                         .savePolicy = Policy::allKeys});
    damage("bad", bytes);
    const auto first = device_.fetchZoneChanges(privateScope, zone_, token, 2);
    const auto second = device_.fetchZoneChanges(privateScope, zone_, first.changeToken, 2);
    ASSERT_EQ(first.modifiedRecords.size(), 1u);
    ASSERT_EQ(second.modifiedRecords.size(), 1u);
    EXPECT_EQ(second.modifiedRecords[0].recordID().recordName, "c");
    EXPECT_FALSE(second.moreComing);
    ASSERT_EQ(first.unreadableRecords.size(), 1u);
    const auto& unreadable = first.unreadableRecords[0];
    EXPECT_EQ(std::tie(unreadable.recordID, unreadable.recordType),
              std::make_tuple(at("bad"), std::optional<std::string>("Task")));
    EXPECT_EQ(unreadable.error.rfind("The record bad cannot be read: ", 0), 0u) << unreadable.error;
    EXPECT_EQ(fetchCode(at("bad")), CloudErrorCode::badDatabase);
  }
}

// Over an unreadable row, a save that would need the server's values fails alone; one with the current
// change tag or of all keys, and a delete, go through and repair it.
TEST_P(CloudDatabaseConformance, AnUnreadableRowFailsOnlyItsOwnItemsUntilReplaced) {
  enum class Tag { none, stale, current };
  const auto stale = saved(device_, task("bad", "v1"));
  auto current = saved(device_, stale, Policy::allKeys);
  const CloudErrorCode saves{};
  const auto bad = CloudErrorCode::badDatabase;
  const struct {
    const char* label;
    Policy policy;
    Tag tag;
    bool atomically;
    CloudErrorCode badCode;
    CloudErrorCode otherCode;
  } cases[] = {
      {"no tag", Policy::ifServerRecordUnchanged, Tag::none, false, bad, saves},
      {"stale tag", Policy::ifServerRecordUnchanged, Tag::stale, false, bad, saves},
      {"changed keys", Policy::changedKeys, Tag::none, false, bad, saves},
      {"atomic", Policy::ifServerRecordUnchanged, Tag::none, true, bad, CloudErrorCode::batchRequestFailed},
      {"current tag", Policy::ifServerRecordUnchanged, Tag::current, true, saves, saves},
      {"all keys", Policy::allKeys, Tag::none, true, saves, saves},
  };
  for (const auto& [label, policy, tag, atomically, badCode, otherCode] : cases) {
    SCOPED_TRACE(label);
    damage("bad", "junk");
    auto attempt = task("bad", label);
    if (tag != Tag::none) {
      attempt.setSystemFields((tag == Tag::stale ? stale : current).systemFields());
    }
    const auto result = device_.modifyRecords(
        privateScope, {.recordsToSave = {attempt, task(std::string("other ") + label, "x")},
                       .savePolicy = policy,
                       .atomically = atomically});
    EXPECT_EQ(codeOf(result.saveResults[0].second), badCode);
    EXPECT_EQ(codeOf(result.saveResults[1].second), otherCode);
    if (badCode == saves) {
      current = std::get<CloudRecord>(result.saveResults[0].second);
      EXPECT_EQ(title(device_.fetchRecord(privateScope, attempt.recordID())), label) << "repaired";
    }
  }
  damage("bad", "junk");
  EXPECT_EQ(deleteCode(current.recordID()), CloudErrorCode{0});
  EXPECT_EQ(fetchCode(current.recordID()), CloudErrorCode::unknownItem);
}

// A counter at the largest number would wrap around into numbers already issued: the call fails instead
// and writes nothing.
TEST_P(CloudDatabaseConformance, ACounterAtItsLargestValueFailsTheChangeAndWritesNothing) {
  const auto existing = saved(device_, task("t-1", "kept"));
  const auto save = [&] { device_.modifyRecords(privateScope, {.recordsToSave = {task("t-2", "x")}}); };
  const auto remove = [&] { deleteCode(existing.recordID()); };
  const auto addZone = [&] { device_.saveRecordZone(privateScope, CloudRecordZoneID{"Other"}); };
  const std::pair<bool, std::function<void()>> cases[] = {
      {true, save}, {true, remove}, {false, save}, {false, addZone}};
  const std::string owner = device_.userRecordName();
  for (const auto& [zoneSequence, change] : cases) {
    CloudStoredZone zone;
    std::int64_t databaseSequence = 0;
    storage_->transact([&](CloudStorageTransaction& storage) {
      zone = *storage.zone(owner, zone_.zoneName);
      databaseSequence = storage.databaseSequence(owner);
      auto atLimit = zone;
      atLimit.sequence = std::numeric_limits<std::int64_t>::max();
      storage.putZone(owner, zone_.zoneName, zoneSequence ? atLimit : zone);
      storage.setDatabaseSequence(owner, zoneSequence ? databaseSequence : atLimit.sequence);
    });
    EXPECT_EQ(thrownCode(change), CloudErrorCode::badDatabase) << zoneSequence;
    storage_->transact([&](CloudStorageTransaction& storage) {
      storage.putZone(owner, zone_.zoneName, zone);
      storage.setDatabaseSequence(owner, databaseSequence);
    });
  }
  EXPECT_EQ(device_.fetchRecord(privateScope, existing.recordID()), existing);
  EXPECT_EQ(fetchCode(at("t-2")), CloudErrorCode::unknownItem);
  EXPECT_EQ(device_.fetchAllRecordZones(privateScope), std::vector{zone_});
}

// Text that is not UTF-8 comes back repaired wherever a record is read; an ID that is not is refused.
TEST_P(CloudDatabaseConformance, TextThatIsNotUTF8IsRepairedOnRead) {
  const std::string fffd = "\xEF\xBF\xBD";
  auto record = task("t-1", "ok \xff\xfe end");
  record.setValue("tags", std::vector<std::string>{"caf\xc3", "fine"});
  record.setValue("homeRef", CloudReference{at("p-\xe2\x82")});
  const auto token = device_.fetchZoneChanges(privateScope, zone_, std::nullopt, 0).changeToken;
  const auto answer = saved(device_, record);
  const auto changes = device_.fetchZoneChanges(privateScope, zone_, token, 0).modifiedRecords;
  ASSERT_EQ(changes.size(), 1u);
  for (const auto& read : {answer, device_.fetchRecord(privateScope, record.recordID()), changes[0]}) {
    EXPECT_EQ(title(read), "ok " + fffd + fffd + " end");
    EXPECT_EQ(std::get<std::vector<std::string>>(*read.value("tags")),
              (std::vector<std::string>{"caf" + fffd, "fine"}));
    EXPECT_EQ(std::get<CloudReference>(*read.value("homeRef")).recordID.recordName, "p-" + fffd);
  }
  EXPECT_EQ(codeOf(saveOne(device_, task("t-\xff", "x"))), CloudErrorCode::invalidArguments);
}

INSTANTIATE_TEST_SUITE_P(Backends, CloudDatabaseConformance, ::testing::ValuesIn(backends),
                         [](const auto& backend) { return std::string(backend.param.name); });

} // namespace
} // namespace vantrel
