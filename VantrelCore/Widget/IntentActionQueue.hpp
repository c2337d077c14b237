#pragma once

#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Platform/FileSystem.hpp"
#include "VantrelCore/Platform/UUIDGenerator.hpp"
#include "VantrelCore/Widget/PendingIntentAction.hpp"

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// The actions the widget and shortcuts recorded for the planner, in "intent-actions.json" of the folder
/// shared with the widget. Stateless: every call reads the file, and every change replaces it atomically,
/// or deletes it when nothing is left.
///
/// A change reads, edits and writes under a lock file beside the queue, so a toggle recorded while the
/// planner drains is never lost to the race between the two read-then-write sequences. Readers take no
/// lock: the atomic replace already keeps them from seeing half a file.
class IntentActionQueue {
public:
  static constexpr std::string_view fileName = "intent-actions.json";

  /// `sharedDirectory` is none when the shared folder cannot be found: then nothing is recorded and
  /// nothing is pending.
  IntentActionQueue(std::optional<std::filesystem::path> sharedDirectory, FileSystem& fileSystem,
                    const Clock& clock, UUIDGenerator& uuids);

  /// Records one action at the end of the queue. An unreadable queue counts as empty and is replaced.
  /// Throws AtomicWriteError or FileSystemError when the file cannot be written.
  void appendMarkDone(std::string_view taskRecordName, bool done);
  /// The recorded actions in file order; empty when the folder is unknown or the file is missing, empty
  /// or does not decode.
  std::vector<PendingIntentAction> pending() const;
  /// Removes the actions with these ids, keeping the others (also those appended meanwhile) in order.
  void remove(const std::set<std::string>& ids);
  /// The same for a reader of the queue that records nothing (the planner, after applying actions).
  static void remove(FileSystem& fileSystem, const std::filesystem::path& sharedDirectory,
                     const std::set<std::string>& ids);

  std::optional<std::filesystem::path> fileURL() const;

  /// The queue in `sharedDirectory` as pending() reads it, for readers that never record (the widget).
  static std::vector<PendingIntentAction> read(FileSystem& fileSystem,
                                               const std::filesystem::path& sharedDirectory);

private:
  static void write(FileSystem& fileSystem, const std::filesystem::path& file,
                    const std::vector<PendingIntentAction>& actions);

  std::optional<std::filesystem::path> sharedDirectory_;
  FileSystem& fileSystem_;
  const Clock& clock_;
  UUIDGenerator& uuids_;
};

} // namespace vantrel
