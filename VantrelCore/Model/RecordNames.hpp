#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/UUIDGenerator.hpp"

#include <functional>
#include <string>
#include <string_view>

namespace vantrel {

/// How new records are named. Names never change once given.
class RecordNames {
public:
  RecordNames() = delete;

  static constexpr std::string_view projectPrefix = "p-";
  static constexpr std::string_view headerPrefix = "h-";
  static constexpr std::string_view taskPrefix = "t-";
  static constexpr std::string_view inboxItemPrefix = "i-";
  static constexpr std::string_view gapPrefix = "g-";
  static constexpr std::string_view userProjectPlacementPrefix = "up-";
  static constexpr std::string_view userTaskSchedulePrefix = "ut-";
  static constexpr std::string_view userProjectSectionStatePrefix = "us-";
  static constexpr std::string_view sharingUserNamePrefix = "sun-";

  /// Throws std::invalid_argument unless a caller's name for a new record is 1 to 255 printable ASCII
  /// characters and does not begin with "_", which the cloud keeps for its own names.
  static void checkChosen(std::string_view name);

  /// `prefix` and the first six characters of a new UUID, lower-cased: "p-3f9a1c". The short suffix is
  /// deliberate; collisions are not checked.
  static std::string random(std::string_view prefix, UUIDGenerator& uuids);

  /// An area's display name as it is stored: trimmed of white space and newlines, "Untitled" when empty.
  static std::string normalizedAreaName(std::string_view name);
  /// The slug of a (normalized) area name: lower-cased, letters, marks and digits kept, every run of
  /// other characters one "-", none leading or trailing, "area" when nothing is left.
  static std::string areaSlug(std::string_view name);
  /// The slug of `name`, or slug-2, slug-3, ... when `isTaken` says the slug is already an area's name.
  static std::string uniqueAreaRecordName(std::string_view name,
                                          const std::function<bool(std::string_view)>& isTaken);

  /// A day record's name: the day's text, so every device names the same day alike.
  static std::string day(const CalendarDate& date) { return date.description(); }

  /// Per-user names are deterministic, so every device of a user writes the same record for the same pair.
  static std::string userProjectPlacement(std::string_view userRef, std::string_view projectRef);
  static std::string userTaskSchedule(std::string_view userRef, std::string_view taskRef);
  static std::string userProjectSectionState(std::string_view userRef, std::string_view sectionRef);
  static std::string sharingUserName(std::string_view userRef);

private:
  static std::string perUser(std::string_view prefix, std::string_view userRef, std::string_view otherRef);
};

} // namespace vantrel
