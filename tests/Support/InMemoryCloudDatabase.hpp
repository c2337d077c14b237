#pragma once

#include "VantrelCore/Sync/StoredCloudDatabase.hpp"
#include "tests/Support/InMemoryCloudStorage.hpp"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace vantrel::testing {

/// The cloud database in memory, with the faults a real one shows: failing calls, failing items, lost
/// responses, a full quota, zones the user purged, expired tokens and account changes. Several objects
/// on one server act as several devices, or several accounts.
class InMemoryCloudDatabase : public CloudDatabase {
public:
  /// A new, empty server, signed in to its own account.
  explicit InMemoryCloudDatabase(const Clock& clock);
  /// Another device on the same server, signed in to the same account or to `userRecordName`.
  InMemoryCloudDatabase(const InMemoryCloudDatabase& sameServer, std::optional<std::string> userRecordName);

  const std::string& userRecordName() const { return database_.userRecordName(); }
  void signIn(std::string userRecordName) { database_.signIn(std::move(userRecordName)); }
  void signOut() { database_.signOut(); }

  /// The next `count` calls (any but accountStatus) fail as a whole with `error`.
  void failNextCalls(int count, const CloudError& error);
  /// The next `count` saves or deletes of `recordName` fail with `error`, as that item's own failure.
  void failItems(const std::string& recordName, const CloudError& error, int count = 1);
  /// The next `count` modifies are applied, and then answer serverResponseLost.
  void loseNextResponses(int count) { lostResponses_ = count; }
  /// Runs `action` once, inside the next modify, after the server applied it and before the answer
  /// returns: what the user does while a request is in flight.
  void whileNextModifyIsInFlight(std::function<void()> action) { inFlight_ = std::move(action); }
  /// While exceeded, every save fails with quotaExceeded; deletes still go through.
  void setQuotaExceeded(bool exceeded) { quotaExceeded_ = exceeded; }
  /// Deletes the zone as the user or the account would, not the app.
  void removeZone(const CloudRecordZoneID& zoneID, CloudZoneDeletionReason reason);
  void expireChangeTokens() { storage_->expireChangeTokens(); }
  /// Replaces the stored bytes of a record of this account's private database, as a damaged disk would.
  void replaceRecordData(const CloudRecordID& recordID, std::string data) {
    storage_->replaceRecordData(userRecordName(), recordID.zoneID.zoneName, recordID.recordName,
                                std::move(data));
  }
  int modifyCallCount() const { return modifyCalls_; }

  CloudAccountStatus accountStatus() override { return database_.accountStatus(); }
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
  /// Throws the injected failure of the next call, if one is due.
  void failIfDue();
  /// The injected failure of one item, if one is due.
  std::optional<CloudError> itemFault(const std::string& recordName, bool isSave);

  std::shared_ptr<InMemoryCloudStorage> storage_;
  const Clock& clock_;
  StoredCloudDatabase database_;
  int failingCalls_ = 0;
  std::optional<CloudError> callError_;
  std::map<std::string, std::pair<int, CloudError>> itemFaults_;
  int lostResponses_ = 0;
  std::function<void()> inFlight_;
  bool quotaExceeded_ = false;
  int modifyCalls_ = 0;
};

} // namespace vantrel::testing
