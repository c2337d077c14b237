#pragma once

#include "VantrelCore/Sync/CloudErrorCode.hpp"
#include "VantrelCore/Sync/CloudRecord.hpp"

#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace vantrel {

/// A failure of the cloud database. Thrown when a whole call fails; kept as a value in the result when
/// one item of a call fails (one record of a modify), so the others can still succeed.
class CloudError : public std::exception {
public:
  /// With no description, the code's own sentence.
  explicit CloudError(CloudErrorCode code, std::string description = {});

  /// `serverRecordChanged`: the server's version, the version the client tried to save, and the version
  /// the client's change tag names when the server still keeps it.
  static CloudError serverRecordChanged(CloudRecord serverRecord, CloudRecord clientRecord,
                                        std::optional<CloudRecord> ancestorRecord);
  /// A failure worth retrying once `seconds` have passed (rate limits, a busy zone, an unavailable service).
  static CloudError retryable(CloudErrorCode code, double seconds);

  CloudErrorCode code() const noexcept { return code_; }
  const std::string& localizedDescription() const noexcept { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }
  const std::optional<double>& retryAfterSeconds() const noexcept { return retryAfterSeconds_; }

  const CloudRecord* serverRecord() const noexcept { return conflict_ ? &conflict_->server : nullptr; }
  const CloudRecord* clientRecord() const noexcept { return conflict_ ? &conflict_->client : nullptr; }
  const CloudRecord* ancestorRecord() const noexcept {
    return conflict_ && conflict_->ancestor ? &*conflict_->ancestor : nullptr;
  }

private:
  struct Conflict {
    CloudRecord server;
    CloudRecord client;
    std::optional<CloudRecord> ancestor;
  };

  CloudErrorCode code_;
  std::string description_;
  std::optional<double> retryAfterSeconds_;
  // Shared, so that copying an error (into every item of a result) stays cheap.
  std::shared_ptr<const Conflict> conflict_;
};

} // namespace vantrel
