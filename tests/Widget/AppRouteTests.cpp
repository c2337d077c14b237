#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Widget/AppRoute.hpp"
#include "VantrelCore/Widget/CurrentAppRouteKey.hpp"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace vantrel {
namespace {

using Kind = DecodingError::Kind;

TEST(AppRoute, EveryCaseHasItsNameJSONFormAndDetachability) {
  const struct {
    AppRoute route;
    AppRoute::Case routeCase;
    std::string name;
    std::string json;
    bool detachable;
  } routes[] = {
      {AppRoute::today(), AppRoute::Case::today, "today", R"({"today":{}})", true},
      {AppRoute::plan(), AppRoute::Case::plan, "plan", R"({"plan":{}})", true},
      {AppRoute::upcomingDeadlines(), AppRoute::Case::upcomingDeadlines, "upcomingDeadlines",
       R"({"upcomingDeadlines":{}})", true},
      {AppRoute::anyday(), AppRoute::Case::anyday, "anyday", R"({"anyday":{}})", true},
      {AppRoute::archives(), AppRoute::Case::archives, "archives", R"({"archives":{}})", false},
      {AppRoute::area("home"), AppRoute::Case::area, "area", R"({"area":{"_0":"home"}})", true},
      {AppRoute::project("p-abc123"), AppRoute::Case::project, "project", R"({"project":{"_0":"p-abc123"}})",
       true},
      {AppRoute::day({2026, 3, 7}), AppRoute::Case::day, "day", R"({"day":{"_0":"2026-03-07"}})", true},
      {AppRoute::pinnedProject("p-1"), AppRoute::Case::pinnedProject, "pinnedProject",
       R"({"pinnedProject":{"_0":"p-1"}})", true},
      {AppRoute::sharedProject("p-\"2\"\u00e9"), AppRoute::Case::sharedProject, "sharedProject",
       "{\"sharedProject\":{\"_0\":\"p-\\\"2\\\"\u00e9\"}}", true},
      {AppRoute::inbox(), AppRoute::Case::inbox, "inbox", R"({"inbox":{}})", false},
      {AppRoute::settings(), AppRoute::Case::settings, "settings", R"({"settings":{}})", false},
  };
  std::unordered_set<AppRoute> seen;
  for (const auto& [route, routeCase, name, json, detachable] : routes) {
    EXPECT_EQ(route.routeCase(), routeCase) << name;
    EXPECT_EQ(route.caseName(), name);
    EXPECT_EQ(route.encodeJSON(), json);
    EXPECT_EQ(AppRoute::decodeJSON(json), route) << json;
    EXPECT_EQ(route.isDetachable(), detachable) << name;
    EXPECT_EQ(route.detached(), detachable ? std::optional(route) : std::nullopt) << name;
    EXPECT_TRUE(seen.insert(route).second) << name << " collides with an earlier route";
  }
  EXPECT_EQ(seen.size(), 12u);
}

TEST(AppRoute, EqualityAndHashingCoverThePayload) {
  const std::vector<AppRoute> distinct = {
      AppRoute::project("p-1"),       AppRoute::project("p-2"),    AppRoute::pinnedProject("p-1"),
      AppRoute::sharedProject("p-1"), AppRoute::area("p-1"),       AppRoute::area(""),
      AppRoute::day({2026, 3, 7}),    AppRoute::day({2026, 3, 8}), AppRoute::day({2026, 4, 7}),
      AppRoute::day({2027, 3, 7}),
  };
  std::unordered_set<AppRoute> seen(distinct.begin(), distinct.end());
  EXPECT_EQ(seen.size(), distinct.size());
  for (std::size_t first = 0; first < distinct.size(); ++first) {
    for (std::size_t second = 0; second < distinct.size(); ++second) {
      EXPECT_EQ(distinct[first] == distinct[second], first == second) << first << " and " << second;
    }
  }
  // Equal routes made apart must find each other in a set.
  EXPECT_TRUE(seen.contains(AppRoute::day(CalendarDate::decode("2026-3-7"))));
  EXPECT_TRUE(seen.contains(AppRoute::project(std::string("p-") + "2")));
  EXPECT_FALSE(seen.contains(AppRoute::project("p-3")));
}

TEST(AppRoute, AnyDayIsDetachableAndKeepsItsPayload) {
  // Decoded days are not range-checked, and a window restored from one must come back as it was.
  for (const auto* text : {"2026-03-07", "2026-13-45", "0000-01-01", "99999-01-01"}) {
    const auto route = AppRoute::day(CalendarDate::decode(text));
    EXPECT_EQ(route.detached(), route) << text;
    EXPECT_EQ(route.date()->description(), text);
    EXPECT_EQ(route.identifier(), nullptr);
    EXPECT_EQ(AppRoute::decodeJSON(route.encodeJSON()), route) << text;
  }
}

TEST(AppRoute, DecodingRefusesAnyOtherFormAndSaysWhere) {
  const struct {
    std::string json;
    Kind kind;
    std::string codingPath;
    std::string mentions;
  } refused[] = {
      {R"({})", Kind::dataCorrupted, "", "got 0"},
      {R"({"today":{},"plan":{}})", Kind::dataCorrupted, "", "got 2"},
      {R"({"today":{},"today":{}})", Kind::dataCorrupted, "", "got 2"},
      {R"({"week":{}})", Kind::dataCorrupted, "week", "\"week\""},
      {R"({"Today":{}})", Kind::dataCorrupted, "Today", "\"Today\""},
      {R"({"today":[]})", Kind::typeMismatch, "today", "object"},
      {R"({"today":null})", Kind::typeMismatch, "today", "object"},
      {R"({"today":{"_0":"x"}})", Kind::dataCorrupted, "today", "\"_0\""},
      {R"({"area":{}})", Kind::keyNotFound, "area", "\"_0\""},
      {R"({"area":{"_1":"home"}})", Kind::dataCorrupted, "area", "\"_1\""},
      {R"({"area":{"_0":"home","_1":"x"}})", Kind::dataCorrupted, "area", "\"_1\""},
      {R"({"area":{"_0":"a","_0":"b"}})", Kind::dataCorrupted, "area", "more than once"},
      {R"({"area":{"_0":5}})", Kind::typeMismatch, "area/_0", "string"},
      {R"({"project":{"_0":null}})", Kind::typeMismatch, "project/_0", "string"},
      {R"({"day":{"_0":"March 7"}})", Kind::dataCorrupted, "day/_0", "March 7"},
      {R"({"day":{"_0":{"year":2026,"month":3,"day":7}}})", Kind::typeMismatch, "day/_0", "string"},
      {R"(["today"])", Kind::typeMismatch, "", "object"},
      {R"("today")", Kind::typeMismatch, "", "object"},
      {R"({"today":{})", Kind::dataCorrupted, "", ""},
  };
  for (const auto& [json, kind, codingPath, mentions] : refused) {
    try {
      const auto route = AppRoute::decodeJSON(json);
      ADD_FAILURE() << json << " decoded as " << route.encodeJSON();
    } catch (const DecodingError& error) {
      EXPECT_EQ(error.kind(), kind) << json << ": " << error.what();
      EXPECT_EQ(error.codingPath(), codingPath) << json << ": " << error.what();
      EXPECT_NE(error.debugDescription().find(mentions), std::string::npos) << json << ": " << error.what();
    }
  }
}

TEST(CurrentAppRouteKey, PublishesOnlyChanges) {
  CurrentAppRouteKey key;
  std::vector<std::optional<AppRoute>> seen;
  key.onChange = [&] { seen.push_back(key.value()); };
  EXPECT_EQ(key.value(), std::nullopt) << "no window is focused at first";

  key.publish(std::nullopt);
  key.publish(AppRoute::project("p-1"));
  key.publish(AppRoute::project("p-1"));
  key.publish(AppRoute::project("p-2"));
  key.publish(AppRoute::pinnedProject("p-2"));
  key.publish(std::nullopt);
  key.publish(std::nullopt);
  const std::vector<std::optional<AppRoute>> expected = {AppRoute::project("p-1"), AppRoute::project("p-2"),
                                                         AppRoute::pinnedProject("p-2"), std::nullopt};
  EXPECT_EQ(seen, expected);
}

} // namespace
} // namespace vantrel
