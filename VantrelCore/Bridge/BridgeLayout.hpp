#pragma once

#include "VantrelCore/Bridge/BridgeFileKind.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"

#include <filesystem>
#include <string>
#include <string_view>

namespace vantrel {

/// Where each file of the bridge folder lives, and what a file is by where it lies. Every path is built
/// from the bridge folder's root:
///
///     areas.yaml                          the areas
///     inbox.yaml                          the inbox
///     days/2026-03-07.yaml                one day
///     <area folder>/<project>.yaml        a project, its stem the project's record name
///     <area folder>/_tasks.yaml           an area's own tasks
///     archive/<area folder>/...           the same two for archived projects and their areas
///     .vantrel/                           the bridge's own metadata, not for editing
class BridgeLayout {
public:
  BridgeLayout() = delete;

  static constexpr std::string_view metadataFolderName = ".vantrel";
  static constexpr std::string_view daysFolderName = "days";
  static constexpr std::string_view archiveFolderName = "archive";
  static constexpr std::string_view areasFileName = "areas.yaml";
  static constexpr std::string_view inboxFileName = "inbox.yaml";
  /// The scratchpad earlier versions kept in the folder; recognised so it is not taken for an unknown file.
  static constexpr std::string_view scratchpadLegacyFileName = "scratchpad.md";
  /// The stem of an area's tasks file; never a project's.
  static constexpr std::string_view areaTasksStem = "_tasks";
  static constexpr std::string_view yamlExtension = ".yaml";

  static std::filesystem::path metadataDirectory(const std::filesystem::path& root);
  static std::filesystem::path areasYamlURL(const std::filesystem::path& root);
  static std::filesystem::path inboxYamlURL(const std::filesystem::path& root);
  static std::filesystem::path dayYamlURL(const std::filesystem::path& root, const CalendarDate& date);
  static std::filesystem::path projectYamlURL(const std::filesystem::path& root, std::string_view areaFolder,
                                              std::string_view stem, bool archived);
  static std::filesystem::path areaTasksYamlURL(const std::filesystem::path& root,
                                                std::string_view areaFolder, bool archived);

  /// An area's folder name from its display name: ASCII letters and digits lower-cased and kept, every run
  /// of anything else (blanks, punctuation, any non-ASCII character) one "-" between kept ones, "area"
  /// when nothing is kept. "Home & Garden" is home-garden, "Café" is caf.
  static std::string slugify(std::string_view name);

  /// What `path` is, by its place under `root`; a path outside `root` is classified on its own text, so a
  /// path relative to the root may be given as it is. Paths are compared as text: "/a/bc/x" does not lie
  /// in "/a/b". Nesting deeper than the layout's, or an "archive" folder without an area folder in it, is
  /// unrecognized; a name under days/ is not checked to be a date.
  static BridgeFileKind classify(const std::filesystem::path& path, const std::filesystem::path& root);

  /// Whether a file name is a day file's, exactly yyyy-MM-dd.yaml (digits not checked to form a date).
  static bool isDayFileName(std::string_view name);
};

} // namespace vantrel
