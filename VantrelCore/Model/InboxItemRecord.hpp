#pragma once

#include "VantrelCore/Model/RecordField.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// Something captured quickly, waiting in the inbox to be triaged.
struct InboxItemRecord {
  /// "i-" and six characters.
  std::string recordName{};
  std::string title{};
  Date capturedAt{};
  std::optional<std::string> notes{};
  std::int64_t sortIndex = 0;

  static constexpr std::string_view typeName = "InboxItemRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &InboxItemRecord::recordName},
                      RecordField{"title", &InboxItemRecord::title},
                      RecordField{"capturedAt", &InboxItemRecord::capturedAt},
                      RecordField{"notes", &InboxItemRecord::notes},
                      RecordField{"sortIndex", &InboxItemRecord::sortIndex}};
  }
  friend bool operator==(const InboxItemRecord&, const InboxItemRecord&) = default;
};

} // namespace vantrel
