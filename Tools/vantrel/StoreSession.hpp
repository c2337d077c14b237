#pragma once

#include "Linux/CommandWidgetCenter.hpp"
#include "Tools/vantrel/CommandEnvironment.hpp"
#include "VantrelCore/Platform/ExclusiveFileLock.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace vantrel::cli {

/// One run of a command against the profile's store: the profile locked for the whole run, the store
/// restored from disk and started against the cloud database (zone and schema made when missing), or on
/// its cache alone when the cloud cannot be used; at the end, sent and saved.
///
/// One writer per profile: two runs that both restored the same snapshot would each save their own, and
/// the later one would drop what the earlier one added. So every run that opens the store holds the
/// profile's lock file until it ends; a second run waits for it (saying so on standard error) and gives up
/// after a minute (VANTREL_LOCK_TIMEOUT seconds, when set). Readers that never write (the widget) take no
/// lock: every file is replaced whole, so they never see half of one. Two kinds of file are written
/// outside it, each under a lock of its own and each read afresh before it is changed: the widget's action
/// queue, so that a tap never waits for a sync, and the preference files.
class StoreSession {
public:
  static constexpr std::chrono::seconds defaultLockTimeout{60};

  /// `offline`: the user asked for no cloud in this run; a profile that holds records then starts on them
  /// alone, neither sending nor fetching (a new profile still meets the cloud once, to learn its account).
  StoreSession(const CommandEnvironment& environment, bool offline);

  CloudKitStore& store() { return *store_; }
  /// Sends what waits (unless offline), fetches, and writes a save point and the sync status before the
  /// program ends. Answers the banner message this run raised (a conflict, a failed send), if any. Throws
  /// std::runtime_error when the save point could not be written: then nothing of this run is on disk, and
  /// the command must not report success.
  /// `send` false: a refused command only saves what the run fetched at its start.
  std::optional<std::string> finish(bool send = true);

  /// The profile's lock file: in the folder of the store's own files.
  static std::filesystem::path lockFile(const VantrelPaths& paths);
  /// Takes the profile's lock, waiting as described above.
  static std::unique_ptr<ExclusiveFileLock> lockProfile(const CommandEnvironment& environment);

private:
  const CommandEnvironment& environment_;
  bool offline_;
  std::unique_ptr<ExclusiveFileLock> lock_;
  // A run of the command line is one turn of the owner's loop: what the store schedules runs before
  // the command ends, in order, on this thread.
  ManualExecutor owner_;
  ManualExecutor snapshotQueue_;
  /// Tells the user's widget (their status bar) when a new snapshot is written.
  CommandWidgetCenter widgets_;
  std::unique_ptr<CloudKitStore> store_;
  /// Where the last undoable action waits for the next run: the program ends after every command, and
  /// `vantrel undo` comes as a run of its own.
  std::filesystem::path undoFile_;
  /// Where health, conflicts and the banner wait for the next run.
  std::filesystem::path statusFile_;
  std::optional<UIError> bannerAtStart_;
};

} // namespace vantrel::cli
