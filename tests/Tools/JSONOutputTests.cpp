#include "VantrelCore/JSON/JSONValue.hpp"
#include "tests/Support/CommandLineRun.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <string>

namespace vantrel {
namespace {

/// Whether `value` has the type a schema letter names: s string, S string or null, b boolean, n number,
/// a array, o object, O object or null, i ISO 8601 instant with an offset, I that or null, d a day.
bool hasType(const rapidjson::Value& value, char type) {
  static const std::regex instant(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d)");
  static const std::regex day(R"(\d{4}-\d\d-\d\d)");
  switch (type) {
  case 's':
    return value.IsString();
  case 'S':
    return value.IsString() || value.IsNull();
  case 'b':
    return value.IsBool();
  case 'n':
    return value.IsNumber();
  case 'a':
    return value.IsArray();
  case 'o':
    return value.IsObject();
  case 'O':
    return value.IsObject() || value.IsNull();
  case 'i':
    return value.IsString() && std::regex_match(value.GetString(), instant);
  case 'I':
    return value.IsNull() || (value.IsString() && std::regex_match(value.GetString(), instant));
  case 'd':
    return value.IsString() && std::regex_match(value.GetString(), day);
  default:
    return false;
  }
}

const std::map<std::string, char> taskSchema{
    {"recordName", 's'}, {"title", 's'},      {"done", 'b'},   {"due", 'I'}, {"home", 's'},
    {"homeName", 's'},   {"homeIsArea", 'b'}, {"parent", 'S'}, {"day", 'S'}, {"gapTime", 'S'}};

// Every list and view prints JSON of the schema docs/json.md gives: arrays for lists (also when empty),
// instants with the zone's offset.
TEST(JSONOutput, EveryCommandPrintsItsDocumentedSchema) {
  testing::TemporaryFolder folder;
  const std::string options =
      "--offline --tz Europe/Berlin --now 2026-11-24T10:15 --profile " + folder.path().string() + " --json ";
  ASSERT_EQ(testing::runVantrel(options + "demo").exitCode, 0);
  ASSERT_EQ(testing::runVantrel(options + "reminders on").exitCode, 0);
  const struct {
    std::string command;
    bool list;
    std::map<std::string, char> keys;
  } cases[] = {
      {"area list",
       true,
       {{"recordName", 's'}, {"name", 's'}, {"color", 's'}, {"icon", 's'}, {"hidden", 'b'}}},
      {"project list",
       true,
       {{"recordName", 's'},
        {"name", 's'},
        {"area", 'S'},
        {"areaName", 'S'},
        {"status", 's'},
        {"purpose", 'S'},
        {"due", 'I'},
        {"pinned", 'b'}}},
      {"task list", true, taskSchema},
      {"task list --open --area work --due-before 2026-12-31", true, taskSchema},
      {"header list --project website",
       true,
       {{"recordName", 's'}, {"title", 's'}, {"project", 'S'}, {"projectName", 'S'}, {"area", 'S'}}},
      {"inbox list", true, {{"recordName", 's'}, {"title", 's'}, {"notes", 'S'}, {"captured", 'i'}}},
      {"gap list today",
       true,
       {{"recordName", 's'}, {"day", 'd'}, {"time", 's'}, {"label", 'S'}, {"reminder", 'b'}}},
      {"due --days 30",
       true,
       {{"recordName", 's'}, {"kind", 's'}, {"title", 's'}, {"due", 'i'}, {"overdue", 'b'}}},
      {"search the", true, {{"kind", 's'}, {"recordName", 's'}, {"title", 's'}, {"field", 's'}}},
      {"agenda --days 3", true, {{"day", 'd'}, {"events", 'n'}, {"gaps", 'a'}, {"plannedWithoutGap", 'a'}}},
      {"calendars list",
       true,
       {{"id", 's'}, {"title", 's'}, {"sourceTitle", 's'}, {"color", 'a'}, {"blocked", 'b'}}},
      {"reminders list", true, {{"identifier", 's'}, {"fires", 'I'}, {"title", 's'}, {"body", 'S'}}},
      {"today",
       false,
       {{"day", 'd'}, {"events", 'a'}, {"openWindows", 'a'}, {"gaps", 'a'}, {"plannedWithoutGap", 'a'}}},
      {"status",
       false,
       {{"syncHealth", 's'},
        {"pendingWrites", 'n'},
        {"pendingSince", 'I'},
        {"lastFetch", 'O'},
        {"consecutiveFetchFailures", 'n'},
        {"lastConflict", 'O'},
        {"recentConflicts", 'a'},
        {"banner", 'S'},
        {"recordFailures", 'a'}}},
      {"about", false, {{"version", 's'}, {"now", 'i'}, {"today", 'd'}, {"timeZone", 's'}, {"locale", 's'}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.command);
    const auto run = testing::runVantrel(options + c.command);
    ASSERT_EQ(run.exitCode, 0) << run.output;
    const auto document = parseJSON(run.output);
    ASSERT_EQ(document.IsArray(), c.list);
    if (c.list) {
      EXPECT_FALSE(document.Empty()) << "the demo week has something for every list";
    }
    const auto check = [&](const rapidjson::Value& object) {
      ASSERT_TRUE(object.IsObject());
      for (const auto& [key, type] : c.keys) {
        ASSERT_TRUE(object.HasMember(key.c_str())) << key;
        EXPECT_TRUE(hasType(object[key.c_str()], type)) << key << " is not of type " << type;
      }
    };
    if (c.list) {
      for (const auto& element : document.GetArray()) {
        check(element);
      }
    } else {
      check(document);
    }
  }
  EXPECT_EQ(testing::runVantrel(options + "gap list 2030-01-01").output, "[]\n");
  EXPECT_EQ(testing::runVantrel(options + "search zebra").output, "[]\n");
}

} // namespace
} // namespace vantrel
