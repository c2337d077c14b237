#pragma once

#include "Tools/vantrel/CommandEnvironment.hpp"
#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/JSON/RecordJSON.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace vantrel::cli {

/// What the planner commands share: the global options, `--offline`, and the program's command tree.
struct PlannerContext {
  using Step = std::function<void(CloudKitStore&, const CommandEnvironment&)>;

  const GlobalOptions& options;
  const CLI::App& app;
  bool offline = false;

  /// Runs `change` on a started store, then sends and saves, then runs `report` (which sees what the
  /// send and fetch brought). A refusal of the store or the cloud becomes the banner's message, thrown
  /// as the command's error; a banner raised by the send or fetch is printed to standard error.
  void run(const Step& change, const Step& report = {}) const;
  /// The command being run, as typed: "task add".
  std::string commandName() const;
};

/// A day argument, YYYY-MM-DD; throws std::invalid_argument with the user's text.
CalendarDate parseDay(const std::string& text);
/// A day argument, or "none".
std::optional<CalendarDate> parseDayOrNone(const std::string& text);
/// A due date: "none", a day (its noon in the device zone), or an instant.
std::optional<Date> parseDue(const std::string& text);

/// Prints a new record's name, or with --json the name and the record.
template <class Record>
void printAdded(const CommandEnvironment& environment, const RecordMap<Record>& records,
                const std::string& name) {
  if (!environment.json()) {
    std::cout << terminalText(name) << "\n";
    return;
  }
  JSONWriter json;
  json.startObject();
  json.key("recordName");
  json.string(name);
  json.key("record");
  encodeRecord(json, records.at(name));
  json.endObject();
  std::cout << json.text() << "\n";
}

/// The records in their list order: by sort index, then name.
template <class Record> std::vector<const Record*> sorted(const RecordMap<Record>& records) {
  std::vector<const Record*> list;
  for (const auto& [name, record] : records) {
    list.push_back(&record);
  }
  std::ranges::sort(list, [](const Record* left, const Record* right) {
    return std::tie(left->sortIndex, left->recordName) < std::tie(right->sortIndex, right->recordName);
  });
  return list;
}

} // namespace vantrel::cli
