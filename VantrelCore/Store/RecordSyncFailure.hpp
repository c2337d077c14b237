#pragma once

#include "VantrelCore/Model/RecordField.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// One record that sync could not carry, as the status shows it: a fetched record that could not be read
/// (it is left out until it can be), or a change of this device the cloud refused for a reason a retry
/// may not cure (it stays queued and is tried again at every sync).
struct RecordSyncFailure {
  /// "save" or "delete" for a change of this device; "fetch" for a record that came unreadable.
  std::string operation{};
  /// Empty when not known (an unreadable record's type may be unknown too).
  std::string recordType{};
  std::string recordName{};
  std::string errorDescription{};
  Date date{};

  static constexpr std::string_view typeName = "RecordSyncFailure";
  static constexpr auto fields() {
    return std::tuple{RecordField{"operation", &RecordSyncFailure::operation},
                      RecordField{"recordType", &RecordSyncFailure::recordType},
                      RecordField{"recordName", &RecordSyncFailure::recordName},
                      RecordField{"errorDescription", &RecordSyncFailure::errorDescription},
                      RecordField{"date", &RecordSyncFailure::date}};
  }

  friend bool operator==(const RecordSyncFailure&, const RecordSyncFailure&) = default;
};

} // namespace vantrel
