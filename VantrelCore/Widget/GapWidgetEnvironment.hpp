#pragma once

#include "VantrelCore/Platform/FileSystem.hpp"
#include "VantrelCore/Platform/Preferences.hpp"

#include <filesystem>
#include <optional>

namespace vantrel {

/// What the widget reads, and nothing more: the folder it shares with the planner (none when it cannot
/// be found), the files in it, and the shared preferences that hold the planning window. The device zone
/// is the process's.
struct GapWidgetEnvironment {
  std::optional<std::filesystem::path> sharedDirectory;
  FileSystem& fileSystem;
  Preferences& sharedPreferences;

  std::optional<std::filesystem::path> cacheSnapshotURL() const {
    return sharedDirectory ? std::optional(*sharedDirectory / "cache-snapshot.json") : std::nullopt;
  }
};

} // namespace vantrel
