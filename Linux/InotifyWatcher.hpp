#pragma once

#include "Linux/UniqueFileDescriptor.hpp"

#include <array>
#include <chrono>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vantrel {

/// Changes in folders, through inotify: one watch per folder (a watch does not reach into sub-folders, so
/// whoever watches a tree watches each new folder), events read and decoded in the order they happened.
/// Used from one thread, except wake(), which any thread may call.
class InotifyWatcher {
public:
  enum class Kind {
    created,
    /// A file opened for writing was closed.
    written,
    movedIn,
    movedOut,
    deleted,
    /// The watched folder itself went away or moved.
    folderDeleted,
    folderMoved,
    /// The watch ended: removed, or its folder is gone. Reported whatever the watch asked for.
    unwatched,
    /// The system dropped events: whoever watches must look at everything again. Reported whatever
    /// the watch asked for.
    overflow,
  };
  struct Event {
    Kind kind;
    /// The watch that saw it; -1 for an overflow.
    int watch;
    /// The entry's name in the watched folder; empty when the event is about the folder itself.
    std::string name;
    bool isFolder;
  };
  /// What ended a wait. `none`: the time passed, or a signal interrupted it.
  enum class Ready { events, woken, none };

  /// Every kind a watch can ask for; the other two come unasked.
  static constexpr std::array everyChange{Kind::created,    Kind::written, Kind::movedIn,
                                          Kind::movedOut,   Kind::deleted, Kind::folderDeleted,
                                          Kind::folderMoved};

  /// Throws std::system_error naming the call that failed.
  InotifyWatcher();

  /// Starts reporting `kinds` of changes in `folder`, which must be a folder, and answers the watch that
  /// events carry. Watching a folder again answers the same watch, now reporting the new kinds. Throws
  /// FileSystemError.
  int watch(const std::filesystem::path& folder, std::span<const Kind> kinds = everyChange);
  /// Stops a watch; its end is still reported as `unwatched`.
  void unwatch(int watch);
  /// The events waiting now, oldest first; empty when none wait. Never blocks.
  std::vector<Event> readEvents();
  /// Waits for events, for wake(), or for `timeout` to pass (none: no limit). Woken has the last word: a
  /// woken watcher answers `woken` to every wait. Throws std::system_error when waiting fails.
  Ready wait(std::optional<std::chrono::milliseconds> timeout);
  /// Ends the current wait and every later one.
  void wake();
  /// Readable when events wait, for a caller that waits on other descriptors as well.
  int descriptor() const { return inotify_.get(); }

private:
  UniqueFileDescriptor inotify_;
  UniqueFileDescriptor wake_;
};

} // namespace vantrel
