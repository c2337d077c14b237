#pragma once

#include "VantrelCore/Sync/CloudDatabase.hpp"

#include <string>

namespace vantrel {

/// A cloud database that cannot be reached: every call fails with networkUnavailable and the reason it
/// was given. A store that could not start keeps its engines on one, so that writes queue as they would
/// without a network, and a later run sends them.
class UnreachableCloudDatabase final : public CloudDatabase {
public:
  explicit UnreachableCloudDatabase(std::string reason);

  CloudAccountStatus accountStatus() override;
  CloudRecordID fetchUserRecordID() override;
  std::vector<CloudRecordZoneID> fetchAllRecordZones(CloudDatabaseScope scope) override;
  CloudRecordZoneID fetchRecordZone(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) override;
  void saveRecordZone(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) override;
  void deleteRecordZone(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) override;
  CloudRecord fetchRecord(CloudDatabaseScope scope, const CloudRecordID& recordID) override;
  CloudModifyResult modifyRecords(CloudDatabaseScope scope, const CloudModifyRequest& request) override;
  CloudDatabaseChanges fetchDatabaseChanges(CloudDatabaseScope scope,
                                            const std::optional<CloudChangeToken>& since) override;
  CloudZoneChanges fetchZoneChanges(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID,
                                    const std::optional<CloudChangeToken>& since,
                                    std::size_t resultsLimit) override;
  std::int64_t changeCounter() override;
  CloudShare saveShare(const CloudShare& share) override;
  CloudShare fetchShare(const std::string& url) override;
  void acceptShare(const CloudShare& share) override;

private:
  [[noreturn]] void fail() const;

  std::string reason_;
};

} // namespace vantrel
