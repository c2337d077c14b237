#include "Linux/JSONFilePreferences.hpp"

#include "Linux/PreferencesFileError.hpp"
#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/ExclusiveFileLock.hpp"
#include "VantrelCore/Platform/FileSystemError.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <openssl/evp.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace vantrel {
namespace {

// Settings take a few kilobytes, and every command and every widget refresh reads the file: a far larger
// one, a mistake or an attack, is refused rather than read by each of them.
constexpr std::int64_t maximumFileBytes = std::int64_t{16} * 1024 * 1024;

// EVP_EncodeBlock and EVP_DecodeBlock take int lengths, so large data goes through in pieces.
constexpr std::size_t base64ChunkBytes = std::size_t{3} * 16 * 1024;
constexpr std::size_t base64ChunkCharacters = base64ChunkBytes / 3 * 4;

/// The same type as JSONFilePreferences::Values, which is private to the class.
using PreferenceMap = std::map<std::string, PreferenceValue, std::less<>>;

std::string encodeBase64(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  std::array<unsigned char, base64ChunkCharacters + 1> buffer{};
  for (std::size_t offset = 0; offset < bytes.size(); offset += base64ChunkBytes) {
    const auto chunk = bytes.substr(offset, base64ChunkBytes);
    const int length = EVP_EncodeBlock(buffer.data(), reinterpret_cast<const unsigned char*>(chunk.data()),
                                       static_cast<int>(chunk.size()));
    text.append(reinterpret_cast<const char*>(buffer.data()), static_cast<std::size_t>(length));
  }
  return text;
}

bool isBase64Character(char character) {
  return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
         (character >= '0' && character <= '9') || character == '+' || character == '/';
}

/// Canonical padded base64 only: EVP_DecodeBlock itself skips blanks and takes '=' anywhere.
std::optional<std::string> decodeBase64(std::string_view text) {
  if (text.size() % 4 != 0) {
    return std::nullopt;
  }
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
  if (!std::all_of(text.begin(), text.end() - static_cast<std::ptrdiff_t>(padding), isBase64Character)) {
    return std::nullopt;
  }
  std::string bytes;
  std::array<unsigned char, base64ChunkBytes> buffer{};
  for (std::size_t offset = 0; offset < text.size(); offset += base64ChunkCharacters) {
    const auto chunk = text.substr(offset, base64ChunkCharacters);
    const int length = EVP_DecodeBlock(buffer.data(), reinterpret_cast<const unsigned char*>(chunk.data()),
                                       static_cast<int>(chunk.size()));
    if (length < 0) {
      return std::nullopt;
    }
    bytes.append(reinterpret_cast<const char*>(buffer.data()), static_cast<std::size_t>(length));
  }
  // The padding characters decode as zero bytes that were never part of the data.
  bytes.resize(bytes.size() - padding);
  return bytes;
}

std::string withArticle(std::string_view kind) {
  const bool vowel = !kind.empty() && std::string_view("aeiou").find(kind.front()) != std::string_view::npos;
  return (vowel ? "an " : "a ") + std::string(kind);
}

PreferenceValue decodeValue(const std::string& key, const rapidjson::Value& value,
                            const std::filesystem::path& file) {
  const auto fault = [&](const std::string& problem) {
    return PreferencesFileError(file, "key '" + key + "' " + problem);
  };
  if (value.IsInt64()) {
    return value.GetInt64();
  }
  if (value.IsBool()) {
    return value.GetBool();
  }
  if (value.IsString()) {
    return std::string(value.GetString(), value.GetStringLength());
  }
  if (value.IsNumber()) {
    throw fault(value.IsUint64() ? "holds an integer that does not fit in 64 bits"
                                 : "holds a number that is not an integer");
  }
  if (value.IsArray()) {
    std::vector<std::string> strings;
    strings.reserve(value.Size());
    for (rapidjson::SizeType index = 0; index < value.Size(); ++index) {
      const auto& item = value[index];
      if (!item.IsString()) {
        throw fault("holds an array whose item at index " + std::to_string(index) + " is " +
                    withArticle(jsonKindName(item)) + ", not a string");
      }
      strings.emplace_back(item.GetString(), item.GetStringLength());
    }
    return strings;
  }
  if (value.IsObject()) {
    const auto data = value.FindMember("data");
    if (value.MemberCount() != 1 || data == value.MemberEnd() || !data->value.IsString()) {
      throw fault("holds an object other than {\"data\": \"<base64>\"}");
    }
    auto bytes = decodeBase64({data->value.GetString(), data->value.GetStringLength()});
    if (!bytes) {
      throw fault("holds data that is not valid base64");
    }
    return PreferenceData{std::move(*bytes)};
  }
  throw fault("holds null, which no preference can be");
}

PreferenceMap parseValues(std::string_view text, const std::filesystem::path& file) {
  const auto document = [&] {
    try {
      return parseJSON(text);
    } catch (const DecodingError& error) {
      throw PreferencesFileError(file, error.debugDescription());
    }
  }();
  if (!document.IsObject()) {
    throw PreferencesFileError(file, "the top level must be an object");
  }
  PreferenceMap values;
  for (const auto& member : document.GetObject()) {
    std::string key(member.name.GetString(), member.name.GetStringLength());
    auto value = decodeValue(key, member.value, file);
    // Keeping either copy would silently drop the other on the next write.
    if (!values.emplace(key, std::move(value)).second) {
      throw PreferencesFileError(file, "key '" + key + "' appears more than once");
    }
  }
  return values;
}

std::string encodeValues(const PreferenceMap& values) {
  JSONWriter writer;
  writer.startObject();
  for (const auto& [key, value] : values) {
    writer.key(key);
    std::visit(
        [&](const auto& held) {
          using Held = std::decay_t<decltype(held)>;
          if constexpr (std::is_same_v<Held, std::int64_t>) {
            writer.int64(held);
          } else if constexpr (std::is_same_v<Held, bool>) {
            writer.boolean(held);
          } else if constexpr (std::is_same_v<Held, std::string>) {
            writer.string(held);
          } else if constexpr (std::is_same_v<Held, std::vector<std::string>>) {
            writer.startArray();
            for (const auto& item : held) {
              writer.string(item);
            }
            writer.endArray();
          } else {
            static_assert(std::is_same_v<Held, PreferenceData>);
            writer.startObject();
            writer.key("data");
            writer.string(encodeBase64(held.bytes));
            writer.endObject();
          }
        },
        value);
  }
  writer.endObject();
  return std::string(writer.text()) + "\n";
}

std::int64_t nanoseconds(const timespec& time) {
  return std::int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

} // namespace

JSONFilePreferences::JSONFilePreferences(std::filesystem::path file, FileSystem& fileSystem)
    : file_(std::move(file)), fileSystem_(fileSystem) {}

std::unique_ptr<JSONFilePreferences> JSONFilePreferences::standard(const VantrelPaths& paths) {
  return std::make_unique<JSONFilePreferences>(paths.standardPreferencesFile);
}

std::unique_ptr<JSONFilePreferences> JSONFilePreferences::shared(const VantrelPaths& paths) {
  return std::make_unique<JSONFilePreferences>(paths.sharedPreferencesFile);
}

std::optional<PreferenceValue> JSONFilePreferences::value(std::string_view key) const {
  const std::lock_guard guard(mutex_);
  const auto identity = identify();
  if (cachedIdentity_ != identity) {
    reload(identity);
  }
  const auto found = cachedValues_.find(key);
  return found == cachedValues_.end() ? std::nullopt : std::optional(found->second);
}

void JSONFilePreferences::setValue(std::string_view key, PreferenceValue value) {
  change([&](Values& values) { values.insert_or_assign(std::string(key), std::move(value)); });
}

void JSONFilePreferences::removeValue(std::string_view key) {
  // A key that is absent now is absent at the moment of the call; taking the lock would create the lock file
  // and folders for nothing.
  if (!value(key)) {
    return;
  }
  change([&](Values& values) {
    if (const auto found = values.find(key); found != values.end()) {
      values.erase(found);
    }
  });
}

JSONFilePreferences::FileIdentity JSONFilePreferences::identify() const {
  struct stat status {};
  if (::stat(file_.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) {
      return {};
    }
    throw FileSystemError("stat", file_, errno);
  }
  return {std::uint64_t(status.st_dev), std::uint64_t(status.st_ino), std::int64_t(status.st_size),
          nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)};
}

void JSONFilePreferences::reload(const FileIdentity& identity) const {
  cachedIdentity_.reset();
  // Before the read when stat tells already; after it too, should the file have grown in between.
  const auto refuseLarge = [&](std::int64_t size) {
    if (size > maximumFileBytes) {
      throw PreferencesFileError(file_, "the file is larger than 16 MiB");
    }
  };
  refuseLarge(identity.size);
  const auto text = fileSystem_.readFile(file_);
  refuseLarge(text ? std::int64_t(text->size()) : 0);
  cachedValues_ = text ? parseValues(*text, file_) : Values{};
  // Taken before the read: should the file change in between, the next call sees a difference and reads
  // again, rather than trusting a stale copy.
  cachedIdentity_ = identity;
}

void JSONFilePreferences::change(const std::function<void(Values&)>& apply) {
  const std::lock_guard guard(mutex_);
  if (file_.has_parent_path()) {
    fileSystem_.createDirectories(file_.parent_path());
  }
  const ExclusiveFileLock lock(fileSystem_, file_.string() + ".lock");
  // Always read under the lock: another process may have written since the cache was filled.
  reload(identify());
  Values updated = cachedValues_;
  apply(updated);
  if (updated == cachedValues_) {
    return;
  }
  const auto text = encodeValues(updated);
  // A file no reader would take is not written in the first place.
  if (std::int64_t(text.size()) > maximumFileBytes) {
    throw std::invalid_argument("preferences file " + file_.string() + " would be larger than 16 MiB");
  }
  AtomicFileWriter(fileSystem_).writeString(text, file_);
  cachedValues_ = std::move(updated);
  // Every writer holds the lock, so what stat sees now is the file just written.
  cachedIdentity_ = identify();
}

} // namespace vantrel
