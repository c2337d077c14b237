#pragma once

#include "VantrelCore/Model/RecordField.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// A conflict in which a change of this device gave way to the server's version, as the user is told of it.
struct SyncConflict {
  std::string recordType{};
  std::string recordName{};
  /// The record's display label on each side; absent when that side has none.
  std::optional<std::string> localLabel{};
  std::optional<std::string> serverLabel{};
  Date date{};

  static constexpr std::string_view typeName = "SyncConflict";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordType", &SyncConflict::recordType},
                      RecordField{"recordName", &SyncConflict::recordName},
                      RecordField{"localLabel", &SyncConflict::localLabel},
                      RecordField{"serverLabel", &SyncConflict::serverLabel},
                      RecordField{"date", &SyncConflict::date}};
  }

  friend bool operator==(const SyncConflict&, const SyncConflict&) = default;
};

} // namespace vantrel
