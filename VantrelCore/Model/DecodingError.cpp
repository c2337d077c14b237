#include "VantrelCore/Model/DecodingError.hpp"

namespace vantrel {
namespace {

std::string describe(const std::string& codingPath, const std::string& debugDescription) {
  return codingPath.empty() ? debugDescription : codingPath + ": " + debugDescription;
}

} // namespace

DecodingError::DecodingError(Kind kind, std::string codingPath, std::string debugDescription)
    : std::runtime_error(describe(codingPath, debugDescription)), kind_(kind),
      codingPath_(std::move(codingPath)), debugDescription_(std::move(debugDescription)) {}

DecodingError DecodingError::nestedIn(const std::string& outer) const {
  return DecodingError(kind_, codingPath_.empty() ? outer : outer + "/" + codingPath_, debugDescription_);
}

} // namespace vantrel
