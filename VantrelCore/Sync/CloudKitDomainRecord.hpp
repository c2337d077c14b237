#pragma once

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
#include "VantrelCore/Sync/CKRecordTypes.hpp"
#include "VantrelCore/Sync/CloudField.hpp"
#include "VantrelCore/Sync/CloudKitRecordError.hpp"
#include "VantrelCore/Sync/CloudRecord.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// The zone's one schema record is named so, and the data this build writes has this version.
inline constexpr std::string_view schemaVersionRecordName = "schema-version";
inline constexpr std::int64_t currentSchemaVersion = 7;

/// How an entity travels as a cloud record: its record type and its fields in the order they are written.
/// The record name is the record ID's name and never a field.
template <class Record> struct CloudKitDomainRecord;

/// The record name of an entity: its own, or the fixed name of the schema record.
template <class Record> std::string cloudRecordName(const Record& record) {
  if constexpr (std::is_same_v<Record, SchemaVersionRecord>) {
    return std::string(schemaVersionRecordName);
  } else {
    return record.recordName;
  }
}

namespace detail {

[[noreturn]] inline void wrongType(const CloudRecord& cloud, std::string_view key, std::string_view expected,
                                   const CloudValue& got) {
  throw CloudKitRecordError::wrongFieldType(cloud.recordType(), key, expected, cloudValueKindName(got));
}

template <class Field> const CloudValue& requiredValue(const CloudRecord& cloud, const Field& field) {
  const auto* value = cloud.value(field.key);
  if (!value) {
    throw CloudKitRecordError::missingField(cloud.recordType(), field.key, cloud.recordID().recordName);
  }
  return *value;
}

template <class Field>
std::string readText(const CloudRecord& cloud, const Field& field, const CloudValue& value) {
  if (field.isReference) {
    if (const auto* reference = std::get_if<CloudReference>(&value)) {
      return reference->recordID.recordName; // the zone of a reference is not compared
    }
    wrongType(cloud, field.key, "CKReference", value);
  }
  if (const auto* text = std::get_if<std::string>(&value)) {
    return *text;
  }
  wrongType(cloud, field.key, "String", value);
}

// A bool is a number on the platform, so either kind reads as the other.
template <class Field>
std::int64_t readInteger(const CloudRecord& cloud, const Field& field, const CloudValue& value,
                         std::string_view expected) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) {
    return *number;
  }
  if (const auto* flag = std::get_if<bool>(&value)) {
    return *flag ? 1 : 0;
  }
  wrongType(cloud, field.key, expected, value);
}

template <class Field> Date readDate(const CloudRecord& cloud, const Field& field, const CloudValue& value) {
  if (const auto* date = std::get_if<Date>(&value)) {
    return *date;
  }
  wrongType(cloud, field.key, "Date", value);
}

template <class R>
void readField(const CloudRecord& cloud, const CloudField<R, std::string>& field, std::string& target) {
  target = readText(cloud, field, requiredValue(cloud, field));
}
template <class R>
void readField(const CloudRecord& cloud, const CloudField<R, std::optional<std::string>>& field,
               std::optional<std::string>& target) {
  const auto* value = cloud.value(field.key);
  target = value ? std::optional(readText(cloud, field, *value)) : std::nullopt;
}
template <class R>
void readField(const CloudRecord& cloud, const CloudField<R, std::int64_t>& field, std::int64_t& target) {
  target = readInteger(cloud, field, requiredValue(cloud, field), "Int64");
}
template <class R> void readField(const CloudRecord& cloud, const CloudField<R, bool>& field, bool& target) {
  const auto* value = cloud.value(field.key);
  target = value && readInteger(cloud, field, *value, "Bool") != 0;
}
template <class R> void readField(const CloudRecord& cloud, const CloudField<R, Date>& field, Date& target) {
  target = readDate(cloud, field, requiredValue(cloud, field));
}
template <class R>
void readField(const CloudRecord& cloud, const CloudField<R, std::optional<Date>>& field,
               std::optional<Date>& target) {
  const auto* value = cloud.value(field.key);
  target = value ? std::optional(readDate(cloud, field, *value)) : std::nullopt;
}

template <class Field> void writeText(CloudRecord& cloud, const Field& field, const std::string& text) {
  if (!field.isReference) {
    cloud.setValue(field.key, text);
    return;
  }
  const CloudRecordID target{text, cloud.recordID().zoneID};
  cloud.setValue(field.key, CloudReference{target, field.action});
  if (field.isParent) {
    cloud.setParent(CloudReference{target, CloudReference::Action::none});
  }
}
template <class R>
void writeField(CloudRecord& cloud, const CloudField<R, std::string>& field, const std::string& value) {
  writeText(cloud, field, value);
}
template <class R, class T>
void writeField(CloudRecord& cloud, const CloudField<R, std::optional<T>>& field,
                const std::optional<T>& value) {
  // An absent value clears the key, so a value cleared here is cleared on the server too.
  if (!value) {
    cloud.removeValue(field.key);
  } else if constexpr (std::is_same_v<T, std::string>) {
    writeText(cloud, field, *value);
  } else {
    cloud.setValue(field.key, *value);
  }
}
template <class R, class T>
void writeField(CloudRecord& cloud, const CloudField<R, T>& field, const T& value) {
  cloud.setValue(field.key, value);
}

} // namespace detail

/// Reads an entity from a record of its type. The first fault ends the read with a CloudKitRecordError:
/// a required field that is absent, or a value of the wrong kind. An absent bool reads as false.
template <class Record> Record readCloudRecord(const CloudRecord& cloud) {
  Record record;
  if constexpr (!std::is_same_v<Record, SchemaVersionRecord>) {
    record.recordName = cloud.recordID().recordName;
  }
  std::apply([&](const auto&... field) { (detail::readField(cloud, field, record.*field.member), ...); },
             CloudKitDomainRecord<Record>::fields());
  return record;
}

/// Writes every field of the entity onto a record (a fresh one, or one rebuilt from kept bookkeeping),
/// leaving its bookkeeping as it is.
template <class Record> void applyToCloudRecord(const Record& record, CloudRecord& cloud) {
  std::apply([&](const auto&... field) { (detail::writeField(cloud, field, record.*field.member), ...); },
             CloudKitDomainRecord<Record>::fields());
}

/// A new record for the entity in `zone`, with every field written.
template <class Record> CloudRecord makeCloudRecord(const Record& record, const CloudRecordZoneID& zone) {
  CloudRecord cloud(std::string(CloudKitDomainRecord<Record>::recordType),
                    CloudRecordID{cloudRecordName(record), zone});
  applyToCloudRecord(record, cloud);
  return cloud;
}

template <> struct CloudKitDomainRecord<AreaRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::area;
  static constexpr auto fields() {
    using R = AreaRecord;
    return std::tuple{cloudValue("name", &R::name), cloudValue("color", &R::color),
                      cloudValue("icon", &R::icon), cloudValue("sortIndex", &R::sortIndex),
                      cloudValue("isHidden", &R::isHidden)};
  }
};

template <> struct CloudKitDomainRecord<ProjectRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::project;
  static constexpr auto fields() {
    using R = ProjectRecord;
    return std::tuple{cloudValue("name", &R::name),
                      cloudValue("status", &R::status),
                      cloudValue("purpose", &R::purpose),
                      cloudValue("dueDate", &R::dueDate),
                      cloudReference("bridgeLockedBy", &R::bridgeLockedBy, CloudReference::Action::none),
                      cloudValue("bridgeLockedByName", &R::bridgeLockedByName),
                      cloudValue("bridgeLockedAt", &R::bridgeLockedAt)};
  }
};

template <> struct CloudKitDomainRecord<ProjectSectionRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::projectSection;
  static constexpr auto fields() {
    using R = ProjectSectionRecord;
    return std::tuple{cloudReference("projectRef", &R::projectRef, CloudReference::Action::deleteSelf, true),
                      cloudValue("title", &R::title), cloudValue("sortIndex", &R::sortIndex)};
  }
};

template <> struct CloudKitDomainRecord<AreaSectionRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::areaSection;
  static constexpr auto fields() {
    using R = AreaSectionRecord;
    return std::tuple{cloudReference("userRef", &R::userRef, CloudReference::Action::none),
                      cloudReference("areaRef", &R::areaRef, CloudReference::Action::deleteSelf),
                      cloudValue("title", &R::title), cloudValue("sortIndex", &R::sortIndex),
                      cloudValue("collapsed", &R::collapsed)};
  }
};

template <> struct CloudKitDomainRecord<TaskRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::task;
  static constexpr auto fields() {
    using R = TaskRecord;
    return std::tuple{cloudReference("homeRef", &R::homeRef, CloudReference::Action::deleteSelf, true),
                      cloudReference("parentTaskRef", &R::parentTaskRef, CloudReference::Action::deleteSelf),
                      cloudValue("title", &R::title),
                      cloudValue("done", &R::done),
                      cloudValue("dueDate", &R::dueDate),
                      cloudValue("sortIndex", &R::sortIndex)};
  }
};

template <> struct CloudKitDomainRecord<UserProjectPlacementRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::userProjectPlacement;
  static constexpr auto fields() {
    using R = UserProjectPlacementRecord;
    return std::tuple{cloudReference("userRef", &R::userRef, CloudReference::Action::none),
                      cloudReference("projectRef", &R::projectRef, CloudReference::Action::deleteSelf),
                      cloudReference("areaRef", &R::areaRef, CloudReference::Action::none),
                      cloudValue("sortIndex", &R::sortIndex), cloudValue("isPinned", &R::isPinned)};
  }
};

template <> struct CloudKitDomainRecord<UserTaskScheduleRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::userTaskSchedule;
  static constexpr auto fields() {
    using R = UserTaskScheduleRecord;
    return std::tuple{cloudReference("userRef", &R::userRef, CloudReference::Action::none),
                      cloudReference("taskRef", &R::taskRef, CloudReference::Action::deleteSelf),
                      cloudValue("date", &R::date), cloudValue("gapTime", &R::gapTime)};
  }
};

template <> struct CloudKitDomainRecord<UserProjectSectionStateRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::userProjectSectionState;
  static constexpr auto fields() {
    using R = UserProjectSectionStateRecord;
    return std::tuple{cloudReference("userRef", &R::userRef, CloudReference::Action::none),
                      cloudReference("sectionRef", &R::sectionRef, CloudReference::Action::deleteSelf),
                      cloudValue("collapsed", &R::collapsed)};
  }
};

template <> struct CloudKitDomainRecord<SharingUserNameRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::sharingUserName;
  static constexpr auto fields() {
    using R = SharingUserNameRecord;
    return std::tuple{cloudReference("userRef", &R::userRef, CloudReference::Action::none),
                      cloudValue("displayName", &R::displayName),
                      cloudValue("displayNameSource", &R::displayNameSource)};
  }
};

template <> struct CloudKitDomainRecord<DayRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::day;
  static constexpr auto fields() { return std::tuple{cloudValue("date", &DayRecord::date)}; }
};

template <> struct CloudKitDomainRecord<GapRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::gap;
  static constexpr auto fields() {
    using R = GapRecord;
    return std::tuple{cloudReference("dayRef", &R::dayRef, CloudReference::Action::deleteSelf),
                      cloudValue("time", &R::time), cloudValue("label", &R::label),
                      cloudValue("reminder", &R::reminder), cloudValue("sortIndex", &R::sortIndex)};
  }
};

template <> struct CloudKitDomainRecord<InboxItemRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::inboxItem;
  static constexpr auto fields() {
    using R = InboxItemRecord;
    return std::tuple{cloudValue("title", &R::title), cloudValue("capturedAt", &R::capturedAt),
                      cloudValue("notes", &R::notes), cloudValue("sortIndex", &R::sortIndex)};
  }
};

template <> struct CloudKitDomainRecord<SchemaVersionRecord> {
  static constexpr std::string_view recordType = CKRecordTypes::meta;
  static constexpr auto fields() { return std::tuple{cloudValue("version", &SchemaVersionRecord::version)}; }
};

/// Every entity type that travels as a cloud record.
using CloudKitDomainRecordTypes =
    std::tuple<AreaRecord, AreaSectionRecord, ProjectRecord, ProjectSectionRecord, TaskRecord, DayRecord,
               GapRecord, InboxItemRecord, UserProjectPlacementRecord, UserTaskScheduleRecord,
               UserProjectSectionStateRecord, SharingUserNameRecord, SchemaVersionRecord>;

/// Calls `visit.template operator()<Record>()` for the entity type whose records have `recordType`;
/// false when no entity type has it.
template <class Visit> bool visitCloudKitDomainRecordType(std::string_view recordType, Visit&& visit) {
  return [&]<class... Record>(std::tuple<Record...>*) {
    return ((CloudKitDomainRecord<Record>::recordType == recordType &&
             (visit.template operator()<Record>(), true)) ||
            ...);
  }(static_cast<CloudKitDomainRecordTypes*>(nullptr));
}

} // namespace vantrel
