#include "VantrelCore/Platform/PosixTimeZoneRule.hpp"
#include "VantrelCore/Platform/TimeZoneDatabase.hpp"
#include "VantrelCore/Platform/TimeZoneError.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <unicode/gregocal.h>
#include <vector>

namespace vantrel {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t day = 86400;
constexpr std::int64_t year1970 = 0;
constexpr std::int64_t year2038 = 2145916800;
constexpr std::int64_t year2100 = 4102444800;
constexpr double july2026 = 1782907200.0 * 1000; // 2026-07-01 12:00 UTC, in ICU's milliseconds

/// How far `zone` is ahead of UTC in July 2026, in milliseconds.
std::int32_t offsetInJuly(const icu::TimeZone& zone) {
  std::int32_t raw = 0;
  std::int32_t daylight = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(july2026, false, raw, daylight, status);
  EXPECT_TRUE(U_SUCCESS(status));
  return raw + daylight;
}

/// Runs the C library under one TZ for a while.
class ScopedTZ {
public:
  explicit ScopedTZ(const std::string& value) {
    if (const char* previous = std::getenv("TZ")) {
      previous_ = previous;
    }
    ::setenv("TZ", value.c_str(), 1);
    ::tzset();
  }
  ~ScopedTZ() {
    if (previous_) {
      ::setenv("TZ", previous_->c_str(), 1);
    } else {
      ::unsetenv("TZ");
    }
    ::tzset();
  }
  ScopedTZ(const ScopedTZ&) = delete;
  ScopedTZ& operator=(const ScopedTZ&) = delete;

private:
  std::optional<std::string> previous_;
};

/// Every zone file of the system's database, by name; "right/" zones count leap seconds and "posix/"
/// repeats the rest.
std::vector<std::string> everyZoneName() {
  const fs::path root = TimeZoneDatabase::system().directory();
  std::vector<std::string> names;
  for (auto entry = fs::recursive_directory_iterator(root); entry != fs::recursive_directory_iterator();
       ++entry) {
    const std::string name = fs::relative(entry->path(), root).string();
    if (entry->is_directory() && (name == "right" || name == "posix")) {
      entry.disable_recursion_pending();
      continue;
    }
    if (!entry->is_regular_file() || name == "posixrules" || name == "localtime") {
      continue;
    }
    std::ifstream file(entry->path(), std::ios::binary);
    char magic[4] = {};
    if (file.read(magic, 4) && std::string_view(magic, 4) == "TZif") {
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

/// What the zone says about `seconds` against what the C library says under the current TZ: the offset,
/// then the wall time an ICU calendar shows. Empty when they agree.
std::string disagreement(icu::GregorianCalendar& calendar, std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm expected{};
  ::localtime_r(&time, &expected);
  UErrorCode status = U_ZERO_ERROR;
  calendar.setTime(double(seconds) * 1000, status);
  const int offset = (calendar.get(UCAL_ZONE_OFFSET, status) + calendar.get(UCAL_DST_OFFSET, status)) / 1000;
  const int fields[] = {calendar.get(UCAL_YEAR, status) - 1900, calendar.get(UCAL_MONTH, status),
                        calendar.get(UCAL_DATE, status),        calendar.get(UCAL_HOUR_OF_DAY, status),
                        calendar.get(UCAL_MINUTE, status),      calendar.get(UCAL_SECOND, status)};
  const int wanted[] = {expected.tm_year, expected.tm_mon, expected.tm_mday,
                        expected.tm_hour, expected.tm_min, expected.tm_sec};
  if (U_FAILURE(status) || offset != expected.tm_gmtoff ||
      !std::equal(std::begin(fields), std::end(fields), wanted)) {
    char text[160];
    std::snprintf(text, sizeof text,
                  "at %lld: offset %d, wall %04d-%02d-%02d %02d:%02d:%02d; the C library says %ld, "
                  "%04d-%02d-%02d %02d:%02d:%02d",
                  static_cast<long long>(seconds), offset, fields[0] + 1900, fields[1] + 1, fields[2],
                  fields[3], fields[4], fields[5], expected.tm_gmtoff, wanted[0] + 1900, wanted[1] + 1,
                  wanted[2], wanted[3], wanted[4], wanted[5]);
    return text;
  }
  return {};
}

/// The instants a zone is checked at: a week and five hours apart from 1970 to 2037 (every weekday and
/// time of day comes round), a month apart to 2100 (the footer's rule), and a second either side of
/// every change the C library reports before 2038.
std::vector<std::int64_t> probeTimes() {
  std::vector<std::int64_t> times;
  for (std::int64_t time = year1970; time < year2038; time += 7 * day + 5 * 3600) {
    times.push_back(time);
  }
  for (std::int64_t time = year2038; time < year2100; time += 31 * day + 7 * 3600) {
    times.push_back(time);
  }
  return times;
}

TEST(SystemTimeZone, EveryZoneOfTheDatabaseAgreesWithTheCLibrary) {
  const auto names = everyZoneName();
  ASSERT_GT(names.size(), 300u) << "the tz database is missing";
  const auto times = probeTimes();
  std::size_t checked = 0;
  for (const auto& name : names) {
    SCOPED_TRACE(name);
    const ScopedTZ tz(name);
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(TimeZoneDatabase::system().zone(name).release(), status);
    ASSERT_TRUE(U_SUCCESS(status));
    std::vector<std::int64_t> instants = times;
    // Around each change, found by watching the C library's offset between the probes.
    long previous = 0;
    for (std::size_t index = 0; index < times.size() && times[index] < year2038; ++index) {
      const std::time_t time = times[index];
      std::tm fields{};
      ::localtime_r(&time, &fields);
      if (index > 0 && fields.tm_gmtoff != previous) {
        std::int64_t low = times[index - 1];
        std::int64_t high = times[index];
        while (high - low > 1) {
          const std::int64_t middle = low + (high - low) / 2;
          const std::time_t probe = middle;
          std::tm at{};
          ::localtime_r(&probe, &at);
          (at.tm_gmtoff == previous ? low : high) = middle;
        }
        instants.insert(instants.end(), {high - 1, high, high + 1});
      }
      previous = fields.tm_gmtoff;
    }
    for (const std::int64_t instant : instants) {
      ASSERT_EQ(disagreement(calendar, instant), "");
      ++checked;
    }
  }
  EXPECT_GT(checked, names.size() * 3000);
}

TEST(SystemTimeZone, ZonesWhoseRulesChangedAfter2022HaveTodaysOffsets) {
  const struct {
    const char* zone;
    int hours;
  } cases[] = {
      {"America/Mexico_City", -6}, {"Africa/Cairo", 3},      {"America/Nuuk", -1},
      {"Asia/Almaty", 5},          {"America/Asuncion", -3},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.zone);
    EXPECT_EQ(offsetInJuly(*TimeZoneDatabase::system().zone(test.zone)), test.hours * 3600 * 1000);
  }
}

TEST(SystemTimeZone, PosixRulesInTZAgreeWithTheCLibrary) {
  // Every form of change day and time: Mm.w.d with the last week, Jn and n either side of February 29,
  // times past midnight and before it, the southern hemisphere, and the United States' default rules.
  const char* rules[] = {
      "CET-1CEST,M3.5.0,M10.5.0/3",
      "EST5EDT4,M3.2.0/2:00:00,M11.1.0/2:00:00",
      "<-03>3<-02>,M3.5.0/-2,M10.5.0/-1",
      "AEST-10AEDT,M10.1.0,M4.1.0/3",
      "XXX3YYY,J60/1,J300",
      "XXX3YYY,59/1,300",
      "IST-2IDT,M3.4.4/26,M10.5.0",
      "EET-2EEST,M3.4.4/50,M10.4.4/50",
      "<+0330>-3:30<+0430>,J79/24,J263/24",
      "NZST-12NZDT,M9.5.0,M4.1.0/3",
      "<-00>0",
      "JST-9",
  };
  for (const char* rule : rules) {
    SCOPED_TRACE(rule);
    const ScopedTZ tz(rule);
    TimeZoneDatabase database("/nonexistent");
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(database.hostZone(rule).release(), status);
    // The C library reads rules for years before 1971 as 1970's.
    for (std::int64_t time = 365 * day; time < year2100; time += 3 * day + 3593) {
      ASSERT_EQ(disagreement(calendar, time), "");
    }
  }
}

TEST(SystemTimeZone, OnlyCompletePosixRulesAreRead) {
  for (const char* text :
       {"", "EST", "ES5", "EST25", "EST5:60", "EST5 ", "<+03-3", "<+0>-3", "EST5EDT,M3.2.0",
        "EST5EDT,M13.1.0,M11.1.0", "EST5EDT,M3.6.0,M11.1.0", "EST5EDT,M3.2.7,M11.1.0", "EST5EDT,J0,J365",
        "EST5EDT,366,J365", "EST5EDT,M3.2.0/168,M11.1.0", "EST5EDT,M3.2.0,M11.1.0,", "EST5EDT4:00:60"}) {
    EXPECT_FALSE(PosixTimeZoneRule::parse(text)) << text;
  }
  const auto nepal = PosixTimeZoneRule::parse("<+0545>-5:45");
  ASSERT_TRUE(nepal);
  EXPECT_EQ(nepal->standardName, "+0545");
  EXPECT_EQ(nepal->standardOffset, 5 * 3600 + 45 * 60);
  EXPECT_FALSE(nepal->daylight);
  // A daylight name alone takes an hour more and the United States' dates, as the C library does.
  const auto eastern = PosixTimeZoneRule::parse("EST5EDT");
  ASSERT_TRUE(eastern && eastern->daylight);
  EXPECT_EQ(eastern->daylight->offset, -4 * 3600);
  EXPECT_EQ(*eastern, *PosixTimeZoneRule::parse("EST5EDT4,M3.2.0/2,M11.1.0/02:00:00"));
}

TEST(SystemTimeZone, WallTimesSkippedOrRepeatedResolveAsWithICUsOwnZones) {
  // Where the rules have not changed since ICU's copy, its zones are the reference for reading wall
  // times: one the clocks skip moves forward, a repeated one is the later instant.
  // 2045 lies past the files' transitions, where the footer's rule decides.
  const struct {
    const char* zone;
    int year, month, date, hour, minute;
  } cases[] = {
      {"Europe/Berlin", 2026, 2, 29, 2, 30},      {"Europe/Berlin", 2026, 9, 25, 2, 30},
      {"Europe/Berlin", 2026, 9, 25, 1, 59},      {"Europe/Berlin", 2026, 9, 25, 3, 0},
      {"Australia/Sydney", 2026, 3, 5, 2, 30},    {"Australia/Sydney", 2026, 9, 4, 2, 30},
      {"America/New_York", 2026, 2, 8, 2, 0},     {"America/New_York", 2026, 10, 1, 1, 0},
      {"Australia/Lord_Howe", 2026, 3, 5, 1, 45}, {"Australia/Lord_Howe", 2026, 9, 4, 2, 15},
      {"Asia/Kolkata", 2026, 6, 1, 12, 0},        {"Europe/Dublin", 2026, 9, 25, 1, 30},
      {"Europe/Berlin", 2045, 2, 26, 2, 30},      {"Europe/Berlin", 2045, 9, 29, 2, 30},
      {"Australia/Sydney", 2045, 3, 2, 2, 30},    {"America/New_York", 2045, 10, 5, 1, 30},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(std::string(test.zone) + " " + std::to_string(test.year) + " month " +
                 std::to_string(test.month + 1) + " day " + std::to_string(test.date) + " " +
                 std::to_string(test.hour) + ":" + std::to_string(test.minute));
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar ours(TimeZoneDatabase::system().zone(test.zone).release(), status);
    icu::GregorianCalendar icus(icu::TimeZone::createTimeZone(test.zone), status);
    for (icu::GregorianCalendar* calendar : {&ours, &icus}) {
      calendar->clear();
      calendar->set(test.year, test.month, test.date, test.hour, test.minute);
    }
    EXPECT_EQ(ours.getTime(status), icus.getTime(status));
    EXPECT_TRUE(U_SUCCESS(status));
  }
}

/// The bytes of a TZif file, version 2, with one 32-bit block left empty as zic's "slim" files do.
struct TZifBuilder {
  char version = '2';
  std::vector<std::pair<std::int64_t, std::uint8_t>> transitions{{-1000, 1}, {1000, 0}};
  std::vector<std::tuple<std::int32_t, bool, std::uint8_t>> types{{3600, false, 0}, {7200, true, 4}};
  std::string abbreviations{std::string("CET\0CEST\0", 9)};
  std::uint32_t leapSeconds = 0;
  std::string footer = "\nCET-1CEST,M3.5.0,M10.5.0/3\n";

  static void put(std::string& out, std::uint64_t value, int size) {
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
      out.push_back(char(value >> shift & 0xff));
    }
  }
  std::string header(std::uint32_t leaps, std::uint32_t times, std::uint32_t typeCount,
                     std::uint32_t characters) const {
    std::string out = "TZif";
    out.push_back(version);
    out.append(15, '\0');
    for (const std::uint32_t count : {0u, 0u, leaps, times, typeCount, characters}) {
      put(out, count, 4);
    }
    return out;
  }
  std::string bytes() const {
    std::string out = header(0, 0, 1, 1);
    out.append(6, '\0');
    out.push_back('\0');
    out += header(leapSeconds, std::uint32_t(transitions.size()), std::uint32_t(types.size()),
                  std::uint32_t(abbreviations.size()));
    for (const auto& [time, type] : transitions) {
      put(out, std::uint64_t(time), 8);
    }
    for (const auto& [time, type] : transitions) {
      out.push_back(char(type));
    }
    for (const auto& [offset, daylight, abbreviation] : types) {
      put(out, std::uint32_t(offset), 4);
      out.push_back(daylight ? '\1' : '\0');
      out.push_back(char(abbreviation));
    }
    out += abbreviations;
    out.append(std::size_t(leapSeconds) * 12, '\0');
    return out + footer;
  }
};

class TimeZoneDatabaseTest : public ::testing::Test {
protected:
  void write(const std::string& name, const std::string& bytes) {
    fs::create_directories((root_ / name).parent_path());
    std::ofstream(root_ / name, std::ios::binary) << bytes;
  }
  static std::string errorFrom(const std::function<void()>& work) {
    try {
      work();
    } catch (const TimeZoneError& error) {
      return error.what();
    }
    return "no error";
  }
  std::string errorFor(const std::string& name) {
    return errorFrom([&] { TimeZoneDatabase(root_).zone(name); });
  }

  testing::TemporaryFolder folder_;
  const fs::path root_ = folder_.path();
};

TEST_F(TimeZoneDatabaseTest, AZoneFileThatIsDamagedIsRefusedByName) {
  const auto built = [](auto change) {
    TZifBuilder builder;
    change(builder);
    return builder.bytes();
  };
  const std::string valid = TZifBuilder().bytes();
  const struct {
    const char* what;
    std::string bytes;
    const char* reason;
  } cases[] = {
      {"empty", "", "is damaged (truncated)"},
      {"another format", "#!/bin/sh\necho hello\n", "is damaged (not a TZif file)"},
      {"version 1", built([](TZifBuilder& b) { b.version = '\0'; }),
       "is damaged (version 1 of the format, which has no rules past 2037)"},
      {"cut short", valid.substr(0, valid.size() - 40), "is damaged (truncated)"},
      {"no footer", built([](TZifBuilder& b) { b.footer = "CET-1\n"; }), "is damaged (no footer)"},
      {"an unterminated footer", built([](TZifBuilder& b) { b.footer = "\nCET-1"; }),
       "is damaged (an unterminated footer)"},
      {"an unreadable footer", built([](TZifBuilder& b) { b.footer = "\nCET-1CEST,M3.5.0\n"; }),
       "is damaged (a footer that is not a POSIX TZ rule ('CET-1CEST,M3.5.0'))"},
      {"times out of order", built([](TZifBuilder& b) {
         b.transitions = {{1000, 1}, {-1000, 0}};
       }),
       "is damaged (transition times out of order)"},
      {"a type that does not exist", built([](TZifBuilder& b) {
         b.transitions = {{1000, 2}};
       }),
       "is damaged (a transition to a local time type that does not exist)"},
      {"no types", built([](TZifBuilder& b) {
         b.types.clear();
         b.transitions.clear();
       }),
       "is damaged (impossible counts in the header)"},
      {"an offset of a day", built([](TZifBuilder& b) { std::get<0>(b.types[0]) = -86400; }),
       "is damaged (an offset from UTC of a day or more)"},
      {"an abbreviation outside its table", built([](TZifBuilder& b) { std::get<2>(b.types[1]) = 40; }),
       "is damaged (an abbreviation outside its table)"},
      {"leap seconds", built([](TZifBuilder& b) { b.leapSeconds = 1; }),
       "counts leap seconds, which the planner's clock does not"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.what);
    write("Test/Zone", test.bytes);
    EXPECT_EQ(errorFor("Test/Zone"),
              "time zone 'Test/Zone' cannot be read: " + (root_ / "Test/Zone").string() + " " + test.reason);
  }
  write("Test/Zone", valid);
  EXPECT_EQ(errorFor("Test/Zone"), "no error");
}

TEST_F(TimeZoneDatabaseTest, NamesOutsideTheDatabaseAreUnknown) {
  write("Test/Zone", TZifBuilder().bytes());
  for (const char* name : {"Test/Missing", "Test", "", "/etc/passwd", "Test/../Test/Zone", "Test//Zone",
                           "Test/Zone/", "./Test/Zone", "Test/Zone\n"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(errorFor(name), "unknown time zone '" + std::string(name) + "'");
  }
  TimeZoneDatabase missing(root_ / "nowhere");
  EXPECT_EQ(errorFrom([&] { missing.zone("Europe/Berlin"); }),
            "unknown time zone 'Europe/Berlin': there is no time zone database in " +
                (root_ / "nowhere").string() + " (install tzdata, or set TZDIR)");
  // UTC needs no file.
  EXPECT_EQ(missing.zone("UTC")->getRawOffset(), 0);
}

TEST_F(TimeZoneDatabaseTest, TheHostZoneComesFromTZThenTheLocaltimeFile) {
  write("Test/Zone", TZifBuilder().bytes());
  write("Test/Other", TZifBuilder{.transitions = {},
                                  .types = {{-18000, false, 0}},
                                  .abbreviations = std::string("EST\0", 4),
                                  .footer = "\nEST5\n"}
                          .bytes());
  fs::create_symlink(root_ / "Test/Zone", root_ / "linked");
  fs::create_symlink(root_ / "Test/Gone", root_ / "dangling");
  fs::copy_file(root_ / "Test/Other", root_ / "copied");
  const struct {
    const char* tz;
    const char* localtime;
    const char* identifier;
    int hoursInJuly;
  } cases[] = {
      {"Test/Other", "linked", "Test/Other", -5},
      {":Test/Other", "linked", "Test/Other", -5},
      {"", "linked", "UTC", 0},
      {"EST5EDT,M3.2.0,M11.1.0", "linked", "EST5EDT,M3.2.0,M11.1.0", -4},
      {"<+0545>-5:45", "linked", "<+0545>-5:45", 5},
      {nullptr, "linked", "Test/Zone", 2},
      {nullptr, "copied", "localtime", -5},
      {nullptr, "absent", "UTC", 0},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(std::string(test.tz ? test.tz : "(unset)") + " with " + test.localtime);
    TimeZoneDatabase database(root_);
    const auto zone = database.hostZone(test.tz, root_ / test.localtime);
    icu::UnicodeString id;
    std::string name;
    zone->getID(id).toUTF8String(name);
    EXPECT_EQ(name, test.identifier);
    EXPECT_EQ(offsetInJuly(*zone) / 3600000, test.hoursInJuly);
  }
  const auto refusal = [&](const char* tz, const char* localtime) {
    return errorFrom([&] { TimeZoneDatabase(root_).hostZone(tz, root_ / localtime); });
  };
  EXPECT_EQ(refusal("Mars/Olympus_Mons", "linked"), "unknown time zone 'Mars/Olympus_Mons'");
  EXPECT_EQ(refusal((root_ / "Test/Gone").c_str(), "linked"), "unknown time zone 'Test/Gone'");
  EXPECT_EQ(refusal(nullptr, "dangling"),
            "time zone 'Test/Gone' cannot be read: " + (root_ / "dangling").string() + " points to " +
                (root_ / "Test/Gone").string() + ", which does not exist");
}

} // namespace
} // namespace vantrel
