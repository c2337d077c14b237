#include "VantrelCore/Sync/CloudRecordArchive.hpp"

#include "VantrelCore/Platform/UTF8.hpp"
#include "VantrelCore/Sync/CloudKitRecordError.hpp"

#include <bit>
#include <cstdint>
#include <cstring>

// The bytes: "VCR", a format version, 'S' (bookkeeping only) or 'W' (whole record), then the type, the ID
// and the bookkeeping; a whole record adds its parent and its values. Integers and doubles are
// little-endian, strings carry a 32-bit length. Nothing may follow the last value.
//
// Every record from the cloud is read here, so this is where text that is not UTF-8 is repaired with
// U+FFFD, whoever wrote it. The record's own ID is the exception: repaired, it would name another record,
// so bytes whose ID is not UTF-8 do not hold a record at all.

namespace vantrel {
namespace {

constexpr std::string_view magic = "VCR";
constexpr std::uint8_t formatVersion = 1;
constexpr char systemFieldsContent = 'S';
constexpr char wholeRecordContent = 'W';

static_assert(std::endian::native == std::endian::little, "the archive is written in little-endian order");

class Writer {
public:
  void byte(std::uint8_t value) { bytes_ += char(value); }
  void u32(std::uint32_t value) { raw(&value, sizeof value); }
  void i64(std::int64_t value) { raw(&value, sizeof value); }
  void f64(double value) { raw(&value, sizeof value); }
  void string(std::string_view value) {
    u32(std::uint32_t(value.size()));
    bytes_ += value;
  }
  void recordID(const CloudRecordID& id) {
    string(id.recordName);
    string(id.zoneID.zoneName);
    string(id.zoneID.ownerName);
  }
  void reference(const CloudReference& reference) {
    recordID(reference.recordID);
    byte(reference.action == CloudReference::Action::deleteSelf ? 1 : 0);
  }
  template <class T, class Write> void optional(const std::optional<T>& value, Write write) {
    byte(value ? 1 : 0);
    if (value) {
      write(*value);
    }
  }
  template <class T, class Write> void list(const std::vector<T>& values, Write write) {
    u32(std::uint32_t(values.size()));
    for (const auto& value : values) {
      write(value);
    }
  }
  std::string take() { return std::move(bytes_); }

private:
  void raw(const void* data, std::size_t size) { bytes_.append(static_cast<const char*>(data), size); }
  std::string bytes_;
};

class Reader {
public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  std::uint8_t byte() { return std::uint8_t(take(1)[0]); }
  std::uint32_t u32() { return rawValue<std::uint32_t>(); }
  std::int64_t i64() { return rawValue<std::int64_t>(); }
  double f64() { return rawValue<double>(); }
  std::string string() { return std::string(take(u32())); }
  std::string text() { return repairedUTF8(take(u32())); }
  /// A piece of the record's own ID.
  std::string name() {
    const auto bytes = take(u32());
    if (!isValidUTF8(bytes)) {
      fail();
    }
    return std::string(bytes);
  }
  bool flag() {
    const auto value = byte();
    if (value > 1) {
      fail();
    }
    return value == 1;
  }
  CloudRecordID ownRecordID() {
    CloudRecordID id;
    id.recordName = name();
    id.zoneID.zoneName = name();
    id.zoneID.ownerName = name();
    return id;
  }
  CloudReference reference() {
    // A target that is not UTF-8 names no record that can exist, repaired or not: it dangles either way.
    CloudRecordID id;
    id.recordName = text();
    id.zoneID.zoneName = text();
    id.zoneID.ownerName = text();
    return {std::move(id), flag() ? CloudReference::Action::deleteSelf : CloudReference::Action::none};
  }
  template <class Read> auto optional(Read read) -> std::optional<decltype(read())> {
    if (!flag()) {
      return std::nullopt;
    }
    return read();
  }
  template <class Read> auto list(Read read) -> std::vector<decltype(read())> {
    const auto count = u32();
    // Every element takes at least one byte, so a count beyond what is left is corrupt, not a huge list.
    if (count > bytes_.size()) {
      fail();
    }
    std::vector<decltype(read())> values;
    values.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
      values.push_back(read());
    }
    return values;
  }
  void expectEnd() const {
    if (!bytes_.empty()) {
      fail();
    }
  }
  [[noreturn]] static void fail() { throw CloudKitRecordError::malformedSystemFields(); }

private:
  std::string_view take(std::size_t size) {
    if (size > bytes_.size()) {
      fail();
    }
    const auto taken = bytes_.substr(0, size);
    bytes_.remove_prefix(size);
    return taken;
  }
  template <class T> T rawValue() {
    T value;
    std::memcpy(&value, take(sizeof value).data(), sizeof value);
    return value;
  }
  std::string_view bytes_;
};

void writeValue(Writer& out, const CloudValue& value) {
  out.byte(std::uint8_t(value.index()));
  std::visit(
      [&](const auto& held) {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::string>) {
          out.string(held);
        } else if constexpr (std::is_same_v<Held, std::int64_t>) {
          out.i64(held);
        } else if constexpr (std::is_same_v<Held, bool>) {
          out.byte(held ? 1 : 0);
        } else if constexpr (std::is_same_v<Held, Date>) {
          out.f64(held.secondsSinceReferenceDate);
        } else if constexpr (std::is_same_v<Held, CloudReference>) {
          out.reference(held);
        } else if constexpr (std::is_same_v<Held, std::vector<std::string>>) {
          out.list(held, [&](const std::string& item) { out.string(item); });
        } else if constexpr (std::is_same_v<Held, std::vector<std::int64_t>>) {
          out.list(held, [&](std::int64_t item) { out.i64(item); });
        } else if constexpr (std::is_same_v<Held, std::vector<Date>>) {
          out.list(held, [&](Date item) { out.f64(item.secondsSinceReferenceDate); });
        } else {
          static_assert(std::is_same_v<Held, std::vector<CloudReference>>);
          out.list(held, [&](const CloudReference& item) { out.reference(item); });
        }
      },
      value);
}

CloudValue readValue(Reader& in) {
  switch (in.byte()) {
  case 0:
    return in.text();
  case 1:
    return in.i64();
  case 2:
    return in.flag();
  case 3:
    return Date{in.f64()};
  case 4:
    return in.reference();
  case 5:
    return in.list([&] { return in.text(); });
  case 6:
    return in.list([&] { return in.i64(); });
  case 7:
    return in.list([&] { return Date{in.f64()}; });
  case 8:
    return in.list([&] { return in.reference(); });
  default:
    Reader::fail();
  }
}

std::string archive(const CloudRecord& record, char content) {
  Writer out;
  for (const char c : magic) {
    out.byte(std::uint8_t(c));
  }
  out.byte(formatVersion);
  out.byte(std::uint8_t(content));
  out.string(record.recordType());
  out.recordID(record.recordID());
  const auto& system = record.systemFields();
  const auto writeString = [&](const std::string& value) { out.string(value); };
  const auto writeDate = [&](Date value) { out.f64(value.secondsSinceReferenceDate); };
  out.optional(system.changeTag, writeString);
  out.optional(system.creationDate, writeDate);
  out.optional(system.modificationDate, writeDate);
  out.optional(system.creatorUserRecordName, writeString);
  out.optional(system.lastModifiedUserRecordName, writeString);
  if (content == wholeRecordContent) {
    out.optional(record.parent(), [&](const CloudReference& parent) { out.reference(parent); });
    const auto keys = record.allKeys();
    out.list(keys, [&](const std::string& key) {
      out.string(key);
      writeValue(out, *record.value(key));
    });
  }
  return out.take();
}

CloudRecord unarchive(std::string_view data, char content) {
  Reader in(data);
  for (const char c : magic) {
    if (in.byte() != std::uint8_t(c)) {
      Reader::fail();
    }
  }
  if (in.byte() != formatVersion || in.byte() != std::uint8_t(content)) {
    Reader::fail();
  }
  auto recordType = in.text();
  auto recordID = in.ownRecordID();
  CloudRecord record(std::move(recordType), std::move(recordID));
  CloudRecordSystemFields system;
  const auto readString = [&] { return in.text(); };
  const auto readDate = [&] { return Date{in.f64()}; };
  system.changeTag = in.optional(readString);
  system.creationDate = in.optional(readDate);
  system.modificationDate = in.optional(readDate);
  system.creatorUserRecordName = in.optional(readString);
  system.lastModifiedUserRecordName = in.optional(readString);
  record.setSystemFields(std::move(system));
  if (content == wholeRecordContent) {
    record.setParent(in.optional([&] { return in.reference(); }));
    const auto count = in.u32();
    for (std::uint32_t i = 0; i < count; ++i) {
      const auto key = in.string();
      // Checked here: a bad key in foreign bytes is corrupt input, not the program error setValue reports.
      if (!CloudRecord::isValidFieldKey(key) || record.value(key)) {
        Reader::fail();
      }
      record.setValue(key, readValue(in));
    }
    record.clearChangedKeys();
  }
  in.expectEnd();
  return record;
}

} // namespace

std::string CloudRecord::systemFieldsData() const {
  return archive(*this, systemFieldsContent);
}

std::string CloudRecord::wholeRecordData() const {
  return archive(*this, wholeRecordContent);
}

CloudRecord unarchiveCKRecord(std::string_view data) {
  return unarchive(data, systemFieldsContent);
}

CloudRecord unarchiveWholeCKRecord(std::string_view data) {
  return unarchive(data, wholeRecordContent);
}

} // namespace vantrel
