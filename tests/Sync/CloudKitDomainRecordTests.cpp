#include "VantrelCore/Sync/CloudKitDomainRecord.hpp"
#include "tests/Support/FilledRecords.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

const CloudRecordZoneID zone{"VantrelZone"};

template <class Record> class EveryDomainRecord : public ::testing::Test {};
TYPED_TEST_SUITE(EveryDomainRecord, testing::EveryRecordType);

TYPED_TEST(EveryDomainRecord, ReadsBackWhatItWrote) {
  const auto entity = testing::filledRecord<TypeParam>();
  const auto cloud = makeCloudRecord(entity, zone);
  EXPECT_EQ(cloud.recordType(), CloudKitDomainRecord<TypeParam>::recordType);
  EXPECT_EQ(cloud.recordID(), (CloudRecordID{cloudRecordName(entity), zone}));
  EXPECT_EQ(readCloudRecord<TypeParam>(cloud), entity);
  // The record name travels as the record ID only.
  EXPECT_EQ(cloud.value("recordName"), nullptr);
}

TYPED_TEST(EveryDomainRecord, ClearsAbsentOptionalsOnARecordThatHadThem) {
  auto cloud = makeCloudRecord(testing::filledRecord<TypeParam>(), zone);
  cloud.clearChangedKeys();
  auto sparse = TypeParam{};
  if constexpr (!std::is_same_v<TypeParam, SchemaVersionRecord>) {
    sparse.recordName = cloud.recordID().recordName;
  }
  applyToCloudRecord(sparse, cloud);
  EXPECT_EQ(readCloudRecord<TypeParam>(cloud), sparse);
  forEachRecordField<TypeParam>([&](const auto& field) {
    using Value = typename std::decay_t<decltype(field)>::ValueType;
    if constexpr (isOptionalField<Value>) {
      EXPECT_EQ(cloud.value(field.key), nullptr) << field.key;
      EXPECT_NE(std::find(cloud.changedKeys().begin(), cloud.changedKeys().end(), field.key),
                cloud.changedKeys().end())
          << field.key;
    }
  });
}

TEST(CloudKitDomainRecord, ReferencesCarryTheirDeleteActionAndTheParentIsTheHome) {
  const TaskRecord subtask{.recordName = "t-2", .homeRef = "p-1", .parentTaskRef = "t-1", .title = "x"};
  const auto cloud = makeCloudRecord(subtask, zone);
  const auto deleteSelf = [&](std::string_view name) {
    return CloudValue(
        CloudReference{CloudRecordID{std::string(name), zone}, CloudReference::Action::deleteSelf});
  };
  EXPECT_EQ(*cloud.value("homeRef"), deleteSelf("p-1"));
  EXPECT_EQ(*cloud.value("parentTaskRef"), deleteSelf("t-1"));
  EXPECT_EQ(cloud.parent(), (CloudReference{CloudRecordID{"p-1", zone}, CloudReference::Action::none}));

  const auto section = makeCloudRecord(ProjectSectionRecord{.recordName = "h-1", .projectRef = "p-1"}, zone);
  EXPECT_EQ(section.parent(), (CloudReference{CloudRecordID{"p-1", zone}, CloudReference::Action::none}));
  const auto placement = makeCloudRecord(
      UserProjectPlacementRecord{.recordName = "up-1", .userRef = "_u", .projectRef = "p-1", .areaRef = "a"},
      zone);
  EXPECT_EQ(*placement.value("projectRef"), deleteSelf("p-1"));
  EXPECT_EQ(std::get<CloudReference>(*placement.value("areaRef")).action, CloudReference::Action::none);
  EXPECT_EQ(std::get<CloudReference>(*placement.value("userRef")).action, CloudReference::Action::none);
  EXPECT_EQ(placement.parent(), std::nullopt);
  const auto locked = makeCloudRecord(ProjectRecord{.recordName = "p-1", .bridgeLockedBy = "_u"}, zone);
  EXPECT_EQ(std::get<CloudReference>(*locked.value("bridgeLockedBy")).action, CloudReference::Action::none);
}

TEST(CloudKitDomainRecord, ReadsLikeThePlatformAndFailsWithExactTexts) {
  const auto task = [] {
    return makeCloudRecord(TaskRecord{.recordName = "t-1", .homeRef = "p-1", .title = "x", .sortIndex = 5},
                           zone);
  };
  auto withoutDone = task();
  withoutDone.removeValue("done");
  EXPECT_FALSE(readCloudRecord<TaskRecord>(withoutDone).done);
  auto numericDone = task();
  numericDone.setValue("done", std::int64_t{1});
  EXPECT_TRUE(readCloudRecord<TaskRecord>(numericDone).done);
  auto boolIndex = task();
  boolIndex.setValue("sortIndex", true);
  EXPECT_EQ(readCloudRecord<TaskRecord>(boolIndex).sortIndex, 1);
  auto foreignZone = task();
  foreignZone.setValue("homeRef",
                       CloudReference{CloudRecordID{"p-9", CloudRecordZoneID{"Shared", "_other"}}});
  EXPECT_EQ(readCloudRecord<TaskRecord>(foreignZone).homeRef, "p-9");

  const struct {
    const char* key;
    std::optional<CloudValue> value;
    const char* message;
  } faults[] = {
      {"sortIndex", std::nullopt, "CKRecord Task/t-1 is missing required field 'sortIndex'"},
      {"homeRef", std::nullopt, "CKRecord Task/t-1 is missing required field 'homeRef'"},
      {"title", std::int64_t{3}, "CKRecord Task field 'title' has wrong type: expected String, got Int64"},
      {"homeRef", std::string("p-1"),
       "CKRecord Task field 'homeRef' has wrong type: expected CKReference, got String"},
      {"done", std::string("yes"), "CKRecord Task field 'done' has wrong type: expected Bool, got String"},
      {"dueDate", std::int64_t{0}, "CKRecord Task field 'dueDate' has wrong type: expected Date, got Int64"},
      {"sortIndex", std::vector<std::int64_t>{1},
       "CKRecord Task field 'sortIndex' has wrong type: expected Int64, got [Int64]"},
  };
  for (const auto& fault : faults) {
    auto cloud = task();
    if (fault.value) {
      cloud.setValue(fault.key, *fault.value);
    } else {
      cloud.removeValue(fault.key);
    }
    try {
      readCloudRecord<TaskRecord>(cloud);
      ADD_FAILURE() << "read despite " << fault.message;
    } catch (const CloudKitRecordError& error) {
      EXPECT_STREQ(error.what(), fault.message);
    }
  }
}

TEST(CloudKitDomainRecord, TheSchemaRecordHasItsFixedName) {
  const auto cloud = makeCloudRecord(SchemaVersionRecord{currentSchemaVersion}, zone);
  EXPECT_EQ(cloud.recordID().recordName, "schema-version");
  EXPECT_EQ(cloud.recordType(), "Meta");
  EXPECT_EQ(*cloud.value("version"), CloudValue(std::int64_t{7}));
}

} // namespace
} // namespace vantrel
