#pragma once

#include "Tools/vantrel/CommandEnvironment.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"

#include <filesystem>
#include <memory>

namespace vantrel::cli {

/// One run of a command against the profile's store: restored from disk, started against the cloud
/// database (zone and schema made when missing), and, at the end, sent and saved.
class StoreSession {
public:
  explicit StoreSession(const CommandEnvironment& environment);

  CloudKitStore& store() { return *store_; }
  /// Sends what waits (unless offline), fetches, and writes the snapshot before the program ends.
  void finish(bool offline);

private:
  // A run of the command line is one turn of the owner's loop: what the store schedules runs before
  // the command ends, in order, on this thread.
  ManualExecutor owner_;
  ManualExecutor snapshotQueue_;
  std::unique_ptr<CloudKitStore> store_;
  /// Where the last undoable action waits for the next run: the program ends after every command, and
  /// `vantrel undo` comes as a run of its own.
  std::filesystem::path undoFile_;
};

} // namespace vantrel::cli
