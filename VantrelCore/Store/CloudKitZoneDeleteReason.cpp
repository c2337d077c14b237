#include "VantrelCore/Store/CloudKitZoneDeleteReason.hpp"

namespace vantrel {

std::string_view cloudKitZoneDeleteReasonName(CloudKitZoneDeleteReason reason) {
  switch (reason) {
  case CloudKitZoneDeleteReason::deletedByApp:
    return "deletedByApp";
  case CloudKitZoneDeleteReason::purgedByUser:
    return "purgedByUser";
  case CloudKitZoneDeleteReason::encryptedDataReset:
    return "encryptedDataReset";
  }
  return "deletedByApp";
}

} // namespace vantrel
