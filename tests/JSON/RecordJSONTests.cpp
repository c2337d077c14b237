#include "VantrelCore/JSON/RecordJSON.hpp"
#include "tests/Support/FilledRecords.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <optional>

namespace vantrel {
namespace {

using testing::filledRecord;

/// What `decode` throws, or none when it decodes.
template <class Decode> std::optional<DecodingError> decodingErrorOf(Decode decode) {
  try {
    decode();
  } catch (const DecodingError& error) {
    return error;
  }
  return std::nullopt;
}

template <class Record> class EveryRecordType : public ::testing::Test {};
TYPED_TEST_SUITE(EveryRecordType, testing::EveryRecordType);

TYPED_TEST(EveryRecordType, RoundTripsWithEveryFieldSet) {
  const auto record = filledRecord<TypeParam>();
  const auto json = encodeRecordJSON(record);
  EXPECT_EQ(decodeRecordJSON<TypeParam>(json), record) << json;
  const auto document = parseJSON(json);
  EXPECT_EQ(document.MemberCount(), recordFieldCount<TypeParam>());
}

TYPED_TEST(EveryRecordType, LeavesAbsentOptionalsOutAndRequiresEveryOtherField) {
  const TypeParam sparse{};
  const auto json = encodeRecordJSON(sparse);
  EXPECT_EQ(decodeRecordJSON<TypeParam>(json), sparse);
  const auto document = parseJSON(json);
  forEachRecordField<TypeParam>([&](const auto& field) {
    using Value = typename std::decay_t<decltype(field)>::ValueType;
    const std::string key(field.key);
    EXPECT_EQ(document.HasMember(key.c_str()), !isOptionalField<Value>) << key;
    if (isOptionalField<Value>) {
      return;
    }
    auto withoutKey = parseJSON(json);
    withoutKey.RemoveMember(key.c_str());
    const auto error = decodingErrorOf([&] { decodeRecord<TypeParam>(withoutKey); });
    ASSERT_TRUE(error) << "decoded without " << key;
    EXPECT_EQ(error->kind(), DecodingError::Kind::keyNotFound);
    EXPECT_EQ(error->codingPath(), key);
    EXPECT_NE(error->debugDescription().find("missing required key '" + key + "'"), std::string::npos);
  });
}

TYPED_TEST(EveryRecordType, RefusesAKeyGivenTwice) {
  std::string firstKey;
  forEachRecordField<TypeParam>(
      [&](const auto& field) { firstKey = firstKey.empty() ? field.key : firstKey; });
  auto json = encodeRecordJSON(filledRecord<TypeParam>());
  json.insert(json.size() - 1, ",\"" + firstKey + "\":null");
  const auto error = decodingErrorOf([&] { decodeRecordJSON<TypeParam>(json); });
  ASSERT_TRUE(error) << "decoded " << json;
  EXPECT_EQ(error->codingPath(), firstKey);
  EXPECT_NE(error->debugDescription().find("has key '" + firstKey + "' more than once"), std::string::npos);
}

TEST(RecordJSON, TaskHasTheDocumentedShape) {
  TaskRecord task{.recordName = "t-3f9a1c", .homeRef = "p-a81b0e", .title = "Call Sam", .sortIndex = 2000};
  EXPECT_EQ(
      encodeRecordJSON(task),
      R"({"recordName":"t-3f9a1c","homeRef":"p-a81b0e","title":"Call Sam","done":false,"sortIndex":2000})");
  task.parentTaskRef = "t-000001";
  task.dueDate = Date{784108800.25};
  EXPECT_EQ(encodeRecordJSON(task),
            R"({"recordName":"t-3f9a1c","homeRef":"p-a81b0e","parentTaskRef":"t-000001","title":"Call Sam",)"
            R"("done":false,"dueDate":784108800.25,"sortIndex":2000})");
}

TEST(RecordJSON, InstantsKeepTheirFractionAndNeverUseExponents) {
  const struct {
    double seconds;
    const char* text;
  } cases[] = {
      {784108800, "784108800"}, {0.1, "0.1"}, {-1.5, "-1.5"}, {1e-7, "0.0000001"}, {1.5e12, "1500000000000"}};
  for (const auto& c : cases) {
    const auto json = encodeRecordJSON(DayRecord{.recordName = "d", .date = Date{c.seconds}});
    EXPECT_EQ(json, std::string(R"({"recordName":"d","date":)") + c.text + "}");
    EXPECT_EQ(decodeRecordJSON<DayRecord>(json).date.secondsSinceReferenceDate, c.seconds);
  }
  // An integer token is a valid instant too.
  EXPECT_EQ(decodeRecordJSON<DayRecord>(R"({"date":5,"recordName":"d"})").date, Date{5});
}

TEST(RecordJSON, KeyOrderUnknownKeysAndNullOptionalsAreAccepted) {
  const auto gap = decodeRecordJSON<GapRecord>(
      R"({"sortIndex":3,"label":null,"future":{"x":[1]},"reminder":true,"time":"09:00","dayRef":"2026-03-07",)"
      R"("recordName":"g-1"})");
  EXPECT_EQ(
      gap,
      (GapRecord{
          .recordName = "g-1", .dayRef = "2026-03-07", .time = "09:00", .reminder = true, .sortIndex = 3}));
}

TEST(RecordJSON, WrongKindsNameTheRecordAndTheKey) {
  const std::string base = R"("recordName":"t-1","homeRef":"p-1","title":"x","done":false,"sortIndex":1)";
  const struct {
    const char* replaced;
    const char* with;
    const char* message;
  } cases[] = {
      {R"("title":"x")", R"("title":12)", "TaskRecord 't-1' key 'title': expected string, got integer"},
      {R"("sortIndex":1)", R"("sortIndex":1.7)",
       "TaskRecord 't-1' key 'sortIndex': expected integer, got number"},
      {R"("sortIndex":1)", R"("sortIndex":2000.0)",
       "TaskRecord 't-1' key 'sortIndex': expected integer, got number"},
      {R"("sortIndex":1)", R"("sortIndex":9223372036854775808)",
       "TaskRecord 't-1' key 'sortIndex': expected integer, got number"},
      {R"("done":false)", R"("done":0)", "TaskRecord 't-1' key 'done': expected bool, got integer"},
      {R"("done":false)", R"("done":null)", "TaskRecord 't-1' key 'done': expected bool, got null"},
      {R"("title":"x")", R"("title":"x","dueDate":"2026-03-07")",
       "TaskRecord 't-1' key 'dueDate': expected number, got string"},
      {R"("recordName":"t-1")", R"("recordName":["t-1"])",
       "TaskRecord key 'recordName': expected string, got array"},
  };
  for (const auto& c : cases) {
    auto body = base;
    body.replace(body.find(c.replaced), std::string_view(c.replaced).size(), c.with);
    const auto error = decodingErrorOf([&] { decodeRecordJSON<TaskRecord>("{" + body + "}"); });
    ASSERT_TRUE(error) << "accepted " << body;
    EXPECT_EQ(error->debugDescription(), c.message);
    EXPECT_EQ(error->kind(), DecodingError::Kind::typeMismatch);
  }
  EXPECT_THROW(decodeRecordJSON<TaskRecord>("[]"), DecodingError);
}

TEST(RecordJSON, MalformedTextIsRejectedWithItsPosition) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"{\"recordName\":\"d\",\n \"date\": 1,}",
       "The given data was not valid JSON: Missing a name for object member. (line 2, column 12)"},
      {"{\"recordName\":\"\xC3\x28\"}",
       "The given data was not valid JSON: Invalid encoding in string. (line 1, column 16)"},
      {"", "The given data was not valid JSON: The document is empty. (line 1, column 1)"},
      {"{\"date\": NaN}", "The given data was not valid JSON: Invalid value. (line 1, column 10)"},
  };
  for (const auto& c : cases) {
    const auto error = decodingErrorOf([&] { decodeRecordJSON<DayRecord>(c.text); });
    ASSERT_TRUE(error) << "accepted " << c.text;
    EXPECT_EQ(error->kind(), DecodingError::Kind::dataCorrupted);
    EXPECT_EQ(error->debugDescription(), c.message);
  }
}

TEST(JSONWriter, RefusesWhatJSONCannotHold) {
  JSONWriter writer;
  EXPECT_THROW(writer.string("\xC3\x28"), std::invalid_argument);
  EXPECT_THROW(writer.number(std::numeric_limits<double>::infinity()), std::invalid_argument);
  EXPECT_THROW(writer.number(std::nan("")), std::invalid_argument);
  JSONWriter object;
  object.startObject();
  EXPECT_THROW(object.key("bad\xff"), std::invalid_argument);
}

TEST(CalendarDateJSON, IsOneStringAndABadOneIsDataCorrupted) {
  JSONWriter writer;
  writeJSONValue(writer, CalendarDate{2026, 3, 7});
  EXPECT_EQ(writer.text(), R"("2026-03-07")");

  CalendarDate date;
  readJSONValue(parseJSON(R"("2026-3-7")"), date);
  EXPECT_EQ(date, (CalendarDate{2026, 3, 7}));
  const auto error = decodingErrorOf([&] { readJSONValue(parseJSON(R"("2026/03/07")"), date); });
  ASSERT_TRUE(error) << "accepted 2026/03/07";
  EXPECT_EQ(error->kind(), DecodingError::Kind::dataCorrupted);
  EXPECT_EQ(error->debugDescription(), "CalendarDate expected `yyyy-mm-dd`, got 2026/03/07");
  EXPECT_THROW(readJSONValue(parseJSON("20260307"), date), DecodingError);
}

} // namespace
} // namespace vantrel
