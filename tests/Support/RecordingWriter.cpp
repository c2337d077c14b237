#include "tests/Support/RecordingWriter.hpp"

#include "VantrelCore/Sync/CloudKitDomainRecord.hpp"

namespace vantrel::testing {

void RecordingWriter::save(AnyRecord record) {
  std::visit(
      [&]<class Record>(Record& entity) {
        writes_.push_back("save " + std::string(CloudKitDomainRecord<Record>::recordType) + "/" +
                          entity.recordName);
        cache_.upsert(std::move(entity));
      },
      record);
}

// Noted after the removal, as the store uses the name after it too: a rule that hands over the cached
// record's own name then reads freed memory here, where the sanitizers see it.
void RecordingWriter::remove(std::string_view recordType, std::string_view recordName) {
  visitCloudKitDomainRecordType(recordType, [&]<class Record>() {
    if constexpr (!std::is_same_v<Record, SchemaVersionRecord>) {
      cache_.remove<Record>(recordName);
    }
  });
  writes_.push_back("remove " + std::string(recordType) + "/" + std::string(recordName));
}

} // namespace vantrel::testing
