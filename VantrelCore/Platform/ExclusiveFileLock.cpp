#include "VantrelCore/Platform/ExclusiveFileLock.hpp"

namespace vantrel {

ExclusiveFileLock::ExclusiveFileLock(FileSystem& fileSystem, const std::filesystem::path& path)
    : lock_(fileSystem.lockExclusive(path, {})) {}

ExclusiveFileLock::ExclusiveFileLock(FileSystem& fileSystem, const std::filesystem::path& path,
                                     std::chrono::milliseconds timeout, const TakenHandler& onTaken)
    : lock_(fileSystem.lockExclusive(path, {.timeout = timeout, .onTaken = onTaken})) {}

} // namespace vantrel
