#include "Linux/FileNotificationCenter.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Planning/AppIconBadge.hpp"
#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/ExclusiveFileLock.hpp"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace vantrel {
namespace {

constexpr std::string_view authorizationNames[] = {"notDetermined", "granted", "denied"};

NotificationAuthState authorizationNamed(std::string_view name) {
  for (std::size_t index = 0; index < std::size(authorizationNames); ++index) {
    if (authorizationNames[index] == name) {
      return NotificationAuthState(index);
    }
  }
  throw DecodingError(DecodingError::Kind::dataCorrupted, "authorization",
                      "unknown authorization '" + std::string(name) + "'");
}

std::string_view textMember(const rapidjson::Value& object, const char* key) {
  const auto found = readJSONObject(object).FindMember(key);
  if (found == object.MemberEnd()) {
    throw DecodingError(DecodingError::Kind::keyNotFound, key, std::string("missing key '") + key + "'");
  }
  return readJSONString(found->value);
}

int intMember(const rapidjson::Value& object, const char* key) {
  const auto found = readJSONObject(object).FindMember(key);
  if (found == object.MemberEnd()) {
    throw DecodingError(DecodingError::Kind::keyNotFound, key, std::string("missing key '") + key + "'");
  }
  const std::int64_t value = readJSONInt64(found->value);
  if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
    throw DecodingError(DecodingError::Kind::dataCorrupted, key, std::string(key) + " is out of range");
  }
  return int(value);
}

std::vector<NotificationRequest> requestsIn(const rapidjson::Value& object, const char* key) {
  const auto list = object.FindMember(key);
  if (list == object.MemberEnd() || !list->value.IsArray()) {
    throw DecodingError(DecodingError::Kind::typeMismatch, key, std::string(key) + " must be an array");
  }
  std::vector<NotificationRequest> requests;
  for (const auto& entry : list->value.GetArray()) {
    NotificationRequest request{.identifier = std::string(textMember(entry, "identifier")),
                                .title = std::string(textMember(entry, "title")),
                                .year = intMember(entry, "year"),
                                .month = intMember(entry, "month"),
                                .day = intMember(entry, "day"),
                                .hour = intMember(entry, "hour"),
                                .minute = intMember(entry, "minute")};
    if (const auto body = entry.FindMember("body"); body != entry.MemberEnd()) {
      request.body = std::string(readJSONString(body->value));
    }
    if (const auto sound = entry.FindMember("playsSound"); sound != entry.MemberEnd()) {
      request.playsSound = readJSONBool(sound->value);
    }
    requests.push_back(std::move(request));
  }
  return requests;
}

void writeRequests(JSONWriter& json, const char* key, const std::vector<NotificationRequest>& requests) {
  json.key(key);
  json.startArray();
  for (const auto& request : requests) {
    json.startObject();
    json.key("identifier");
    json.string(request.identifier);
    json.key("title");
    json.string(request.title);
    if (request.body) {
      json.key("body");
      json.string(*request.body);
    }
    json.key("playsSound");
    json.boolean(request.playsSound);
    for (const auto& [field, value] : {std::pair{"year", request.year},
                                       {"month", request.month},
                                       {"day", request.day},
                                       {"hour", request.hour},
                                       {"minute", request.minute}}) {
      json.key(field);
      json.int64(value);
    }
    json.endObject();
  }
  json.endArray();
}

} // namespace

struct FileNotificationCenter::Contents {
  NotificationAuthState authorization = NotificationAuthState::notDetermined;
  int badge = 0;
  std::vector<NotificationRequest> pending{};
  std::vector<NotificationRequest> delivered{};

  /// Drops the oldest shown ones beyond the limit, and sets the badge the shown ones make.
  void deliveredChanged() {
    if (delivered.size() > deliveredLimit) {
      delivered.erase(delivered.begin(), delivered.end() - std::ptrdiff_t(deliveredLimit));
    }
    badge = AppIconBadge::count(delivered);
  }
};

FileNotificationCenter::FileNotificationCenter(std::filesystem::path file, FileSystem& fileSystem)
    : file_(std::move(file)), fileSystem_(fileSystem) {}

std::filesystem::path FileNotificationCenter::defaultFile(const VantrelPaths& paths) {
  return paths.appGroupContainerDirectory / "Vantrel" / "notifications.json";
}

FileNotificationCenter::Contents FileNotificationCenter::read() const {
  const auto text = fileSystem_.readFile(file_);
  Contents contents;
  if (!text) {
    return contents;
  }
  try {
    const auto document = parseJSON(*text);
    const auto& object = readJSONObject(document);
    contents.authorization = authorizationNamed(textMember(object, "authorization"));
    contents.badge = intMember(object, "badge");
    contents.pending = requestsIn(object, "pending");
    // Files written before shown notifications were kept have none.
    if (object.HasMember("delivered")) {
      contents.delivered = requestsIn(object, "delivered");
    }
  } catch (const DecodingError& error) {
    throw std::runtime_error("notification file " + file_.string() + " cannot be read: " + error.what());
  }
  return contents;
}

void FileNotificationCenter::write(const Contents& contents) {
  JSONWriter json;
  json.startObject();
  json.key("authorization");
  json.string(authorizationNames[std::size_t(contents.authorization)]);
  json.key("badge");
  json.int64(contents.badge);
  writeRequests(json, "pending", contents.pending);
  writeRequests(json, "delivered", contents.delivered);
  json.endObject();
  fileSystem_.createDirectories(file_.parent_path());
  AtomicFileWriter(fileSystem_).writeString(std::string(json.text()) + "\n", file_);
}

template <class Change> auto FileNotificationCenter::update(Change&& change) {
  fileSystem_.createDirectories(file_.parent_path());
  const ExclusiveFileLock lock(fileSystem_, file_.string() + ".lock");
  Contents contents = read();
  if constexpr (std::is_void_v<decltype(change(contents))>) {
    change(contents);
    write(contents);
  } else {
    auto result = change(contents);
    write(contents);
    return result;
  }
}

NotificationAuthState FileNotificationCenter::authorizationStatus() const {
  return read().authorization;
}

bool FileNotificationCenter::requestAuthorization() {
  // A person who turned notifications off here keeps them off until they say otherwise.
  return update([](Contents& contents) {
    if (contents.authorization == NotificationAuthState::notDetermined) {
      contents.authorization = NotificationAuthState::granted;
    }
    return contents.authorization == NotificationAuthState::granted;
  });
}

std::vector<NotificationRequest> FileNotificationCenter::pendingRequests() const {
  return read().pending;
}

void FileNotificationCenter::add(const NotificationRequest& request) {
  if (!fireDate(request)) {
    throw std::runtime_error("no such time: " + request.identifier);
  }
  update([&](Contents& contents) {
    const auto named = [&](const NotificationRequest& held) { return held.identifier == request.identifier; };
    std::erase_if(contents.pending, named);
    contents.pending.push_back(request);
    if (std::erase_if(contents.delivered, named) > 0) {
      contents.deliveredChanged();
    }
  });
}

void FileNotificationCenter::removePendingRequests(std::span<const std::string> identifiers) {
  update([&](Contents& contents) {
    std::erase_if(contents.pending, [&](const NotificationRequest& held) {
      return std::ranges::find(identifiers, held.identifier) != identifiers.end();
    });
  });
}

std::vector<NotificationRequest> FileNotificationCenter::deliveredRequests() const {
  return read().delivered;
}

void FileNotificationCenter::removeDeliveredRequests(std::span<const std::string> identifiers) {
  update([&](Contents& contents) {
    std::erase_if(contents.delivered, [&](const NotificationRequest& held) {
      return std::ranges::find(identifiers, held.identifier) != identifiers.end();
    });
    contents.deliveredChanged();
  });
}

void FileNotificationCenter::setBadgeCount(int count) {
  update([&](Contents& contents) { contents.badge = count; });
}

int FileNotificationCenter::badgeCount() const {
  return read().badge;
}

std::optional<Date> FileNotificationCenter::fireDate(const NotificationRequest& request) {
  return CalendarDate{request.year, request.month, request.day}.localTime(request.hour, request.minute);
}

std::vector<NotificationRequest> FileNotificationCenter::takeDue(Date now) {
  return update([&](Contents& contents) {
    std::vector<std::pair<Date, NotificationRequest>> due;
    std::erase_if(contents.pending, [&](const NotificationRequest& request) {
      const auto fires = fireDate(request);
      if (fires && *fires <= now) {
        due.emplace_back(*fires, request);
        return true;
      }
      return false;
    });
    std::ranges::stable_sort(due, {}, &std::pair<Date, NotificationRequest>::first);
    std::vector<NotificationRequest> requests;
    for (auto& [fires, request] : due) {
      requests.push_back(std::move(request));
    }
    if (!requests.empty()) {
      contents.delivered.insert(contents.delivered.end(), requests.begin(), requests.end());
      contents.deliveredChanged();
    }
    return requests;
  });
}

std::optional<Date> FileNotificationCenter::nextFireDate() const {
  std::optional<Date> next;
  for (const auto& request : read().pending) {
    if (const auto fires = fireDate(request); fires && (!next || *fires < *next)) {
      next = fires;
    }
  }
  return next;
}

} // namespace vantrel
