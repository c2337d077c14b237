#include "Linux/SQLiteCloudStorage.hpp"

#include "VantrelCore/Sync/CloudError.hpp"
#include "VantrelCore/Sync/CloudKitRecordError.hpp"
#include "VantrelCore/Sync/CloudRecordArchive.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace vantrel {
namespace {

// Each script brings the schema from the version of its index to the next; the file's user_version counts
// the scripts that have run. A change of schema appends a script and never edits one that has shipped.
//
// Entries and versions hold record bytes, so they keep their rows in rowid tables, where large rows do not
// thin out the key tree; the small tables are clustered on their keys instead (WITHOUT ROWID). A record's
// current version lives in its entry only; `versions` holds the ones it replaced, numbered by `id` in the
// order they were kept, which is what pruning goes by. Writing each record once, and naming its zone by a
// number rather than by two strings, is what keeps a save close to a plain insert.
constexpr std::array<const char*, 1> migrations = {R"sql(
CREATE TABLE server_values(key TEXT PRIMARY KEY, value BLOB NOT NULL) WITHOUT ROWID;
CREATE TABLE databases(owner TEXT PRIMARY KEY, sequence INTEGER NOT NULL) WITHOUT ROWID;
CREATE TABLE zones(id INTEGER PRIMARY KEY, owner TEXT NOT NULL, zone TEXT NOT NULL,
                   generation INTEGER NOT NULL, sequence INTEGER NOT NULL, oldest_served INTEGER NOT NULL,
                   database_sequence INTEGER NOT NULL, UNIQUE(owner, zone));
CREATE TABLE zone_deletions(owner TEXT NOT NULL, zone TEXT NOT NULL, reason INTEGER NOT NULL,
                            database_sequence INTEGER NOT NULL);
CREATE INDEX zone_deletions_by_sequence ON zone_deletions(owner, database_sequence);
CREATE TABLE entries(zone_id INTEGER NOT NULL, name TEXT NOT NULL, type TEXT NOT NULL,
                     sequence INTEGER NOT NULL, tag TEXT, data BLOB, UNIQUE(zone_id, name));
CREATE INDEX entries_by_sequence ON entries(zone_id, sequence);
CREATE TABLE versions(id INTEGER PRIMARY KEY, zone_id INTEGER NOT NULL, name TEXT NOT NULL,
                      tag TEXT NOT NULL, data BLOB NOT NULL, UNIQUE(zone_id, name, tag));
CREATE TABLE refs(zone_id INTEGER NOT NULL, source TEXT NOT NULL, target TEXT NOT NULL,
                  PRIMARY KEY(zone_id, source, target)) WITHOUT ROWID;
CREATE INDEX refs_by_target ON refs(zone_id, target);
)sql"};

struct DatabaseCloser {
  // close_v2 waits for statements still prepared, so the order in which members are destroyed is free.
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
using DatabaseHandle = std::unique_ptr<sqlite3, DatabaseCloser>;

struct StatementFinalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

CloudError storageError(const std::filesystem::path& file, CloudErrorCode code, std::string_view problem) {
  return CloudError(code, "SQLite cloud database " + file.string() + ": " + std::string(problem));
}

/// A failed SQLite call. A lock that another writer kept past the busy timeout makes the zone busy, which
/// is worth retrying; anything else means the file cannot be relied on.
CloudError sqliteError(const std::filesystem::path& file, sqlite3* database, int result) {
  const int primary = result & 0xff;
  const auto code = primary == SQLITE_BUSY || primary == SQLITE_LOCKED ? CloudErrorCode::zoneBusy
                                                                       : CloudErrorCode::badDatabase;
  // The connection's message is more precise, but only when it is about this failure.
  const bool messageFits = database != nullptr && (sqlite3_errcode(database) & 0xff) == primary;
  return storageError(file, code, messageFits ? sqlite3_errmsg(database) : sqlite3_errstr(result));
}

/// Creates the file private (0600) when it is missing, whatever the umask, and makes a file of ours that an
/// older version left open to others private, with the -wal, -shm and -journal files beside it. SQLite
/// creates those with the database file's permissions, so they stay private from then on.
///
/// The file is made without being opened: closing a descriptor of a file would drop the locks that the
/// process's SQLite connections hold on it.
void makePrivate(const std::filesystem::path& file) {
  constexpr mode_t privateMode = S_IRUSR | S_IWUSR;
  if (::mknod(file.c_str(), S_IFREG | privateMode, 0) != 0 && errno != EEXIST) {
    throw storageError(file, CloudErrorCode::badDatabase,
                       "cannot create the file: " + std::string(std::strerror(errno)));
  }
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    const std::string path = file.string() + suffix;
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != ::geteuid() ||
        (status.st_mode & 0777) == privateMode) {
      continue;
    }
    if (::chmod(path.c_str(), privateMode) != 0) {
      throw storageError(file, CloudErrorCode::badDatabase,
                         "cannot make " + path + " private: " + std::strerror(errno));
    }
  }
}

/// The record the bytes hold, in `stored.record`, or why they hold none, in `stored.unreadable`.
template <class Stored> void readRecord(Stored& stored, std::string_view bytes) {
  try {
    stored.record = unarchiveWholeCKRecord(bytes);
  } catch (const CloudKitRecordError& error) {
    stored.unreadable = error.what();
  }
}

/// SQL text from a string literal, whose address names its prepared statement in a connection's cache.
struct SQL {
  // Implicit, so that call sites read as plain SQL; consteval, so that only a literal, which lives as long
  // as the program, can become a key.
  consteval SQL(const char* sqlText) : text(sqlText) {}
  const char* text;
};

/// Bytes bound as a blob rather than text.
struct Bytes {
  explicit Bytes(const std::string& value) : bytes(value) {}
  explicit Bytes(std::string&&) = delete;
  const std::string& bytes;
};

template <class Value>
constexpr bool outlivesTheUse =
    std::is_lvalue_reference_v<Value> || !std::is_same_v<std::remove_cvref_t<Value>, std::string>;

/// One use of a prepared statement. The use ends by resetting the statement and clearing its bindings, so
/// that the cached statement keeps neither a read of the file open nor a pointer to freed bytes.
class Query {
public:
  Query(sqlite3_stmt* statement, const std::filesystem::path& file) : statement_(statement), file_(file) {}
  ~Query() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
  }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  /// Binds `values` to ?1, ?2, ... in order. Strings are bound without a copy, so they must outlive the use.
  template <class... Values> Query& bind(Values&&... values) {
    static_assert((outlivesTheUse<Values> && ...),
                  "a temporary string would be gone before the statement runs");
    int index = 0;
    (bindAt(++index, values), ...);
    return *this;
  }
  /// Moves to the next row; false when there is none.
  bool step() {
    const int result = sqlite3_step(statement_);
    if (result == SQLITE_ROW) {
      return true;
    }
    if (result != SQLITE_DONE) {
      throw sqliteError(file_, sqlite3_db_handle(statement_), result);
    }
    return false;
  }
  /// Runs a statement that returns no rows.
  void run() {
    while (step()) {
    }
  }

  bool isNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
  std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
  std::string text(int column) const { return std::string(bytes(column)); }
  /// Valid until the next step or the end of the use.
  std::string_view bytes(int column) const {
    // The pointer first, then the size, as SQLite asks: reading the pointer may convert the value.
    const auto* data = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
    return data == nullptr ? std::string_view() : std::string_view(data, size);
  }

private:
  void bindAt(int index, std::int64_t value) { check(sqlite3_bind_int64(statement_, index, value)); }
  void bindAt(int index, const std::string& text) {
    check(sqlite3_bind_text64(statement_, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
  }
  void bindAt(int index, const std::optional<std::string>& text) {
    if (text) {
      bindAt(index, *text);
    } else {
      check(sqlite3_bind_null(statement_, index));
    }
  }
  void bindAt(int index, Bytes value) {
    check(sqlite3_bind_blob64(statement_, index, value.bytes.data(), value.bytes.size(), SQLITE_STATIC));
  }
  // It would bind a temporary string.
  void bindAt(int index, const char* text) = delete;

  void check(int result) const {
    if (result != SQLITE_OK) {
      throw sqliteError(file_, sqlite3_db_handle(statement_), result);
    }
  }

  sqlite3_stmt* statement_;
  const std::filesystem::path& file_;
};

// Stable numbers in the file, whatever order the enumeration is declared in.
std::int64_t reasonNumber(CloudZoneDeletionReason reason) {
  switch (reason) {
  case CloudZoneDeletionReason::deleted:
    return 0;
  case CloudZoneDeletionReason::purged:
    return 1;
  case CloudZoneDeletionReason::encryptedDataReset:
    return 2;
  }
  throw std::logic_error("unknown CloudZoneDeletionReason");
}

std::optional<CloudZoneDeletionReason> reasonForNumber(std::int64_t number) {
  switch (number) {
  case 0:
    return CloudZoneDeletionReason::deleted;
  case 1:
    return CloudZoneDeletionReason::purged;
  case 2:
    return CloudZoneDeletionReason::encryptedDataReset;
  default:
    return std::nullopt;
  }
}

} // namespace

class SQLiteCloudStorage::Connection final : public CloudStorageTransaction {
public:
  Connection(std::filesystem::path file, std::chrono::milliseconds busyTimeout);

  bool inTransaction() const { return inTransaction_; }
  /// Takes the write lock now rather than at the first write, so that what the transaction reads cannot
  /// change before it writes.
  void begin();
  void commit();
  /// Undoes the transaction unless SQLite already did (it does after some failures). Runs while another
  /// exception passes, which matters more than a failure here.
  void rollback() noexcept;

  std::optional<std::string> value(const std::string& key) override;
  void setValue(const std::string& key, const std::string& value) override;

  std::int64_t databaseSequence(const std::string& owner) override;
  void setDatabaseSequence(const std::string& owner, std::int64_t sequence) override;

  std::vector<std::string> zoneNames(const std::string& owner) override;
  std::optional<CloudStoredZone> zone(const std::string& owner, const std::string& zoneName) override;
  void putZone(const std::string& owner, const std::string& zoneName, const CloudStoredZone& zone) override;
  void deleteZone(const std::string& owner, const CloudStoredZoneDeletion& deletion) override;
  std::vector<CloudStoredZoneDeletion> zoneDeletions(const std::string& owner, std::int64_t since) override;

  std::optional<CloudStoredRecord> record(const std::string& owner, const std::string& zoneName,
                                          const std::string& recordName) override;
  void putRecord(const std::string& owner, const std::string& zoneName, const CloudRecord& record,
                 std::int64_t sequence, const std::vector<std::string>& deleteSelfTargets) override;
  std::optional<CloudRecord> recordVersion(const std::string& owner, const std::string& zoneName,
                                           const std::string& recordName,
                                           const std::string& changeTag) override;
  void removeRecord(const std::string& owner, const std::string& zoneName, const std::string& recordName,
                    const std::string& recordType, std::int64_t sequence) override;
  std::vector<std::string> deleteSelfReferrers(const std::string& owner, const std::string& zoneName,
                                               const std::string& target) override;
  std::vector<CloudStoredChange> changesSince(const std::string& owner, const std::string& zoneName,
                                              std::int64_t since, std::size_t limit) override;

private:
  StatementHandle prepare(const char* sql, unsigned flags) const;
  /// A statement of the transaction's, prepared on its first use and kept for the connection's life.
  Query query(SQL sql);
  void execute(sqlite3_stmt* statement) const;
  void migrate();
  /// The number that names the zone in the record tables; nothing when the zone does not exist.
  std::optional<std::int64_t> findZoneID(const std::string& owner, const std::string& zoneName);
  /// Like findZoneID, for the zones the caller has checked exist.
  std::int64_t zoneID(const std::string& owner, const std::string& zoneName);
  void dropDeleteSelfTargets(const std::string& owner, const std::string& zoneName,
                             const std::string& recordName);

  std::filesystem::path file_;
  DatabaseHandle database_;
  StatementHandle begin_;
  StatementHandle commit_;
  StatementHandle rollback_;
  std::unordered_map<const char*, StatementHandle> statements_;
  /// Zone numbers looked up in this transaction; another process may delete and make zones between
  /// transactions, so the list starts empty with each.
  std::map<std::pair<std::string, std::string>, std::int64_t> zoneIDs_;
  bool inTransaction_ = false;
};

SQLiteCloudStorage::Connection::Connection(std::filesystem::path file, std::chrono::milliseconds busyTimeout)
    : file_(std::move(file)) {
  makePrivate(file_);
  sqlite3* opened = nullptr;
  // No SQLite mutex: the storage's own mutex already keeps threads from using the connection at once.
  const int result = sqlite3_open_v2(
      file_.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  // A failed open still allocates a connection, which holds the message and must be closed.
  database_.reset(opened);
  if (result != SQLITE_OK) {
    throw sqliteError(file_, opened, result);
  }
  // SQLite falls back to reading only when it may not write (a read-only mount, a file of another user);
  // every transaction here takes the write lock, so such a file would fail later and less clearly.
  if (sqlite3_db_readonly(opened, "main") != 0) {
    throw storageError(file_, CloudErrorCode::badDatabase, "the file cannot be written");
  }
  sqlite3_busy_timeout(opened, static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(
                                   busyTimeout.count(), 0, std::numeric_limits<int>::max())));

  // The write-ahead log lets other processes read while one writes, and a commit appends to one file.
  const auto journal = prepare("PRAGMA journal_mode = WAL", 0);
  {
    Query mode(journal.get(), file_);
    const std::string journalMode = mode.step() ? mode.text(0) : std::string();
    if (journalMode != "wal") {
      throw storageError(file_, CloudErrorCode::badDatabase,
                         "cannot keep a write-ahead log here (journal mode '" + journalMode + "')");
    }
  }
  // FULL syncs the log at every commit. NORMAL would only sync at checkpoints, so a power cut could undo
  // commits the server already confirmed to a client, which would then never send those changes again.
  execute(prepare("PRAGMA synchronous = FULL", 0).get());

  begin_ = prepare("BEGIN IMMEDIATE", SQLITE_PREPARE_PERSISTENT);
  commit_ = prepare("COMMIT", SQLITE_PREPARE_PERSISTENT);
  rollback_ = prepare("ROLLBACK", SQLITE_PREPARE_PERSISTENT);
  migrate();
}

StatementHandle SQLiteCloudStorage::Connection::prepare(const char* sql, unsigned flags) const {
  sqlite3_stmt* prepared = nullptr;
  const int result = sqlite3_prepare_v3(database_.get(), sql, -1, flags, &prepared, nullptr);
  StatementHandle statement(prepared);
  if (result != SQLITE_OK) {
    throw sqliteError(file_, database_.get(), result);
  }
  return statement;
}

Query SQLiteCloudStorage::Connection::query(SQL sql) {
  // The transaction's reference is only good inside transact(): outside it every statement would commit
  // on its own.
  if (!inTransaction_) {
    throw std::logic_error("CloudStorageTransaction used after its transaction ended");
  }
  // SQLite ends the transaction itself after some failures (a full disk, an I/O error). Were `work` to
  // carry on past such a failure, each later statement would commit on its own.
  if (sqlite3_get_autocommit(database_.get()) != 0) {
    throw storageError(file_, CloudErrorCode::badDatabase,
                       "the transaction was undone by an earlier failure");
  }
  auto& statement = statements_[sql.text];
  if (!statement) {
    statement = prepare(sql.text, SQLITE_PREPARE_PERSISTENT);
  }
  return {statement.get(), file_};
}

void SQLiteCloudStorage::Connection::execute(sqlite3_stmt* statement) const {
  Query(statement, file_).run();
}

void SQLiteCloudStorage::Connection::begin() {
  zoneIDs_.clear();
  execute(begin_.get());
  inTransaction_ = true;
}

void SQLiteCloudStorage::Connection::commit() {
  execute(commit_.get());
  inTransaction_ = false;
}

void SQLiteCloudStorage::Connection::rollback() noexcept {
  inTransaction_ = false;
  if (sqlite3_get_autocommit(database_.get()) == 0) {
    sqlite3_step(rollback_.get());
    sqlite3_reset(rollback_.get());
  }
}

void SQLiteCloudStorage::Connection::migrate() {
  // Under the write lock, so that two processes creating the file at once do not both run a script.
  begin();
  try {
    const auto versionStatement = prepare("PRAGMA user_version", 0);
    std::int64_t version = 0;
    {
      Query read(versionStatement.get(), file_);
      if (read.step()) {
        version = read.integer(0);
      }
    }
    const auto latest = static_cast<std::int64_t>(migrations.size());
    if (version < 0 || version > latest) {
      throw storageError(file_, CloudErrorCode::badDatabase,
                         "schema version " + std::to_string(version) + " is not one this program knows");
    }
    if (version < latest) {
      for (auto index = static_cast<std::size_t>(version); index < migrations.size(); ++index) {
        const int result = sqlite3_exec(database_.get(), migrations.at(index), nullptr, nullptr, nullptr);
        if (result != SQLITE_OK) {
          throw sqliteError(file_, database_.get(), result);
        }
      }
      // A pragma takes no parameters, so the number is written into its text.
      const std::string setVersion = "PRAGMA user_version = " + std::to_string(latest);
      execute(prepare(setVersion.c_str(), 0).get());
    }
    commit();
  } catch (...) {
    rollback();
    throw;
  }
}

std::optional<std::int64_t> SQLiteCloudStorage::Connection::findZoneID(const std::string& owner,
                                                                       const std::string& zoneName) {
  const auto key = std::pair(owner, zoneName);
  if (const auto known = zoneIDs_.find(key); known != zoneIDs_.end()) {
    return known->second;
  }
  auto select = query("SELECT id FROM zones WHERE owner = ?1 AND zone = ?2");
  select.bind(owner, zoneName);
  if (!select.step()) {
    return std::nullopt;
  }
  return zoneIDs_.emplace(key, select.integer(0)).first->second;
}

std::int64_t SQLiteCloudStorage::Connection::zoneID(const std::string& owner, const std::string& zoneName) {
  if (const auto id = findZoneID(owner, zoneName)) {
    return *id;
  }
  throw std::logic_error("SQLiteCloudStorage: records of zone '" + zoneName + "' of " + owner +
                         ", which does not exist");
}

void SQLiteCloudStorage::Connection::dropDeleteSelfTargets(const std::string& owner,
                                                           const std::string& zoneName,
                                                           const std::string& recordName) {
  query("DELETE FROM refs WHERE zone_id = ?1 AND source = ?2")
      .bind(zoneID(owner, zoneName), recordName)
      .run();
}

std::optional<std::string> SQLiteCloudStorage::Connection::value(const std::string& key) {
  auto select = query("SELECT value FROM server_values WHERE key = ?1");
  select.bind(key);
  if (!select.step()) {
    return std::nullopt;
  }
  return std::string(select.bytes(0));
}

void SQLiteCloudStorage::Connection::setValue(const std::string& key, const std::string& value) {
  query("INSERT OR REPLACE INTO server_values(key, value) VALUES(?1, ?2)").bind(key, Bytes(value)).run();
}

std::int64_t SQLiteCloudStorage::Connection::databaseSequence(const std::string& owner) {
  auto select = query("SELECT sequence FROM databases WHERE owner = ?1");
  select.bind(owner);
  return select.step() ? select.integer(0) : 0;
}

void SQLiteCloudStorage::Connection::setDatabaseSequence(const std::string& owner, std::int64_t sequence) {
  query("INSERT OR REPLACE INTO databases(owner, sequence) VALUES(?1, ?2)").bind(owner, sequence).run();
}

std::vector<std::string> SQLiteCloudStorage::Connection::zoneNames(const std::string& owner) {
  auto select = query("SELECT zone FROM zones WHERE owner = ?1 ORDER BY zone");
  select.bind(owner);
  std::vector<std::string> names;
  while (select.step()) {
    names.push_back(select.text(0));
  }
  return names;
}

std::optional<CloudStoredZone> SQLiteCloudStorage::Connection::zone(const std::string& owner,
                                                                    const std::string& zoneName) {
  auto select = query("SELECT generation, sequence, oldest_served, database_sequence FROM zones "
                      "WHERE owner = ?1 AND zone = ?2");
  select.bind(owner, zoneName);
  if (!select.step()) {
    return std::nullopt;
  }
  return CloudStoredZone{select.integer(0), select.integer(1), select.integer(2), select.integer(3)};
}

void SQLiteCloudStorage::Connection::putZone(const std::string& owner, const std::string& zoneName,
                                             const CloudStoredZone& zone) {
  query("INSERT INTO zones(owner, zone, generation, sequence, oldest_served, database_sequence) "
        "VALUES(?1, ?2, ?3, ?4, ?5, ?6) ON CONFLICT(owner, zone) DO UPDATE SET generation = "
        "excluded.generation, "
        "sequence = excluded.sequence, oldest_served = excluded.oldest_served, "
        "database_sequence = excluded.database_sequence")
      .bind(owner, zoneName, zone.generation, zone.sequence, zone.oldestServedSequence, zone.databaseSequence)
      .run();
}

void SQLiteCloudStorage::Connection::deleteZone(const std::string& owner,
                                                const CloudStoredZoneDeletion& deletion) {
  const auto& zoneName = deletion.zoneName;
  if (const auto id = findZoneID(owner, zoneName)) {
    query("DELETE FROM entries WHERE zone_id = ?1").bind(*id).run();
    query("DELETE FROM versions WHERE zone_id = ?1").bind(*id).run();
    query("DELETE FROM refs WHERE zone_id = ?1").bind(*id).run();
    query("DELETE FROM zones WHERE id = ?1").bind(*id).run();
    zoneIDs_.erase(std::pair(owner, zoneName));
  }
  query("INSERT INTO zone_deletions(owner, zone, reason, database_sequence) VALUES(?1, ?2, ?3, ?4)")
      .bind(owner, zoneName, reasonNumber(deletion.reason), deletion.databaseSequence)
      .run();
}

std::vector<CloudStoredZoneDeletion> SQLiteCloudStorage::Connection::zoneDeletions(const std::string& owner,
                                                                                   std::int64_t since) {
  // The rowid breaks ties between deletions of one database sequence in the order they were kept.
  auto select = query("SELECT zone, reason, database_sequence FROM zone_deletions "
                      "WHERE owner = ?1 AND database_sequence > ?2 ORDER BY database_sequence, rowid");
  select.bind(owner, since);
  std::vector<CloudStoredZoneDeletion> deletions;
  while (select.step()) {
    const auto reason = reasonForNumber(select.integer(1));
    if (!reason) {
      throw storageError(file_, CloudErrorCode::badDatabase,
                         "unknown zone deletion reason " + std::to_string(select.integer(1)));
    }
    deletions.push_back({select.text(0), *reason, select.integer(2)});
  }
  return deletions;
}

std::optional<CloudStoredRecord> SQLiteCloudStorage::Connection::record(const std::string& owner,
                                                                        const std::string& zoneName,
                                                                        const std::string& recordName) {
  auto select = query("SELECT type, tag, data FROM entries WHERE zone_id = ?1 AND name = ?2");
  select.bind(zoneID(owner, zoneName), recordName);
  if (!select.step() || select.isNull(2)) {
    return std::nullopt;
  }
  CloudStoredRecord stored{.recordType = select.text(0)};
  if (!select.isNull(1)) {
    stored.changeTag = select.text(1);
  }
  readRecord(stored, select.bytes(2));
  return stored;
}

void SQLiteCloudStorage::Connection::putRecord(const std::string& owner, const std::string& zoneName,
                                               const CloudRecord& record, std::int64_t sequence,
                                               const std::vector<std::string>& deleteSelfTargets) {
  const auto& recordName = record.recordID().recordName;
  const std::string data = record.wholeRecordData();
  // The version being replaced joins the kept ones; a version without a change tag could never be asked
  // for by one. Replacing takes a new id, so a version kept again under its old tag counts as the newest.
  const std::int64_t zone = zoneID(owner, zoneName);
  auto kept = query("INSERT OR REPLACE INTO versions(zone_id, name, tag, data) "
                    "SELECT zone_id, name, tag, data FROM entries "
                    "WHERE zone_id = ?1 AND name = ?2 AND data IS NOT NULL AND tag IS NOT NULL");
  kept.bind(zone, recordName).run();
  if (sqlite3_changes(database_.get()) > 0) {
    query("DELETE FROM versions WHERE id IN (SELECT id FROM versions "
          "WHERE zone_id = ?1 AND name = ?2 ORDER BY id DESC LIMIT -1 OFFSET ?3)")
        .bind(zone, recordName, static_cast<std::int64_t>(keptVersionsPerRecord - 1))
        .run();
  }
  const auto& tag = record.systemFields().changeTag;
  query("INSERT INTO entries(zone_id, name, type, sequence, tag, data) VALUES(?1, ?2, ?3, ?4, ?5, ?6) "
        "ON CONFLICT(zone_id, name) DO UPDATE SET "
        "type = excluded.type, sequence = excluded.sequence, tag = excluded.tag, data = excluded.data")
      .bind(zone, recordName, record.recordType(), sequence, tag, Bytes(data))
      .run();

  dropDeleteSelfTargets(owner, zoneName, recordName);
  for (const auto& target : deleteSelfTargets) {
    // A record may point at one target from several fields; it refers to it once.
    query("INSERT OR IGNORE INTO refs(zone_id, source, target) VALUES(?1, ?2, ?3)")
        .bind(zone, recordName, target)
        .run();
  }
}

std::optional<CloudRecord> SQLiteCloudStorage::Connection::recordVersion(const std::string& owner,
                                                                         const std::string& zoneName,
                                                                         const std::string& recordName,
                                                                         const std::string& changeTag) {
  auto select = query("SELECT data FROM entries WHERE zone_id = ?1 AND name = ?2 AND tag = ?3 "
                      "AND data IS NOT NULL UNION ALL "
                      "SELECT data FROM versions WHERE zone_id = ?1 AND name = ?2 AND tag = ?3");
  select.bind(zoneID(owner, zoneName), recordName, changeTag);
  if (!select.step()) {
    return std::nullopt;
  }
  CloudStoredRecord version;
  readRecord(version, select.bytes(0));
  return std::move(version.record);
}

void SQLiteCloudStorage::Connection::removeRecord(const std::string& owner, const std::string& zoneName,
                                                  const std::string& recordName,
                                                  const std::string& recordType, std::int64_t sequence) {
  const std::int64_t zone = zoneID(owner, zoneName);
  query("INSERT INTO entries(zone_id, name, type, sequence, tag, data) VALUES(?1, ?2, ?3, ?4, NULL, NULL) "
        "ON CONFLICT(zone_id, name) DO UPDATE SET "
        "type = excluded.type, sequence = excluded.sequence, tag = NULL, data = NULL")
      .bind(zone, recordName, recordType, sequence)
      .run();
  query("DELETE FROM versions WHERE zone_id = ?1 AND name = ?2").bind(zone, recordName).run();
  dropDeleteSelfTargets(owner, zoneName, recordName);
}

std::vector<std::string> SQLiteCloudStorage::Connection::deleteSelfReferrers(const std::string& owner,
                                                                             const std::string& zoneName,
                                                                             const std::string& target) {
  auto select = query("SELECT source FROM refs WHERE zone_id = ?1 AND target = ?2 ORDER BY source");
  select.bind(zoneID(owner, zoneName), target);
  std::vector<std::string> referrers;
  while (select.step()) {
    referrers.push_back(select.text(0));
  }
  return referrers;
}

std::vector<CloudStoredChange> SQLiteCloudStorage::Connection::changesSince(const std::string& owner,
                                                                            const std::string& zoneName,
                                                                            std::int64_t since,
                                                                            std::size_t limit) {
  auto select = query("SELECT sequence, name, type, data FROM entries "
                      "WHERE zone_id = ?1 AND sequence > ?2 ORDER BY sequence LIMIT ?3");
  const auto rows = std::min<std::size_t>(limit, std::numeric_limits<std::int64_t>::max());
  select.bind(zoneID(owner, zoneName), since, static_cast<std::int64_t>(rows));
  std::vector<CloudStoredChange> changes;
  while (select.step()) {
    auto& change = changes.emplace_back();
    change.sequence = select.integer(0);
    change.recordName = select.text(1);
    change.recordType = select.text(2);
    if (!select.isNull(3)) {
      readRecord(change, select.bytes(3));
    }
  }
  return changes;
}

SQLiteCloudStorage::SQLiteCloudStorage(std::filesystem::path file, std::chrono::milliseconds busyTimeout)
    : connection_(std::make_unique<Connection>(std::move(file), busyTimeout)) {}

SQLiteCloudStorage::~SQLiteCloudStorage() = default;

void SQLiteCloudStorage::transact(const std::function<void(CloudStorageTransaction&)>& work) {
  const std::lock_guard lock(mutex_);
  if (connection_->inTransaction()) {
    throw std::logic_error("SQLiteCloudStorage::transact called inside a transaction of the same storage");
  }
  connection_->begin();
  try {
    work(*connection_);
    connection_->commit();
  } catch (...) {
    connection_->rollback();
    throw;
  }
}

} // namespace vantrel
