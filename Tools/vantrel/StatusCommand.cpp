#include "Tools/vantrel/StatusCommand.hpp"

#include "Tools/vantrel/LocalFormat.hpp"
#include "Tools/vantrel/RecordReport.hpp"

namespace vantrel::cli {
namespace {

void writeFetch(JSONWriter& json, const std::optional<WriteOutcome>& fetch) {
  if (!fetch) {
    return json.null();
  }
  json.startObject();
  json.key("when");
  RecordReport::instant(json, fetch->when);
  json.key("recordCount");
  json.int64(fetch->recordCount);
  json.key("error");
  RecordReport::text(json, fetch->errorDescription);
  json.endObject();
}

void writeConflict(JSONWriter& json, const SyncConflict& conflict) {
  json.startObject();
  json.key("recordType");
  json.string(conflict.recordType);
  json.key("recordName");
  json.string(conflict.recordName);
  json.key("localLabel");
  RecordReport::text(json, conflict.localLabel);
  json.key("serverLabel");
  RecordReport::text(json, conflict.serverLabel);
  json.key("date");
  RecordReport::instant(json, conflict.date);
  json.endObject();
}

void printJSON(Output& output, const CloudKitStore& store) {
  JSONWriter json;
  json.startObject();
  json.key("syncHealth");
  json.string(syncHealthName(store.syncHealth()));
  json.key("pendingWrites");
  json.int64(store.pendingWriteCount());
  json.key("pendingSince");
  RecordReport::instant(json, store.pendingSince());
  json.key("lastFetch");
  writeFetch(json, store.lastFetch());
  json.key("consecutiveFetchFailures");
  json.int64(store.consecutiveFetchFailures());
  json.key("lastConflict");
  store.lastConflict() ? writeConflict(json, *store.lastConflict()) : json.null();
  json.key("recentConflicts");
  json.startArray();
  for (const auto& conflict : store.recentConflicts()) {
    writeConflict(json, conflict);
  }
  json.endArray();
  json.key("banner");
  RecordReport::text(json, store.lastUIError() ? std::optional(store.lastUIError()->summary) : std::nullopt);
  json.key("recordFailures");
  json.startArray();
  for (const auto& [name, failure] : store.recordFailures()) {
    json.startObject();
    json.key("operation");
    json.string(failure.operation);
    json.key("recordType");
    json.string(failure.recordType);
    json.key("recordName");
    json.string(name);
    json.key("error");
    json.string(failure.errorDescription);
    json.key("date");
    RecordReport::instant(json, failure.date);
    json.endObject();
  }
  json.endArray();
  json.endObject();
  output.print(json);
}

void printText(Output& output, const CloudKitStore& store) {
  TextTable table;
  const auto line = [&](const char* label, const std::string& value) { table.row().cell(label).cell(value); };
  line("sync health", std::string(syncHealthName(store.syncHealth())));
  line("waiting to send",
       std::to_string(store.pendingWriteCount()) +
           (store.pendingSince() ? " since " + LocalFormat::instant(*store.pendingSince()) : ""));
  if (const auto& fetch = store.lastFetch()) {
    line("last fetch", LocalFormat::instant(fetch->when) +
                           (fetch->errorDescription ? " (failed: " + *fetch->errorDescription + ")" : ""));
  }
  line("failed fetches", std::to_string(store.consecutiveFetchFailures()));
  if (const auto& conflict = store.lastConflict()) {
    line("last conflict", conflict->recordType + " " + conflict->recordName + ": \"" +
                              conflict->localLabel.value_or("") + "\" gave way to \"" +
                              conflict->serverLabel.value_or("") + "\", " +
                              LocalFormat::instant(conflict->date));
  }
  if (const auto& banner = store.lastUIError()) {
    line("banner", banner->summary);
  }
  for (const auto& [name, failure] : store.recordFailures()) {
    const std::string record = (failure.recordType.empty() ? "" : failure.recordType + " ") + name;
    line(failure.operation == "fetch" ? "unreadable" : "not sent",
         record + ": " + failure.errorDescription + ", " + LocalFormat::instant(failure.date));
  }
  output.print(table);
}

} // namespace

void addStatusCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto dismiss = std::make_shared<bool>(false);
  auto* status =
      app.add_subcommand("status", "Show how syncing goes: health, waiting writes, the last conflict");
  status->add_flag("--dismiss", *dismiss, "Close the banner once it has been shown");
  status->callback([=] {
    context->run(
        [=](PlannerRun& run) {
          if (*dismiss) {
            run.store.clearUIError();
          }
        },
        [](PlannerRun& run) {
          run.output.json() ? printJSON(run.output, run.store) : printText(run.output, run.store);
        });
  });
}

} // namespace vantrel::cli
