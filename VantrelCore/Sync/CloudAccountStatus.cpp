#include "VantrelCore/Sync/CloudAccountStatus.hpp"

namespace vantrel {

std::string_view cloudAccountStatusName(CloudAccountStatus status) {
  switch (status) {
  case CloudAccountStatus::couldNotDetermine:
    return "couldNotDetermine";
  case CloudAccountStatus::available:
    return "available";
  case CloudAccountStatus::restricted:
    return "restricted";
  case CloudAccountStatus::noAccount:
    return "noAccount";
  case CloudAccountStatus::temporarilyUnavailable:
    return "temporarilyUnavailable";
  }
  return "couldNotDetermine";
}

} // namespace vantrel
