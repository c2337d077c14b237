#include "VantrelCore/Store/Rules/InboxRules.hpp"

#include "VantrelCore/Model/SortIndex.hpp"
#include "VantrelCore/Model/TimeFormat.hpp"
#include "VantrelCore/Model/WhiteSpace.hpp"
#include "VantrelCore/Store/Rules/TaskRules.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

#include <utility>
#include <vector>

namespace vantrel {

std::string InboxRules::add(std::string_view title, std::optional<std::string> notes, Date capturedAt,
                            std::optional<std::string> recordName) const {
  std::vector<std::int64_t> siblings;
  for (const auto& [name, existing] : context_.cache().inbox()) {
    siblings.push_back(existing.sortIndex);
  }
  InboxItemRecord item{.recordName = context_.nameForNewRecord<InboxItemRecord>(std::move(recordName),
                                                                                RecordNames::inboxItemPrefix),
                       .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
                       .capturedAt = capturedAt,
                       .notes = std::move(notes),
                       .sortIndex = SortIndex::appended(siblings)};
  std::string name = item.recordName;
  context_.writer().save(std::move(item));
  return name;
}

void InboxRules::remove(std::string_view item) const {
  context_.writer().remove(CKRecordTypes::inboxItem, context_.requireInboxItem(item).recordName);
}

std::string InboxRules::triage(std::string_view item, std::string_view area,
                               std::optional<std::string> project, bool alsoAppendNote) const {
  const InboxItemRecord captured = context_.requireInboxItem(item);
  const std::string areaRef = context_.requireArea(area).recordName;
  std::optional<ProjectRecord> target;
  if (project) {
    target = context_.requireProject(*project);
  }
  const std::string task =
      TaskRules(context_).addToHome(target ? target->recordName : areaRef, captured.title, NewTaskOptions{});
  if (target && alsoAppendNote) {
    const std::string note = TimeFormat::inboxTriageNote(
        captured.title, captured.notes ? std::optional<std::string_view>(*captured.notes) : std::nullopt,
        captured.capturedAt);
    target->purpose = target->purpose && !target->purpose->empty() ? *target->purpose + "\n" + note : note;
    context_.writer().save(std::move(*target));
  }
  context_.writer().remove(CKRecordTypes::inboxItem, captured.recordName);
  return task;
}

} // namespace vantrel
