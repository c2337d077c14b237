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

void RecordingWriter::remove(std::string_view recordType, std::string_view recordName) {
  const std::string name(recordName);
  writes_.push_back("remove " + std::string(recordType) + "/" + name);
  visitCloudKitDomainRecordType(recordType, [&]<class Record>() {
    if constexpr (!std::is_same_v<Record, SchemaVersionRecord>) {
      cache_.remove<Record>(name);
    }
  });
}

} // namespace vantrel::testing
