#include "VantrelCore/Store/CloudKitStoreError.hpp"

namespace vantrel {

CloudKitStoreError CloudKitStoreError::zoneSetupFailed(std::string_view underlyingError) {
  return {Kind::zoneSetupFailed, "CloudKit zone setup failed: " + std::string(underlyingError)};
}

CloudKitStoreError CloudKitStoreError::recordNotFound(std::string_view recordType,
                                                      std::string_view recordName) {
  return {Kind::recordNotFound,
          "CloudKit record not found: " + std::string(recordType) + "/" + std::string(recordName)};
}

CloudKitStoreError CloudKitStoreError::areaNotInCache(std::string_view recordName) {
  return {Kind::recordNotFound, "No such area in the cache: " + std::string(recordName)};
}

CloudKitStoreError CloudKitStoreError::areaNotEmpty(std::string_view recordName, std::int64_t projects,
                                                    std::int64_t areaTasks) {
  return {Kind::areaNotEmpty, "area " + std::string(recordName) +
                                  " not empty (projects: " + std::to_string(projects) +
                                  ", area tasks: " + std::to_string(areaTasks) + ")"};
}

CloudKitStoreError CloudKitStoreError::projectNotShareable(std::string_view recordName,
                                                           ShareIneligibleReason reason) {
  CloudKitStoreError error{Kind::projectNotShareable,
                           "project " + std::string(recordName) + " can't be shared (" +
                               (reason == ShareIneligibleReason::archived ? "archived" : "bridgeLocked") +
                               ")"};
  error.shareIneligibleReason_ = reason;
  return error;
}

CloudKitStoreError CloudKitStoreError::notStarted() {
  return {Kind::notStarted, "CloudKitStore.start() has not been called"};
}

CloudKitStoreError CloudKitStoreError::noICloudAccount() {
  return {Kind::noICloudAccount, "no iCloud account is signed in; Vantrel requires iCloud"};
}

CloudKitStoreError CloudKitStoreError::schemaNotMigrated() {
  return {Kind::schemaNotMigrated, "CloudKit schema has not been migrated; run first-launch flow"};
}

CloudKitStoreError CloudKitStoreError::storeFrozenByBridge() {
  return {Kind::storeFrozenByBridge, "App is read-only while the YAML bridge is open"};
}

} // namespace vantrel
