#pragma once

#include <chrono>
#include <functional>
#include <optional>

namespace vantrel {

/// An exclusive lock on a lock file, taken by FileSystem::lockExclusive and held until the object ends.
/// While it is held the lock file names the holder's process, so that a run that finds the lock taken can
/// say whom it waits for; releasing clears the name first.
class FileLock {
public:
  /// A process as the system numbers it.
  using ProcessID = int;
  /// Called when the lock is found taken, with the holder's id when it could be read.
  using TakenHandler = std::function<void(std::optional<ProcessID> holder)>;

  /// How long lockExclusive waits for a lock another process holds.
  struct Wait {
    /// None: as long as it takes.
    std::optional<std::chrono::milliseconds> timeout;
    /// Called once, before waiting, when the lock is taken.
    TakenHandler onTaken;
  };

  virtual ~FileLock() = default;
};

} // namespace vantrel
