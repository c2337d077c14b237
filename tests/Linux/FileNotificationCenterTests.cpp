#include "Linux/FileNotificationCenter.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Planning/AppIconBadge.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel {
namespace {

NotificationRequest at(std::string identifier, int hour, int minute = 0) {
  return NotificationRequest{.identifier = std::move(identifier),
                             .title = "Gap starting",
                             .body = "Starts at " + std::to_string(hour),
                             .year = 2026,
                             .month = 3,
                             .day = 7,
                             .hour = hour,
                             .minute = minute};
}

class FileNotificationCenterTest : public ::testing::Test {
protected:
  testing::ScopedDeviceSettings settings_{"Europe/Berlin"};
  testing::TemporaryFolder folder_;
  std::filesystem::path file_ = folder_.path() / "group" / "notifications.json";
};

TEST_F(FileNotificationCenterTest, RequestsPermissionAndTheBadgeOutliveTheObject) {
  {
    FileNotificationCenter center(file_);
    EXPECT_EQ(center.authorizationStatus(), NotificationAuthState::notDetermined);
    EXPECT_TRUE(center.requestAuthorization());
    center.add(at("vt.gap.a", 9));
    center.add(at("vt.gap.b", 13, 30));
    center.add(at("vt.gap.a", 10));
    center.setBadgeCount(4);
  }
  FileNotificationCenter reopened(file_);
  EXPECT_EQ(reopened.authorizationStatus(), NotificationAuthState::granted);
  EXPECT_EQ(reopened.badgeCount(), 4);
  const auto pending = reopened.pendingRequests();
  ASSERT_EQ(pending.size(), 2u);
  EXPECT_EQ(pending[0], at("vt.gap.b", 13, 30));
  EXPECT_EQ(pending[1], at("vt.gap.a", 10)) << "a request added again replaces the one it names";
  EXPECT_EQ(reopened.nextFireDate(), (CalendarDate{2026, 3, 7}.localTime(10)));
}

TEST_F(FileNotificationCenterTest, ADueRequestIsHandedOutOnce) {
  FileNotificationCenter planner(file_);
  FileNotificationCenter agent(file_);
  planner.add(at("vt.gap.late", 18));
  planner.add(at("vt.gap.noon", 12));
  planner.add(at("vt.gap.morning", 9));
  const Date afternoon = *CalendarDate{2026, 3, 7}.localTime(15);
  const auto due = agent.takeDue(afternoon);
  ASSERT_EQ(due.size(), 2u);
  EXPECT_EQ(due[0].identifier, "vt.gap.morning");
  EXPECT_EQ(due[1].identifier, "vt.gap.noon");
  EXPECT_TRUE(planner.takeDue(afternoon).empty());
  EXPECT_EQ(planner.pendingRequests().size(), 1u);
}

// Handed out means shown: the badge follows the shown gap reminders until they are seen or wait again.
TEST_F(FileNotificationCenterTest, TheBadgeFollowsTheRemindersShownUntilTheyAreSeen) {
  FileNotificationCenter planner(file_);
  FileNotificationCenter agent(file_);
  planner.add(at("vt.gap.morning", 9));
  planner.add(at("vt.gap.noon", 12));
  planner.add(at("other.kind", 10));
  planner.add(at("vt.gap.late", 18));
  const auto shownIdentifiers = [&] {
    std::vector<std::string> identifiers;
    for (const auto& request : planner.deliveredRequests()) {
      identifiers.push_back(request.identifier);
    }
    return identifiers;
  };
  EXPECT_EQ(agent.takeDue(*CalendarDate{2026, 3, 7}.localTime(11)).size(), 2u);
  EXPECT_EQ(shownIdentifiers(), (std::vector<std::string>{"vt.gap.morning", "other.kind"}));
  EXPECT_EQ(planner.badgeCount(), 1) << "only gap reminders count";
  EXPECT_EQ(AppIconBadge::count(planner), 1);
  agent.takeDue(*CalendarDate{2026, 3, 7}.localTime(12));
  EXPECT_EQ(planner.badgeCount(), 2);

  // One the desktop could not show waits again and leaves the badge.
  agent.add(at("vt.gap.noon", 12));
  EXPECT_EQ(planner.badgeCount(), 1);
  EXPECT_EQ(planner.pendingRequests().size(), 2u);

  AppIconBadge(planner).markSeen();
  EXPECT_EQ(shownIdentifiers(), std::vector<std::string>{"other.kind"});
  EXPECT_EQ(agent.badgeCount(), 0);
  EXPECT_EQ(agent.pendingRequests().size(), 2u) << "what still waits is not seen";

  // A badge nobody clears stays bounded: the newest shown are kept.
  for (int minute = 0; minute < 59; ++minute) {
    for (int hour = 19; hour < 22; ++hour) {
      planner.add(at("vt.gap." + std::to_string(hour) + "-" + std::to_string(minute), hour, minute));
    }
  }
  agent.takeDue(*CalendarDate{2026, 3, 8}.localTime(0));
  EXPECT_EQ(planner.deliveredRequests().size(), FileNotificationCenter::deliveredLimit);
  EXPECT_EQ(planner.deliveredRequests().back().identifier, "vt.gap.21-58");
  EXPECT_EQ(planner.badgeCount(), int(FileNotificationCenter::deliveredLimit));
}

TEST_F(FileNotificationCenterTest, AFileFromBeforeShownRemindersWereKeptReadsAsNoneShown) {
  std::filesystem::create_directories(file_.parent_path());
  std::ofstream(file_) << R"({"authorization":"granted","badge":0,"pending":[]})";
  FileNotificationCenter center(file_);
  EXPECT_TRUE(center.deliveredRequests().empty());
  center.add(at("vt.gap.a", 9));
  EXPECT_EQ(center.pendingRequests().size(), 1u);
}

TEST_F(FileNotificationCenterTest, TwoProcessesAddingAtOnceLoseNothing) {
  constexpr int perProcess = 25;
  std::vector<pid_t> children;
  for (int process = 0; process < 2; ++process) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      FileNotificationCenter center(file_);
      for (int index = 0; index < perProcess; ++index) {
        center.add(at("vt.gap.p" + std::to_string(process) + "-" + std::to_string(index), 9));
      }
      ::_exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  EXPECT_EQ(FileNotificationCenter(file_).pendingRequests().size(), std::size_t(2 * perProcess));
}

TEST_F(FileNotificationCenterTest, AFileThatCannotBeReadIsNeverOverwritten) {
  std::filesystem::create_directories(file_.parent_path());
  std::ofstream(file_) << "{\"authorization\": \"maybe\"}";
  FileNotificationCenter center(file_);
  EXPECT_THROW(center.pendingRequests(), std::runtime_error);
  EXPECT_THROW(center.add(at("vt.gap.a", 9)), std::runtime_error);
  std::ifstream kept(file_);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "{\"authorization\": \"maybe\"}");
}

} // namespace
} // namespace vantrel
