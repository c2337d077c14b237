#include "VantrelCore/Bridge/BridgeLayout.hpp"

#include "VantrelCore/Platform/AtomicFileWriter.hpp"

#include <vector>

namespace vantrel {
namespace {

std::string yamlFileName(std::string_view stem) {
  return std::string(stem) + std::string(BridgeLayout::yamlExtension);
}

std::filesystem::path areaFolderPath(const std::filesystem::path& root, std::string_view areaFolder,
                                     bool archived) {
  const auto base = archived ? root / BridgeLayout::archiveFolderName : root;
  return base / areaFolder;
}

bool isASCIILetterOrDigit(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9');
}

bool isASCIIDigit(char character) {
  return character >= '0' && character <= '9';
}

/// The path's text relative to `root` when it lies under it, else the path's own text.
std::string relativeText(const std::filesystem::path& path, const std::filesystem::path& root) {
  std::string text = path.generic_string();
  std::string prefix = root.generic_string();
  while (prefix.size() > 1 && prefix.ends_with('/')) {
    prefix.pop_back();
  }
  if (prefix.empty() || !text.starts_with(prefix)) {
    return text;
  }
  // The root must end at a folder boundary of the path, not in the middle of a name.
  if (text.size() > prefix.size() && !prefix.ends_with('/') && text[prefix.size()] != '/') {
    return text;
  }
  text.erase(0, prefix.size());
  if (text.starts_with('/')) {
    text.erase(0, 1);
  }
  return text;
}

std::vector<std::string_view> piecesOf(std::string_view text) {
  std::vector<std::string_view> pieces;
  while (!text.empty()) {
    const auto slash = text.find('/');
    const auto piece = text.substr(0, slash);
    if (!piece.empty()) {
      pieces.push_back(piece);
    }
    if (slash == std::string_view::npos) {
      break;
    }
    text.remove_prefix(slash + 1);
  }
  return pieces;
}

std::string_view withoutExtension(std::string_view fileName) {
  fileName.remove_suffix(BridgeLayout::yamlExtension.size());
  return fileName;
}

} // namespace

std::filesystem::path BridgeLayout::metadataDirectory(const std::filesystem::path& root) {
  return root / metadataFolderName;
}

std::filesystem::path BridgeLayout::areasYamlURL(const std::filesystem::path& root) {
  return root / areasFileName;
}

std::filesystem::path BridgeLayout::inboxYamlURL(const std::filesystem::path& root) {
  return root / inboxFileName;
}

std::filesystem::path BridgeLayout::dayYamlURL(const std::filesystem::path& root, const CalendarDate& date) {
  return root / daysFolderName / yamlFileName(date.description());
}

std::filesystem::path BridgeLayout::projectYamlURL(const std::filesystem::path& root,
                                                   std::string_view areaFolder, std::string_view stem,
                                                   bool archived) {
  return areaFolderPath(root, areaFolder, archived) / yamlFileName(stem);
}

std::filesystem::path BridgeLayout::areaTasksYamlURL(const std::filesystem::path& root,
                                                     std::string_view areaFolder, bool archived) {
  return areaFolderPath(root, areaFolder, archived) / yamlFileName(areaTasksStem);
}

std::string BridgeLayout::slugify(std::string_view name) {
  // Every byte of a multi-byte character is a separator, and a run of separators makes one "-", so
  // working on bytes gives the same slug as working on code points.
  std::string slug;
  for (const char character : name) {
    if (isASCIILetterOrDigit(character)) {
      slug += (character >= 'A' && character <= 'Z') ? char(character - 'A' + 'a') : character;
    } else if (!slug.empty() && !slug.ends_with('-')) {
      slug += '-';
    }
  }
  while (slug.ends_with('-')) {
    slug.pop_back();
  }
  return slug.empty() ? "area" : slug;
}

BridgeFileKind BridgeLayout::classify(const std::filesystem::path& path, const std::filesystem::path& root) {
  const std::string relative = relativeText(path, root);
  const std::string_view text = relative;
  if (AtomicFileWriter::isOurTempFile(relative)) {
    return BridgeFileKind::temp();
  }
  if (text == metadataFolderName || text.starts_with(std::string(metadataFolderName) + "/")) {
    return BridgeFileKind::bridgeMetadata();
  }
  if (text == scratchpadLegacyFileName) {
    return BridgeFileKind::scratchpadLegacy();
  }
  if (text == areasFileName) {
    return BridgeFileKind::areasYaml();
  }
  if (text == inboxFileName) {
    return BridgeFileKind::inboxYaml();
  }
  if (text.starts_with(std::string(daysFolderName) + "/") && text.ends_with(yamlExtension)) {
    return BridgeFileKind::dayYaml(std::string(withoutExtension(text.substr(text.rfind('/') + 1))));
  }
  auto pieces = piecesOf(text);
  const bool archived = !pieces.empty() && pieces.front() == archiveFolderName;
  if (archived) {
    pieces.erase(pieces.begin());
  }
  if (pieces.size() != 2 || !pieces[1].ends_with(yamlExtension)) {
    return BridgeFileKind::unrecognized();
  }
  const auto stem = withoutExtension(pieces[1]);
  if (stem == areaTasksStem) {
    return BridgeFileKind::areaTasksYaml(std::string(pieces[0]), archived);
  }
  return BridgeFileKind::projectYaml(std::string(pieces[0]), std::string(stem), archived);
}

bool BridgeLayout::isDayFileName(std::string_view name) {
  // Each "d" stands for an ASCII digit.
  static constexpr std::string_view pattern = "dddd-dd-dd.yaml";
  if (name.size() != pattern.size()) {
    return false;
  }
  for (std::size_t index = 0; index < pattern.size(); ++index) {
    if (pattern[index] == 'd' ? !isASCIIDigit(name[index]) : name[index] != pattern[index]) {
      return false;
    }
  }
  return true;
}

} // namespace vantrel
