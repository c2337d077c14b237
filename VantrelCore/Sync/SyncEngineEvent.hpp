#pragma once

#include "VantrelCore/Sync/CloudDatabaseChanges.hpp"
#include "VantrelCore/Sync/CloudError.hpp"
#include "VantrelCore/Sync/CloudRecord.hpp"
#include "VantrelCore/Sync/CloudZoneChanges.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace vantrel {

/// Why the engine sends.
struct SendChangesContext {
  enum class Reason { scheduled, manual };
  Reason reason = Reason::manual;
};

/// The engine's state changed; `stateSerialization` is what to keep for the next run.
struct StateUpdateEvent {
  std::string stateSerialization{};
};

struct AccountChangeEvent {
  enum class Kind { signIn, signOut, switchAccounts };
  Kind kind = Kind::signIn;
  std::optional<std::string> previousUser{};
  std::optional<std::string> currentUser{};
};

struct FetchedDatabaseChangesEvent {
  std::vector<CloudRecordZoneID> modifications{};
  std::vector<CloudZoneDeletion> deletions{};
};

struct FetchedRecordZoneChangesEvent {
  std::vector<CloudRecord> modifications{};
  std::vector<CloudDeletedRecord> deletions{};
  /// Changed records the database could not read; the token has moved past them all the same.
  std::vector<CloudUnreadableRecord> unreadableRecords{};
};

struct SentDatabaseChangesEvent {
  std::vector<CloudRecordZoneID> savedZones{};
  std::vector<std::pair<CloudRecordZoneID, CloudError>> failedZoneSaves{};
  std::vector<CloudRecordZoneID> deletedZoneIDs{};
  std::vector<std::pair<CloudRecordZoneID, CloudError>> failedZoneDeletes{};
};

struct FailedRecordSave {
  /// The record as it was sent.
  CloudRecord record;
  CloudError error;
};

struct SentRecordZoneChangesEvent {
  /// As the server now holds them.
  std::vector<CloudRecord> savedRecords{};
  std::vector<FailedRecordSave> failedRecordSaves{};
  std::vector<CloudRecordID> deletedRecordIDs{};
  std::vector<std::pair<CloudRecordID, CloudError>> failedRecordDeletes{};
};

struct WillFetchChangesEvent {};
struct WillFetchRecordZoneChangesEvent {
  CloudRecordZoneID zoneID{};
};
struct DidFetchRecordZoneChangesEvent {
  CloudRecordZoneID zoneID{};
  std::optional<CloudError> error{};
};
struct DidFetchChangesEvent {};
struct WillSendChangesEvent {
  SendChangesContext context{};
};
struct DidSendChangesEvent {
  SendChangesContext context{};
};

/// What a sync engine tells its delegate, one event at a time.
using SyncEngineEvent =
    std::variant<StateUpdateEvent, AccountChangeEvent, FetchedDatabaseChangesEvent,
                 FetchedRecordZoneChangesEvent, SentDatabaseChangesEvent, SentRecordZoneChangesEvent,
                 WillFetchChangesEvent, WillFetchRecordZoneChangesEvent, DidFetchRecordZoneChangesEvent,
                 DidFetchChangesEvent, WillSendChangesEvent, DidSendChangesEvent>;

/// The event's case name, as logs write it: "stateUpdate", "fetchedRecordZoneChanges".
std::string_view syncEngineEventName(const SyncEngineEvent& event);

} // namespace vantrel
