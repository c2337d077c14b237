#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace vantrel {

/// What a file in the bridge folder is, by where it lies (BridgeLayout::classify). Made by the factories
/// below, so a kind always carries the payload its case needs; switch on fileCase() and read the payload
/// of that case.
class BridgeFileKind {
public:
  /// In this order.
  enum class Case {
    dayYaml,
    projectYaml,
    areaTasksYaml,
    areasYaml,
    inboxYaml,
    bridgeMetadata,
    temp,
    scratchpadLegacy,
    unrecognized
  };

  struct Day {
    /// The file's name less ".yaml"; not checked to be a date.
    std::string dateText;
    friend bool operator==(const Day&, const Day&) = default;
  };
  struct Project {
    std::string areaFolder;
    std::string stem;
    bool archived = false;
    friend bool operator==(const Project&, const Project&) = default;
  };
  struct AreaTasks {
    std::string areaFolder;
    bool archived = false;
    friend bool operator==(const AreaTasks&, const AreaTasks&) = default;
  };

  static BridgeFileKind dayYaml(std::string dateText) { return BridgeFileKind(Day{std::move(dateText)}); }
  static BridgeFileKind projectYaml(std::string areaFolder, std::string stem, bool archived) {
    return BridgeFileKind(Project{std::move(areaFolder), std::move(stem), archived});
  }
  static BridgeFileKind areaTasksYaml(std::string areaFolder, bool archived) {
    return BridgeFileKind(AreaTasks{std::move(areaFolder), archived});
  }
  static BridgeFileKind areasYaml() { return BridgeFileKind(Case::areasYaml); }
  static BridgeFileKind inboxYaml() { return BridgeFileKind(Case::inboxYaml); }
  static BridgeFileKind bridgeMetadata() { return BridgeFileKind(Case::bridgeMetadata); }
  static BridgeFileKind temp() { return BridgeFileKind(Case::temp); }
  static BridgeFileKind scratchpadLegacy() { return BridgeFileKind(Case::scratchpadLegacy); }
  static BridgeFileKind unrecognized() { return BridgeFileKind(Case::unrecognized); }

  Case fileCase() const { return case_; }
  /// The payload of a dayYaml kind; null for the other cases.
  const Day* day() const { return std::get_if<Day>(&payload_); }
  /// The payload of a projectYaml kind; null for the other cases.
  const Project* project() const { return std::get_if<Project>(&payload_); }
  /// The payload of an areaTasksYaml kind; null for the other cases.
  const AreaTasks* areaTasks() const { return std::get_if<AreaTasks>(&payload_); }

  /// For logs: the case's name and its payload, "projectYaml(work, p-3f9a1c, archived)".
  std::string description() const;

  friend bool operator==(const BridgeFileKind&, const BridgeFileKind&) = default;

private:
  using Payload = std::variant<std::monostate, Day, Project, AreaTasks>;

  explicit BridgeFileKind(Case fileCase) : case_(fileCase) {}
  explicit BridgeFileKind(Day day) : case_(Case::dayYaml), payload_(std::move(day)) {}
  explicit BridgeFileKind(Project project) : case_(Case::projectYaml), payload_(std::move(project)) {}
  explicit BridgeFileKind(AreaTasks tasks) : case_(Case::areaTasksYaml), payload_(std::move(tasks)) {}

  Case case_;
  Payload payload_;
};

std::ostream& operator<<(std::ostream& stream, const BridgeFileKind& kind);

} // namespace vantrel
