#include "VantrelCore/Store/Rules/RuleContext.hpp"

#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

namespace vantrel {
namespace {

template <class Record>
const Record& require(const RecordMap<Record>& records, std::string_view name, std::string_view recordType) {
  const auto found = records.find(std::string(name));
  if (found == records.end()) {
    throw CloudKitStoreError::recordNotFound(recordType, name);
  }
  return found->second;
}

} // namespace

const TaskRecord& RuleContext::requireTask(std::string_view task) const {
  return require(cache_.tasks(), task, CKRecordTypes::task);
}

const AreaRecord& RuleContext::requireArea(std::string_view area) const {
  const auto found = cache_.areas().find(std::string(area));
  if (found == cache_.areas().end()) {
    throw CloudKitStoreError::areaNotInCache(area);
  }
  return found->second;
}

const ProjectRecord& RuleContext::requireProject(std::string_view project) const {
  return require(cache_.projects(), project, CKRecordTypes::project);
}

const GapRecord& RuleContext::requireGap(std::string_view gap) const {
  return require(cache_.gaps(), gap, CKRecordTypes::gap);
}

const ProjectSectionRecord& RuleContext::requireProjectHeader(std::string_view header) const {
  return require(cache_.projectSections(), header, CKRecordTypes::projectSection);
}

const AreaSectionRecord& RuleContext::requireAreaHeader(std::string_view header) const {
  return require(cache_.areaSections(), header, CKRecordTypes::areaSection);
}

const InboxItemRecord& RuleContext::requireInboxItem(std::string_view item) const {
  return require(cache_.inbox(), item, CKRecordTypes::inboxItem);
}

const UserProjectPlacementRecord& RuleContext::requireMyPlacement(std::string_view project) const {
  if (const auto* placement = cache_.myPlacement(std::string(project))) {
    return *placement;
  }
  throw CloudKitStoreError::recordNotFound(
      CKRecordTypes::userProjectPlacement,
      RecordNames::userProjectPlacement(cache_.currentUserRef(), project));
}

std::optional<UserTaskScheduleRecord> RuleContext::mySchedule(const std::string& task) const {
  const auto found = cache_.myTaskSchedules().find(task);
  return found == cache_.myTaskSchedules().end() ? std::nullopt : std::optional(found->second);
}

std::string RuleContext::newRecordName(std::string_view prefix) const {
  return RecordNames::random(prefix, uuids_);
}

} // namespace vantrel
