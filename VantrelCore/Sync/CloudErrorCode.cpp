#include "VantrelCore/Sync/CloudErrorCode.hpp"

#include <array>

namespace vantrel {
namespace {

struct CodeText {
  CloudErrorCode code;
  std::string_view name;
  std::string_view description;
};

constexpr std::array codeTexts{
    CodeText{CloudErrorCode::internalError, "internalError",
             "An internal error occurred in the cloud database."},
    CodeText{CloudErrorCode::partialFailure, "partialFailure", "Some items of the request failed."},
    CodeText{CloudErrorCode::networkUnavailable, "networkUnavailable", "The network is unavailable."},
    CodeText{CloudErrorCode::networkFailure, "networkFailure", "The network request failed."},
    CodeText{CloudErrorCode::badContainer, "badContainer", "The cloud container is not valid."},
    CodeText{CloudErrorCode::serviceUnavailable, "serviceUnavailable", "The cloud service is unavailable."},
    CodeText{CloudErrorCode::requestRateLimited, "requestRateLimited",
             "Too many requests; the request was rate limited."},
    CodeText{CloudErrorCode::notAuthenticated, "notAuthenticated", "No account is signed in."},
    CodeText{CloudErrorCode::permissionFailure, "permissionFailure", "The account may not do this."},
    CodeText{CloudErrorCode::unknownItem, "unknownItem", "The record does not exist."},
    CodeText{CloudErrorCode::invalidArguments, "invalidArguments", "The request is not valid."},
    CodeText{CloudErrorCode::serverRecordChanged, "serverRecordChanged",
             "The record was changed on the server since it was last fetched."},
    CodeText{CloudErrorCode::constraintViolation, "constraintViolation",
             "A unique field constraint was violated."},
    CodeText{CloudErrorCode::operationCancelled, "operationCancelled", "The operation was cancelled."},
    CodeText{CloudErrorCode::changeTokenExpired, "changeTokenExpired",
             "The change token has expired; fetch everything again."},
    CodeText{CloudErrorCode::batchRequestFailed, "batchRequestFailed",
             "Another item of the atomic request failed, so this one was not applied."},
    CodeText{CloudErrorCode::zoneBusy, "zoneBusy", "The zone is busy; try again later."},
    CodeText{CloudErrorCode::badDatabase, "badDatabase", "The request cannot be made in this database."},
    CodeText{CloudErrorCode::quotaExceeded, "quotaExceeded", "The account's storage quota is exceeded."},
    CodeText{CloudErrorCode::zoneNotFound, "zoneNotFound", "The record zone does not exist."},
    CodeText{CloudErrorCode::limitExceeded, "limitExceeded", "The request holds too many items."},
    CodeText{CloudErrorCode::userDeletedZone, "userDeletedZone", "The user deleted this zone."},
    CodeText{CloudErrorCode::referenceViolation, "referenceViolation",
             "A reference points at a missing record."},
    CodeText{CloudErrorCode::managedAccountRestricted, "managedAccountRestricted",
             "The managed account does not allow this."},
    CodeText{CloudErrorCode::serverResponseLost, "serverResponseLost",
             "The server's response was lost; the change may have been applied."},
    CodeText{CloudErrorCode::accountTemporarilyUnavailable, "accountTemporarilyUnavailable",
             "The account is temporarily unavailable."},
};

const CodeText* find(CloudErrorCode code) {
  for (const auto& entry : codeTexts) {
    if (entry.code == code) {
      return &entry;
    }
  }
  return nullptr;
}

} // namespace

std::string_view cloudErrorCodeName(CloudErrorCode code) {
  const auto* entry = find(code);
  return entry ? entry->name : "unknown";
}

std::optional<CloudErrorCode> cloudErrorCode(int number) {
  const auto* entry = find(static_cast<CloudErrorCode>(number));
  return entry ? std::optional(entry->code) : std::nullopt;
}

std::string_view cloudErrorDefaultDescription(CloudErrorCode code) {
  const auto* entry = find(code);
  return entry ? entry->description : "An unknown cloud database error occurred.";
}

} // namespace vantrel
