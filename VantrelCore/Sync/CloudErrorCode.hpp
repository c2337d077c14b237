#pragma once

#include <optional>
#include <string_view>

namespace vantrel {

/// Why a cloud database call, or one item of it, failed. The numbers are the platform's, so that logs and
/// user messages that quote a code mean the same everywhere.
enum class CloudErrorCode : int {
  internalError = 1,
  partialFailure = 2,
  networkUnavailable = 3,
  networkFailure = 4,
  badContainer = 5,
  serviceUnavailable = 6,
  requestRateLimited = 7,
  notAuthenticated = 9,
  permissionFailure = 10,
  unknownItem = 11,
  invalidArguments = 12,
  serverRecordChanged = 14,
  constraintViolation = 19,
  operationCancelled = 20,
  changeTokenExpired = 21,
  batchRequestFailed = 22,
  zoneBusy = 23,
  badDatabase = 24,
  quotaExceeded = 25,
  zoneNotFound = 26,
  limitExceeded = 27,
  userDeletedZone = 28,
  referenceViolation = 31,
  managedAccountRestricted = 32,
  serverResponseLost = 34,
  accountTemporarilyUnavailable = 36,
};

/// The code's name as written in code and logs: "networkUnavailable".
std::string_view cloudErrorCodeName(CloudErrorCode code);
/// The code for a number; nothing for a number that is not a code.
std::optional<CloudErrorCode> cloudErrorCode(int number);
/// A sentence a person can read.
std::string_view cloudErrorDefaultDescription(CloudErrorCode code);

} // namespace vantrel
