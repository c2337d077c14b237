#pragma once

#include <string_view>

namespace vantrel {

/// The record type of each entity in the cloud database.
struct CKRecordTypes {
  static constexpr std::string_view area = "Area";
  static constexpr std::string_view areaSection = "AreaSection";
  static constexpr std::string_view project = "Project";
  static constexpr std::string_view projectSection = "ProjectSection";
  static constexpr std::string_view task = "Task";
  static constexpr std::string_view day = "Day";
  static constexpr std::string_view gap = "Gap";
  static constexpr std::string_view inboxItem = "InboxItem";
  static constexpr std::string_view userProjectPlacement = "UserProjectPlacement";
  static constexpr std::string_view userTaskSchedule = "UserTaskSchedule";
  static constexpr std::string_view userProjectSectionState = "UserProjectSectionState";
  static constexpr std::string_view sharingUserName = "SharingUserName";
  static constexpr std::string_view meta = "Meta";
  /// Reserved for the database's own share records; not an entity.
  static constexpr std::string_view cloudShare = "cloudkit.share";
};

} // namespace vantrel
