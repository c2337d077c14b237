#include "VantrelCore/Bridge/BridgeFolderDiff.hpp"

#include "VantrelCore/Bridge/BridgeHash.hpp"
#include "VantrelCore/Bridge/BridgeLayout.hpp"
#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/FileSystemError.hpp"

#include <algorithm>
#include <system_error>

namespace vantrel {
namespace {

namespace fs = std::filesystem;

bool isListedFile(const fs::directory_entry& entry) {
  std::error_code error;
  const auto own = entry.symlink_status(error);
  if (error) {
    return false;
  }
  if (fs::is_regular_file(own)) {
    return true;
  }
  if (!fs::is_symlink(own)) {
    return false;
  }
  const auto target = fs::status(entry.path(), error);
  return fs::is_regular_file(target) || !fs::exists(target);
}

bool isRealFolder(const fs::directory_entry& entry) {
  std::error_code error;
  return fs::is_directory(entry.symlink_status(error)) && !error;
}

/// Adds the files of `folder / relative` to `files`, as "/"-separated paths relative to `folder`.
void listFiles(const fs::path& folder, const fs::path& relative, std::vector<std::string>& files) {
  const fs::path directory = relative.empty() ? folder : folder / relative;
  std::error_code error;
  fs::directory_iterator entry(directory, error);
  if (error) {
    throw FileSystemError("opendir", directory, error.value());
  }
  for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
    const fs::path path = relative / entry->path().filename();
    if (path == BridgeLayout::metadataFolderName) {
      continue;
    }
    if (isRealFolder(*entry)) {
      listFiles(folder, path, files);
    } else if (isListedFile(*entry) && !AtomicFileWriter::isOurTempFile(path)) {
      files.push_back(path.generic_string());
    }
  }
  if (error) {
    throw FileSystemError("readdir", directory, error.value());
  }
}

} // namespace

BridgeFolderDiff bridgeDiffFolderAgainstBackup(FileSystem& fileSystem, const fs::path& folder,
                                               const std::map<std::string, std::string>& backupHashes) {
  std::vector<std::string> files;
  listFiles(folder, {}, files);
  std::ranges::sort(files);

  BridgeFolderDiff diff;
  for (const auto& [path, backupHash] : backupHashes) {
    const auto hash = BridgeHash::sha256HexOfFile(fileSystem, folder / path);
    if (!hash) {
      diff.missing.push_back(path);
    } else if (*hash == backupHash) {
      diff.unchanged.push_back(path);
    } else {
      diff.changed.push_back(path);
    }
  }
  for (auto& path : files) {
    if (!backupHashes.contains(path)) {
      diff.extra.push_back(std::move(path));
    }
  }
  return diff;
}

} // namespace vantrel
