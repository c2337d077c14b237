// Sending and fetching 10k records through the sync engine and the SQLite cloud database, beside a plain
// SQLite insert of the same record bytes in the same 400-row transactions. The ratio is what the cloud's
// rules (change tags, versions, change feed, deleteSelf links) and the engine's bookkeeping cost on top
// of storing the bytes.
#include "Linux/SQLiteCloudDatabase.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Sync/CloudKitDomainRecord.hpp"
#include "VantrelCore/Sync/SyncEngine.hpp"
#include "bench/Support/GeneratedDataSet.hpp"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sqlite3.h>
#include <stdexcept>

namespace vantrel::bench {
namespace {

const CloudRecordZoneID zone{"VantrelZone"};

std::vector<CloudRecord> taskRecords(std::size_t count) {
  static std::map<std::size_t, std::vector<CloudRecord>> cache;
  auto& records = cache[count];
  if (records.empty()) {
    for (const auto& [name, task] : generateDataSet(count).tasks) {
      records.push_back(makeCloudRecord(task, zone));
    }
  }
  return records;
}

class BenchFolder {
public:
  BenchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vantrel-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("mkdtemp failed");
    }
    path_ = pattern;
  }
  ~BenchFolder() { std::filesystem::remove_all(path_); }
  BenchFolder(const BenchFolder&) = delete;
  BenchFolder& operator=(const BenchFolder&) = delete;
  std::filesystem::path file() const { return path_ / "cloud.sqlite"; }

private:
  std::filesystem::path path_;
};

/// Keeps records by name, sends what is pending and takes in what is fetched.
class BenchDelegate : public SyncEngineDelegate {
public:
  void handleEvent(const SyncEngineEvent& event, SyncEngine&) override {
    if (const auto* fetched = std::get_if<FetchedRecordZoneChangesEvent>(&event)) {
      for (const auto& record : fetched->modifications) {
        records.insert_or_assign(record.recordID().recordName, record);
      }
    }
  }
  std::optional<RecordZoneChangeBatch> nextRecordZoneChangeBatch(const SendChangesContext&,
                                                                 SyncEngine& engine) override {
    return RecordZoneChangeBatch::make(engine.state().pendingRecordZoneChanges(),
                                       [&](const CloudRecordID& recordID) -> std::optional<CloudRecord> {
                                         const auto found = records.find(recordID.recordName);
                                         return found == records.end() ? std::nullopt
                                                                       : std::optional(found->second);
                                       });
  }
  std::map<std::string, CloudRecord> records;
};

void send(SQLiteCloudDatabase& database, const std::vector<CloudRecord>& records) {
  auto delegate = std::make_shared<BenchDelegate>();
  std::vector<PendingRecordZoneChange> changes;
  for (const auto& record : records) {
    delegate->records.insert_or_assign(record.recordID().recordName, record);
    changes.push_back(PendingRecordZoneChange::save(record.recordID()));
  }
  SyncEngine engine({.database = database, .delegate = delegate});
  engine.add(std::span<const PendingRecordZoneChange>(changes));
  engine.sendChanges();
  if (!engine.state().pendingRecordZoneChanges().empty()) {
    throw std::runtime_error("the send left changes pending");
  }
}

void BM_SendThroughSQLite(benchmark::State& state) {
  const auto records = taskRecords(std::size_t(state.range(0)));
  FixedClock clock;
  // Each run starts from an empty file; making and removing it is not timed.
  std::unique_ptr<SQLiteCloudDatabase> database;
  std::unique_ptr<BenchFolder> folder;
  for (auto _ : state) {
    state.PauseTiming();
    database.reset();
    folder = std::make_unique<BenchFolder>();
    database = std::make_unique<SQLiteCloudDatabase>(folder->file(), clock);
    database->saveRecordZone(CloudDatabaseScope::privateDatabase, zone);
    state.ResumeTiming();
    send(*database, records);
  }
  state.counters["records"] = double(records.size());
}

void BM_FetchThroughSQLite(benchmark::State& state) {
  const auto records = taskRecords(std::size_t(state.range(0)));
  FixedClock clock;
  BenchFolder folder;
  SQLiteCloudDatabase database(folder.file(), clock);
  database.saveRecordZone(CloudDatabaseScope::privateDatabase, zone);
  send(database, records);
  for (auto _ : state) {
    auto delegate = std::make_shared<BenchDelegate>();
    SyncEngine engine({.database = database, .delegate = delegate});
    engine.fetchChanges();
    if (delegate->records.size() != records.size()) {
      state.SkipWithError("the fetch missed records");
      return;
    }
  }
}

void check(int result, sqlite3* database) {
  if (result != SQLITE_OK && result != SQLITE_DONE) {
    throw std::runtime_error(sqlite3_errmsg(database));
  }
}

/// The floor: the same bytes into one indexed table, with the same journal, sync and batches.
void BM_PlainSQLiteInsert(benchmark::State& state) {
  const auto records = taskRecords(std::size_t(state.range(0)));
  std::vector<std::string> bytes;
  for (const auto& record : records) {
    bytes.push_back(record.wholeRecordData());
  }
  std::unique_ptr<BenchFolder> folder;
  sqlite3* database = nullptr;
  sqlite3_stmt* insert = nullptr;
  const auto close = [&] {
    sqlite3_finalize(insert);
    sqlite3_close(database);
  };
  for (auto _ : state) {
    state.PauseTiming();
    close();
    folder = std::make_unique<BenchFolder>();
    check(sqlite3_open(folder->file().c_str(), &database), database);
    check(sqlite3_exec(database,
                       "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;"
                       "CREATE TABLE entries(name TEXT PRIMARY KEY, sequence INTEGER, data BLOB);"
                       "CREATE INDEX entries_by_sequence ON entries(sequence);",
                       nullptr, nullptr, nullptr),
          database);
    check(sqlite3_prepare_v2(database, "INSERT INTO entries VALUES(?1, ?2, ?3)", -1, &insert, nullptr),
          database);
    state.ResumeTiming();
    for (std::size_t index = 0; index < records.size(); ++index) {
      if (index % RecordZoneChangeBatch::maximumItems == 0) {
        check(sqlite3_exec(database, index == 0 ? "BEGIN" : "COMMIT; BEGIN", nullptr, nullptr, nullptr),
              database);
      }
      const auto& name = records[index].recordID().recordName;
      sqlite3_bind_text(insert, 1, name.data(), int(name.size()), SQLITE_STATIC);
      sqlite3_bind_int64(insert, 2, std::int64_t(index));
      sqlite3_bind_blob(insert, 3, bytes[index].data(), int(bytes[index].size()), SQLITE_STATIC);
      check(sqlite3_step(insert), database);
      sqlite3_reset(insert);
    }
    check(sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr), database);
  }
  close();
}

BENCHMARK(BM_SendThroughSQLite)->Arg(10'000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FetchThroughSQLite)->Arg(10'000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainSQLiteInsert)->Arg(10'000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vantrel::bench

BENCHMARK_MAIN();
