#include "VantrelCore/Sync/CloudRecord.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

const CloudRecordZoneID zone{"VantrelZone"};

CloudRecord task() {
  return CloudRecord("Task", CloudRecordID{"t-3f9a1c", zone});
}

TEST(CloudRecord, FieldKeysFollowThePlatformsNamingRule) {
  const struct {
    std::string key;
    bool valid;
  } cases[] = {
      {"title", true},
      {"sortIndex", true},
      {"a_1", true},
      {"Z", true},
      {std::string(255, 'k'), true},
      {"", false},
      {"1title", false},
      {"_x", false},
      {"due-date", false},
      {"tïtle", false},
      {"has space", false},
      {std::string(256, 'k'), false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CloudRecord::isValidFieldKey(c.key), c.valid) << c.key;
  }
}

TEST(CloudRecordDeathTest, ABadFieldKeyIsAProgramError) {
  auto record = task();
  EXPECT_DEATH(record.setValue("due-date", Date{1}), "field key 'due-date' is not a valid field key");
  EXPECT_DEATH(record.removeValue(""), "field key '' is not a valid field key");
}

TEST(CloudRecord, KeepsValuesInTheOrderFirstSetAndTracksEveryChangedKey) {
  auto record = task();
  record.setValue("title", std::string("Call Sam"));
  record.setValue("sortIndex", std::int64_t{2000});
  record.setValue("done", false);
  record.setValue("title", std::string("Call Sam back"));
  record.removeValue("done");
  record.removeValue("parentTaskRef"); // never held a value here, still to be cleared on the server

  EXPECT_EQ(record.allKeys(), (std::vector<std::string>{"title", "sortIndex"}));
  EXPECT_EQ(std::get<std::string>(*record.value("title")), "Call Sam back");
  EXPECT_EQ(record.value("done"), nullptr);
  EXPECT_EQ(record.changedKeys(), (std::vector<std::string>{"title", "sortIndex", "done", "parentTaskRef"}));

  record.clearChangedKeys();
  EXPECT_TRUE(record.changedKeys().empty());
  EXPECT_EQ(record.allKeys().size(), 2u);
}

TEST(CloudRecord, EqualityCoversFieldsParentBookkeepingAndChangedKeys) {
  const auto base = [] {
    auto record = task();
    record.setValue("title", std::string("x"));
    record.clearChangedKeys();
    return record;
  };
  auto withParent = base();
  withParent.setParent(CloudReference{CloudRecordID{"p-a81b0e", zone}, CloudReference::Action::none});
  auto withTag = base();
  withTag.setSystemFields(CloudRecordSystemFields{.changeTag = "tag-1"});
  auto withChange = base();
  withChange.setValue("title", std::string("x"));
  auto otherZone = CloudRecord("Task", CloudRecordID{"t-3f9a1c", CloudRecordZoneID{"VantrelZone", "_other"}});
  otherZone.setValue("title", std::string("x"));
  otherZone.clearChangedKeys();

  EXPECT_EQ(base(), base());
  for (const auto& different : {withParent, withTag, withChange, otherZone}) {
    EXPECT_NE(different, base());
  }
}

TEST(CloudValue, KindNamesUseTheErrorVocabulary) {
  const std::pair<CloudValue, std::string_view> cases[] = {
      {std::string("x"), "String"},
      {std::int64_t{1}, "Int64"},
      {true, "Bool"},
      {Date{1}, "Date"},
      {CloudReference{CloudRecordID{"p-1", zone}, CloudReference::Action::deleteSelf}, "CKReference"},
      {std::vector<std::string>{}, "[String]"},
      {std::vector<std::int64_t>{}, "[Int64]"},
      {std::vector<Date>{}, "[Date]"},
      {std::vector<CloudReference>{}, "[CKReference]"},
  };
  for (const auto& [value, name] : cases) {
    EXPECT_EQ(cloudValueKindName(value), name);
  }
}

} // namespace
} // namespace vantrel
