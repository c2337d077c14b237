#include "Tools/vantrel/InstantArgument.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <gtest/gtest.h>

namespace vantrel::cli {
namespace {

TEST(InstantArgument, ReadsOffsetsAndWallTimesOfTheDeviceZone) {
  testing::ScopedDeviceSettings zone("America/New_York");
  const struct {
    const char* text;
    double secondsSince2001;
  } cases[] = {
      {"2026-03-07T09:30Z", 794568600},       {"2026-03-07 09:30:15Z", 794568615},
      {"2026-03-07T10:00+05:30", 794550600},  {"2026-03-07T10:00+0530", 794550600},
      {"2026-03-07T04:00-05:00", 794566800},  {"2026-03-07T04:00", 794566800}, // EST, the device zone
      {"2026-07-07T04:00", 805104000},                                         // EDT
      {"2026-11-01T01:30", 815207400},        // repeated hour: the later instant (EST)
      {"2026-03-08T01:59:59.5", 794645999.5}, // fractions kept
  };
  for (const auto& c : cases) {
    EXPECT_EQ(parseInstantArgument(c.text).secondsSinceReferenceDate, c.secondsSince2001) << c.text;
  }
}

TEST(InstantArgument, RefusesWhatIsNoInstant) {
  testing::ScopedDeviceSettings zone("America/New_York");
  const std::string expected = "': expected YYYY-MM-DDTHH:MM[:SS] with an optional Z or ±HH:MM offset";
  for (const char* text :
       {"yesterday", "2026-03-07", "2026-3-7T09:30", "2026-13-01T00:00", "2026-02-30T10:00",
        "2026-03-07T24:00", "2026-03-07T09:60", "2026-03-07T09:30Zulu", ""}) {
    try {
      parseInstantArgument(text);
      ADD_FAILURE() << "accepted " << text;
    } catch (const std::invalid_argument& error) {
      EXPECT_EQ(error.what(), "invalid --now '" + std::string(text) + expected);
    }
  }
  try {
    parseInstantArgument("2026-03-08T02:30");
    ADD_FAILURE() << "accepted a skipped wall time";
  } catch (const std::invalid_argument& error) {
    EXPECT_STREQ(error.what(), "invalid --now '2026-03-08T02:30': that wall time does not exist in "
                               "America/New_York (the clocks skip it)");
  }
}

} // namespace
} // namespace vantrel::cli
