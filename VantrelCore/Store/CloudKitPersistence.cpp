#include "VantrelCore/Store/CloudKitPersistence.hpp"

#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/SHA256.hpp"

namespace vantrel {
namespace {

constexpr std::string_view fileExtension = ".bin";
constexpr std::string_view typeSeparator = "__";
// Leaves room for the type, the separator, the extension and the atomic writer's temp suffix within the
// 255 bytes a file name may have.
constexpr std::size_t maximumComponentBytes = 120;

bool isKeptAsIs(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
}

} // namespace

CloudKitPersistence::Location CloudKitPersistence::Location::directory(const std::filesystem::path& folder) {
  return {folder / "CloudKit", folder / "Shared"};
}

CloudKitPersistence::Location CloudKitPersistence::Location::applicationSupport(const VantrelPaths& paths) {
  return {paths.applicationSupportDirectory / "Vantrel" / "CloudKit", paths.sharedDirectory()};
}

CloudKitPersistence::CloudKitPersistence(Location location, FileSystem& fileSystem)
    : location_(std::move(location)), fileSystem_(fileSystem) {
  for (const auto& folder :
       {rootDirectory(), sharedDirectory(), systemFieldsDirectory(), baseRecordsDirectory()}) {
    fileSystem_.createDirectories(folder);
  }
}

std::string CloudKitPersistence::fileNameComponent(std::string_view text) {
  static constexpr char hex[] = "0123456789ABCDEF";
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (isKeptAsIs(byte)) {
      escaped += c;
    } else {
      escaped += '%';
      escaped += hex[byte >> 4];
      escaped += hex[byte & 0x0F];
    }
  }
  // "~" is itself escaped in every other name, so a hashed name never equals an escaped one.
  return escaped.size() <= maximumComponentBytes ? escaped : "~" + SHA256::hexDigest(text);
}

std::optional<std::string> CloudKitPersistence::readSystemFields(std::string_view recordType,
                                                                 std::string_view recordName) const {
  return read(systemFieldsFile(recordType, recordName));
}

void CloudKitPersistence::writeSystemFields(std::string_view data, std::string_view recordType,
                                            std::string_view recordName) const {
  write(data, systemFieldsFile(recordType, recordName));
}

void CloudKitPersistence::deleteSystemFields(std::string_view recordType, std::string_view recordName) const {
  remove(systemFieldsFile(recordType, recordName));
}

void CloudKitPersistence::deleteSystemFieldsByName(std::string_view recordName) const {
  const auto suffix = std::string(typeSeparator) + fileNameComponent(recordName) + std::string(fileExtension);
  for (const auto& entry : std::filesystem::directory_iterator(systemFieldsDirectory())) {
    const auto name = entry.path().filename().string();
    // The type part holds no "__" (an "_" is escaped), so the first "__" is the separator.
    const auto separator = name.find(typeSeparator);
    if (separator != std::string::npos && name.compare(separator, std::string::npos, suffix) == 0) {
      fileSystem_.removeFile(entry.path());
    }
  }
}

void CloudKitPersistence::wipeAllSystemFields() const {
  for (const auto& entry : std::filesystem::directory_iterator(systemFieldsDirectory())) {
    fileSystem_.removeFile(entry.path());
  }
}

bool CloudKitPersistence::hasBaseRecord(std::string_view recordName) const {
  return fileSystem_.exists(baseRecordFile(recordName));
}

std::optional<std::string> CloudKitPersistence::readBaseRecord(std::string_view recordName) const {
  return read(baseRecordFile(recordName));
}

void CloudKitPersistence::writeBaseRecord(std::string_view data, std::string_view recordName) const {
  write(data, baseRecordFile(recordName));
}

void CloudKitPersistence::deleteBaseRecord(std::string_view recordName) const {
  remove(baseRecordFile(recordName));
}

std::optional<std::string> CloudKitPersistence::read(const std::filesystem::path& file) const {
  return fileSystem_.readFile(file);
}

void CloudKitPersistence::writeServerCopies(std::span<const ServerCopy> copies) const {
  std::vector<AtomicFileWriter::File> files;
  files.reserve(copies.size() * 2);
  for (const auto& copy : copies) {
    if (copy.systemFields) {
      files.push_back({systemFieldsFile(copy.recordType, copy.recordName), *copy.systemFields});
    }
    if (copy.baseRecord) {
      files.push_back({baseRecordFile(copy.recordName), *copy.baseRecord});
    }
  }
  if (!files.empty()) {
    AtomicFileWriter(fileSystem_).writeFiles(files);
  }
}

void CloudKitPersistence::setAside(const std::filesystem::path& file, const Logger& logger) const {
  std::filesystem::path aside = file;
  aside += ".damaged";
  try {
    fileSystem_.rename(file, aside);
    fileSystem_.syncDirectory(aside.parent_path());
  } catch (const std::exception& error) {
    logger.error("Could not set the damaged file aside: %@", error.what());
  }
}

void CloudKitPersistence::write(std::string_view data, const std::filesystem::path& file) const {
  AtomicFileWriter(fileSystem_).writeData(data, file);
}

void CloudKitPersistence::remove(const std::filesystem::path& file) const {
  fileSystem_.removeFile(file);
}

std::filesystem::path CloudKitPersistence::systemFieldsFile(std::string_view recordType,
                                                            std::string_view recordName) const {
  return systemFieldsDirectory() / (fileNameComponent(recordType) + std::string(typeSeparator) +
                                    fileNameComponent(recordName) + std::string(fileExtension));
}

std::filesystem::path CloudKitPersistence::baseRecordFile(std::string_view recordName) const {
  return baseRecordsDirectory() / (fileNameComponent(recordName) + std::string(fileExtension));
}

} // namespace vantrel
