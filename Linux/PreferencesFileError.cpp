#include "Linux/PreferencesFileError.hpp"

namespace vantrel {

PreferencesFileError::PreferencesFileError(const std::filesystem::path& file, const std::string& reason)
    : std::runtime_error("preferences file " + file.string() + " is unreadable: " + reason), file_(file),
      reason_(reason) {}

} // namespace vantrel
