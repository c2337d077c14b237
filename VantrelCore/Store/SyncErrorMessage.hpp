#pragma once

#include <exception>
#include <optional>
#include <string>

namespace vantrel {

/// The one line the error banner shows for a failure of the cloud store: the store's own refusals that a
/// person can act on, every cloud error code, and anything else. Never empty.
class SyncErrorMessage {
public:
  SyncErrorMessage() = delete;

  /// `externalLockOwnerName` names the device that holds the bridge lock, when another one does.
  static std::string forError(const std::exception& error,
                              const std::optional<std::string>& externalLockOwnerName);
};

} // namespace vantrel
