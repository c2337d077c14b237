#include "VantrelCore/Sync/CloudError.hpp"

#include <utility>

namespace vantrel {

CloudError::CloudError(CloudErrorCode code, std::string description)
    : code_(code), description_(description.empty() ? std::string(cloudErrorDefaultDescription(code))
                                                    : std::move(description)) {}

CloudError CloudError::serverRecordChanged(CloudRecord serverRecord, CloudRecord clientRecord,
                                           std::optional<CloudRecord> ancestorRecord) {
  CloudError error(CloudErrorCode::serverRecordChanged);
  error.conflict_ = std::make_shared<const Conflict>(
      Conflict{std::move(serverRecord), std::move(clientRecord), std::move(ancestorRecord)});
  return error;
}

CloudError CloudError::retryable(CloudErrorCode code, double seconds) {
  CloudError error(code);
  error.retryAfterSeconds_ = seconds;
  return error;
}

} // namespace vantrel
