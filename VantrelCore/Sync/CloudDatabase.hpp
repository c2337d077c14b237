#pragma once

#include "VantrelCore/Sync/CloudAccountStatus.hpp"
#include "VantrelCore/Sync/CloudDatabaseChanges.hpp"
#include "VantrelCore/Sync/CloudDatabaseScope.hpp"
#include "VantrelCore/Sync/CloudModifyRequest.hpp"
#include "VantrelCore/Sync/CloudModifyResult.hpp"
#include "VantrelCore/Sync/CloudRecord.hpp"
#include "VantrelCore/Sync/CloudRecordID.hpp"
#include "VantrelCore/Sync/CloudRecordZoneID.hpp"
#include "VantrelCore/Sync/CloudShare.hpp"
#include "VantrelCore/Sync/CloudZoneChanges.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vantrel {

/// One account's view of the cloud database: its private zones, and the zones others shared with it.
///
/// Calls are synchronous. A call that fails as a whole throws CloudError; a modify reports each item's
/// own failure in its result. Zones in the private database are named with the default owner; zones in
/// the shared database with their owner's user record name.
class CloudDatabase {
public:
  /// Items (saves and deletes together) one modify may carry; more fails with limitExceeded.
  static constexpr std::size_t maximumItemsPerModify = 400;

  virtual ~CloudDatabase() = default;

  virtual CloudAccountStatus accountStatus() = 0;
  /// The signed-in user's record ID; notAuthenticated without an account.
  virtual CloudRecordID fetchUserRecordID() = 0;

  virtual std::vector<CloudRecordZoneID> fetchAllRecordZones(CloudDatabaseScope scope) = 0;
  /// The zone; zoneNotFound when it does not exist.
  virtual CloudRecordZoneID fetchRecordZone(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) = 0;
  /// Creates the zone; saving one that exists changes nothing.
  virtual void saveRecordZone(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) = 0;
  /// Deletes the zone with every record in it; zoneNotFound when it does not exist.
  virtual void deleteRecordZone(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) = 0;

  /// The record; unknownItem when absent, zoneNotFound when its zone is.
  virtual CloudRecord fetchRecord(CloudDatabaseScope scope, const CloudRecordID& recordID) = 0;
  /// Saves and deletes records. Deleting a record also deletes every record that points at it with a
  /// `deleteSelf` reference, and those that point at them.
  virtual CloudModifyResult modifyRecords(CloudDatabaseScope scope, const CloudModifyRequest& request) = 0;

  /// Zones changed or deleted since `since` (everything when absent); changeTokenExpired when the
  /// database no longer knows the token.
  virtual CloudDatabaseChanges fetchDatabaseChanges(CloudDatabaseScope scope,
                                                    const std::optional<CloudChangeToken>& since) = 0;
  /// Records changed in the zone since `since`, at most `resultsLimit` of them per call.
  /// A change never appears behind a token that was issued before it was made, so a reader who follows
  /// the tokens sees every change.
  virtual CloudZoneChanges fetchZoneChanges(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID,
                                            const std::optional<CloudChangeToken>& since,
                                            std::size_t resultsLimit) = 0;

  /// A number that moves whenever the signed-in account's private data changes, from any device: the
  /// database's own way of telling that something changed, cheap enough to ask often.
  virtual std::int64_t changeCounter() = 0;

  /// Shares the root record of `share` (in the private database) with its participants; answers the
  /// share as saved, with its link.
  virtual CloudShare saveShare(const CloudShare& share) = 0;
  /// The share a link invites to; unknownItem when there is none.
  virtual CloudShare fetchShare(const std::string& url) = 0;
  /// Joins the share as the signed-in user: the owner's zone then appears in the shared database.
  virtual void acceptShare(const CloudShare& share) = 0;
};

} // namespace vantrel
