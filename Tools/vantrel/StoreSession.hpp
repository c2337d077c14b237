#pragma once

#include "Linux/CommandWidgetCenter.hpp"
#include "Tools/vantrel/CommandEnvironment.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace vantrel::cli {

/// One run of a command against the profile's store: restored from disk, started against the cloud
/// database (zone and schema made when missing), and, at the end, sent and saved.
class StoreSession {
public:
  explicit StoreSession(const CommandEnvironment& environment);

  CloudKitStore& store() { return *store_; }
  /// Sends what waits (unless offline), fetches, and writes the snapshot and the sync status before the
  /// program ends. Answers the banner message this run raised (a conflict, a failed send), if any.
  std::optional<std::string> finish(bool offline);

private:
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
  const CommandEnvironment& environment_;
};

} // namespace vantrel::cli
