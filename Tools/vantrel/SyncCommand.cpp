#include "Tools/vantrel/SyncCommand.hpp"

#include "Tools/vantrel/LocalFormat.hpp"
#include "Tools/vantrel/StoreSession.hpp"
#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"

#include <iomanip>

namespace vantrel::cli {

void runSyncCommand(const CommandEnvironment& environment) {
  auto& out = environment.output().text();
  StoreSession session(environment, false);
  if (const auto banner = session.finish()) {
    environment.output().warn(*banner);
  }
  CloudKitStore& store = session.store();
  const auto& cloudFile = environment.cloudDatabaseFile();

  const std::string account =
      store.isOffline() ? store.cache().currentUserRef() : store.container().fetchUserRecordID().recordName;
  const auto& lastFetch = store.lastFetch();
  if (environment.json()) {
    JSONWriter json;
    json.startObject();
    json.key("account");
    json.string(account);
    json.key("cloudDatabase");
    json.string(cloudFile.string());
    json.key("records");
    json.int64(std::int64_t(store.cache().recordCount()));
    json.key("pendingWrites");
    json.int64(store.pendingWriteCount());
    json.key("fetchError");
    if (lastFetch && lastFetch->errorDescription) {
      json.string(*lastFetch->errorDescription);
    } else {
      json.null();
    }
    json.endObject();
    environment.output().print(json);
    return;
  }
  const auto line = [&](const char* label, const std::string& value) {
    out << std::left << std::setw(16) << label << terminalText(value) << "\n";
  };
  line("account", account);
  line("cloud database", cloudFile.string());
  line("records", std::to_string(store.cache().recordCount()));
  line("waiting to send", std::to_string(store.pendingWriteCount()));
  if (lastFetch) {
    line("fetched",
         LocalFormat::instant(lastFetch->when) +
             (lastFetch->errorDescription ? " (failed: " + *lastFetch->errorDescription + ")" : ""));
  }
}

} // namespace vantrel::cli
