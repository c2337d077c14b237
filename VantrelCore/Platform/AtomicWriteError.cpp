#include "VantrelCore/Platform/AtomicWriteError.hpp"

namespace vantrel {

AtomicWriteError::AtomicWriteError(Kind kind, const std::string& message, std::filesystem::path target,
                                   std::error_code code)
    : std::runtime_error(message), kind_(kind), targetPath_(std::move(target)), underlyingCode_(code) {}

AtomicWriteError AtomicWriteError::writeFailed(const std::filesystem::path& target,
                                               const std::system_error& underlying) {
  return AtomicWriteError(Kind::writeFailed,
                          "atomic write to " + target.string() + " failed: " + underlying.what(), target,
                          underlying.code());
}

AtomicWriteError AtomicWriteError::encodingFailed(const std::filesystem::path& target) {
  return AtomicWriteError(Kind::encodingFailed, "string content could not be encoded as UTF-8", target, {});
}

} // namespace vantrel
