#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Platform/SerialQueue.hpp"
#include "VantrelCore/Store/LocalCommitCoordinator.hpp"
#include "tests/Support/FaultInjectingFileSystem.hpp"
#include "tests/Support/RecordingWidgetCenter.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <cerrno>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

using testing::FaultInjectingFileSystem;
using Step = FaultInjectingFileSystem::Step;

TaskRecord task(std::string name, std::string title) {
  return TaskRecord{.recordName = std::move(name), .homeRef = "p-1", .title = std::move(title)};
}

class LocalCommitCoordinatorTest : public ::testing::Test {
protected:
  std::optional<std::string> fileOnDisk() const { return persistence_.readCacheSnapshot(); }
  /// The records on disk; each file written names the save point that wrote it.
  CloudKitCacheSnapshot snapshotOnDisk() const {
    auto snapshot = CloudKitCacheSnapshot::decodeJSON(fileOnDisk().value());
    EXPECT_TRUE(snapshot.localCommit);
    snapshot.localCommit.reset();
    return snapshot;
  }

  testing::TemporaryFolder folder_;
  FaultInjectingFileSystem fileSystem_;
  CloudKitPersistence persistence_{CloudKitPersistence::Location::directory(folder_.path()), fileSystem_};
  FixedClock clock_{Date{800'000'000}};
  ManualExecutor owner_;
  ManualExecutor writeQueue_;
  CloudKitCache cache_;
  testing::RecordingWidgetCenter widgets_;
  LocalCommitCoordinator coordinator_{cache_, persistence_, owner_, writeQueue_, clock_, {}, {}, &widgets_};
  testing::ScopedLogCapture log_;
};

TEST_F(LocalCommitCoordinatorTest, StartsEmptyWithoutAFile) {
  const auto& status = coordinator_.restore();
  EXPECT_TRUE(log_.contains("No snapshot file on disk (fresh install or first run with this build)"));
  EXPECT_EQ(status, (SnapshotStatus{.when = clock_.now(), .fileSize = 0, .recordsLoaded = 0}));
  EXPECT_EQ(cache_.recordCount(), 0u);
}

TEST_F(LocalCommitCoordinatorTest, RestoresTheFileWithoutWritingItBack) {
  CloudKitCacheSnapshot saved;
  saved.currentUserRef = "_me";
  saved.tasks.emplace("t-1", task("t-1", "Water the plants"));
  saved.schemaVersion = SchemaVersionRecord{7};
  const std::string text = saved.encodeJSON();
  persistence_.writeCacheSnapshot(text);

  const auto& status = coordinator_.restore();
  EXPECT_TRUE(
      log_.contains("Restored cache from disk: 2 records, " + std::to_string(text.size()) + " bytes"));
  EXPECT_EQ(status, (SnapshotStatus{
                        .when = clock_.now(), .fileSize = std::int64_t(text.size()), .recordsLoaded = 2}));
  EXPECT_EQ(cache_.snapshot(), saved);
  EXPECT_EQ(cache_.tasksByHome().at("p-1").size(), 1u);
  EXPECT_EQ(owner_.pendingCount(), 0u);
}

TEST_F(LocalCommitCoordinatorTest, ADamagedFileIsDiscardedAsAWhole) {
  CloudKitCacheSnapshot saved;
  saved.tasks.emplace("t-1", task("t-1", "one"));
  saved.tasks.emplace("t-2", task("t-2", "two"));
  const std::string good = saved.encodeJSON();
  const std::string damaged[] = {
      good.substr(0, good.size() / 2),
      R"({"tasks":{"t-1":{"recordName":"t-1","homeRef":"p-1","title":"one","done":false,"sortIndex":0},)"
      R"("t-2":{"recordName":"t-2","homeRef":"p-1","title":"two","done":"no","sortIndex":0}}})",
      std::string("\xff\xfe", 2),
  };
  for (const auto& text : damaged) {
    persistence_.writeCacheSnapshot(text);
    const auto status = coordinator_.restore();
    ASSERT_TRUE(status.errorDescription) << text;
    EXPECT_TRUE(log_.contains("Failed to restore cache snapshot: " + *status.errorDescription));
    EXPECT_EQ(status.recordsLoaded, 0);
    EXPECT_EQ(cache_.recordCount(), 0u);
  }
}

TEST_F(LocalCommitCoordinatorTest, ABurstOfChangesIsWrittenOnceAfterTheOwnersWork) {
  cache_.upsert(task("t-1", "one"));
  cache_.upsert(task("t-2", "two"));
  cache_.remove<TaskRecord>("t-1");
  EXPECT_EQ(owner_.pendingCount(), 1u);
  EXPECT_EQ(writeQueue_.pendingCount(), 0u);

  owner_.drain();
  cache_.upsert(task("t-3", "after the copy"));
  EXPECT_EQ(writeQueue_.drain(), 1u);
  EXPECT_EQ(snapshotOnDisk().tasks.size(), 1u);
  const auto status = coordinator_.lastWriteStatus();
  ASSERT_TRUE(status);
  EXPECT_EQ(status->fileSize, std::int64_t(fileOnDisk()->size()));
  EXPECT_FALSE(status->errorDescription);

  owner_.drain();
  writeQueue_.drain();
  EXPECT_EQ(snapshotOnDisk(), cache_.snapshot());
  EXPECT_EQ(coordinator_.snapshotWriteToken(), 2u);
  EXPECT_EQ(fileSystem_.callCount(Step::rename), 2);
  EXPECT_EQ(widgets_.reloads, 2) << "the widgets reload after each file written";
}

TEST_F(LocalCommitCoordinatorTest, ANewerRequestSupersedesOneStillQueued) {
  cache_.upsert(task("t-1", "one"));
  owner_.drain();
  cache_.upsert(task("t-2", "two"));
  owner_.drain();
  EXPECT_EQ(writeQueue_.pendingCount(), 2u);
  writeQueue_.drain();
  EXPECT_EQ(fileSystem_.callCount(Step::rename), 1);
  EXPECT_EQ(snapshotOnDisk(), cache_.snapshot());

  // A flush overtakes both a queued write and a pending request, and neither lands after it.
  cache_.upsert(task("t-3", "three"));
  owner_.drain();
  cache_.upsert(task("t-4", "four"));
  coordinator_.flushSnapshotSynchronously();
  owner_.drain();
  writeQueue_.drain();
  EXPECT_EQ(fileSystem_.callCount(Step::rename), 2);
  EXPECT_EQ(snapshotOnDisk(), cache_.snapshot());
}

// A failing disk at any step of the write leaves the former file whole (or, once the rename is done,
// the new one whole) and says so in the status.
TEST_F(LocalCommitCoordinatorTest, AFailedWriteLeavesAWholeFileAndIsReported) {
  cache_.upsert(task("t-1", "old"));
  coordinator_.flushSnapshotSynchronously();
  const auto old = cache_.snapshot();

  const struct {
    Step step;
    bool renamed;
  } cases[] = {{Step::create, false}, {Step::write, false},  {Step::syncFile, false},
               {Step::close, false},  {Step::rename, false}, {Step::syncDirectory, true}};
  for (const auto& [step, renamed] : cases) {
    cache_.upsert(task("t-1", "old"));
    coordinator_.flushSnapshotSynchronously();
    fileSystem_.failCall(step, fileSystem_.callCount(step) + 1, EIO);
    cache_.upsert(task("t-1", "new"));
    const int reloads = widgets_.reloads;
    coordinator_.flushSnapshotSynchronously();

    EXPECT_EQ(widgets_.reloads, reloads) << "no reload for a failed write";
    EXPECT_EQ(snapshotOnDisk(), renamed ? cache_.snapshot() : old) << int(step);
    const auto status = coordinator_.lastWriteStatus();
    ASSERT_TRUE(status && status->errorDescription) << int(step);
    EXPECT_TRUE(log_.contains("Failed to write cache snapshot: " + *status->errorDescription));
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(persistence_.sharedDirectory()),
                          std::filesystem::directory_iterator()),
            1)
      << "no temporary file is left behind";
}

TEST(LocalCommitCoordinator, WritesOnABackgroundQueue) {
  testing::TemporaryFolder folder;
  const CloudKitPersistence persistence(CloudKitPersistence::Location::directory(folder.path()),
                                        PosixFileSystem::shared());
  FixedClock clock;
  ManualExecutor owner;
  SerialQueue queue(std::string(LocalCommitCoordinator::writeQueueLabel), SerialQueue::Priority::utility);
  CloudKitCache cache;
  LocalCommitCoordinator coordinator(cache, persistence, owner, queue, clock);

  cache.upsert(task("t-1", "one"));
  owner.drain();
  queue.waitUntilIdle();
  auto written = CloudKitCacheSnapshot::decodeJSON(persistence.readCacheSnapshot().value());
  EXPECT_EQ(written.localCommit, 1);
  written.localCommit.reset();
  EXPECT_EQ(written, cache.snapshot());
}

} // namespace
} // namespace vantrel
