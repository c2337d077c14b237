#pragma once

#include "VantrelCore/Sync/CloudStorage.hpp"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace vantrel::testing {

/// The server's storage in memory: what the cloud database's rules run on in tests. A transaction works
/// on a copy of everything and keeps it only when it returns, which is all a test needs of rollback.
/// Records are kept as the bytes of CloudRecord::wholeRecordData() and read back through the archive, as
/// a real storage does, so that bytes can go bad here too.
class InMemoryCloudStorage : public CloudStorage {
public:
  void transact(const std::function<void(CloudStorageTransaction&)>& work) override;

  /// Stops serving every change token issued so far, as a server that pruned its history does.
  void expireChangeTokens();
  /// Replaces the bytes of a current record, as a damaged disk or a foreign writer would; its type, change
  /// tag and place in the change feed stay.
  void replaceRecordData(const std::string& owner, const std::string& zoneName, const std::string& recordName,
                         std::string data);

private:
  struct Version {
    std::optional<std::string> changeTag{};
    std::string data{};
  };
  struct Entry {
    std::string recordType{};
    std::int64_t sequence = 0;
    /// The current version; nothing once deleted.
    std::optional<Version> current{};
    std::vector<std::string> deleteSelfTargets{};
    /// Oldest first, the current one last.
    std::vector<Version> versions{};
  };
  struct Zone {
    CloudStoredZone stored{};
    std::map<std::string, Entry> entries{};
  };
  struct Owner {
    std::int64_t databaseSequence = 0;
    std::map<std::string, Zone> zones{};
    std::vector<CloudStoredZoneDeletion> deletions{};
  };
  struct State {
    std::map<std::string, std::string> values{};
    std::map<std::string, Owner> owners{};
  };
  class Transaction;

  std::mutex mutex_{};
  State state_;
};

} // namespace vantrel::testing
