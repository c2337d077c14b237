#include "VantrelCore/Widget/IntentActionQueue.hpp"

#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/ExclusiveFileLock.hpp"

#include <algorithm>

namespace vantrel {

IntentActionQueue::IntentActionQueue(std::optional<std::filesystem::path> sharedDirectory,
                                     FileSystem& fileSystem, const Clock& clock, UUIDGenerator& uuids)
    : sharedDirectory_(std::move(sharedDirectory)), fileSystem_(fileSystem), clock_(clock), uuids_(uuids) {}

std::optional<std::filesystem::path> IntentActionQueue::fileURL() const {
  if (!sharedDirectory_) {
    return std::nullopt;
  }
  return *sharedDirectory_ / fileName;
}

std::vector<PendingIntentAction> IntentActionQueue::pending() const {
  return sharedDirectory_ ? read(fileSystem_, *sharedDirectory_) : std::vector<PendingIntentAction>{};
}

std::vector<PendingIntentAction> IntentActionQueue::read(FileSystem& fileSystem,
                                                         const std::filesystem::path& sharedDirectory) {
  try {
    const auto text = fileSystem.readFile(sharedDirectory / fileName);
    if (!text || text->empty()) {
      return {};
    }
    return PendingIntentAction::decodeList(*text);
  } catch (const std::exception&) {
    // A queue nobody can read holds nothing anyone could apply; the next append starts it afresh.
    return {};
  }
}

void IntentActionQueue::appendMarkDone(std::string_view taskRecordName, bool done) {
  const auto file = fileURL();
  if (!file) {
    return;
  }
  const ExclusiveFileLock lock(fileSystem_, file->string() + ".lock");
  auto actions = pending();
  actions.push_back({.id = uuids_.uuidString(),
                     .kind = PendingIntentAction::Kind::markDone,
                     .taskRecordName = std::string(taskRecordName),
                     .done = done,
                     .createdAt = clock_.now()});
  write(fileSystem_, *file, actions);
}

void IntentActionQueue::remove(const std::set<std::string>& ids) {
  if (sharedDirectory_) {
    remove(fileSystem_, *sharedDirectory_, ids);
  }
}

void IntentActionQueue::remove(FileSystem& fileSystem, const std::filesystem::path& sharedDirectory,
                               const std::set<std::string>& ids) {
  const auto file = sharedDirectory / fileName;
  const ExclusiveFileLock lock(fileSystem, file.string() + ".lock");
  auto actions = read(fileSystem, sharedDirectory);
  std::erase_if(actions, [&](const PendingIntentAction& action) { return ids.contains(action.id); });
  write(fileSystem, file, actions);
}

void IntentActionQueue::write(FileSystem& fileSystem, const std::filesystem::path& file,
                              const std::vector<PendingIntentAction>& actions) {
  if (actions.empty()) {
    fileSystem.removeFile(file);
    return;
  }
  AtomicFileWriter(fileSystem).writeString(PendingIntentAction::encodeList(actions), file);
}

} // namespace vantrel
