#pragma once

#include "VantrelCore/Platform/FileSystem.hpp"
#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/VantrelPaths.hpp"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vantrel {

/// Every file the store keeps: the cache snapshot (in the folder shared with the widget), the sync
/// engines' saved states, the shared-records snapshot, and per record its bookkeeping ("systemfields")
/// and its last server copy ("base"). Every write replaces its file atomically; reading a file that does
/// not exist answers nothing, deleting one is not an error. File-system failures are thrown as they come.
class CloudKitPersistence {
public:
  struct Location {
    std::filesystem::path rootDirectory;
    std::filesystem::path sharedDirectory;

    /// Both folders below `folder`: "CloudKit" for the private files, "Shared" for the widget's.
    static Location directory(const std::filesystem::path& folder);
    /// Application Support + "Vantrel/CloudKit", and the app group container + "Vantrel".
    static Location applicationSupport(const VantrelPaths& paths);
  };

  /// Creates the folders (with their parents, private to the user) when they are missing.
  CloudKitPersistence(Location location, FileSystem& fileSystem);

  const std::filesystem::path& rootDirectory() const { return location_.rootDirectory; }
  const std::filesystem::path& sharedDirectory() const { return location_.sharedDirectory; }
  FileSystem& fileSystem() const { return fileSystem_; }

  std::filesystem::path cacheSnapshotURL() const { return sharedDirectory() / "cache-snapshot.json"; }
  std::filesystem::path syncEngineStateURL() const { return rootDirectory() / "sync-engine-state.bin"; }
  std::filesystem::path sharedSyncEngineStateURL() const {
    return rootDirectory() / "sync-engine-state-shared.bin";
  }
  std::filesystem::path sharedRecordsSnapshotURL() const { return rootDirectory() / "shared-records.bin"; }
  /// The changes waiting to be sent, with their records (PendingChangeJournal).
  std::filesystem::path pendingChangesURL() const { return rootDirectory() / "pending-changes.json"; }
  std::filesystem::path systemFieldsDirectory() const { return rootDirectory() / "systemfields"; }
  std::filesystem::path baseRecordsDirectory() const { return rootDirectory() / "base"; }

  std::optional<std::string> readCacheSnapshot() const { return read(cacheSnapshotURL()); }
  void writeCacheSnapshot(std::string_view data) const { write(data, cacheSnapshotURL()); }
  void deleteCacheSnapshot() const { remove(cacheSnapshotURL()); }

  std::optional<std::string> readSyncEngineState() const { return read(syncEngineStateURL()); }
  void writeSyncEngineState(std::string_view data) const { write(data, syncEngineStateURL()); }
  void deleteSyncEngineState() const { remove(syncEngineStateURL()); }

  std::optional<std::string> readSharedSyncEngineState() const { return read(sharedSyncEngineStateURL()); }
  void writeSharedSyncEngineState(std::string_view data) const { write(data, sharedSyncEngineStateURL()); }
  void deleteSharedSyncEngineState() const { remove(sharedSyncEngineStateURL()); }

  std::optional<std::string> readSharedRecordsSnapshot() const { return read(sharedRecordsSnapshotURL()); }
  void writeSharedRecordsSnapshot(std::string_view data) const { write(data, sharedRecordsSnapshotURL()); }
  void deleteSharedRecordsSnapshot() const { remove(sharedRecordsSnapshotURL()); }

  std::optional<std::string> readPendingChanges() const { return read(pendingChangesURL()); }
  void writePendingChanges(std::string_view data) const { write(data, pendingChangesURL()); }
  void deletePendingChanges() const { remove(pendingChangesURL()); }

  /// Keeps an unreadable file for a person to look at, as `file` + ".damaged" (replacing an older one),
  /// so that the next write does not destroy the evidence. A failure is logged on `logger`: the file then
  /// stays, and is replaced by the next write like any other.
  void setAside(const std::filesystem::path& file, const Logger& logger) const;

  std::optional<std::string> readSystemFields(std::string_view recordType, std::string_view recordName) const;
  void writeSystemFields(std::string_view data, std::string_view recordType,
                         std::string_view recordName) const;
  void deleteSystemFields(std::string_view recordType, std::string_view recordName) const;
  /// Removes the bookkeeping of `recordName` under whatever record type it was kept.
  void deleteSystemFieldsByName(std::string_view recordName) const;
  void wipeAllSystemFields() const;

  /// What the store keeps of one record as the server holds it: its bookkeeping, its whole record, or both.
  struct ServerCopy {
    std::string recordType{};
    std::string recordName{};
    std::optional<std::string> systemFields{};
    std::optional<std::string> baseRecord{};
  };
  /// Writes the system fields and base copies of many records, each file atomically, with one sync for
  /// all of them: what a fetched batch costs stays near what writing its bytes costs.
  void writeServerCopies(std::span<const ServerCopy> copies) const;

  bool hasBaseRecord(std::string_view recordName) const;
  std::optional<std::string> readBaseRecord(std::string_view recordName) const;
  void writeBaseRecord(std::string_view data, std::string_view recordName) const;
  void deleteBaseRecord(std::string_view recordName) const;

  /// How a record type or name appears in a file name: ASCII letters, digits and "-" stay, every other
  /// byte becomes "%XX". That is reversible, keeps "/" and ".." out of the name, and since "_" is escaped
  /// too, the "__" between type and name is never ambiguous. A name too long for a file name is written
  /// as "~" and its SHA-256.
  static std::string fileNameComponent(std::string_view text);

private:
  std::optional<std::string> read(const std::filesystem::path& file) const;
  void write(std::string_view data, const std::filesystem::path& file) const;
  void remove(const std::filesystem::path& file) const;
  std::filesystem::path systemFieldsFile(std::string_view recordType, std::string_view recordName) const;
  std::filesystem::path baseRecordFile(std::string_view recordName) const;

  Location location_;
  FileSystem& fileSystem_;
};

} // namespace vantrel
