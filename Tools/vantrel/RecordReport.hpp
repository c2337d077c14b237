#pragma once

#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"

#include <optional>
#include <string>

namespace vantrel::cli {

/// The records as scripts read them with --json (documented in docs/json.md): names of the records they
/// refer to beside their record names, instants in ISO 8601 with the device zone's offset, days as
/// YYYY-MM-DD, absent values as null.
class RecordReport {
public:
  explicit RecordReport(const CloudKitCache& cache) : cache_(cache) {}

  void area(JSONWriter& json, const AreaRecord& area) const;
  void project(JSONWriter& json, const ProjectRecord& project) const;
  void projectHeader(JSONWriter& json, const ProjectSectionRecord& header) const;
  void areaHeader(JSONWriter& json, const AreaSectionRecord& header) const;
  void task(JSONWriter& json, const TaskRecord& task) const;
  void gap(JSONWriter& json, const GapRecord& gap) const;
  void inboxItem(JSONWriter& json, const InboxItemRecord& item) const;

  /// The area a project is placed in by the current user, if any.
  std::optional<std::string> areaOfProject(const std::string& project) const;
  /// What a task's home is called: the project's or the area's name.
  std::string homeName(const TaskRecord& task) const;

  static void instant(JSONWriter& json, const std::optional<Date>& instant);
  /// The keys every task report starts with, inside an object the caller opened: "recordName", "title",
  /// "done", "due".
  static void taskKeys(JSONWriter& json, const TaskRecord& task);
  static void text(JSONWriter& json, const std::optional<std::string>& text);

private:
  void reference(JSONWriter& json, const char* key, const std::optional<std::string>& recordName,
                 const std::string& name) const;

  const CloudKitCache& cache_;
};

} // namespace vantrel::cli
