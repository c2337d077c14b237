#include "Tools/vantrel/StatusCommand.hpp"

#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/Model/LastEditedFormat.hpp"

#include <iomanip>

namespace vantrel::cli {
namespace {

template <class Record>
void optionalRecord(JSONWriter& json, const char* key, const std::optional<Record>& record) {
  json.key(key);
  if (record) {
    encodeRecord(json, *record);
  } else {
    json.null();
  }
}

void printJSON(const CloudKitStore& store) {
  JSONWriter json;
  json.startObject();
  json.key("syncHealth");
  json.string(syncHealthName(store.syncHealth()));
  json.key("pendingWrites");
  json.int64(store.pendingWriteCount());
  json.key("pendingSince");
  if (const auto& since = store.pendingSince()) {
    writeJSONValue(json, *since);
  } else {
    json.null();
  }
  optionalRecord(json, "lastFetch", store.lastFetch());
  json.key("consecutiveFetchFailures");
  json.int64(store.consecutiveFetchFailures());
  optionalRecord(json, "lastConflict", store.lastConflict());
  json.key("recentConflicts");
  json.startArray();
  for (const auto& conflict : store.recentConflicts()) {
    encodeRecord(json, conflict);
  }
  json.endArray();
  optionalRecord(json, "banner", store.lastUIError());
  json.key("recordFailures");
  json.startArray();
  for (const auto& [name, failure] : store.recordFailures()) {
    encodeRecord(json, failure);
  }
  json.endArray();
  json.endObject();
  std::cout << json.text() << "\n";
}

void printText(const CloudKitStore& store) {
  const auto line = [](const char* label, const std::string& value) {
    std::cout << std::left << std::setw(17) << label << terminalText(value) << "\n";
  };
  line("sync health", std::string(syncHealthName(store.syncHealth())));
  line("waiting to send",
       std::to_string(store.pendingWriteCount()) +
           (store.pendingSince() ? " since " + LastEditedFormat::string(*store.pendingSince()) : ""));
  if (const auto& fetch = store.lastFetch()) {
    line("last fetch", LastEditedFormat::string(fetch->when) +
                           (fetch->errorDescription ? " (failed: " + *fetch->errorDescription + ")" : ""));
  }
  line("failed fetches", std::to_string(store.consecutiveFetchFailures()));
  if (const auto& conflict = store.lastConflict()) {
    line("last conflict", conflict->recordType + " " + conflict->recordName + ": \"" +
                              conflict->localLabel.value_or("") + "\" gave way to \"" +
                              conflict->serverLabel.value_or("") + "\", " +
                              LastEditedFormat::string(conflict->date));
  }
  if (const auto& banner = store.lastUIError()) {
    line("banner", banner->summary);
  }
  for (const auto& [name, failure] : store.recordFailures()) {
    const std::string record = (failure.recordType.empty() ? "" : failure.recordType + " ") + name;
    line(failure.operation == "fetch" ? "unreadable" : "not sent",
         record + ": " + failure.errorDescription + ", " + LastEditedFormat::string(failure.date));
  }
}

} // namespace

void addStatusCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto dismiss = std::make_shared<bool>(false);
  auto* status =
      app.add_subcommand("status", "Show how syncing goes: health, waiting writes, the last conflict");
  status->add_flag("--dismiss", *dismiss, "Close the banner once it has been shown");
  status->callback([=] {
    context->run(
        [=](CloudKitStore& store, const CommandEnvironment&) {
          if (*dismiss) {
            store.clearUIError();
          }
        },
        [](CloudKitStore& store, const CommandEnvironment& environment) {
          environment.json() ? printJSON(store) : printText(store);
        });
  });
}

} // namespace vantrel::cli
