#include "VantrelCore/Bridge/BridgeScope.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

#include <gtest/gtest.h>
#include <string>
#include <tuple>
#include <unordered_set>

namespace vantrel {
namespace {

using Kind = DecodingError::Kind;

TEST(BridgeScope, WritesItsAreasSortedAndReadsThemBackInAnyOrder) {
  const BridgeScope scope{.areas = {"work", "home", "say \"caf\u00e9\""}};
  EXPECT_EQ(scope.encodeJSON(), "{\"areas\":[\"home\",\"say \\\"caf\u00e9\\\"\",\"work\"]}");
  EXPECT_EQ(BridgeScope::decodeJSON(scope.encodeJSON()), scope);
  EXPECT_EQ(BridgeScope{}.encodeJSON(), R"({"areas":[]})");
  EXPECT_EQ(BridgeScope::decodeJSON(R"( {"areas" : ["work", "home"]} )"),
            (BridgeScope{.areas = {"home", "work"}}));
}

TEST(BridgeScope, ReadingRefusesAnyOtherFormAndSaysWhere) {
  const std::tuple<std::string, Kind, std::string, std::string> refused[] = {
      {R"({})", Kind::keyNotFound, "areas", "\"areas\""},
      {R"({"areas":[],"projects":[]})", Kind::dataCorrupted, "projects", "\"projects\""},
      {R"({"areas":[],"areas":["work"]})", Kind::dataCorrupted, "areas", "more than once"},
      {R"({"areas":"work"})", Kind::typeMismatch, "areas", "got string"},
      {R"({"areas":["work",3]})", Kind::typeMismatch, "areas/1", "string"},
      {R"({"areas":["home",""]})", Kind::dataCorrupted, "areas/1", "empty"},
      {R"({"areas":["work","home","work"]})", Kind::dataCorrupted, "areas/2",
       "\"work\" is listed more than once"},
      {R"(["work"])", Kind::typeMismatch, "", "object"}};
  for (const auto& [json, kind, codingPath, mentions] : refused) {
    try {
      const auto scope = BridgeScope::decodeJSON(json);
      ADD_FAILURE() << json << " read as " << scope.encodeJSON();
    } catch (const DecodingError& error) {
      EXPECT_EQ(error.kind(), kind) << json << ": " << error.what();
      EXPECT_EQ(error.codingPath(), codingPath) << json << ": " << error.what();
      EXPECT_NE(error.debugDescription().find(mentions), std::string::npos) << json << ": " << error.what();
    }
  }
}

TEST(BridgeScope, AllAreasIsEveryAreaTheStoreKnowsAndScopesHashByTheirAreas) {
  CloudKitCache cache;
  cache.upsert(AreaRecord{.recordName = "work", .name = "Work"});
  cache.upsert(AreaRecord{.recordName = "old", .name = "Old", .isHidden = true});
  const auto scope = BridgeScope::allAreas(cache);
  EXPECT_EQ(scope, (BridgeScope{.areas = {"old", "work"}}));
  EXPECT_TRUE(scope.includes("old"));
  EXPECT_FALSE(scope.includes("Work"));
  const std::unordered_set<BridgeScope> scopes = {
      {}, {.areas = {"a"}}, {.areas = {"a", "b"}}, {.areas = {"ab"}}};
  EXPECT_EQ(scopes.size(), 4u);
  EXPECT_TRUE(scopes.contains(BridgeScope::decodeJSON(R"({"areas":["b","a"]})")));
  EXPECT_FALSE(scopes.contains(BridgeScope{.areas = {"b"}}));
}

} // namespace
} // namespace vantrel
