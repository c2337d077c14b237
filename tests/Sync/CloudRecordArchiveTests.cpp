#include "VantrelCore/Platform/UTF8.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"
#include "VantrelCore/Sync/CloudKitRecordError.hpp"
#include "VantrelCore/Sync/CloudRecordArchive.hpp"
#include "tests/Support/HostileInputs.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

const CloudRecordZoneID zone{"VantrelZone"};

CloudRecord savedTask() {
  CloudRecord record(std::string(CKRecordTypes::task), CloudRecordID{"t-3f9a1c", zone});
  const CloudReference home{CloudRecordID{"p-a81b0e", zone}, CloudReference::Action::deleteSelf};
  record.setValue("homeRef", home);
  record.setValue("title", std::string("Call Sam \xE2\x80\x93 \0 ok", 14));
  record.setValue("done", true);
  record.setValue("sortIndex", std::int64_t{-9'000'000'000'000'000'000});
  record.setValue("dueDate", Date{784108800.123456789});
  record.setValue("tags", std::vector<std::string>{"", "a"});
  record.setValue("counts", std::vector<std::int64_t>{1, -2});
  record.setValue("dates", std::vector<Date>{Date{0.5}});
  record.setValue("links",
                  std::vector<CloudReference>{home, CloudReference{CloudRecordID{"x", {"Z", "_u"}}}});
  record.setParent(home);
  record.setSystemFields({.changeTag = "tag-42",
                          .creationDate = Date{7.25},
                          .modificationDate = Date{8.5},
                          .creatorUserRecordName = "_creator",
                          .lastModifiedUserRecordName = std::nullopt});
  return record;
}

TEST(CloudRecordArchive, SystemFieldsKeepTheBookkeepingAndNothingElse) {
  const auto record = savedTask();
  const auto restored = unarchiveCKRecord(record.systemFieldsData());
  EXPECT_EQ(restored.recordType(), "Task");
  EXPECT_EQ(restored.recordID(), record.recordID());
  EXPECT_EQ(restored.systemFields(), record.systemFields());
  EXPECT_TRUE(restored.allKeys().empty());
  EXPECT_TRUE(restored.changedKeys().empty());
  EXPECT_EQ(restored.parent(), std::nullopt);
}

TEST(CloudRecordArchive, AWholeRecordRoundTripsWithoutItsChangedKeys) {
  auto record = savedTask();
  const auto restored = unarchiveWholeCKRecord(record.wholeRecordData());
  EXPECT_TRUE(restored.changedKeys().empty());
  record.clearChangedKeys();
  EXPECT_EQ(restored, record);
  EXPECT_EQ(restored.allKeys(), record.allKeys());
}

TEST(CloudRecordArchive, RefusesEveryByteStringItDidNotWrite) {
  const auto whole = savedTask().wholeRecordData();
  const auto system = savedTask().systemFieldsData();
  std::vector<std::pair<std::string, std::string>> cases = {
      {"empty", ""},
      {"other magic", "XCR" + whole.substr(3)},
      {"other version", whole.substr(0, 3) + "\x02" + whole.substr(4)},
      {"whole record where system fields belong", whole},
      {"trailing byte", system + "x"},
  };
  for (std::size_t length = 0; length < system.size(); ++length) {
    cases.emplace_back("cut after " + std::to_string(length) + " bytes", system.substr(0, length));
  }
  for (const auto& [label, bytes] : cases) {
    try {
      unarchiveCKRecord(bytes);
      ADD_FAILURE() << "accepted: " << label;
    } catch (const CloudKitRecordError& error) {
      EXPECT_EQ(error.kind(), CloudKitRecordError::Kind::malformedSystemFields) << label;
      EXPECT_STREQ(error.what(), "cached CKRecord systemFields are malformed; refetch required");
    }
  }
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_THROW(unarchiveWholeCKRecord(whole.substr(0, length)), CloudKitRecordError) << length;
  }
  // A field key or a value kind that no record can hold is corruption, never a crash.
  CloudRecord one("Task", CloudRecordID{"t-1", zone});
  one.setValue("k", std::int64_t{1});
  const auto bytes = one.wholeRecordData();
  const auto keyAt = bytes.rfind('k');
  for (const char replacement : {'1', '_', '-'}) {
    auto badKey = bytes;
    badKey[keyAt] = replacement;
    EXPECT_THROW(unarchiveWholeCKRecord(badKey), CloudKitRecordError) << replacement;
  }
  auto badKind = bytes;
  badKind[keyAt + 1] = 9;
  EXPECT_THROW(unarchiveWholeCKRecord(badKind), CloudKitRecordError);
}

// Whatever a damaged disk or another writer leaves, reading either gives a record that names itself in
// UTF-8 or fails as malformed; it never crashes or throws anything else.
TEST(CloudRecordArchive, HostileVariantsOfRealRecordsReadOrFailAsMalformed) {
  CloudRecord named("Task", CloudRecordID{"t-\xC3\xA9t\xC3\xA9", zone});
  named.setValue("notes", std::vector<std::string>{"\xF0\x9F\x93\x85", ""});
  std::size_t read = 0;
  std::size_t refused = 0;
  std::uint32_t seed = 1;
  for (const auto& record : {savedTask(), named, CloudRecord("Project", CloudRecordID{"p-1", zone})}) {
    for (const bool whole : {true, false}) {
      const auto reader = whole ? unarchiveWholeCKRecord : unarchiveCKRecord;
      for (const auto& bytes : testing::hostileVariants(
               whole ? record.wholeRecordData() : record.systemFieldsData(), seed++, 400)) {
        try {
          EXPECT_TRUE(isValidUTF8(reader(bytes).recordID().recordName));
          ++read;
        } catch (const CloudKitRecordError& error) {
          EXPECT_EQ(error.kind(), CloudKitRecordError::Kind::malformedSystemFields);
          ++refused;
        }
      }
    }
  }
  EXPECT_GT(read, 0u);
  EXPECT_GT(refused, 0u);
}

TEST(CloudKitRecordError, TextsAreExact) {
  EXPECT_STREQ(CloudKitRecordError::missingField("Task", "sortIndex", "t-1").what(),
               "CKRecord Task/t-1 is missing required field 'sortIndex'");
  EXPECT_STREQ(CloudKitRecordError::wrongFieldType("Task", "title", "String", "Int64").what(),
               "CKRecord Task field 'title' has wrong type: expected String, got Int64");
  EXPECT_STREQ(CloudKitRecordError::danglingReference("homeRef", "p-gone").what(),
               "CKReference on 'homeRef' targets missing record 'p-gone'");
}

} // namespace
} // namespace vantrel
