#include "tests/Support/CommandLineRun.hpp"

#include <gtest/gtest.h>
#include <string>

namespace vantrel {
namespace {

testing::CommandLineRun vantrel(const std::string& arguments) {
  return testing::runVantrel(arguments);
}

TEST(OpenCommand, ShowsTheScreenALinkOpens) {
  // Links are quoted as a person would in a shell, since '?', '&' and '#' mean something there.
  const struct {
    std::string arguments;
    std::string output;
  } runs[] = {
      {"open vantrel://today", "Today\n"},
      {"open 'vantrel://today?gap=G1'", "Today, focused on gap G1\n"},
      {"open 'vantrel://today?from=widget&gap=g-a%20b#top'", "Today, focused on gap g-a b\n"},
      {"open 'vantrel://today?gap='", "Today\n"},
      {"--json open 'vantrel://today?gap=G1'",
       R"({"route":{"today":{}},"todayRequestToken":1,"pendingFocusGapID":"G1"})"
       "\n"},
      {"--json open vantrel://today",
       R"({"route":{"today":{}},"todayRequestToken":1,"pendingFocusGapID":null})"
       "\n"},
      {"--json open 'vantrel://today?gap=%22G%5C1%22'",
       R"({"route":{"today":{}},"todayRequestToken":1,"pendingFocusGapID":"\"G\\1\""})"
       "\n"},
  };
  for (const auto& [arguments, output] : runs) {
    const auto run = vantrel(arguments);
    EXPECT_EQ(run.exitCode, 0) << arguments << ": " << run.output;
    EXPECT_EQ(run.output, output) << arguments;
  }
}

TEST(OpenCommand, RefusesALinkItDoesNotUnderstand) {
  for (const std::string url :
       {"vantrel://week", "other://today", "Vantrel://today", "vantrel:today", "today"}) {
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
