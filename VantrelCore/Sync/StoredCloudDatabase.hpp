#pragma once

#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Sync/CloudDatabase.hpp"
#include "VantrelCore/Sync/CloudStorage.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// The cloud database's rules over any storage: change tags and conflicts, atomic zones, deleteSelf
/// cascades, and change feeds whose tokens never skip a change. One object is one device signed in to
/// one account; several objects on one storage are several devices, or several accounts.
///
/// Change tags are the zone's generation and the change's sequence number, so a tag never repeats, not
/// even in a zone deleted and made again. Tokens carry the same two numbers: a token from an older
/// generation, or from before the oldest change still served, is expired.
///
/// One record that cannot be read back (bytes that do not decode, or that hold another record than the one
/// stored under that name) holds back no other. A zone fetch reports it among `unreadableRecords` and
/// moves its token past it; fetching it alone fails with badDatabase. In a modify, a save over it that
/// would need its values (to merge them, or to show them in a conflict) fails with badDatabase naming
/// it, and only that item, unless atomic; a save with its current change tag (the client saw the latest
/// version, so its values are the latest) or of all keys needs none of them and replaces it with the
/// client's values and fresh bookkeeping; a delete removes it. Both repair it.
///
/// Text that is not UTF-8 comes back repaired (the archive does it for every reader); a save whose record
/// ID or type is not UTF-8 is refused with invalidArguments, since it could not be read back as sent.
///
/// Counters (change sequences, zone generations) that would pass the largest 64-bit number fail the call
/// with badDatabase and write nothing: use never gets there, only a damaged or forged file does.
///
/// Sharing is not built yet: the share calls fail with internalError saying so, and the shared database
/// holds no zones.
class StoredCloudDatabase : public CloudDatabase {
public:
  /// Signed in to `userRecordName`, or with none to the storage's own account (made on first use).
  StoredCloudDatabase(CloudStorage& storage, const Clock& clock,
                      std::optional<std::string> userRecordName = {});

  const std::string& userRecordName() const { return user_; }
  /// Signs in to another account, as a device whose user changed does.
  void signIn(std::string userRecordName);
  /// Every call but accountStatus() then fails with notAuthenticated.
  void signOut();
  /// Deletes a private zone for another reason than an app's request: the user purging the app's data
  /// (saves into it then fail with userDeletedZone until it is made again), or an encrypted-data reset.
  void removeZone(const CloudRecordZoneID& zoneID, CloudZoneDeletionReason reason);

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
  class ZoneBatch;

  void requireAccount() const;
  /// The zone's name in the private database; throws zoneNotFound for the shared database, which holds
  /// none, and for a zone of another owner.
  std::string privateZoneName(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) const;
  /// zoneNotFound, or userDeletedZone when the user purged the zone.
  CloudError missingZoneError(CloudStorageTransaction& storage, const std::string& zoneName) const;

  CloudStorage& storage_;
  const Clock& clock_;
  std::string user_;
  bool signedIn_ = true;
};

} // namespace vantrel
