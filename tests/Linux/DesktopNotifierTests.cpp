#include "Linux/DesktopNotifier.hpp"
#include "tests/Support/PrivateSessionBus.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

TEST(DesktopNotifier, ShowsThroughTheNotificationServerOnTheBus) {
  testing::PrivateSessionBus bus;
  testing::RecordingNotificationServer server(bus.address());
  DesktopNotifier notifier(bus.address());
  EXPECT_EQ(notifier.show("Gap starting: Deep work", "Starts at 2:30 PM", true), 1u);
  EXPECT_EQ(notifier.show("Gap starting", std::nullopt, false), 2u);
  EXPECT_EQ(notifier.show("Gap starting", std::nullopt, true, 3), 3u);
  const auto shown = server.shown();
  ASSERT_EQ(shown.size(), 3u);
  EXPECT_EQ(shown[0].appName, "Vantrel");
  EXPECT_EQ(shown[0].summary, "Gap starting: Deep work");
  EXPECT_EQ(shown[0].body, "Starts at 2:30 PM");
  EXPECT_TRUE(shown[0].withSound);
  EXPECT_EQ(shown[1].body, "");
  EXPECT_FALSE(shown[1].withSound);
  EXPECT_EQ(shown[1].badgeCount, std::nullopt);
  EXPECT_EQ(shown[2].badgeCount, 3) << "the badge travels as a hint beside the sound";
  EXPECT_TRUE(shown[2].withSound);
}

TEST(DesktopNotifier, ABusWithoutAServerIsAnError) {
  testing::PrivateSessionBus bus;
  DesktopNotifier notifier(bus.address());
  EXPECT_THROW(notifier.show("Gap starting", std::nullopt, true), std::runtime_error);
  EXPECT_THROW(DesktopNotifier("unix:path=/nonexistent/bus"), std::runtime_error);
}

} // namespace
} // namespace vantrel
