#pragma once

#include "VantrelCore/Platform/FileSystem.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// The digests that tell whether a bridge file changed since it was written: SHA-256 as 64 lower-case
/// hexadecimal digits. Text is hashed as its UTF-8 bytes, which is how it is written.
class BridgeHash {
public:
  BridgeHash() = delete;

  static std::string sha256Hex(std::string_view bytes);
  /// The digest of the file's bytes, following a symbolic link; none when there is no regular file to read
  /// there (missing, a folder, a pipe or device, a link that leads nowhere) or reading it fails.
  static std::optional<std::string> sha256HexOfFile(FileSystem& fileSystem,
                                                    const std::filesystem::path& path);
};

} // namespace vantrel
