#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Platform/RandomUUIDGenerator.hpp"

#include <gtest/gtest.h>
#include <regex>
#include <set>

namespace vantrel {
namespace {

class FixedUUIDs final : public UUIDGenerator {
public:
  std::string uuidString() override { return "E621E1F8-C36C-495A-93FC-0C247A3E6E5F"; }
};

TEST(RecordNames, AreaSlugs) {
  const struct {
    const char* name;
    const char* slug;
  } cases[] = {
      {"Home & Garden", "home-garden"},
      {"P-1", "p-1"},
      {"!!!", "area"},
      {"", "area"},
      {"--lead and trail--", "lead-and-trail"},
      {"a   --  b", "a-b"},
      {"2026 Plan", "2026-plan"},
      {"ÉCOLE Déjà-vu", "école-déjà-vu"},
      {"日本語 メモ", "日本語-メモ"},
      {"🏡 Home", "home"},
      {"Cafe\xCC\x81", "cafe\xCC\x81"}, // a combining accent stays with its letter
  };
  for (const auto& c : cases) {
    EXPECT_EQ(RecordNames::areaSlug(c.name), c.slug) << c.name;
  }
}

TEST(RecordNames, AreaNamesAreTrimmedAndNeverEmpty) {
  EXPECT_EQ(RecordNames::normalizedAreaName("  Work \n\t"), "Work");
  EXPECT_EQ(RecordNames::normalizedAreaName("\xC2\xA0Work\xE2\x80\xA8"),
            "Work"); // no-break space, line separator
  EXPECT_EQ(RecordNames::normalizedAreaName(" \n "), "Untitled");
  EXPECT_EQ(RecordNames::normalizedAreaName("Deep  Work"), "Deep  Work");
}

TEST(RecordNames, AreaRecordNamesAreMadeUnique) {
  std::set<std::string, std::less<>> taken;
  const auto add = [&](std::string_view name) {
    auto recordName =
        RecordNames::uniqueAreaRecordName(name, [&](std::string_view slug) { return taken.contains(slug); });
    taken.insert(recordName);
    return recordName;
  };
  EXPECT_EQ(add("Home & Garden"), "home-garden");
  EXPECT_EQ(add("home garden"), "home-garden-2");
  EXPECT_EQ(add("HOME/GARDEN"), "home-garden-3");
  EXPECT_EQ(add("???"), "area");
  EXPECT_EQ(add("..."), "area-2");
}

TEST(RecordNames, RandomNamesTakeSixLowerCaseUUIDCharacters) {
  FixedUUIDs uuids;
  EXPECT_EQ(RecordNames::random(RecordNames::projectPrefix, uuids), "p-e621e1");
  EXPECT_EQ(RecordNames::random(RecordNames::gapPrefix, uuids), "g-e621e1");

  RandomUUIDGenerator random;
  const std::regex version4("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  std::set<std::string> seen;
  for (int i = 0; i < 64; ++i) {
    const auto uuid = random.uuidString();
    EXPECT_TRUE(std::regex_match(uuid, version4)) << uuid;
    seen.insert(uuid);
  }
  EXPECT_EQ(seen.size(), 64u);
}

TEST(RecordNames, PerUserNamesAreTheFirstSixteenHexDigitsOfSHA256) {
  // Reference digests computed independently: printf '%s' '_abc123|p-a81b0e' | sha256sum
  EXPECT_EQ(RecordNames::userProjectPlacement("_abc123", "p-a81b0e"), "up-683ac046d5f6a434");
  EXPECT_EQ(RecordNames::userTaskSchedule("_abc123", "t-3f9a1c"), "ut-0d507b01ac3611e9");
  EXPECT_EQ(RecordNames::userProjectSectionState("_abc123", "h-77aa01"), "us-a232b99ae09aa8bd");
  EXPECT_EQ(RecordNames::userProjectPlacement("ü", "p-1"), "up-16b84fb35131fd2e");
  EXPECT_EQ(RecordNames::sharingUserName("_abc123"), "sun-_abc123");
  EXPECT_EQ(RecordNames::day(CalendarDate{2026, 3, 7}), "2026-03-07");
}

} // namespace
} // namespace vantrel
