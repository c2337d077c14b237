#pragma once

#include "VantrelCore/Sync/CloudRecordID.hpp"

#include <string>
#include <vector>

namespace vantrel {

/// One record shared with other accounts, with every record whose parent chain leads to it: a project
/// with its tasks and sections. Participants who accepted see the owner's zone in their shared database.
struct CloudShare {
  enum class Permission { none, readOnly, readWrite };
  enum class AcceptanceStatus { pending, accepted, removed };

  struct Participant {
    std::string userRecordName{};
    Permission permission = Permission::readWrite;
    AcceptanceStatus acceptanceStatus = AcceptanceStatus::pending;

    friend bool operator==(const Participant&, const Participant&) = default;
  };

  CloudRecordID shareRecordID{};
  CloudRecordID rootRecordID{};
  std::vector<Participant> participants{};
  /// What anyone with the link may do.
  Permission publicPermission = Permission::none;
  /// The link that invites a participant; set by the database when the share is saved.
  std::string url{};

  friend bool operator==(const CloudShare&, const CloudShare&) = default;
};

} // namespace vantrel
