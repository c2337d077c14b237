#include "VantrelCore/Widget/AppRoute.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace vantrel {
namespace {

enum class Payload { none, identifier, day };

struct CaseInfo {
  AppRoute::Case routeCase;
  std::string_view name;
  Payload payload;
  bool detachable;
};

constexpr std::array<CaseInfo, 12> cases{{
    {AppRoute::Case::today, "today", Payload::none, true},
    {AppRoute::Case::plan, "plan", Payload::none, true},
    {AppRoute::Case::upcomingDeadlines, "upcomingDeadlines", Payload::none, true},
    {AppRoute::Case::anyday, "anyday", Payload::none, true},
    {AppRoute::Case::archives, "archives", Payload::none, false},
    {AppRoute::Case::area, "area", Payload::identifier, true},
    {AppRoute::Case::project, "project", Payload::identifier, true},
    {AppRoute::Case::day, "day", Payload::day, true},
    {AppRoute::Case::pinnedProject, "pinnedProject", Payload::identifier, true},
    {AppRoute::Case::sharedProject, "sharedProject", Payload::identifier, true},
    {AppRoute::Case::inbox, "inbox", Payload::none, false},
    {AppRoute::Case::settings, "settings", Payload::none, false},
}};

const CaseInfo& infoOf(AppRoute::Case routeCase) {
  return cases[static_cast<std::size_t>(routeCase)];
}

void require(AppRoute::Case routeCase, Payload payload) {
  if (infoOf(routeCase).payload != payload) {
    throw std::invalid_argument("the route " + std::string(infoOf(routeCase).name) + " takes " +
                                (infoOf(routeCase).payload == Payload::none         ? "no payload"
                                 : infoOf(routeCase).payload == Payload::identifier ? "an identifier"
                                                                                    : "a day"));
  }
}

[[noreturn]] void corrupted(std::string path, std::string description) {
  throw DecodingError(DecodingError::Kind::dataCorrupted, std::move(path), std::move(description));
}

} // namespace

AppRoute::AppRoute(Case routeCase) : case_(routeCase) {
  require(routeCase, Payload::none);
}

AppRoute::AppRoute(Case routeCase, std::string identifier)
    : case_(routeCase), payload_(std::move(identifier)) {
  require(routeCase, Payload::identifier);
}

AppRoute::AppRoute(Case routeCase, CalendarDate day) : case_(routeCase), payload_(day) {
  require(routeCase, Payload::day);
}

std::string_view AppRoute::caseName() const {
  return infoOf(case_).name;
}

bool AppRoute::isDetachable() const {
  return infoOf(case_).detachable;
}

std::optional<AppRoute> AppRoute::detached() const {
  return isDetachable() ? std::optional(*this) : std::nullopt;
}

std::string AppRoute::encodeJSON() const {
  JSONWriter json;
  json.startObject();
  json.key(caseName());
  json.startObject();
  if (const auto* text = identifier()) {
    json.key("_0");
    json.string(*text);
  } else if (const auto* day = date()) {
    json.key("_0");
    json.string(day->description());
  }
  json.endObject();
  json.endObject();
  return json.takeText();
}

AppRoute AppRoute::decodeJSON(std::string_view text) {
  const auto document = parseJSON(text);
  const auto& outer = readJSONObject(document);
  if (outer.MemberCount() != 1) {
    corrupted("", "a route is an object with exactly one key, got " + std::to_string(outer.MemberCount()));
  }
  const auto& member = *outer.MemberBegin();
  const std::string_view name(member.name.GetString(), member.name.GetStringLength());
  const auto found = std::ranges::find(cases, name, &CaseInfo::name);
  if (found == cases.end()) {
    corrupted(std::string(name), "no route is named " + std::string(name));
  }
  const auto& inner = [&]() -> const rapidjson::Value& {
    try {
      return readJSONObject(member.value);
    } catch (const DecodingError& error) {
      throw error.nestedIn(std::string(name));
    }
  }();
  const auto expectedKeys = found->payload == Payload::none ? 0u : 1u;
  const auto payload = inner.FindMember("_0");
  if (inner.MemberCount() != expectedKeys || (expectedKeys == 1 && payload == inner.MemberEnd())) {
    corrupted(std::string(name), found->payload == Payload::none
                                     ? "the route " + std::string(name) + " has no payload"
                                     : "expected the payload under \"_0\" alone");
  }
  try {
    switch (found->payload) {
    case Payload::none:
      return AppRoute(found->routeCase);
    case Payload::identifier:
      return AppRoute(found->routeCase, std::string(readJSONString(payload->value)));
    case Payload::day:
      break;
    }
    return AppRoute(found->routeCase, CalendarDate::decode(readJSONString(payload->value)));
  } catch (const DecodingError& error) {
    throw error.nestedIn(std::string(name) + "/_0");
  }
}

std::size_t AppRoute::hash() const {
  std::size_t seed = std::hash<int>()(static_cast<int>(case_));
  const auto combine = [&](std::size_t value) {
    seed ^= value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
  };
  if (const auto* text = identifier()) {
    combine(std::hash<std::string>()(*text));
  } else if (const auto* day = date()) {
    combine(std::hash<std::string>()(day->description()));
  }
  return seed;
}

} // namespace vantrel
