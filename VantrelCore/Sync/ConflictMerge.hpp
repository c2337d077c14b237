#pragma once

#include "VantrelCore/Sync/CloudRecord.hpp"
#include "VantrelCore/Sync/CloudValue.hpp"

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// The three-way merge of a record whose save met a newer version on the server, field by field against
/// the last version this device saw confirmed. A unit (a field, or a group of fields that only make sense
/// together) changed on one side only takes that side; changed alike on both it stays; changed
/// differently the server wins and the unit is reported as clashed, so the user can redo the change. A
/// clash on the sort order alone is settled for the server silently.
class ConflictMerge {
public:
  struct Result {
    /// The server's record with the local changes carried over, on the server's bookkeeping.
    CloudRecord merged;
    /// Keys whose local values were carried over, and keys where the server's replaced a local change, in
    /// the order of `knownFieldKeys` (a group's keys together, at its first key).
    std::vector<std::string> kept{};
    std::vector<std::string> clashed{};
  };

  ConflictMerge() = delete;

  /// Every field key of the planner's records; other keys on a record are left as the server has them.
  static constexpr std::array<std::string_view, 33> knownFieldKeys{"areaRef",
                                                                   "bridgeLockedAt",
                                                                   "bridgeLockedBy",
                                                                   "bridgeLockedByName",
                                                                   "capturedAt",
                                                                   "collapsed",
                                                                   "color",
                                                                   "date",
                                                                   "dayRef",
                                                                   "displayName",
                                                                   "displayNameSource",
                                                                   "done",
                                                                   "dueDate",
                                                                   "gapTime",
                                                                   "homeRef",
                                                                   "icon",
                                                                   "isHidden",
                                                                   "isPinned",
                                                                   "label",
                                                                   "name",
                                                                   "notes",
                                                                   "parentTaskRef",
                                                                   "projectRef",
                                                                   "purpose",
                                                                   "reminder",
                                                                   "sectionRef",
                                                                   "sortIndex",
                                                                   "status",
                                                                   "taskRef",
                                                                   "time",
                                                                   "title",
                                                                   "userRef",
                                                                   "version"};

  /// Fields merged as one unit: where a task lives, a schedule, a gap's place, the bridge lock.
  static constexpr std::array<std::array<std::string_view, 3>, 4> coupledGroups{{
      {"homeRef", "parentTaskRef", ""},
      {"date", "gapTime", ""},
      {"dayRef", "time", ""},
      {"bridgeLockedBy", "bridgeLockedByName", "bridgeLockedAt"},
  }};

  static Result merge(const CloudRecord& ancestor, const CloudRecord& local, const CloudRecord& server);

  /// Equal when both are absent, both reference the same record (whatever the reference's action), or
  /// both hold the same value as the record codec reads it (a bool and the number it stands for agree).
  static bool sameValue(const CloudValue* left, const CloudValue* right);
};

} // namespace vantrel
