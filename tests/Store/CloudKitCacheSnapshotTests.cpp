#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"
#include "tests/Support/FilledRecords.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

CloudKitCacheSnapshot populatedSnapshot() {
  CloudKitCacheSnapshot snapshot;
  snapshot.currentUserRef = "_4f1d";
  snapshot.schemaVersion = SchemaVersionRecord{7};
  std::apply(
      [&](const auto&... map) {
        (
            [&](auto& target) {
              using Record = typename std::decay_t<decltype(target)>::mapped_type;
              for (const auto* name : {"r-1", "r-2"}) {
                auto record = testing::filledRecord<Record>();
                record.recordName = name;
                target.emplace(name, std::move(record));
              }
            }(snapshot.*map.second),
            ...);
      },
      CloudKitCacheSnapshot::maps());
  return snapshot;
}

TEST(CloudKitCacheSnapshot, RoundTripsEveryMap) {
  const auto snapshot = populatedSnapshot();
  EXPECT_EQ(snapshot.recordCount(), 25u);
  const auto json = snapshot.encodeJSON();
  EXPECT_EQ(CloudKitCacheSnapshot::decodeJSON(json), snapshot);
  EXPECT_EQ(readJSONInt64(parseJSON(json)["snapshotVersion"]), CloudKitCacheSnapshot::currentSnapshotVersion);
}

TEST(CloudKitCacheSnapshot, IsTolerantAtTheTopLevel) {
  const auto empty = CloudKitCacheSnapshot::decodeJSON(R"({"future":[1,2],"tasks":{}})");
  EXPECT_EQ(empty.snapshotVersion, 0);
  EXPECT_EQ(empty.currentUserRef, "");
  EXPECT_EQ(empty.recordCount(), 0u);
  EXPECT_EQ(empty.schemaVersion, std::nullopt);
  EXPECT_FALSE(parseJSON(CloudKitCacheSnapshot{}.encodeJSON()).HasMember("schemaVersion"));

  const auto some = CloudKitCacheSnapshot::decodeJSON(
      R"({"gaps":{"g-1":{"recordName":"g-1","dayRef":"2026-03-07","time":"09:00","reminder":false,"sortIndex":0}}})");
  EXPECT_EQ(some.gaps.at("g-1").time, "09:00");
}

TEST(CloudKitCacheSnapshot, OneMalformedValueFailsTheWholeSnapshot) {
  const std::string task = R"("recordName":"t-1","homeRef":"p-1","title":"x","done":false,"sortIndex":1)";
  const struct {
    std::string text;
    DecodingError::Kind kind;
    const char* path;
  } cases[] = {
      {R"({"tasks":{"t-1":{"recordName":"t-1","homeRef":"p-1","done":false,"sortIndex":1}}})",
       DecodingError::Kind::keyNotFound, "tasks/t-1/title"},
      {R"({"tasks":{"t-1":{)" + task + R"(,"dueDate":"soon"}}})", DecodingError::Kind::typeMismatch,
       "tasks/t-1/dueDate"},
      {R"({"tasks":{"t-2":{)" + task + "}}}", DecodingError::Kind::dataCorrupted, "tasks/t-2"},
      {R"({"tasks":[]})", DecodingError::Kind::typeMismatch, "tasks"},
      {R"({"snapshotVersion":"1"})", DecodingError::Kind::typeMismatch, "snapshotVersion"},
      {R"({"schemaVersion":{}})", DecodingError::Kind::keyNotFound, "schemaVersion/version"},
      {R"({"tasks":{"t-1":{)" + task, DecodingError::Kind::dataCorrupted, ""},
      {"[]", DecodingError::Kind::typeMismatch, ""},
  };
  for (const auto& c : cases) {
    try {
      CloudKitCacheSnapshot::decodeJSON(c.text);
      ADD_FAILURE() << "decoded " << c.text;
    } catch (const DecodingError& error) {
      EXPECT_EQ(error.kind(), c.kind) << c.text;
      EXPECT_EQ(error.codingPath(), c.path) << c.text;
    }
  }
}

} // namespace
} // namespace vantrel
