#include "VantrelCore/JSON/JSONValue.hpp"
#include "tests/Support/CommandLineRun.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <string>

namespace vantrel {
namespace {

// A newcomer's first look: the demo week on a weekday and on a weekend, seen by today and the widget.
TEST(DemoCommand, FillsAFreshProfileWithAWeekThatTodayAndTheWidgetShow) {
  testing::TemporaryFolder folder;
  const struct {
    const char* now;
    const char* firstGap;
    std::size_t events;
  } days[] = {{"2026-11-23T10:00", "Deep work", 2}, {"2026-11-28T09:00", "Long run", 1}};
  for (const auto& day : days) {
    const auto options = "--tz Europe/Berlin --now " + std::string(day.now) + " --profile " +
                         (folder.path() / day.now).string() + " ";
    const auto demo = testing::runVantrel(options + "--json demo");
    ASSERT_EQ(demo.exitCode, 0) << demo.output;
    const auto counts = parseJSON(demo.output);
    EXPECT_EQ(readJSONInt64(counts["areas"]), 3);
    EXPECT_GE(readJSONInt64(counts["tasks"]), 15);

    const auto today = testing::runVantrel(options + "--json today");
    ASSERT_EQ(today.exitCode, 0) << today.output;
    const auto view = parseJSON(today.output);
    EXPECT_EQ(view["events"].Size(), day.events) << day.now;
    ASSERT_GE(view["gaps"].Size(), 2u) << day.now;
    EXPECT_EQ(readJSONString(view["gaps"][0]["label"]), day.firstGap);
    EXPECT_GE(view["gaps"][0]["tasks"].Size(), 1u) << day.now;

    const auto widget = testing::runVantrelWidget(options + "--snapshot");
    ASSERT_EQ(widget.exitCode, 0) << widget.output;
    EXPECT_GE(parseJSON(widget.output)["model"]["taskCount"].GetInt64(), 1) << day.now;

    const auto again = testing::runVantrel(options + "demo");
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.output,
              "vantrel: the profile already holds data; vantrel demo fills only a fresh profile "
              "(use --profile DIR with a new folder)\n");
  }
}

} // namespace
} // namespace vantrel
