#pragma once

#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/FileSystem.hpp"
#include "VantrelCore/Platform/Preferences.hpp"
#include "VantrelCore/Platform/VantrelPaths.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace vantrel {

/// Preferences kept in one JSON object of key to value, shared safely by several processes.
///
/// Integers, bools, strings and string arrays are stored as their JSON counterparts; data as
/// {"data": "<base64>"}. Reads are answered from a cache that is refreshed whenever the file on disk has
/// changed, so values written by another process are seen. Each write locks "<file>.lock", re-reads the
/// file, applies its one change and replaces the file atomically, so concurrent writers lose nothing.
///
/// A missing file is an empty store and nothing is created before the first write. A file that cannot be
/// understood, or is larger than 16 MiB, makes every call throw PreferencesFileError and is never
/// overwritten; a change that would make the file larger throws std::invalid_argument.
class JSONFilePreferences final : public Preferences {
public:
  explicit JSONFilePreferences(std::filesystem::path file,
                               FileSystem& fileSystem = PosixFileSystem::shared());

  static std::unique_ptr<JSONFilePreferences> standard(const VantrelPaths& paths);
  static std::unique_ptr<JSONFilePreferences> shared(const VantrelPaths& paths);

  const std::filesystem::path& file() const noexcept { return file_; }

  std::optional<PreferenceValue> value(std::string_view key) const override;
  void setValue(std::string_view key, PreferenceValue value) override;
  void removeValue(std::string_view key) override;

private:
  using Values = std::map<std::string, PreferenceValue, std::less<>>;

  /// What stat says about the file; all zero when it is missing. Any difference means it was replaced or
  /// rewritten since it was read.
  struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modifiedNanoseconds = 0;
    std::int64_t changedNanoseconds = 0;
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
  };

  FileIdentity identify() const;
  /// Reads the file into the cache; the cache is left invalid when it cannot be understood.
  void reload(const FileIdentity& identity) const;
  void change(const std::function<void(Values&)>& apply);

  std::filesystem::path file_;
  FileSystem& fileSystem_;
  mutable std::mutex mutex_;
  mutable std::optional<FileIdentity> cachedIdentity_;
  mutable Values cachedValues_;
};

} // namespace vantrel
