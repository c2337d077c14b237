#include "VantrelCore/Platform/FileSystemError.hpp"

namespace vantrel {

FileSystemError::FileSystemError(std::string_view operation, const std::filesystem::path& path,
                                 int errorNumber)
    : std::system_error(errorNumber, std::generic_category(), std::string(operation) + " " + path.string()),
      operation_(operation), path_(path) {}

FileSystemError::FileSystemError(std::string_view operation, const std::filesystem::path& from,
                                 const std::filesystem::path& to, int errorNumber)
    : std::system_error(errorNumber, std::generic_category(),
                        std::string(operation) + " " + from.string() + " -> " + to.string()),
      operation_(operation), path_(from) {}

} // namespace vantrel
