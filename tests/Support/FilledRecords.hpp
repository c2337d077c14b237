#pragma once

#include "VantrelCore/Model/AreaRecord.hpp"
#include "VantrelCore/Model/AreaSectionRecord.hpp"
#include "VantrelCore/Model/DayRecord.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Model/InboxItemRecord.hpp"
#include "VantrelCore/Model/ProjectRecord.hpp"
#include "VantrelCore/Model/ProjectSectionRecord.hpp"
#include "VantrelCore/Model/RecordField.hpp"
#include "VantrelCore/Model/SchemaVersionRecord.hpp"
#include "VantrelCore/Model/SharingUserNameRecord.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Model/UserProjectPlacementRecord.hpp"
#include "VantrelCore/Model/UserProjectSectionStateRecord.hpp"
#include "VantrelCore/Model/UserTaskScheduleRecord.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel::testing {

// Every field gets a value of its own that is unlike any default, so a field mapped to the wrong key,
// dropped, or read into another member shows up as a difference.
inline void fill(std::string& value, std::string_view key) {
  value = std::string(key) + " \"é\"\n\t\\ 日本";
}
inline void fill(std::int64_t& value, std::string_view key) {
  value = -9'000'000'000'000'000'000 + std::int64_t(key.size());
}
inline void fill(bool& value, std::string_view) {
  value = true;
}
inline void fill(Date& value, std::string_view key) {
  value = Date{784108800.123456789 + double(key.size())};
}
template <class T> void fill(std::optional<T>& value, std::string_view key) {
  value.emplace();
  fill(*value, key);
}

/// Every entity record type, for typed tests.
using EveryRecordType =
    ::testing::Types<AreaRecord, AreaSectionRecord, ProjectRecord, ProjectSectionRecord, TaskRecord,
                     InboxItemRecord, DayRecord, GapRecord, UserProjectPlacementRecord,
                     UserTaskScheduleRecord, UserProjectSectionStateRecord, SharingUserNameRecord,
                     SchemaVersionRecord>;

/// A record of type `Record` with every field set to a distinct, non-default value.
template <class Record> Record filledRecord() {
  Record record;
  forEachRecordField<Record>([&](const auto& field) { fill(record.*field.member, field.key); });
  return record;
}

} // namespace vantrel::testing
