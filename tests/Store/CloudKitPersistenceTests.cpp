#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/SHA256.hpp"
#include "VantrelCore/Store/CloudKitPersistence.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>

namespace vantrel {
namespace {

namespace fs = std::filesystem;

class CloudKitPersistenceTest : public ::testing::Test {
protected:
  std::set<std::string> filesIn(const fs::path& folder) const {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      if (entry.is_regular_file()) {
        names.insert(fs::relative(entry.path(), folder).string());
      }
    }
    return names;
  }

  testing::TemporaryFolder temporary_;
  const fs::path folder_ = temporary_.path();
  CloudKitPersistence persistence() const {
    return CloudKitPersistence(CloudKitPersistence::Location::directory(folder_), PosixFileSystem::shared());
  }
};

TEST(CloudKitPersistence, FileNameComponentsAreSafeAndNeverShared) {
  const struct {
    std::string text;
    std::string component;
  } cases[] = {
      {"t-3f9a1c", "t-3f9a1c"},
      {"schema-version", "schema-version"},
      {"a/b", "a%2Fb"},
      {"..", "%2E%2E"},
      {"sun-_x", "sun-%5Fx"},
      {"Grüße", "Gr%C3%BC%C3%9Fe"},
      {std::string("a\0b", 3), "a%00b"},
      {"50%", "50%25"},
      {"~", "%7E"},
      {"", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CloudKitPersistence::fileNameComponent(c.text), c.component) << c.text;
  }
  const std::string longName(121, 'x');
  EXPECT_EQ(CloudKitPersistence::fileNameComponent(longName), "~" + SHA256::hexDigest(longName));
  EXPECT_EQ(CloudKitPersistence::fileNameComponent(std::string(120, 'x')), std::string(120, 'x'));

  // Names that a careless escaping would fold together.
  std::set<std::string> components;
  const std::string tricky[] = {"a_b",
                                "a__b",
                                "a%5Fb",
                                "a-b",
                                "A-b",
                                "a.b",
                                "a%2Eb",
                                "~" + SHA256::hexDigest("y"),
                                std::string(130, 'y'),
                                "y",
                                std::string(41, '%')};
  for (const auto& name : tricky) {
    components.insert(CloudKitPersistence::fileNameComponent(name));
  }
  EXPECT_EQ(components.size(), std::size(tricky));
}

TEST_F(CloudKitPersistenceTest, KeepsItsFilesInPrivateFoldersAndReplacesThemWhole) {
  const auto store = persistence();
  for (const auto& folder : {store.rootDirectory(), store.sharedDirectory(), store.systemFieldsDirectory(),
                             store.baseRecordsDirectory()}) {
    struct stat status {};
    ASSERT_EQ(::stat(folder.c_str(), &status), 0) << folder;
    EXPECT_EQ(status.st_mode & 0777, 0700u) << folder;
  }
  EXPECT_EQ(store.cacheSnapshotURL(), folder_ / "Shared" / "cache-snapshot.json");
  EXPECT_EQ(store.syncEngineStateURL(), folder_ / "CloudKit" / "sync-engine-state.bin");

  EXPECT_EQ(store.readCacheSnapshot(), std::nullopt);
  store.deleteCacheSnapshot();
  store.writeCacheSnapshot("{}");
  store.writeCacheSnapshot("{\"snapshotVersion\":1}");
  store.writeSyncEngineState(std::string("\0state", 6));
  store.writeSharedSyncEngineState("shared");
  store.writeSharedRecordsSnapshot("records");
  EXPECT_EQ(store.readCacheSnapshot(), "{\"snapshotVersion\":1}");
  EXPECT_EQ(store.readSyncEngineState(), std::string("\0state", 6));
  EXPECT_EQ(store.readSharedSyncEngineState(), "shared");
  EXPECT_EQ(store.readSharedRecordsSnapshot(), "records");
  EXPECT_EQ(filesIn(folder_),
            (std::set<std::string>{"Shared/cache-snapshot.json", "CloudKit/sync-engine-state.bin",
                                   "CloudKit/sync-engine-state-shared.bin", "CloudKit/shared-records.bin"}));
  store.deleteSyncEngineState();
  store.deleteSharedSyncEngineState();
  store.deleteSharedRecordsSnapshot();
  store.deleteCacheSnapshot();
  EXPECT_TRUE(filesIn(folder_).empty());
}

TEST_F(CloudKitPersistenceTest, KeepsBookkeepingPerTypeAndNameInsideItsFolder) {
  const auto store = persistence();
  store.writeSystemFields("meta", "Meta", "schema-version");
  store.writeSystemFields("task", "Task", "t-1");
  store.writeSystemFields("project", "Project", "t-1");
  store.writeSystemFields("other", "Task", "at-1");
  store.writeSystemFields("hostile", "Task", "../../escape");
  EXPECT_EQ(filesIn(store.systemFieldsDirectory()),
            (std::set<std::string>{"Meta__schema-version.bin", "Task__t-1.bin", "Project__t-1.bin",
                                   "Task__at-1.bin", "Task__%2E%2E%2F%2E%2E%2Fescape.bin"}));
  EXPECT_EQ(store.readSystemFields("Task", "t-1"), "task");
  EXPECT_EQ(store.readSystemFields("Project", "t-1"), "project");
  EXPECT_EQ(store.readSystemFields("Task", "../../escape"), "hostile");
  EXPECT_EQ(store.readSystemFields("Gap", "t-1"), std::nullopt);

  store.deleteSystemFieldsByName("t-1");
  EXPECT_EQ(filesIn(store.systemFieldsDirectory()),
            (std::set<std::string>{"Meta__schema-version.bin", "Task__at-1.bin",
                                   "Task__%2E%2E%2F%2E%2E%2Fescape.bin"}));
  store.deleteSystemFields("Task", "at-1");
  EXPECT_EQ(store.readSystemFields("Task", "at-1"), std::nullopt);

  store.writeBaseRecord("base", "t-1");
  store.wipeAllSystemFields();
  EXPECT_TRUE(filesIn(store.systemFieldsDirectory()).empty());
  EXPECT_TRUE(store.hasBaseRecord("t-1"));
}

TEST_F(CloudKitPersistenceTest, KeepsOneBaseCopyPerRecordName) {
  const auto store = persistence();
  EXPECT_FALSE(store.hasBaseRecord("t-1"));
  EXPECT_EQ(store.readBaseRecord("t-1"), std::nullopt);
  store.writeBaseRecord("first", "t-1");
  store.writeBaseRecord("second", "t-1");
  store.writeBaseRecord("slash", "a/b");
  EXPECT_EQ(store.readBaseRecord("t-1"), "second");
  EXPECT_EQ(store.readBaseRecord("a/b"), "slash");
  EXPECT_EQ(filesIn(store.baseRecordsDirectory()), (std::set<std::string>{"t-1.bin", "a%2Fb.bin"}));
  store.deleteBaseRecord("t-1");
  store.deleteBaseRecord("t-1");
  EXPECT_FALSE(store.hasBaseRecord("t-1"));
}

TEST(CloudKitPersistenceLocation, ApplicationSupportFollowsThePaths) {
  const auto paths =
      VantrelPaths::resolve(fs::path("/profile"), [](std::string_view) { return std::nullopt; });
  const auto location = CloudKitPersistence::Location::applicationSupport(paths);
  EXPECT_EQ(location.rootDirectory, fs::path("/profile/Vantrel/CloudKit"));
  EXPECT_EQ(location.sharedDirectory, fs::path("/profile/group.com.vantrel.vantrel.gen1/Vantrel"));
}

} // namespace
} // namespace vantrel
