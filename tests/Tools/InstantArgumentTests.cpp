#include "Tools/vantrel/InstantArgument.hpp"
#include "Tools/vantrel/TerminalText.hpp"
#include "tests/Support/HostileInputs.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::cli {
namespace {

TEST(InstantArgument, ReadsOffsetsAndWallTimesOfTheDeviceZone) {
  testing::ScopedDeviceSettings zone("America/New_York");
  const struct {
    const char* text;
    double secondsSince2001;
  } cases[] = {
      {"2026-03-07T09:30Z", 794568600},
      {"2026-03-07 09:30:15Z", 794568615},
      {"2026-03-07T10:00+05:30", 794550600},
      {"2026-03-07T10:00+0530", 794550600},
      {"2026-03-07T04:00-05:00", 794566800},
      {"2026-03-07T04:00", 794566800},        // EST, the device zone
      {"2026-07-07T04:00", 805104000},        // EDT
      {"2026-11-01T01:30", 815207400},        // repeated hour: the later instant (EST)
      {"2026-03-08T01:59:59.5", 794645999.5}, // fractions kept
      {"2026-03-07T09:30:00.123456789Z", 794568600.123456789},
      {"2026-03-07T23:00+18:00", 794552400},
      {"2026-03-07T00:00-18:00", 794599200}, // the widest offsets
      {"2028-02-29T12:00Z", 857131200},
      {"0001-01-01T00:00Z", -63114076800}, // Julian, as ICU counts
      {"9999-12-31T23:59:59Z", 252423993599},
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
        "2026-03-07T24:00", "2026-03-07T09:60", "2026-03-07T09:30:60", "2026-03-07T09:30Zulu", "",
        "0000-01-01T00:00", "99999-01-01T00:00", "2026-03-07T09:30:00.", "2026-03-07T09:30:00.1234567891",
        "2026-03-07T9:30", "2026-03-07T09:30+5:30", "2026-03-07T09:30+05:3", "2026-03-07T09:30+05:30:00",
        "2026-03-07t09:30"}) {
    try {
      parseInstantArgument(text);
      ADD_FAILURE() << "accepted " << text;
    } catch (const std::invalid_argument& error) {
      EXPECT_EQ(error.what(), "invalid --now '" + std::string(text) + expected);
    }
  }
  for (const char* text : {"2026-11-24T10:00+99:99", "2026-11-24T10:00+18:01", "2026-11-24T10:00-19:00",
                           "2026-11-24T10:00+05:60"}) {
    try {
      parseInstantArgument(text);
      ADD_FAILURE() << "accepted " << text;
    } catch (const std::invalid_argument& error) {
      EXPECT_EQ(error.what(), "invalid --now '" + std::string(text) +
                                  "': the offset from UTC is at most ±18:00, with minutes below 60");
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

// Every text is read or refused with an error that names it; nothing else escapes and nothing crashes.
TEST(InstantArgument, SurvivesAHostileCorpus) {
  testing::ScopedDeviceSettings zone("Europe/Berlin");
  std::vector<std::string> corpus = {std::string(100000, '9'),
                                     "2026-03-07T09:30:00." + std::string(100000, '1'),
                                     "2026-03-07T09:30Z" + std::string(100000, ' '), "2026-03-07T\xE9:30",
                                     std::string("2026-03-07T09:30\0Z", 17)};
  for (const char* valid : {"2026-03-07T09:30:15.25+05:30", "2026-03-29T02:30", "9999-12-31T23:59Z"}) {
    const auto variants = testing::hostileVariants(valid, 11, 300);
    corpus.insert(corpus.end(), variants.begin(), variants.end());
  }
  for (const auto& text : corpus) {
    try {
      const Date instant = parseInstantArgument(text);
      EXPECT_TRUE(std::isfinite(instant.secondsSinceReferenceDate)) << text;
    } catch (const std::invalid_argument& error) {
      EXPECT_TRUE(std::string_view(error.what()).starts_with("invalid --now '" + terminalText(text) + "': "))
          << text;
    } catch (const std::exception& error) {
      ADD_FAILURE() << text << ": " << error.what();
    }
  }
}

} // namespace
} // namespace vantrel::cli
