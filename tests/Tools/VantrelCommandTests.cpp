#include "VantrelCore/JSON/JSONValue.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

namespace vantrel {
namespace {

struct Run {
  std::string output;
  int exitCode = -1;
};

// Runs the real program, as a person would from a shell, with stderr folded into the output.
Run vantrel(const std::string& arguments) {
  const char* binaryDir = std::getenv("VANTREL_BINARY_DIR");
  EXPECT_NE(binaryDir, nullptr) << "VANTREL_BINARY_DIR is set by CTest";
  const std::string command = "env -u VANTREL_HOME LANG=en_US.UTF-8 " + std::string(binaryDir) +
                              "/Tools/vantrel/vantrel " + arguments + " 2>&1";
  Run run;
  FILE* pipe = popen(command.c_str(), "r");
  std::array<char, 4096> buffer{};
  while (const auto read = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
    run.output.append(buffer.data(), read);
  }
  const int status = pclose(pipe);
  run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

TEST(VantrelCommand, AboutReportsTheRunsInstantZoneAndProfile) {
  const auto run =
      vantrel("--profile /tmp/vantrel-profile --tz Pacific/Tongatapu --now 2026-03-07T23:30 --json about");
  ASSERT_EQ(run.exitCode, 0) << run.output;
  const auto about = parseJSON(run.output);
  EXPECT_EQ(readJSONNumber(about["now"]), 794572200); // 10:30 UTC, 13 hours behind Tongatapu
  EXPECT_EQ(readJSONString(about["today"]), "2026-03-07");
  EXPECT_EQ(readJSONString(about["timeZone"]), "Pacific/Tongatapu");
  EXPECT_EQ(readJSONString(about["applicationSupportDirectory"]), "/tmp/vantrel-profile");
  EXPECT_EQ(readJSONString(about["appGroupContainerDirectory"]),
            "/tmp/vantrel-profile/group.com.vantrel.vantrel.gen1");

  const auto text =
      vantrel("--profile /tmp/vantrel-profile --tz Pacific/Pago_Pago --now 2026-03-07T23:30 about");
  ASSERT_EQ(text.exitCode, 0) << text.output;
  EXPECT_NE(text.output.find("today                 2026-03-07 (Saturday)"), std::string::npos)
      << text.output;
}

TEST(VantrelCommand, TwoProfilesOnOneCloudFileAreTwoDevicesOfOneAccount) {
  testing::TemporaryFolder folder;
  const std::string cloud = " --cloud " + (folder.path() / "shared" / "cloud.sqlite").string();
  const auto profile = [&](const char* name) { return " --profile " + (folder.path() / name).string(); };

  const auto first = vantrel(profile("phone") + cloud + " --json sync");
  ASSERT_EQ(first.exitCode, 0) << first.output;
  const auto second = vantrel(profile("laptop") + cloud + " --json sync");
  ASSERT_EQ(second.exitCode, 0) << second.output;
  const auto phone = parseJSON(first.output);
  const auto laptop = parseJSON(second.output);
  EXPECT_EQ(readJSONString(phone["account"]), readJSONString(laptop["account"]));
  EXPECT_EQ(readJSONInt64(laptop["records"]), 1) << "the schema record the first device wrote";
  EXPECT_EQ(readJSONInt64(laptop["pendingWrites"]), 0);
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "laptop" / "group.com.vantrel.vantrel.gen1" /
                                      "Vantrel" / "cache-snapshot.json"));
}

TEST(VantrelCommand, APersonPlansOnOneProfileUndoesAndSeesItOnAnother) {
  testing::TemporaryFolder folder;
  const std::string cloud = " --cloud " + (folder.path() / "cloud.sqlite").string();
  const auto phone = [&](const std::string& arguments) {
    return vantrel("--profile " + (folder.path() / "phone").string() + cloud + " " + arguments);
  };
  const auto trimmed = [](const auto& run) { return run.output.substr(0, run.output.find('\n')); };

  const auto area = phone("area add Home");
  ASSERT_EQ(area.exitCode, 0) << area.output;
  EXPECT_EQ(trimmed(area), "home");
  const auto task = phone("--json task add 'Water the plants' --area home");
  ASSERT_EQ(task.exitCode, 0) << task.output;
  const std::string name(readJSONString(parseJSON(task.output)["recordName"]));
  EXPECT_EQ(readJSONString(parseJSON(task.output)["record"]["title"]), "Water the plants");
  EXPECT_EQ(phone("task schedule 2026-03-07 " + name + " --gap 09:00").exitCode, 0);

  const auto refused = phone("area delete home");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.output, "vantrel: Move or delete the projects and tasks inside this area first.\n");

  EXPECT_EQ(phone("task delete " + name).exitCode, 0);
  EXPECT_EQ(phone("task list").output, "");
  EXPECT_EQ(phone("undo").output, "Undo Delete Task\n");
  const auto laptop = vantrel("--profile " + (folder.path() / "laptop").string() + cloud + " task list");
  EXPECT_EQ(laptop.output, name + "  home  [ ] Water the plants\n");
}

TEST(VantrelCommand, BadInputGetsTheSystemsTextAndAFailingExit) {
  const struct {
    const char* arguments;
    const char* message;
  } cases[] = {
      {"--tz Mars/Olympus about", "vantrel: unknown time zone 'Mars/Olympus'\n"},
      {"--now soon about",
       "vantrel: invalid --now 'soon': expected YYYY-MM-DDTHH:MM[:SS] with an optional Z or "
       "±HH:MM offset\n"},
  };
  for (const auto& c : cases) {
    const auto run = vantrel(c.arguments);
    EXPECT_EQ(run.exitCode, 1) << c.arguments;
    EXPECT_EQ(run.output, c.message);
  }
  EXPECT_NE(vantrel("").exitCode, 0);
  EXPECT_EQ(vantrel("--version").output, "vantrel " VANTREL_VERSION "\n");
}

} // namespace
} // namespace vantrel
