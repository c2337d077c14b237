#include "VantrelCore/Store/Rules/HeaderRules.hpp"

#include "VantrelCore/Model/SortIndex.hpp"
#include "VantrelCore/Model/WhiteSpace.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Store/Rules/SortOrder.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

#include <utility>

namespace vantrel {
namespace {

std::int64_t newIndex(const std::vector<std::int64_t>& siblings, bool insertAtTop) {
  return insertAtTop ? SortIndex::atTop(siblings) : SortIndex::appended(siblings);
}

} // namespace

std::string HeaderRules::addToProject(std::string_view project, std::string_view title,
                                      bool insertAtTop) const {
  const std::string projectRef = context_.requireProject(project).recordName;
  ProjectSectionRecord header{.recordName = context_.newRecordName(RecordNames::headerPrefix),
                              .projectRef = projectRef,
                              .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
                              .sortIndex =
                                  newIndex(SortOrder(context_).homeItemIndexes(projectRef), insertAtTop)};
  std::string recordName = header.recordName;
  context_.writer().save(std::move(header));
  return recordName;
}

std::string HeaderRules::addToArea(std::string_view area, std::string_view title, bool insertAtTop) const {
  const std::string areaRef = context_.requireArea(area).recordName;
  AreaSectionRecord header{.recordName = context_.newRecordName(RecordNames::headerPrefix),
                           .userRef = context_.cache().currentUserRef(),
                           .areaRef = areaRef,
                           .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
                           .sortIndex = newIndex(SortOrder(context_).areaItemIndexes(areaRef), insertAtTop)};
  std::string recordName = header.recordName;
  context_.writer().save(std::move(header));
  return recordName;
}

void HeaderRules::setTitle(std::string_view header, std::string_view title) const {
  const auto& cache = context_.cache();
  const std::string name(header);
  if (const auto found = cache.projectSections().find(name); found != cache.projectSections().end()) {
    ProjectSectionRecord changed = found->second;
    changed.title = trimmingWhiteSpaceAndNewlines(title);
    context_.writer().save(std::move(changed));
  } else if (const auto areaHeader = cache.areaSections().find(name);
             areaHeader != cache.areaSections().end()) {
    AreaSectionRecord changed = areaHeader->second;
    changed.title = trimmingWhiteSpaceAndNewlines(title);
    context_.writer().save(std::move(changed));
  } else {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::projectSection, header);
  }
}

void HeaderRules::remove(std::string_view header) const {
  const auto& cache = context_.cache();
  const std::string name(header);
  if (cache.projectSections().contains(name)) {
    // A copy: each delete changes the index.
    const RecordNameSet foldings = CloudKitCache::namesIn(cache.sectionStatesBySection(), name);
    for (const auto& state : foldings) {
      context_.writer().remove(CKRecordTypes::userProjectSectionState, state);
    }
    context_.writer().remove(CKRecordTypes::projectSection, name);
  } else if (cache.areaSections().contains(name)) {
    context_.writer().remove(CKRecordTypes::areaSection, name);
  } else {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::projectSection, header);
  }
}

} // namespace vantrel
