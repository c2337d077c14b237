#include "tests/Support/InMemoryCloudDatabase.hpp"

#include <set>
#include <utility>
#include <variant>

namespace vantrel::testing {

InMemoryCloudDatabase::InMemoryCloudDatabase(const Clock& clock)
    : storage_(std::make_shared<InMemoryCloudStorage>()), clock_(clock), database_(*storage_, clock_) {}

InMemoryCloudDatabase::InMemoryCloudDatabase(const InMemoryCloudDatabase& sameServer,
                                             std::optional<std::string> userRecordName)
    : storage_(sameServer.storage_), clock_(sameServer.clock_),
      database_(*storage_, clock_, userRecordName ? std::move(userRecordName) : sameServer.userRecordName()) {
}

void InMemoryCloudDatabase::failNextCalls(int count, const CloudError& error) {
  failingCalls_ = count;
  callError_ = error;
}

void InMemoryCloudDatabase::failItems(const std::string& recordName, const CloudError& error, int count) {
  itemFaults_.insert_or_assign(recordName, std::pair{count, error});
}

void InMemoryCloudDatabase::removeZone(const CloudRecordZoneID& zoneID, CloudZoneDeletionReason reason) {
  database_.removeZone(zoneID, reason);
}

void InMemoryCloudDatabase::failIfDue() {
  if (failingCalls_ > 0) {
    --failingCalls_;
    throw *callError_;
  }
}

std::optional<CloudError> InMemoryCloudDatabase::itemFault(const std::string& recordName, bool isSave) {
  if (isSave && quotaExceeded_) {
    return CloudError(CloudErrorCode::quotaExceeded);
  }
  const auto fault = itemFaults_.find(recordName);
  if (fault == itemFaults_.end()) {
    return std::nullopt;
  }
  CloudError error = fault->second.second;
  if (--fault->second.first == 0) {
    itemFaults_.erase(fault);
  }
  return error;
}

CloudRecordID InMemoryCloudDatabase::fetchUserRecordID() {
  failIfDue();
  return database_.fetchUserRecordID();
}

std::vector<CloudRecordZoneID> InMemoryCloudDatabase::fetchAllRecordZones(CloudDatabaseScope scope) {
  failIfDue();
  return database_.fetchAllRecordZones(scope);
}

CloudRecordZoneID InMemoryCloudDatabase::fetchRecordZone(CloudDatabaseScope scope,
                                                         const CloudRecordZoneID& zoneID) {
  failIfDue();
  return database_.fetchRecordZone(scope, zoneID);
}

void InMemoryCloudDatabase::saveRecordZone(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) {
  failIfDue();
  database_.saveRecordZone(scope, zoneID);
}

void InMemoryCloudDatabase::deleteRecordZone(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) {
  failIfDue();
  database_.deleteRecordZone(scope, zoneID);
}

CloudRecord InMemoryCloudDatabase::fetchRecord(CloudDatabaseScope scope, const CloudRecordID& recordID) {
  failIfDue();
  return database_.fetchRecord(scope, recordID);
}

// Injected item failures are merged into the real ones. In an atomic modify, the other items of a
// failing item's zone are held back and answer batchRequestFailed, as the database itself does.
CloudModifyResult InMemoryCloudDatabase::modifyRecords(CloudDatabaseScope scope,
                                                       const CloudModifyRequest& request) {
  ++modifyCalls_;
  failIfDue();
  std::vector<std::optional<CloudError>> saveFaults;
  std::vector<std::optional<CloudError>> deleteFaults;
  std::set<CloudRecordZoneID> failingZones;
  for (const auto& record : request.recordsToSave) {
    saveFaults.push_back(itemFault(record.recordID().recordName, true));
    if (saveFaults.back()) {
      failingZones.insert(record.recordID().zoneID);
    }
  }
  for (const auto& recordID : request.recordIDsToDelete) {
    deleteFaults.push_back(itemFault(recordID.recordName, false));
    if (deleteFaults.back()) {
      failingZones.insert(recordID.zoneID);
    }
  }
  const auto heldBack = [&](const CloudRecordZoneID& zoneID) {
    return request.atomically && failingZones.contains(zoneID);
  };

  CloudModifyRequest passed{.savePolicy = request.savePolicy, .atomically = request.atomically};
  for (std::size_t index = 0; index < request.recordsToSave.size(); ++index) {
    if (!saveFaults[index] && !heldBack(request.recordsToSave[index].recordID().zoneID)) {
      passed.recordsToSave.push_back(request.recordsToSave[index]);
    }
  }
  for (std::size_t index = 0; index < request.recordIDsToDelete.size(); ++index) {
    if (!deleteFaults[index] && !heldBack(request.recordIDsToDelete[index].zoneID)) {
      passed.recordIDsToDelete.push_back(request.recordIDsToDelete[index]);
    }
  }
  CloudModifyResult applied = database_.modifyRecords(scope, passed);
  if (auto action = std::exchange(inFlight_, nullptr)) {
    action();
  }
  if (lostResponses_ > 0) {
    --lostResponses_;
    throw CloudError(CloudErrorCode::serverResponseLost);
  }

  CloudModifyResult result;
  const CloudError notApplied(CloudErrorCode::batchRequestFailed);
  auto nextSave = applied.saveResults.begin();
  for (std::size_t index = 0; index < request.recordsToSave.size(); ++index) {
    const CloudRecordID& recordID = request.recordsToSave[index].recordID();
    if (saveFaults[index]) {
      result.saveResults.emplace_back(recordID, *saveFaults[index]);
    } else if (heldBack(recordID.zoneID)) {
      result.saveResults.emplace_back(recordID, notApplied);
    } else {
      result.saveResults.push_back(std::move(*nextSave++));
    }
  }
  auto nextDelete = applied.deleteResults.begin();
  for (std::size_t index = 0; index < request.recordIDsToDelete.size(); ++index) {
    const CloudRecordID& recordID = request.recordIDsToDelete[index];
    if (deleteFaults[index]) {
      result.deleteResults.emplace_back(recordID, *deleteFaults[index]);
    } else if (heldBack(recordID.zoneID)) {
      result.deleteResults.emplace_back(recordID, notApplied);
    } else {
      result.deleteResults.push_back(std::move(*nextDelete++));
    }
  }
  return result;
}

CloudDatabaseChanges
InMemoryCloudDatabase::fetchDatabaseChanges(CloudDatabaseScope scope,
                                            const std::optional<CloudChangeToken>& since) {
  failIfDue();
  return database_.fetchDatabaseChanges(scope, since);
}

CloudZoneChanges InMemoryCloudDatabase::fetchZoneChanges(CloudDatabaseScope scope,
                                                         const CloudRecordZoneID& zoneID,
                                                         const std::optional<CloudChangeToken>& since,
                                                         std::size_t resultsLimit) {
  failIfDue();
  return database_.fetchZoneChanges(scope, zoneID, since, resultsLimit);
}

std::int64_t InMemoryCloudDatabase::changeCounter() {
  failIfDue();
  return database_.changeCounter();
}

CloudShare InMemoryCloudDatabase::saveShare(const CloudShare& share) {
  failIfDue();
  return database_.saveShare(share);
}

CloudShare InMemoryCloudDatabase::fetchShare(const std::string& url) {
  failIfDue();
  return database_.fetchShare(url);
}

void InMemoryCloudDatabase::acceptShare(const CloudShare& share) {
  failIfDue();
  database_.acceptShare(share);
}

} // namespace vantrel::testing
