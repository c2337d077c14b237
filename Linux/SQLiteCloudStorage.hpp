#pragma once

#include "VantrelCore/Sync/CloudStorage.hpp"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>

namespace vantrel {

/// The server's zones and records in one SQLite file, which several processes and profiles may share.
///
/// Records are kept as the bytes of CloudRecord::wholeRecordData(), with their type and change tag in
/// columns of their own, so those are known even when the bytes no longer read back as a record (which is
/// reported with the record, not thrown). A transaction takes the file's write lock as it begins, so a
/// read-check-write cannot interleave with another writer's, in this process or another. Failures of the
/// storage are thrown as CloudError, from the constructor too: zoneBusy when another writer kept the lock
/// past the busy timeout, which is worth retrying; badDatabase for anything else (a file that cannot be
/// created, opened or written, is not a database, is damaged, or was written by a newer schema), on which
/// a caller can only go on without the cloud; each description names the file.
///
/// The file, and the -wal, -shm and -journal files beside it, are private to the user (0600) whatever the
/// umask; one of ours that an older version left open to others is made private on opening.
class SQLiteCloudStorage final : public CloudStorage {
public:
  /// Opens `file`, creating it and its tables when missing; its folder must exist. `busyTimeout` is how
  /// long a transaction waits for another writer before it fails with zoneBusy.
  explicit SQLiteCloudStorage(std::filesystem::path file,
                              std::chrono::milliseconds busyTimeout = std::chrono::seconds(10));
  ~SQLiteCloudStorage() override;
  SQLiteCloudStorage(const SQLiteCloudStorage&) = delete;
  SQLiteCloudStorage& operator=(const SQLiteCloudStorage&) = delete;

  /// Threads sharing this object take turns. Calling transact() again from inside `work` is a program
  /// error and throws std::logic_error.
  void transact(const std::function<void(CloudStorageTransaction&)>& work) override;

private:
  /// The SQLite connection with its prepared statements; it is also the transaction handed to `work`.
  class Connection;

  // Recursive, so that a nested transact() on the same thread reaches its check instead of deadlocking.
  std::recursive_mutex mutex_;
  std::unique_ptr<Connection> connection_;
};

} // namespace vantrel
