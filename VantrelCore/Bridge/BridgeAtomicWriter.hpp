#pragma once

#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"

#include <set>
#include <string>
#include <string_view>

namespace vantrel {

/// Writes the content of one edited bridge file into the store, through its write path, so that every
/// change is sent to the cloud and merges like any other. Each file changes exactly what differs between
/// the file and the data it was written from, as one atomic change: a file that fails changes nothing.
///
/// A field counts as edited when the file's value differs from what the store's own rendering of the file
/// reads back as, so that what the format cannot carry exactly (a line break in a title reads back as a
/// blank) is never written back unless the person edited it.
///
/// Tasks are known by their ids wherever they stand: a task whose id now stands in another file of the set
/// being applied is moved there, in whichever order the files are applied; one that stands in no file of
/// the set any more is deleted (undoably). A task item without an id, or with an id the store does not
/// know, is a new task. Subtasks and headers carry no ids: they are matched by title, then by place.
class BridgeAtomicWriter {
public:
  /// `taskIDsOfTheSet`: the ids of the tasks that every file being applied together lists. `clock` dates an
  /// inbox item the editor added without a "captured:" line.
  BridgeAtomicWriter(CloudKitStore& store, const Clock& clock,
                     std::set<std::string, std::less<>> taskIDsOfTheSet);

  /// The ids of the tasks a project file or an area tasks file lists; throws YAMLParseError.
  static std::set<std::string, std::less<>> taskIDsIn(std::string_view yaml, const std::string& fileLabel,
                                                      bool isProjectFile);

  /// The project's fields, the user's placement of it, its headers and its tasks as the file has them.
  /// Throws YAMLParseError, or BridgeApplyError for an unknown area folder or project.
  void replaceProject(std::string_view projectRef, std::string_view areaFolder, std::string_view yaml,
                      const std::string& fileLabel);
  /// The area's own tasks as the file has them.
  void replaceAreaTasks(std::string_view areaFolder, std::string_view yaml, const std::string& fileLabel);
  /// The day's gaps as the file has them, in its order. `dayName` is the file's name without ".yaml".
  void replaceDay(std::string_view dayName, std::string_view yaml, const std::string& fileLabel);
  /// The inbox items as the file has them, in its order.
  void replaceInbox(std::string_view yaml, const std::string& fileLabel);

private:
  CloudKitStore& store_;
  const Clock& clock_;
  std::set<std::string, std::less<>> taskIDsOfTheSet_;
};

} // namespace vantrel
