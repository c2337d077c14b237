#pragma once

#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/JSON/RapidJSON.hpp"
#include "VantrelCore/Model/AreaRecord.hpp"
#include "VantrelCore/Model/AreaSectionRecord.hpp"
#include "VantrelCore/Model/DayRecord.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Model/InboxItemRecord.hpp"
#include "VantrelCore/Model/ProjectRecord.hpp"
#include "VantrelCore/Model/ProjectSectionRecord.hpp"
#include "VantrelCore/Model/SchemaVersionRecord.hpp"
#include "VantrelCore/Model/SharingUserNameRecord.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Model/UserProjectPlacementRecord.hpp"
#include "VantrelCore/Model/UserProjectSectionStateRecord.hpp"
#include "VantrelCore/Model/UserTaskScheduleRecord.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace vantrel {

template <class Record> using RecordMap = std::unordered_map<std::string, Record>;

/// Every record of the cache as one value: what "cache-snapshot.json" holds, and what the widget reads.
struct CloudKitCacheSnapshot {
  /// The format version this build writes; a file without one reads as 0.
  static constexpr std::int64_t currentSnapshotVersion = 1;

  std::int64_t snapshotVersion = currentSnapshotVersion;
  /// The save point that wrote the file (see LocalCommit); absent in a copy of the cache and in files of
  /// older builds.
  std::optional<std::int64_t> localCommit{};
  std::string currentUserRef{};
  RecordMap<AreaRecord> areas{};
  RecordMap<ProjectRecord> projects{};
  RecordMap<TaskRecord> tasks{};
  RecordMap<ProjectSectionRecord> projectSections{};
  RecordMap<AreaSectionRecord> areaSections{};
  RecordMap<DayRecord> days{};
  RecordMap<GapRecord> gaps{};
  RecordMap<InboxItemRecord> inbox{};
  std::optional<SchemaVersionRecord> schemaVersion{};
  RecordMap<UserProjectPlacementRecord> userProjectPlacements{};
  RecordMap<UserTaskScheduleRecord> userTaskSchedules{};
  RecordMap<UserProjectSectionStateRecord> userProjectSectionStates{};
  RecordMap<SharingUserNameRecord> sharingUserNames{};

  /// The record maps with their keys in the file, in the order they are written.
  static constexpr auto maps() {
    using S = CloudKitCacheSnapshot;
    return std::tuple{std::pair{"areas", &S::areas},
                      std::pair{"projects", &S::projects},
                      std::pair{"tasks", &S::tasks},
                      std::pair{"projectSections", &S::projectSections},
                      std::pair{"areaSections", &S::areaSections},
                      std::pair{"days", &S::days},
                      std::pair{"gaps", &S::gaps},
                      std::pair{"inbox", &S::inbox},
                      std::pair{"userProjectPlacements", &S::userProjectPlacements},
                      std::pair{"userTaskSchedules", &S::userTaskSchedules},
                      std::pair{"userProjectSectionStates", &S::userProjectSectionStates},
                      std::pair{"sharingUserNames", &S::sharingUserNames}};
  }

  /// The map that holds records of type `Record`.
  template <class Record> RecordMap<Record>& records() {
    return this->*std::get<std::pair<const char*, RecordMap<Record> CloudKitCacheSnapshot::*>>(maps()).second;
  }
  template <class Record> const RecordMap<Record>& records() const {
    return this->*std::get<std::pair<const char*, RecordMap<Record> CloudKitCacheSnapshot::*>>(maps()).second;
  }

  /// Calls `visit(record)` with the record of that name, whatever its type (the schema record, which has
  /// no name of its own, aside); false when there is none. Record names are unique across types, so the
  /// first map that holds the name holds the record.
  template <class Visit> bool visitRecord(std::string_view recordName, Visit&& visit) const {
    const std::string name(recordName);
    return std::apply(
        [&](const auto&... map) {
          const auto visitIn = [&](const auto& records) {
            const auto found = records.find(name);
            if (found == records.end()) {
              return false;
            }
            visit(found->second);
            return true;
          };
          return (visitIn(this->*map.second) || ...);
        },
        maps());
  }

  /// Records in all maps, the schema record included.
  std::size_t recordCount() const;

  /// Compact JSON: the version, the user, then each map as an object from record name to record.
  std::string encodeJSON() const;
  /// The same object, written into a larger text.
  void encode(JSONWriter& writer) const;
  /// Tolerant at the top level (any key may be missing; unknown keys are ignored), strict inside records.
  /// A value of the wrong shape anywhere fails the whole decode with a DecodingError whose coding path
  /// names where ("tasks/t-1/title"); so does a record filed under another name than its own.
  static CloudKitCacheSnapshot decodeJSON(std::string_view text);
  /// The same for an object already parsed, e.g. one nested in another file.
  static CloudKitCacheSnapshot decode(const rapidjson::Value& object);

  friend bool operator==(const CloudKitCacheSnapshot&, const CloudKitCacheSnapshot&) = default;
};

} // namespace vantrel
