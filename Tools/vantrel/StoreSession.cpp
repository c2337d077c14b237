#include "Tools/vantrel/StoreSession.hpp"

#include "Linux/JSONFilePreferences.hpp"
#include "Linux/PosixFileSystem.hpp"
#include "Linux/SQLiteCloudDatabase.hpp"
#include "Tools/vantrel/ReminderSchedule.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/Logger.hpp"

#include <filesystem>

namespace vantrel::cli {

StoreSession::StoreSession(const CommandEnvironment& environment)
    : widgets_(
          JSONFilePreferences::shared(environment.paths())->string(CommandWidgetCenter::reloadCommandKey)),
      undoFile_(environment.paths().applicationSupportDirectory / "Vantrel" / "undo.json"),
      statusFile_(environment.paths().applicationSupportDirectory / "Vantrel" / "sync-status.json"),
      environment_(environment) {
  const auto cloudFile = environment.cloudDatabaseFile();
  std::filesystem::create_directories(cloudFile.parent_path());
  store_ = std::make_unique<CloudKitStore>(
      CloudKitPersistence(CloudKitPersistence::Location::applicationSupport(environment.paths()),
                          environment.fileSystem()),
      CloudKitStore::Environment{.clock = environment.clock(),
                                 .owner = owner_,
                                 .snapshotQueue = snapshotQueue_,
                                 .openContainer =
                                     [cloudFile, &clock = environment.clock()](std::string_view) {
                                       return std::make_unique<SQLiteCloudDatabase>(cloudFile, clock);
                                     },
                                 .automaticallySync = false,
                                 .widgets = &widgets_});
  const Logger logger("com.vantrel.vantrel", "CommandLine");
  if (const auto saved = environment.fileSystem().readFile(statusFile_)) {
    try {
      store_->restoreSyncStatus(SyncStatus::decodeJSON(*saved));
    } catch (const DecodingError& error) {
      logger.error("Ignoring the saved sync status: %@", error.what());
    }
  }
  bannerAtStart_ = store_->lastUIError();
  store_->start();
  store_->runFirstLaunchFlow();
  owner_.drain();
  if (const auto saved = environment.fileSystem().readFile(undoFile_)) {
    try {
      store_->setLastUndoable(UndoableAction::decodeJSON(*saved));
    } catch (const DecodingError& error) {
      logger.error("Ignoring the saved undo action: %@", error.what());
    }
  }
}

std::optional<std::string> StoreSession::finish(bool offline) {
  if (!offline) {
    store_->syncEngine()->sendChanges();
    store_->syncNow();
  }
  owner_.drain();
  store_->flushSnapshotSynchronously();
  snapshotQueue_.drain();
  if (const auto& action = store_->lastUndoable()) {
    AtomicFileWriter(environment_.fileSystem()).writeString(action->encodeJSON(), undoFile_);
  } else {
    environment_.fileSystem().removeFile(undoFile_);
  }
  AtomicFileWriter(environment_.fileSystem()).writeString(store_->syncStatus().encodeJSON(), statusFile_);
  // Gaps, their bells or the day may have changed: the week's reminders follow.
  if (gapRemindersEnabled(environment_)) {
    try {
      rescheduleGapReminders(store_->cache(), environment_);
    } catch (const std::exception& error) {
      Logger("com.vantrel.vantrel", "CommandLine").error("Gap reminders not rescheduled: %@", error.what());
    }
  }
  const auto& banner = store_->lastUIError();
  return banner && banner != bannerAtStart_ ? std::optional(banner->summary) : std::nullopt;
}

} // namespace vantrel::cli
