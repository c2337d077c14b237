#pragma once

#include "VantrelCore/Model/RecordField.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// A header inside a project. Headers and the project's top-level tasks share one sort sequence.
struct ProjectSectionRecord {
  /// "h-" and six characters.
  std::string recordName{};
  std::string projectRef{};
  std::string title{};
  std::int64_t sortIndex = 0;

  static constexpr std::string_view typeName = "ProjectSectionRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &ProjectSectionRecord::recordName},
                      RecordField{"projectRef", &ProjectSectionRecord::projectRef},
                      RecordField{"title", &ProjectSectionRecord::title},
                      RecordField{"sortIndex", &ProjectSectionRecord::sortIndex}};
  }
  friend bool operator==(const ProjectSectionRecord&, const ProjectSectionRecord&) = default;
};

} // namespace vantrel
