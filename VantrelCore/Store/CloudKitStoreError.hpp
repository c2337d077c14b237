#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vantrel {

/// Why the store refused or failed an operation. `what()` is the diagnostic text logs and the start-up
/// error screen show.
class CloudKitStoreError : public std::runtime_error {
public:
  enum class Kind {
    zoneSetupFailed,
    recordNotFound,
    areaNotEmpty,
    projectNotShareable,
    notStarted,
    noICloudAccount,
    schemaNotMigrated,
    storeFrozenByBridge,
  };
  enum class ShareIneligibleReason { archived, bridgeLocked };

  static CloudKitStoreError zoneSetupFailed(std::string_view underlyingError);
  static CloudKitStoreError recordNotFound(std::string_view recordType, std::string_view recordName);
  /// An area that is not in the cache: "No such area in the cache: " and the name asked for.
  static CloudKitStoreError areaNotInCache(std::string_view recordName);
  static CloudKitStoreError areaNotEmpty(std::string_view recordName, std::int64_t projects,
                                         std::int64_t areaTasks);
  static CloudKitStoreError projectNotShareable(std::string_view recordName, ShareIneligibleReason reason);
  static CloudKitStoreError notStarted();
  static CloudKitStoreError noICloudAccount();
  static CloudKitStoreError schemaNotMigrated();
  static CloudKitStoreError storeFrozenByBridge();

  Kind kind() const noexcept { return kind_; }
  /// Set for projectNotShareable.
  std::optional<ShareIneligibleReason> shareIneligibleReason() const noexcept {
    return shareIneligibleReason_;
  }

private:
  CloudKitStoreError(Kind kind, const std::string& description)
      : std::runtime_error(description), kind_(kind) {}

  Kind kind_;
  std::optional<ShareIneligibleReason> shareIneligibleReason_;
};

} // namespace vantrel
