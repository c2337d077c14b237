#pragma once

#include "VantrelCore/Model/RecordField.hpp"

#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// The name a user shows to the people a project is shared with.
struct SharingUserNameRecord {
  static constexpr std::string_view appleSource = "apple";
  static constexpr std::string_view deviceSource = "device";
  static constexpr std::string_view aliasSource = "alias";

  /// "sun-" followed by the user reference itself.
  std::string recordName{};
  std::string userRef{};
  std::string displayName{};
  /// Where the name came from: "apple", "device" or "alias".
  std::string displayNameSource{};

  static constexpr std::string_view typeName = "SharingUserNameRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &SharingUserNameRecord::recordName},
                      RecordField{"userRef", &SharingUserNameRecord::userRef},
                      RecordField{"displayName", &SharingUserNameRecord::displayName},
                      RecordField{"displayNameSource", &SharingUserNameRecord::displayNameSource}};
  }
  friend bool operator==(const SharingUserNameRecord&, const SharingUserNameRecord&) = default;
};

} // namespace vantrel
