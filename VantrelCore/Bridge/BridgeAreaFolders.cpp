#include "VantrelCore/Bridge/BridgeAreaFolders.hpp"

#include "VantrelCore/Bridge/BridgeLayout.hpp"

#include <set>

namespace vantrel {
namespace {

/// Whether files written in a folder of that name read back as files of an area in that folder, archived
/// or not: a name, not a path, and none of the layout's own folders.
bool canNameAreaFolder(std::string_view folder) {
  if (folder.empty() || folder == "." || folder == ".." ||
      folder.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos) {
    return false;
  }
  for (const bool archived : {false, true}) {
    const auto written = BridgeLayout::projectYamlURL({}, folder, "stem", archived);
    if (BridgeLayout::classify(written, {}) !=
        BridgeFileKind::projectYaml(std::string(folder), "stem", archived)) {
      return false;
    }
  }
  return true;
}

std::string whose(const AreaRecord& area) {
  return "area '" + area.name + "' (" + area.recordName + ")";
}

} // namespace

BridgeAreaFolders BridgeAreaFolders::assign(std::span<const AreaRecord* const> areasInListOrder) {
  std::set<std::string, std::less<>> recordNames;
  for (const AreaRecord* area : areasInListOrder) {
    recordNames.insert(area->recordName);
  }
  BridgeAreaFolders assigned;
  std::set<std::string, std::less<>> usedFolders;
  for (const AreaRecord* area : areasInListOrder) {
    auto slug = BridgeLayout::slugify(area->name);
    const bool reserved = !canNameAreaFolder(slug);
    const bool taken = usedFolders.contains(slug) || (slug != area->recordName && recordNames.contains(slug));
    if (!reserved && !taken) {
      usedFolders.insert(slug);
      assigned.folders_.emplace(area->recordName, std::move(slug));
      continue;
    }
    const std::string why = "Area folder slug '" + slug + "' " +
                            (reserved ? "is reserved by the bridge layout" : "already used") + "; " +
                            whose(*area);
    if (!canNameAreaFolder(area->recordName) || usedFolders.contains(area->recordName)) {
      assigned.warnings_.push_back(why + " is left out: its record name cannot name its folder either");
      continue;
    }
    assigned.warnings_.push_back(why + " falls back to record-name folder");
    usedFolders.insert(area->recordName);
    assigned.folders_.emplace(area->recordName, area->recordName);
  }
  return assigned;
}

std::optional<std::string> BridgeAreaFolders::folderOf(std::string_view areaRecordName) const {
  const auto found = folders_.find(areaRecordName);
  if (found == folders_.end()) {
    return std::nullopt;
  }
  return found->second;
}

std::optional<std::string>
BridgeAreaFolders::areaOfFolder(std::string_view folder,
                                std::span<const AreaRecord* const> areasInListOrder) {
  for (const AreaRecord* area : areasInListOrder) {
    if (area->recordName == folder) {
      return area->recordName;
    }
  }
  for (const AreaRecord* area : areasInListOrder) {
    if (BridgeLayout::slugify(area->name) == folder) {
      return area->recordName;
    }
  }
  return std::nullopt;
}

} // namespace vantrel
