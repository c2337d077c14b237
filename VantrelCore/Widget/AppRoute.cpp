#include "VantrelCore/Widget/AppRoute.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

#include <algorithm>
#include <array>

namespace vantrel {
namespace {

enum class PayloadKind { none, identifier, day };

struct CaseInfo {
  AppRoute::Case routeCase;
  std::string_view name;
  PayloadKind payload;
  bool detachable;
};

// Indexed by the case, so the order must follow the enumeration's.
constexpr std::array<CaseInfo, 12> cases{{
    {AppRoute::Case::today, "today", PayloadKind::none, true},
    {AppRoute::Case::plan, "plan", PayloadKind::none, true},
    {AppRoute::Case::upcomingDeadlines, "upcomingDeadlines", PayloadKind::none, true},
    {AppRoute::Case::anyday, "anyday", PayloadKind::none, true},
    {AppRoute::Case::archives, "archives", PayloadKind::none, false},
    {AppRoute::Case::area, "area", PayloadKind::identifier, true},
    {AppRoute::Case::project, "project", PayloadKind::identifier, true},
    {AppRoute::Case::day, "day", PayloadKind::day, true},
    {AppRoute::Case::pinnedProject, "pinnedProject", PayloadKind::identifier, true},
    {AppRoute::Case::sharedProject, "sharedProject", PayloadKind::identifier, true},
    {AppRoute::Case::inbox, "inbox", PayloadKind::none, false},
    {AppRoute::Case::settings, "settings", PayloadKind::none, false},
}};

constexpr bool casesFollowTheEnumeration() {
  for (std::size_t index = 0; index < cases.size(); ++index) {
    if (static_cast<std::size_t>(cases[index].routeCase) != index) {
      return false;
    }
  }
  return true;
}
static_assert(casesFollowTheEnumeration());

const CaseInfo& infoOf(AppRoute::Case routeCase) {
  return cases[static_cast<std::size_t>(routeCase)];
}

/// The key the single, unlabelled payload is stored under.
constexpr std::string_view payloadKey = "_0";

std::string_view nameOf(const rapidjson::Value& name) {
  return {name.GetString(), name.GetStringLength()};
}

[[noreturn]] void fail(DecodingError::Kind kind, std::string_view path, std::string description) {
  throw DecodingError(kind, std::string(path), std::move(description));
}

} // namespace

std::string_view AppRoute::caseName() const {
  return infoOf(case_).name;
}

bool AppRoute::isDetachable() const {
  return infoOf(case_).detachable;
}

std::optional<AppRoute> AppRoute::detached() const {
  if (!isDetachable()) {
    return std::nullopt;
  }
  return *this;
}

void AppRoute::encodeJSON(JSONWriter& json) const {
  json.startObject();
  json.key(caseName());
  json.startObject();
  if (const auto* text = identifier()) {
    json.key(payloadKey);
    json.string(*text);
  } else if (const auto* day = date()) {
    json.key(payloadKey);
    json.string(day->description());
  }
  json.endObject();
  json.endObject();
}

std::string AppRoute::encodeJSON() const {
  JSONWriter json;
  encodeJSON(json);
  return json.takeText();
}

AppRoute AppRoute::decodeJSON(std::string_view text) {
  const auto document = parseJSON(text);
  const auto& outer = readJSONObject(document);
  if (outer.MemberCount() != 1) {
    fail(DecodingError::Kind::dataCorrupted, "",
         "expected one key naming the route, got " + std::to_string(outer.MemberCount()));
  }
  const auto& member = *outer.MemberBegin();
  const auto name = nameOf(member.name);
  const auto found = std::ranges::find(cases, name, &CaseInfo::name);
  if (found == cases.end()) {
    fail(DecodingError::Kind::dataCorrupted, name, "no route is named \"" + std::string(name) + "\"");
  }

  const auto& inner = [&]() -> const rapidjson::Value& {
    try {
      return readJSONObject(member.value);
    } catch (const DecodingError& error) {
      throw error.nestedIn(std::string(name));
    }
  }();
  for (auto key = inner.MemberBegin(); key != inner.MemberEnd(); ++key) {
    if (found->payload == PayloadKind::none || nameOf(key->name) != payloadKey) {
      fail(DecodingError::Kind::dataCorrupted, name,
           "unexpected key \"" + std::string(nameOf(key->name)) + "\" in the route " + std::string(name));
    }
  }
  if (found->payload == PayloadKind::none) {
    return AppRoute(found->routeCase, {});
  }
  if (inner.MemberCount() == 0) {
    fail(DecodingError::Kind::keyNotFound, name,
         "the route " + std::string(name) + " needs its payload under \"_0\"");
  }
  if (inner.MemberCount() > 1) {
    fail(DecodingError::Kind::dataCorrupted, name, "the key \"_0\" appears more than once");
  }

  const auto& payload = inner.MemberBegin()->value;
  try {
    const auto value = readJSONString(payload);
    if (found->payload == PayloadKind::day) {
      return AppRoute(found->routeCase, CalendarDate::decode(value));
    }
    return AppRoute(found->routeCase, std::string(value));
  } catch (const DecodingError& error) {
    throw error.nestedIn(std::string(name) + "/" + std::string(payloadKey));
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
    combine(std::hash<CalendarDate>()(*day));
  }
  return seed;
}

} // namespace vantrel
