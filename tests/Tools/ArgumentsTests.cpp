#include "Tools/vantrel/Arguments.hpp"
#include "Tools/vantrel/TextTable.hpp"
#include "VantrelCore/Model/LastEditedFormat.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <gtest/gtest.h>
#include <string>

namespace vantrel {
namespace {

using namespace cli;

/// What a parser answers, or "! " and its refusal.
template <class Parse> std::string outcome(Parse parse) {
  try {
    return parse();
  } catch (const std::invalid_argument& error) {
    return std::string("! ") + error.what();
  }
}

TEST(Arguments, EachKindIsParsedStrictlyAndARefusalNamesTheArgument) {
  DeviceSettings::setTimeZone("Europe/Berlin");
  const CalendarDate today{2026, 11, 24};
  const struct {
    std::string kind;
    std::string text;
    std::string expected;
  } cases[] = {
      {"day", "2026-03-07", "2026-03-07"},
      {"day", "Tomorrow", "2026-11-25"},
      {"day", "yesterday", "2026-11-23"},
      {"day", "2026-02-29", "! invalid DAY '2026-02-29': expected YYYY-MM-DD, today, tomorrow or yesterday"},
      {"day", "26-3-7", "! invalid DAY '26-3-7': expected YYYY-MM-DD, today, tomorrow or yesterday"},
      {"time", "9:05", "09:05"},
      {"time", "23:59", "23:59"},
      {"time", "24:00", "! invalid TIME '24:00': expected a time of day from 00:00 to 23:59"},
      {"time", "9:5", "! invalid TIME '9:5': expected a time of day H:MM or HH:MM, 24-hour (09:00, 13:30)"},
      {"time", "+9:05",
       "! invalid TIME '+9:05': expected a time of day H:MM or HH:MM, 24-hour (09:00, 13:30)"},
      {"title", "  Call Anna \n", "Call Anna"},
      {"title", "Café 東京 🌱", "Café 東京 🌱"},
      {"title", "\t ", "! invalid TITLE '\\t ': expected some text; it is empty or blank"},
      {"title", "a\u2028b",
       "! invalid TITLE 'a\\u2028b': expected one line of text, without control characters"},
      {"title", std::string(501, 'x'),
       "! invalid TITLE '" + std::string(40, 'x') + "': is too long: at most 500 characters"},
      {"color", "Blue", "blue"},
      {"color", "#A0b1C2", "#a0b1c2"},
      {"color", "#zz",
       "! invalid COLOR '#zz': expected #RRGGBB or one of red, orange, yellow, green, mint, teal, "
       "cyan, blue, indigo, purple, pink, brown, gray"},
      {"due", "none", "none"},
      {"due", "2026-03-07", "2026-03-07T11:00:00Z"},
      {"due", "2026-03-07T08:30Z", "2026-03-07T08:30:00Z"},
      {"due", "2026-13-45",
       "! invalid DUE '2026-13-45': expected a day (YYYY-MM-DD, today, tomorrow), an instant "
       "YYYY-MM-DDTHH:MM with an optional Z or ±HH:MM offset, or none"},
  };
  for (const auto& c : cases) {
    const auto parsed = outcome([&]() -> std::string {
      if (c.kind == "day") {
        return parseDay(c.text, "DAY", today).description();
      }
      if (c.kind == "time") {
        return parseTimeOfDay(c.text, "TIME");
      }
      if (c.kind == "title") {
        return parseTitle(c.text, "TITLE");
      }
      if (c.kind == "color") {
        return parseColor(c.text, "COLOR");
      }
      const auto due = parseDue(c.text, "DUE", today);
      return due ? LastEditedFormat::string(*due) : "none";
    });
    EXPECT_EQ(parsed, c.expected) << c.kind << " " << c.text;
  }
}

TEST(TextTable, ColumnsLineUpByWhatATerminalShows) {
  EXPECT_EQ(displayWidth("abc"), 3u);
  EXPECT_EQ(displayWidth("東京"), 4u);
  EXPECT_EQ(displayWidth("🌱 ok"), 5u);
  EXPECT_EQ(displayWidth("e\u0301"), 1u) << "a combining accent takes no column";
  EXPECT_EQ(displayWidth("👩‍💻"), 2u) << "one emoji made of three";
  TextTable table;
  table.row().cell("東京").cell("x");
  table.row().cell("ab").cell("y").cell("");
  table.row().cell("a\nb").cell("z");
  EXPECT_EQ(table.render([](std::string_view text, TextTone) { return std::string(text); }), "東京  x\n"
                                                                                             "ab    y\n"
                                                                                             "a\\nb  z\n");
}

} // namespace
} // namespace vantrel
