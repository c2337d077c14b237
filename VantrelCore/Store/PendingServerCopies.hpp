#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class CloudKitPersistence;

/// The store's writes to the "systemfields" and "base" folders that wait for the next save point, and
/// the answers they give to reads meanwhile.
///
/// Why they wait: a change tag on disk that is newer than the record in the snapshot would let the next
/// edit of that record overwrite the server's newer version without a conflict, after a crash between
/// the two. Written after the snapshot, a tag is at worst older than its record, which only costs a
/// conflict that merges cleanly. So the store records here, reads through here, and each save point
/// writes everything recorded that is not known to be on disk yet.
///
/// Used from the owner thread; a Batch is a value the save point takes to its own thread.
class PendingServerCopies {
public:
  /// What a read finds: the bytes, or that the file is gone, or nothing known here (read the disk).
  using Lookup = std::optional<std::optional<std::string>>;

  struct SystemFieldsWrite {
    std::string recordType;
    std::string recordName;
    std::string bytes;
  };
  struct SystemFieldsDeletion {
    /// Every type when absent.
    std::optional<std::string> recordType;
    std::string recordName;
  };
  struct BaseRecordWrite {
    std::string recordName;
    std::string bytes;
  };
  /// Everything recorded and not yet known to be on disk, in the order it is to be applied: the wipe,
  /// then deletions, then writes.
  struct Batch {
    bool wipeSystemFields = false;
    std::vector<SystemFieldsDeletion> systemFieldsDeletions{};
    std::vector<SystemFieldsWrite> systemFieldsWrites{};
    std::vector<BaseRecordWrite> baseRecordWrites{};
    /// Marks what the batch covers, for written().
    std::uint64_t upTo = 0;

    bool empty() const {
      return !wipeSystemFields && systemFieldsDeletions.empty() && systemFieldsWrites.empty() &&
             baseRecordWrites.empty();
    }
    /// Applies it: each file replaced atomically, the writes with one sync. Throws what the files throw.
    void applyTo(const CloudKitPersistence& persistence) const;
  };

  void keepSystemFields(std::string_view recordType, std::string_view recordName, std::string bytes);
  void keepBaseRecord(std::string_view recordName, std::string bytes);
  void forgetSystemFields(std::string_view recordType, std::string_view recordName);
  void forgetSystemFieldsByName(std::string_view recordName);
  /// Every record's system fields go; base copies stay.
  void forgetAllSystemFields();

  Lookup systemFields(std::string_view recordType, std::string_view recordName) const;
  /// The base copy kept here and not yet written; none when the disk has the latest.
  std::optional<std::string> baseRecord(std::string_view recordName) const;

  /// While the log is open every change remembers what it replaced, so that rollBack() can put everything
  /// back as it was when the log opened (and close it); a change of many records that fails half-way then
  /// leaves no trace here either.
  void openRollbackLog() { rollbackLog_.emplace(); }
  void rollBack();
  void closeRollbackLog() { rollbackLog_.reset(); }

  Batch batch() const;
  /// The batch marked `upTo` (or a later one) is on disk: what it covered needs no writing any more.
  void written(std::uint64_t upTo);

private:
  struct SystemFieldsEntry {
    std::string recordType;
    /// Deleted when absent.
    std::optional<std::string> bytes;
    /// A deletion of whatever type the record was kept under.
    bool anyType = false;
    std::uint64_t sequence = 0;
  };
  struct BaseEntry {
    std::string bytes;
    std::uint64_t sequence = 0;
  };

  /// Logs how `entries` holds `recordName` now, for rollBack().
  template <class Entry>
  void remember(std::map<std::string, Entry, std::less<>> PendingServerCopies::*entries,
                std::string_view recordName);

  std::map<std::string, SystemFieldsEntry, std::less<>> systemFields_;
  std::map<std::string, BaseEntry, std::less<>> baseRecords_;
  std::optional<std::uint64_t> wipe_;
  std::uint64_t sequence_ = 0;
  std::optional<std::vector<std::function<void(PendingServerCopies&)>>> rollbackLog_;
};

} // namespace vantrel
