#pragma once

#include "Linux/SQLiteCloudStorage.hpp"
#include "VantrelCore/Sync/StoredCloudDatabase.hpp"

#include <filesystem>
#include <optional>
#include <string>

namespace vantrel {

/// Holds the storage ahead of the database base class, which needs it built first.
struct SQLiteCloudStorageHolder {
  SQLiteCloudStorage storage;
};

/// The embedded cloud database: the cloud's rules on one SQLite file, which several processes and
/// profiles share as several devices. The file keeps its own account, made on first use; naming another
/// user record name signs in to another account in the same file. A file that cannot be used fails the
/// constructor with CloudError (see SQLiteCloudStorage), so that a caller can go on without the cloud.
class SQLiteCloudDatabase : private SQLiteCloudStorageHolder, public StoredCloudDatabase {
public:
  SQLiteCloudDatabase(std::filesystem::path file, const Clock& clock,
                      std::optional<std::string> userRecordName = std::nullopt)
      : SQLiteCloudStorageHolder{SQLiteCloudStorage(std::move(file))},
        StoredCloudDatabase(storage, clock, std::move(userRecordName)) {}
};

} // namespace vantrel
