#include "VantrelCore/Platform/TZifFile.hpp"

#include <array>

namespace vantrel {
namespace {

struct Header {
  char version{};
  std::uint32_t utcIndicators{};
  std::uint32_t standardIndicators{};
  std::uint32_t leapSeconds{};
  std::uint32_t transitions{};
  std::uint32_t types{};
  std::uint32_t abbreviationBytes{};
};

/// Reads big-endian fields front to back and refuses to run past the end.
class ByteReader {
public:
  explicit ByteReader(std::string_view bytes) : bytes_(bytes) {}

  std::size_t remaining() const { return bytes_.size() - position_; }

  std::string_view take(std::size_t count) {
    if (count > remaining()) {
      throw TZifFile::FormatError("truncated");
    }
    const std::string_view result = bytes_.substr(position_, count);
    position_ += count;
    return result;
  }

  std::uint64_t unsignedNumber(std::size_t size) {
    std::uint64_t value = 0;
    for (const char byte : take(size)) {
      value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
  }

  std::int64_t signedNumber(std::size_t size) {
    const std::uint64_t value = unsignedNumber(size);
    const unsigned bits = unsigned(size * 8);
    if (bits < 64 && value >> (bits - 1) != 0) {
      return std::int64_t(value) - (std::int64_t(1) << bits);
    }
    return std::int64_t(value);
  }

  Header header() {
    if (take(4) != "TZif") {
      throw TZifFile::FormatError("not a TZif file");
    }
    Header header;
    header.version = take(1)[0];
    take(15);
    std::array<std::uint32_t, 6> counts{};
    for (auto& count : counts) {
      count = std::uint32_t(unsignedNumber(4));
    }
    header.utcIndicators = counts[0];
    header.standardIndicators = counts[1];
    header.leapSeconds = counts[2];
    header.transitions = counts[3];
    header.types = counts[4];
    header.abbreviationBytes = counts[5];
    return header;
  }

private:
  std::string_view bytes_;
  std::size_t position_{};
};

std::uint64_t blockSize(const Header& header, std::uint64_t timeSize) {
  return header.transitions * (timeSize + 1) + header.types * std::uint64_t(6) + header.abbreviationBytes +
         header.leapSeconds * (timeSize + 4) + header.standardIndicators + header.utcIndicators;
}

} // namespace

TZifFile TZifFile::parse(std::string_view bytes) {
  ByteReader reader(bytes);
  const Header first = reader.header();
  if (first.version == '\0') {
    throw FormatError("version 1 of the format, which has no rules past 2037");
  }
  if (first.version < '2' || first.version > '9') {
    throw FormatError("unknown format version");
  }
  const std::uint64_t firstSize = blockSize(first, 4);
  if (firstSize > reader.remaining()) {
    throw FormatError("truncated");
  }
  reader.take(std::size_t(firstSize));

  const Header header = reader.header();
  if (header.types == 0 || header.types > 256 || header.abbreviationBytes == 0 ||
      (header.standardIndicators != 0 && header.standardIndicators != header.types) ||
      (header.utcIndicators != 0 && header.utcIndicators != header.types)) {
    throw FormatError("impossible counts in the header");
  }
  if (blockSize(header, 8) > reader.remaining()) {
    throw FormatError("truncated");
  }

  TZifFile file;
  file.version = header.version - '0';
  file.transitions.resize(header.transitions);
  for (auto& transition : file.transitions) {
    transition.time = reader.signedNumber(8);
  }
  for (std::size_t index = 0; index < file.transitions.size(); ++index) {
    if (index > 0 && file.transitions[index].time <= file.transitions[index - 1].time) {
      throw FormatError("transition times out of order");
    }
    file.transitions[index].type = std::uint8_t(reader.unsignedNumber(1));
    if (file.transitions[index].type >= header.types) {
      throw FormatError("a transition to a local time type that does not exist");
    }
  }
  std::vector<std::uint8_t> abbreviationIndexes(header.types);
  file.types.resize(header.types);
  for (std::size_t index = 0; index < file.types.size(); ++index) {
    auto& type = file.types[index];
    const std::int64_t offset = reader.signedNumber(4);
    // -2^31 is excluded so that negating an offset cannot overflow; a day is the most any zone needs.
    if (offset <= -86400 || offset >= 86400) {
      throw FormatError("an offset from UTC of a day or more");
    }
    type.offset = std::int32_t(offset);
    const auto daylight = reader.unsignedNumber(1);
    if (daylight > 1) {
      throw FormatError("a daylight flag other than 0 or 1");
    }
    type.isDaylight = daylight == 1;
    abbreviationIndexes[index] = std::uint8_t(reader.unsignedNumber(1));
  }
  const std::string_view abbreviations = reader.take(header.abbreviationBytes);
  for (std::size_t index = 0; index < file.types.size(); ++index) {
    const std::size_t start = abbreviationIndexes[index];
    const std::size_t end = abbreviations.find('\0', start);
    if (start >= abbreviations.size() || end == std::string_view::npos) {
      throw FormatError("an abbreviation outside its table");
    }
    file.types[index].abbreviation = std::string(abbreviations.substr(start, end - start));
  }
  file.countsLeapSeconds = header.leapSeconds > 0;
  reader.take(std::size_t(header.leapSeconds) * 12 + header.standardIndicators + header.utcIndicators);

  if (reader.take(1) != "\n") {
    throw FormatError("no footer");
  }
  const std::string_view rest = reader.take(reader.remaining());
  const std::size_t end = rest.find('\n');
  if (end == std::string_view::npos) {
    throw FormatError("an unterminated footer");
  }
  file.footer = std::string(rest.substr(0, end));
  return file;
}

} // namespace vantrel
