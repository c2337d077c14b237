#include "VantrelCore/Store/ConflictNotice.hpp"

#include "VantrelCore/Sync/CKRecordTypes.hpp"
#include "VantrelCore/Sync/ConflictMerge.hpp"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace vantrel {
namespace {

// Field keys as the notice names them; the keys of a coupled group share one phrase.
constexpr std::array<std::pair<std::string_view, std::string_view>, 33> fieldWords{{
    {"areaRef", "area"},
    {"bridgeLockedAt", "bridge lock"},
    {"bridgeLockedBy", "bridge lock"},
    {"bridgeLockedByName", "bridge lock"},
    {"capturedAt", "capture time"},
    {"collapsed", "folding"},
    {"color", "color"},
    {"date", "schedule"},
    {"dayRef", "day and time"},
    {"displayName", "display name"},
    {"displayNameSource", "display name source"},
    {"done", "done state"},
    {"dueDate", "deadline"},
    {"gapTime", "schedule"},
    {"homeRef", "place"},
    {"icon", "icon"},
    {"isHidden", "visibility"},
    {"isPinned", "pin"},
    {"label", "label"},
    {"name", "name"},
    {"notes", "notes"},
    {"parentTaskRef", "place"},
    {"projectRef", "project"},
    {"purpose", "purpose"},
    {"reminder", "reminder"},
    {"sectionRef", "header"},
    {"sortIndex", "order"},
    {"status", "status"},
    {"taskRef", "task"},
    {"time", "day and time"},
    {"title", "title"},
    {"userRef", "user"},
    {"version", "version"},
}};

// One word for every key the merge knows, in its order, so that the two lists cannot drift apart.
static_assert([] {
  for (std::size_t index = 0; index < fieldWords.size(); ++index) {
    if (fieldWords[index].first != ConflictMerge::knownFieldKeys[index]) {
      return false;
    }
  }
  return fieldWords.size() == ConflictMerge::knownFieldKeys.size();
}());

std::string joinedInWords(std::span<const std::string> keys) {
  std::vector<std::string_view> words;
  for (const auto& key : keys) {
    const auto found =
        std::ranges::find(fieldWords, key, &std::pair<std::string_view, std::string_view>::first);
    if (found != fieldWords.end() && std::ranges::find(words, found->second) == words.end()) {
      words.push_back(found->second);
    }
  }
  if (words.empty()) {
    return "details";
  }
  std::string text(words.front());
  for (std::size_t index = 1; index < words.size(); ++index) {
    text += index + 1 == words.size() ? " and " : ", ";
    text += words[index];
  }
  return text;
}

std::string labelOrItem(const std::optional<std::string>& label) {
  return label && !label->empty() ? *label : "an item";
}

std::optional<std::string> stringValue(const CloudRecord& record, std::string_view key) {
  if (const auto* value = record.value(key)) {
    if (const auto* text = std::get_if<std::string>(value)) {
      return *text;
    }
  }
  return std::nullopt;
}

} // namespace

std::string ConflictNotice::fieldNotice(std::span<const std::string> clashedKeys,
                                        const std::optional<std::string>& label, Source source) {
  return "Your change to the " + joinedInWords(clashedKeys) + " of " + labelOrItem(label) +
         " was replaced by " +
         (source == Source::otherDevice ? "an edit from your other device"
                                        : "another edit to this shared project") +
         ". The rest of your changes were kept.";
}

std::string ConflictNotice::wholeRecordNotice(const std::optional<std::string>& label) {
  return "An edit to " + labelOrItem(label) +
         " was overwritten by another device. Check it and re-do if needed.";
}

std::optional<std::string> ConflictNotice::displayLabel(
    const CloudRecord& record,
    const std::function<std::optional<std::string>(std::string_view task)>& taskTitle) {
  const auto& type = record.recordType();
  if (type == CKRecordTypes::task || type == CKRecordTypes::projectSection ||
      type == CKRecordTypes::areaSection || type == CKRecordTypes::inboxItem) {
    return stringValue(record, "title");
  }
  if (type == CKRecordTypes::project || type == CKRecordTypes::area) {
    return stringValue(record, "name");
  }
  if (type == CKRecordTypes::gap) {
    return stringValue(record, "label");
  }
  if (type == CKRecordTypes::userTaskSchedule) {
    if (const auto* value = record.value("taskRef")) {
      if (const auto* task = std::get_if<CloudReference>(value)) {
        return taskTitle(task->recordID.recordName);
      }
    }
  }
  return std::nullopt;
}

} // namespace vantrel
