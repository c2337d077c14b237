#include "VantrelCore/Bridge/BridgeFileError.hpp"

namespace vantrel {

std::string BridgeFileError::description() const {
  switch (kind_) {
  case Kind::parseFailed:
    return "Couldn't parse the YAML: " + detail_;
  case Kind::unsupportedEdit:
    return "Can't apply the edit to " + fileLabel_ + ": " + detail_;
  case Kind::readFailed:
    return "Couldn't read " + fileLabel_ + ": " + detail_;
  }
  return detail_;
}

std::size_t BridgeFileError::hash() const {
  std::size_t seed = std::hash<int>()(static_cast<int>(kind_));
  for (const auto* text : {&fileLabel_, &detail_}) {
    seed ^= std::hash<std::string>()(*text) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
  }
  return seed;
}

} // namespace vantrel
