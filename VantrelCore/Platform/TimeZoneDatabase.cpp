#include "VantrelCore/Platform/TimeZoneDatabase.hpp"

#include "VantrelCore/Platform/TimeZoneError.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace vantrel {
namespace {

/// Real zone files are a few kilobytes; anything this large is not one.
constexpr std::uintmax_t largestZoneFile = std::uintmax_t(1) << 20;

/// A relative path of plain components, so a name can never leave the database's folder.
bool isZoneName(std::string_view identifier) {
  if (identifier.empty() || identifier.size() > 255 || identifier.front() == '/' ||
      identifier.back() == '/') {
    return false;
  }
  std::size_t start = 0;
  while (start <= identifier.size()) {
    const std::size_t end = std::min(identifier.find('/', start), identifier.size());
    const std::string_view component = identifier.substr(start, end - start);
    if (component.empty() || component == "." || component == "..") {
      return false;
    }
    for (const char c : component) {
      const bool allowed = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                           c == '_' || c == '-' || c == '+' || c == '.';
      if (!allowed) {
        return false;
      }
    }
    start = end + 1;
  }
  return true;
}

/// The file's bytes, or what stopped the read.
struct ReadResult {
  std::string bytes;
  int error{};
  bool isFolder{};
  bool isTooLarge{};
};

ReadResult readWholeFile(const std::filesystem::path& file) {
  ReadResult result;
  std::error_code error;
  const auto status = std::filesystem::status(file, error);
  if (error) {
    result.error = error.value();
    return result;
  }
  result.isFolder = std::filesystem::is_directory(status);
  result.isTooLarge = !result.isFolder && std::filesystem::file_size(file, error) > largestZoneFile;
  if (result.isFolder || result.isTooLarge) {
    return result;
  }
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    result.error = errno != 0 ? errno : EIO;
    return result;
  }
  result.bytes.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  if (stream.bad()) {
    result.error = EIO;
  }
  return result;
}

std::unique_ptr<SystemTimeZone> makeZone(const std::string& identifier, const std::filesystem::path& file) {
  ReadResult read = readWholeFile(file);
  if (read.isFolder || read.error == ENOENT || read.error == ENOTDIR) {
    throw TimeZoneError::unknown(identifier);
  }
  if (read.error != 0) {
    throw TimeZoneError::unreadable(identifier, file.string() + ": " + std::strerror(read.error));
  }
  const auto damaged = [&](const std::string& reason) {
    return TimeZoneError::unreadable(identifier, file.string() + " is damaged (" + reason + ")");
  };
  if (read.isTooLarge) {
    throw damaged("too large for a zone file");
  }
  try {
    const TZifFile parsed = TZifFile::parse(read.bytes);
    if (parsed.countsLeapSeconds) {
      throw TimeZoneError::unreadable(
          identifier, file.string() + " counts leap seconds, which the planner's clock does not");
    }
    return SystemTimeZone::fromTZif(identifier, parsed);
  } catch (const TZifFile::FormatError& error) {
    throw damaged(error.what());
  }
}

/// The zone name in a path such as "/usr/share/zoneinfo/Europe/Berlin" or "../usr/share/zoneinfo/UTC".
std::string zoneNameInPath(const std::filesystem::path& path, const std::filesystem::path& directory) {
  const std::string text = path.lexically_normal().string();
  const std::string prefix = directory.lexically_normal().string() + "/";
  if (text.starts_with(prefix)) {
    return text.substr(prefix.size());
  }
  constexpr std::string_view marker = "zoneinfo/";
  if (const auto found = text.rfind(marker); found != std::string::npos) {
    return text.substr(found + marker.size());
  }
  return text;
}

} // namespace

TimeZoneDatabase::TimeZoneDatabase(std::filesystem::path directory) : directory_(std::move(directory)) {}

TimeZoneDatabase& TimeZoneDatabase::system() {
  static TimeZoneDatabase database([] {
    const char* folder = std::getenv("TZDIR");
    return std::filesystem::path(folder != nullptr && *folder != '\0' ? folder : "/usr/share/zoneinfo");
  }());
  return database;
}

const SystemTimeZone& TimeZoneDatabase::cachedZone(const std::string& identifier,
                                                   const std::filesystem::path& file) {
  const std::lock_guard lock(mutex_);
  auto found = zones_.find(identifier);
  if (found == zones_.end()) {
    found = zones_.emplace(identifier, makeZone(identifier, file)).first;
  }
  return *found->second;
}

std::unique_ptr<icu::TimeZone> TimeZoneDatabase::zone(std::string_view identifier) {
  if (identifier == "UTC") {
    return utc();
  }
  const std::string name(identifier);
  if (!isZoneName(identifier)) {
    throw TimeZoneError::unknown(name);
  }
  std::error_code error;
  if (!std::filesystem::is_directory(directory_, error)) {
    throw TimeZoneError::unknown(name, "there is no time zone database in " + directory_.string() +
                                           " (install tzdata, or set TZDIR)");
  }
  return std::unique_ptr<icu::TimeZone>(cachedZone(name, directory_ / name).clone());
}

std::unique_ptr<icu::TimeZone> TimeZoneDatabase::hostZone(const char* tzVariable,
                                                          const std::filesystem::path& localtimeFile) {
  if (tzVariable != nullptr) {
    std::string_view text(tzVariable);
    if (text.starts_with(':')) {
      text.remove_prefix(1);
    }
    if (text.empty()) {
      // glibc reads an empty TZ as UTC.
      return utc();
    }
    const std::string value(text);
    if (text.starts_with('/')) {
      return std::unique_ptr<icu::TimeZone>(cachedZone(zoneNameInPath(value, directory_), value).clone());
    }
    std::error_code error;
    if (isZoneName(text) && (text == "UTC" || std::filesystem::exists(directory_ / value, error))) {
      return zone(text);
    }
    if (const auto rule = PosixTimeZoneRule::parse(text)) {
      return SystemTimeZone::fromRule(value, *rule);
    }
    throw TimeZoneError::unknown(value);
  }
  std::error_code error;
  const auto status = std::filesystem::symlink_status(localtimeFile, error);
  if (!std::filesystem::exists(status)) {
    // Without the file the C library, and so every other program here, runs on UTC.
    return utc();
  }
  std::string name = "localtime";
  if (std::filesystem::is_symlink(status)) {
    const auto target = std::filesystem::read_symlink(localtimeFile, error);
    const auto resolved = target.is_absolute() ? target : localtimeFile.parent_path() / target;
    name = zoneNameInPath(resolved, directory_);
    if (!std::filesystem::exists(resolved, error)) {
      throw TimeZoneError::unreadable(name, localtimeFile.string() + " points to " + resolved.string() +
                                                ", which does not exist");
    }
  }
  return std::unique_ptr<icu::TimeZone>(cachedZone(name, localtimeFile).clone());
}

std::unique_ptr<icu::TimeZone> TimeZoneDatabase::utc() {
  static const auto prototype = SystemTimeZone::fromRule(
      "UTC", PosixTimeZoneRule{.standardName = "UTC", .standardOffset = 0, .daylight = std::nullopt});
  return std::unique_ptr<icu::TimeZone>(prototype->clone());
}

std::unique_ptr<icu::TimeZone> TimeZoneDatabase::fixedOffset(std::int32_t seconds) {
  const std::int32_t magnitude = seconds < 0 ? -seconds : seconds;
  char name[32];
  std::snprintf(name, sizeof name, "GMT%c%02d:%02d", seconds < 0 ? '-' : '+', magnitude / 3600,
                magnitude / 60 % 60);
  return SystemTimeZone::fromRule(
      name, PosixTimeZoneRule{.standardName = name, .standardOffset = seconds, .daylight = std::nullopt});
}

} // namespace vantrel
