#include "Tools/vantrel/StoreSession.hpp"

#include "Linux/JSONFilePreferences.hpp"
#include "Linux/SQLiteCloudDatabase.hpp"
#include "Tools/vantrel/ReminderSchedule.hpp"
#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace vantrel::cli {
namespace {

const Logger& logger() {
  static const Logger logger("com.vantrel.vantrel", "CommandLine");
  return logger;
}

std::chrono::milliseconds lockTimeout() {
  if (const char* text = std::getenv("VANTREL_LOCK_TIMEOUT")) {
    char* end = nullptr;
    const double seconds = std::strtod(text, &end);
    if (end != text && *end == '\0' && seconds >= 0 && seconds <= 86400) {
      return std::chrono::milliseconds(std::int64_t(seconds * 1000));
    }
    throw std::invalid_argument("VANTREL_LOCK_TIMEOUT must be a number of seconds, got '" +
                                std::string(text) + "'");
  }
  return StoreSession::defaultLockTimeout;
}

// A temp file older than this belongs to a run that was killed: every writer replaces its files within
// moments, and only a run holding the profile's lock writes here.
constexpr auto staleTempFileAge = std::chrono::minutes(1);

void removeStaleTempFiles(const CloudKitPersistence& persistence,
                          const std::filesystem::path& supportFolder) {
  for (const auto& folder :
       {persistence.rootDirectory(), persistence.sharedDirectory(), persistence.systemFieldsDirectory(),
        persistence.baseRecordsDirectory(), supportFolder}) {
    try {
      if (const auto removed = AtomicFileWriter::removeStaleTempFiles(folder, staleTempFileAge)) {
        logger().info("Removed %ld temp files a stopped run left in %s", std::int64_t(removed),
                      folder.string());
      }
    } catch (const std::exception& error) {
      logger().error("Could not remove old temp files: %@", error.what());
    }
  }
}

} // namespace

std::filesystem::path StoreSession::lockFile(const VantrelPaths& paths) {
  return paths.applicationSupportDirectory / "Vantrel" / "profile.lock";
}

std::unique_ptr<ExclusiveFileLock> StoreSession::lockProfile(const CommandEnvironment& environment) {
  const auto lock = lockFile(environment.paths());
  environment.fileSystem().createDirectories(lock.parent_path());
  return std::make_unique<ExclusiveFileLock>(
      environment.fileSystem(), lock, lockTimeout(), [&output = environment.output()](auto holder) {
        output.warn("waiting for another vantrel run on this profile" +
                    (holder ? " (process " + std::to_string(*holder) + ")" : std::string()) + " to finish");
      });
}

StoreSession::StoreSession(const CommandEnvironment& environment, bool offline)
    : environment_(environment), offline_(offline),
      widgets_(
          JSONFilePreferences::shared(environment.paths())->string(CommandWidgetCenter::reloadCommandKey)),
      undoFile_(environment.paths().applicationSupportDirectory / "Vantrel" / "undo.json"),
      statusFile_(environment.paths().applicationSupportDirectory / "Vantrel" / "sync-status.json") {
  FileSystem& files = environment.fileSystem();
  lock_ = lockProfile(environment);

  const auto cloudFile = environment.cloudDatabaseFile();
  files.createDirectories(cloudFile.parent_path());
  store_ = std::make_unique<CloudKitStore>(
      CloudKitPersistence(CloudKitPersistence::Location::applicationSupport(environment.paths()), files),
      CloudKitStore::Environment{.clock = environment.clock(),
                                 .owner = owner_,
                                 .snapshotQueue = snapshotQueue_,
                                 .openContainer =
                                     [cloudFile, &clock = environment.clock()](std::string_view) {
                                       return std::make_unique<SQLiteCloudDatabase>(cloudFile, clock);
                                     },
                                 .automaticallySync = false,
                                 .widgets = &widgets_});
  removeStaleTempFiles(store_->persistence(), undoFile_.parent_path());
  if (const auto saved = files.readFile(statusFile_)) {
    try {
      store_->restoreSyncStatus(SyncStatus::decodeJSON(*saved));
    } catch (const DecodingError& error) {
      logger().error("Ignoring the saved sync status: %@", error.what());
    }
  }
  bannerAtStart_ = store_->lastUIError();
  try {
    if (offline_ && store_->cache().recordCount() > 0) {
      store_->startLocalOnly();
    } else {
      store_->start();
    }
    store_->runFirstLaunchFlow();
  } catch (const CloudKitStoreError& error) {
    if (error.kind() == CloudKitStoreError::Kind::noICloudAccount || store_->cache().recordCount() == 0) {
      throw std::runtime_error("CloudKit start failed: " + std::string(error.what()));
    }
    store_->startOffline(error);
  } catch (const std::exception& error) {
    if (store_->cache().recordCount() == 0) {
      throw std::runtime_error("CloudKit start failed: " + std::string(error.what()));
    }
    store_->startOffline(error);
  }
  owner_.drain();
  if (const auto saved = files.readFile(undoFile_)) {
    try {
      store_->setLastUndoable(UndoableAction::decodeJSON(*saved));
    } catch (const DecodingError& error) {
      logger().error("Ignoring the saved undo action: %@", error.what());
    }
  }
}

std::optional<std::string> StoreSession::finish(bool send) {
  if (send && !offline_ && !store_->isOffline()) {
    store_->syncEngine()->sendChanges();
    store_->syncNow();
  }
  owner_.drain();
  store_->flushSnapshotSynchronously();
  snapshotQueue_.drain();
  owner_.drain();
  if (const auto write = store_->lastSnapshotWrite(); write && write->errorDescription) {
    throw std::runtime_error("could not save the planner's data: " + *write->errorDescription);
  }
  // What follows is about this device's conveniences; the planner's data is safe on disk already.
  FileSystem& files = environment_.fileSystem();
  try {
    if (const auto& action = store_->lastUndoable()) {
      AtomicFileWriter(files).writeString(action->encodeJSON(), undoFile_);
    } else {
      files.removeFile(undoFile_);
    }
    AtomicFileWriter(files).writeString(store_->syncStatus().encodeJSON(), statusFile_);
  } catch (const std::exception& error) {
    logger().error("Could not keep the undo action and sync status: %@", error.what());
  }
  // Gaps, their bells or the day may have changed: the week's reminders follow.
  if (gapRemindersEnabled(environment_)) {
    try {
      rescheduleGapReminders(store_->cache(), environment_);
    } catch (const std::exception& error) {
      logger().error("Gap reminders not rescheduled: %@", error.what());
    }
  }
  const auto& banner = store_->lastUIError();
  return banner && banner != bannerAtStart_ ? std::optional(banner->summary) : std::nullopt;
}

} // namespace vantrel::cli
