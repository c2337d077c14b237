#pragma once

#include "VantrelCore/Model/RecordField.hpp"

#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// Whether one user has folded a project section.
struct UserProjectSectionStateRecord {
  /// "us-" and 16 hex digits of SHA-256 over user and section.
  std::string recordName{};
  std::string userRef{};
  std::string sectionRef{};
  bool collapsed = false;

  static constexpr std::string_view typeName = "UserProjectSectionStateRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &UserProjectSectionStateRecord::recordName},
                      RecordField{"userRef", &UserProjectSectionStateRecord::userRef},
                      RecordField{"sectionRef", &UserProjectSectionStateRecord::sectionRef},
                      RecordField{"collapsed", &UserProjectSectionStateRecord::collapsed}};
  }
  friend bool operator==(const UserProjectSectionStateRecord&,
                         const UserProjectSectionStateRecord&) = default;
};

} // namespace vantrel
