#pragma once

#include "VantrelCore/Platform/FileSystem.hpp"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace vantrel {

/// How the bridge folder's files stand against the digests taken when they were written. Each list holds
/// paths relative to the folder, "/"-separated, sorted.
struct BridgeFolderDiff {
  /// Backed up, and their bytes differ now.
  std::vector<std::string> changed{};
  /// Backed up, and byte for byte the same (a file saved again unedited included).
  std::vector<std::string> unchanged{};
  /// Backed up, and no longer a regular file that can be read.
  std::vector<std::string> missing{};
  /// In the folder, not backed up.
  std::vector<std::string> extra{};

  friend bool operator==(const BridgeFolderDiff&, const BridgeFolderDiff&) = default;
};

/// Compares `folder` with `backupHashes` (relative path to BridgeHash digest). The folder's files are
/// listed recursively, leaving out the metadata folder and the writer's temp files. A file is listed when
/// it is, or links to, a regular file, or is a link that leads nowhere; folders are entered, but never
/// through a link, so the listing stays inside the folder; pipes, sockets and devices are left out.
/// Throws FileSystemError when the folder or one of its sub-folders cannot be listed.
BridgeFolderDiff bridgeDiffFolderAgainstBackup(FileSystem& fileSystem, const std::filesystem::path& folder,
                                               const std::map<std::string, std::string>& backupHashes);

} // namespace vantrel
