#include "tests/Support/CommandLineRun.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <string>

namespace vantrel {
namespace {

testing::CommandLineRun vantrel(const std::string& arguments) {
  return testing::runVantrel(arguments);
}

TEST(OpenCommand, ShowsTheScreenALinkOpens) {
  testing::TemporaryFolder folder;
  const std::string profile =
      "--now 2026-03-07T08:00 --tz Europe/Berlin --offline --profile " + folder.path().string() + " ";
  ASSERT_EQ(vantrel(profile + "gap add today 9:00 --name g-one").exitCode, 0);
  // Links are quoted as a person would in a shell, since '?', '&' and '#' mean something there.
  const struct {
    std::string arguments;
    std::string output;
  } runs[] = {
      {"open vantrel://today", "Today\n"},
      {"open 'vantrel://today?gap=g-one'", "Today, focused on gap g-one\n"},
      {"open 'vantrel://today?from=widget&gap=g-%6Fne#top'", "Today, focused on gap g-one\n"},
      {"open 'vantrel://today?gap='", "Today\n"},
      {"--json open 'vantrel://today?gap=g-one'",
       R"({"route":{"today":{}},"todayRequestToken":1,"pendingFocusGapID":"g-one"})"
       "\n"},
      {"--json open vantrel://today",
       R"({"route":{"today":{}},"todayRequestToken":1,"pendingFocusGapID":null})"
       "\n"},
  };
  for (const auto& [arguments, output] : runs) {
    const auto run = vantrel(profile + arguments);
    EXPECT_EQ(run.exitCode, 0) << arguments << ": " << run.output;
    EXPECT_EQ(run.output, output) << arguments;
  }
  const auto tomorrow = vantrel("--now 2026-03-08T08:00 --tz Europe/Berlin --profile " +
                                folder.path().string() + " open 'vantrel://today?gap=g-one'");
  EXPECT_EQ(tomorrow.exitCode, 1);
  EXPECT_EQ(tomorrow.output, "vantrel: no gap 'g-one' today; see vantrel gap list\n");
}

TEST(OpenCommand, RefusesALinkItDoesNotUnderstand) {
  for (const std::string url :
       {"vantrel://week", "other://today", "Vantrel://today", "today", "vantrel:today"}) {
    for (const std::string form : {"", "--json "}) {
      const auto run = vantrel(form + "open '" + url + "'");
      EXPECT_EQ(run.exitCode, 1) << form << url;
      EXPECT_EQ(run.output, "vantrel: not a Vantrel link: " + url + "\n") << form << url;
    }
  }
  const auto missing = vantrel("open");
  EXPECT_NE(missing.exitCode, 0);
  EXPECT_NE(missing.output.find("url"), std::string::npos) << missing.output;
}

} // namespace
} // namespace vantrel
