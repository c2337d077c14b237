#include "VantrelCore/Bridge/BridgeHash.hpp"

#include "VantrelCore/Platform/FileSystemError.hpp"
#include "VantrelCore/Platform/SHA256.hpp"

#include <system_error>

namespace vantrel {

std::string BridgeHash::sha256Hex(std::string_view bytes) {
  return SHA256::hexDigest(bytes);
}

std::optional<std::string> BridgeHash::sha256HexOfFile(FileSystem& fileSystem,
                                                       const std::filesystem::path& path) {
  // Opening a pipe to read it would wait for a writer that may never come.
  std::error_code statusError;
  if (!std::filesystem::is_regular_file(path, statusError)) {
    return std::nullopt;
  }
  try {
    const auto file = fileSystem.mapFile(path);
    if (!file) {
      return std::nullopt;
    }
    return sha256Hex(file->bytes());
  } catch (const FileSystemError&) {
    return std::nullopt;
  }
}

} // namespace vantrel
