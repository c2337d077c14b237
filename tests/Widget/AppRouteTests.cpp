#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Widget/AppRoute.hpp"
#include "VantrelCore/Widget/CurrentAppRouteKey.hpp"
#include "VantrelCore/Widget/DeepLinkRouter.hpp"

#include <gtest/gtest.h>
#include <unordered_set>

namespace vantrel {
namespace {

using Case = AppRoute::Case;

TEST(AppRoute, EveryCaseHasItsJSONFormAndDetachability) {
  const struct {
    AppRoute route;
    std::string json;
    bool detachable;
  } routes[] = {
      {AppRoute(Case::today), R"({"today":{}})", true},
      {AppRoute(Case::plan), R"({"plan":{}})", true},
      {AppRoute(Case::upcomingDeadlines), R"({"upcomingDeadlines":{}})", true},
      {AppRoute(Case::anyday), R"({"anyday":{}})", true},
      {AppRoute(Case::archives), R"({"archives":{}})", false},
      {AppRoute(Case::area, "home"), R"({"area":{"_0":"home"}})", true},
      {AppRoute(Case::project, "p-abc123"), R"({"project":{"_0":"p-abc123"}})", true},
      {AppRoute(Case::day, CalendarDate{2026, 3, 7}), R"({"day":{"_0":"2026-03-07"}})", true},
      {AppRoute(Case::pinnedProject, "p-1"), R"({"pinnedProject":{"_0":"p-1"}})", true},
      {AppRoute(Case::sharedProject, "p-\"2\""), R"({"sharedProject":{"_0":"p-\"2\""}})", true},
      {AppRoute(Case::inbox), R"({"inbox":{}})", false},
      {AppRoute(Case::settings), R"({"settings":{}})", false},
  };
  std::unordered_set<AppRoute> seen;
  for (const auto& [route, json, detachable] : routes) {
    EXPECT_EQ(route.encodeJSON(), json);
    EXPECT_EQ(AppRoute::decodeJSON(json), route) << json;
    EXPECT_EQ(route.isDetachable(), detachable) << json;
    EXPECT_EQ(route.detached(), detachable ? std::optional(route) : std::nullopt) << json;
    EXPECT_TRUE(seen.insert(route).second) << json;
  }
  EXPECT_TRUE(seen.contains(AppRoute(Case::day, CalendarDate{2026, 3, 7})));
  EXPECT_FALSE(seen.contains(AppRoute(Case::day, CalendarDate{2026, 3, 8})));
  EXPECT_NE(AppRoute(Case::project, "p-1"), AppRoute(Case::pinnedProject, "p-1"));
}

TEST(AppRoute, RefusesAnyOtherForm) {
  const char* refused[] = {
      R"({})",
      R"({"today":{},"plan":{}})",
      R"({"week":{}})",
      R"({"today":[]})",
      R"({"today":{"_0":"x"}})",
      R"({"area":{}})",
      R"({"area":{"_1":"home"}})",
      R"({"area":{"_0":"home","_1":"x"}})",
      R"({"area":{"_0":5}})",
      R"({"day":{"_0":"March 7"}})",
      R"(["today"])",
      R"("today")",
  };
  for (const auto* json : refused) {
    EXPECT_THROW(AppRoute::decodeJSON(json), DecodingError) << json;
  }
  EXPECT_THROW(AppRoute(Case::area), std::invalid_argument);
  EXPECT_THROW(AppRoute(Case::today, "x"), std::invalid_argument);
  EXPECT_THROW(AppRoute(Case::project, CalendarDate{2026, 3, 7}), std::invalid_argument);
}

TEST(DeepLinkRouter, OpensTodayAndFocusesTheGapALinkNames) {
  const struct {
    const char* url;
    bool understood;
    std::optional<std::string> focus;
  } links[] = {
      {"vantrel://today?gap=G1", true, "G1"},
      {"vantrel://today", true, std::nullopt},
      {"vantrel:today?gap=G2", true, "G2"},
      {"vantrel://today/?from=widget&gap=g-a%20b%26c#top", true, "g-a b&c"},
      {"vantrel://user@today:80?gap=G3", true, "G3"},
      {"vantrel://today?gap=G4&gap=G5", true, "G4"},
      {"vantrel://today?gap=a+b%zz", true, "a+b%zz"},
      {"vantrel://week?gap=G1", false, std::nullopt},
      {"other://today?gap=G1", false, std::nullopt},
      {"Vantrel://today", false, std::nullopt},
      {"vantrel://Today", false, std::nullopt},
      {"today", false, std::nullopt},
      {"", false, std::nullopt},
  };
  for (const auto& link : links) {
    DeepLinkRouter router;
    int changes = 0;
    router.onChange = [&] { ++changes; };
    EXPECT_EQ(router.handle(link.url), link.understood) << link.url;
    EXPECT_EQ(router.todayRequestToken(), link.understood ? 1 : 0) << link.url;
    EXPECT_EQ(router.pendingFocusGapID(), link.focus) << link.url;
    EXPECT_EQ(changes, link.understood ? 1 : 0) << link.url;
  }
}

TEST(DeepLinkRouter, EveryLinkMovesTheTokenAndAnEmptyGapKeepsThePendingOne) {
  DeepLinkRouter router;
  int changes = 0;
  router.onChange = [&] { ++changes; };
  router.handle("vantrel://today?gap=G1");
  router.handle("vantrel://today?gap=G1");
  EXPECT_EQ(router.todayRequestToken(), 2);
  router.handle("vantrel://today?gap=");
  EXPECT_EQ(router.todayRequestToken(), 3);
  EXPECT_EQ(router.pendingFocusGapID(), "G1");

  router.consumePendingFocus();
  EXPECT_EQ(router.pendingFocusGapID(), std::nullopt);
  EXPECT_EQ(changes, 4);
  router.consumePendingFocus();
  EXPECT_EQ(changes, 4) << "nothing to clear, nothing published";
}

TEST(CurrentAppRouteKey, PublishesOnlyChanges) {
  CurrentAppRouteKey key;
  int changes = 0;
  key.onChange = [&] { ++changes; };
  key.publish(AppRoute(Case::project, "p-1"));
  key.publish(AppRoute(Case::project, "p-1"));
  EXPECT_EQ(changes, 1);
  key.publish(AppRoute(Case::project, "p-2"));
  key.publish(std::nullopt);
  EXPECT_EQ(changes, 3);
  EXPECT_EQ(key.value(), std::nullopt);
}

} // namespace
} // namespace vantrel
