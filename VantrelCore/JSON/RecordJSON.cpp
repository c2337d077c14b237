#include "VantrelCore/JSON/RecordJSON.hpp"

namespace vantrel::detail {

std::string describeRecord(std::string_view typeName, const rapidjson::Value& object) {
  const auto name = object.FindMember("recordName");
  if (name != object.MemberEnd() && name->value.IsString()) {
    return std::string(typeName) + " '" +
           std::string(name->value.GetString(), name->value.GetStringLength()) + "'";
  }
  return std::string(typeName);
}

} // namespace vantrel::detail
