#include "VantrelCore/Sync/UnreachableCloudDatabase.hpp"

#include "VantrelCore/Sync/CloudError.hpp"

namespace vantrel {

UnreachableCloudDatabase::UnreachableCloudDatabase(std::string reason) : reason_(std::move(reason)) {}

void UnreachableCloudDatabase::fail() const {
  throw CloudError(CloudErrorCode::networkUnavailable, "The cloud database cannot be reached: " + reason_);
}

CloudAccountStatus UnreachableCloudDatabase::accountStatus() {
  fail();
}
CloudRecordID UnreachableCloudDatabase::fetchUserRecordID() {
  fail();
}
std::vector<CloudRecordZoneID> UnreachableCloudDatabase::fetchAllRecordZones(CloudDatabaseScope) {
  fail();
}
CloudRecordZoneID UnreachableCloudDatabase::fetchRecordZone(CloudDatabaseScope, const CloudRecordZoneID&) {
  fail();
}
void UnreachableCloudDatabase::saveRecordZone(CloudDatabaseScope, const CloudRecordZoneID&) {
  fail();
}
void UnreachableCloudDatabase::deleteRecordZone(CloudDatabaseScope, const CloudRecordZoneID&) {
  fail();
}
CloudRecord UnreachableCloudDatabase::fetchRecord(CloudDatabaseScope, const CloudRecordID&) {
  fail();
}
CloudModifyResult UnreachableCloudDatabase::modifyRecords(CloudDatabaseScope, const CloudModifyRequest&) {
  fail();
}
CloudDatabaseChanges UnreachableCloudDatabase::fetchDatabaseChanges(CloudDatabaseScope,
                                                                    const std::optional<CloudChangeToken>&) {
  fail();
}
CloudZoneChanges UnreachableCloudDatabase::fetchZoneChanges(CloudDatabaseScope, const CloudRecordZoneID&,
                                                            const std::optional<CloudChangeToken>&,
                                                            std::size_t) {
  fail();
}
std::int64_t UnreachableCloudDatabase::changeCounter() {
  fail();
}
CloudShare UnreachableCloudDatabase::saveShare(const CloudShare&) {
  fail();
}
CloudShare UnreachableCloudDatabase::fetchShare(const std::string&) {
  fail();
}
void UnreachableCloudDatabase::acceptShare(const CloudShare&) {
  fail();
}

} // namespace vantrel
