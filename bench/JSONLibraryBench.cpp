// Which JSON library for the whole code base: encode, raw parse, and parse into records of a
// snapshot-shaped file of 100k tasks, with nlohmann-json, RapidJSON and simdjson, each mapping the records
// through the same field lists. Peak memory is measured in a forked child per case.
#include "VantrelCore/JSON/RecordJSON.hpp"
#include "bench/Support/GeneratedDataSet.hpp"
#include "bench/Support/PeakMemory.hpp"

#include <benchmark/benchmark.h>
#include <charconv>
#include <map>
#include <nlohmann/json.hpp>
#include <simdjson.h>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace vantrel::bench {
namespace {

// ---- Encoding: the production record encoder, one writer per library.

template <class Writer> void encodeSnapshot(Writer& writer, const GeneratedDataSet& data) {
  writer.startObject();
  writer.key("snapshotVersion");
  writer.int64(data.snapshotVersion);
  writer.key("currentUserRef");
  writer.string(data.currentUserRef);
  std::apply(
      [&](const auto&... map) {
        ((
             writer.key(map.first), writer.startObject(),
             [&] {
               for (const auto& [name, record] : data.*map.second) {
                 writer.key(name);
                 encodeRecord(writer, record);
               }
             }(),
             writer.endObject()),
         ...);
      },
      GeneratedDataSet::maps());
  if (data.schemaVersion) {
    writer.key("schemaVersion");
    encodeRecord(writer, *data.schemaVersion);
  }
  writer.endObject();
}

/// Shortest text that reads back as the same double, never in exponent form.
std::string_view formatDouble(double value, char (&buffer)[64]) {
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed).ptr;
  return {buffer, std::size_t(end - buffer)};
}

/// What encoding with simdjson means: it has no writer, so the text is built by hand.
class HandWriter {
public:
  void startObject() {
    separate();
    text_ += '{';
    needsComma_ = false;
  }
  void endObject() {
    text_ += '}';
    needsComma_ = true;
  }
  void key(std::string_view key) {
    separate();
    quote(key);
    text_ += ':';
    afterKey_ = true;
  }
  void string(std::string_view value) {
    separate();
    quote(value);
    needsComma_ = true;
  }
  void int64(std::int64_t value) { scalar(std::to_string(value)); }
  void boolean(bool value) { scalar(value ? "true" : "false"); }
  void number(double value) {
    char buffer[64];
    scalar(formatDouble(value, buffer));
  }
  const std::string& text() const { return text_; }

private:
  void separate() {
    if (afterKey_) {
      afterKey_ = false;
    } else if (needsComma_) {
      text_ += ',';
    }
  }
  void scalar(std::string_view value) {
    separate();
    text_ += value;
    needsComma_ = true;
  }
  void quote(std::string_view value) {
    text_ += '"';
    for (const char c : value) {
      switch (c) {
      case '"':
        text_ += "\\\"";
        break;
      case '\\':
        text_ += "\\\\";
        break;
      case '\n':
        text_ += "\\n";
        break;
      case '\t':
        text_ += "\\t";
        break;
      case '\r':
        text_ += "\\r";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
          text_ += escaped;
        } else {
          text_ += c;
        }
      }
    }
    text_ += '"';
  }
  std::string text_;
  bool needsComma_ = false;
  bool afterKey_ = false;
};

/// nlohmann has no streaming writer: the document is built, then dumped.
class NlohmannWriter {
public:
  NlohmannWriter() { stack_.push_back(&root_); }
  void startObject() { place(nlohmann::json::object()); }
  void endObject() { stack_.pop_back(); }
  void key(std::string_view key) { key_ = key; }
  void string(std::string_view value) { place(std::string(value)); }
  void int64(std::int64_t value) { place(value); }
  void boolean(bool value) { place(value); }
  void number(double value) { place(value); }
  std::string text() const { return root_.dump(); }

private:
  void place(nlohmann::json value) {
    const bool isObject = value.is_object();
    nlohmann::json* slot = stack_.size() == 1 && root_.is_null() ? &root_ : &(*stack_.back())[key_];
    *slot = std::move(value);
    if (isObject) {
      stack_.push_back(slot);
    }
  }
  nlohmann::json root_;
  std::vector<nlohmann::json*> stack_;
  std::string key_;
};

// ---- Decoding: one generic walk, one small reader per library.

template <class Library, class Value> void readValue(Value&& value, std::string& target) {
  target = Library::string(value);
}
template <class Library, class Value> void readValue(Value&& value, std::int64_t& target) {
  target = Library::int64(value);
}
template <class Library, class Value> void readValue(Value&& value, bool& target) {
  target = Library::boolean(value);
}
template <class Library, class Value> void readValue(Value&& value, Date& target) {
  target = Date{Library::number(value)};
}

template <class Library, class Value, class Target>
void readValue(Value&& value, std::optional<Target>& target) {
  if (Library::isNull(value)) {
    target.reset();
  } else {
    Target inner{};
    readValue<Library>(value, inner);
    target = std::move(inner);
  }
}
template <class Library, class Record, class Value> Record decodeRecordGeneric(Value&& object) {
  Record record;
  std::uint32_t seen = 0;
  Library::members(object, [&](std::string_view key, auto&& value) {
    std::uint32_t bit = 1;
    forEachRecordField<Record>([&](const auto& field) {
      if (field.key == key) {
        readValue<Library>(value, record.*field.member);
        seen |= bit;
      }
      bit <<= 1;
    });
  });
  std::uint32_t bit = 1;
  forEachRecordField<Record>([&](const auto& field) {
    if (!isOptionalField<typename std::decay_t<decltype(field)>::ValueType> && !(seen & bit)) {
      throw std::runtime_error(std::string(Record::typeName) + " is missing '" + std::string(field.key) +
                               "'");
    }
    bit <<= 1;
  });
  return record;
}

template <class Library, class Value> GeneratedDataSet decodeSnapshot(Value&& root) {
  GeneratedDataSet data;
  Library::members(root, [&](std::string_view key, auto&& value) {
    if (key == "snapshotVersion") {
      data.snapshotVersion = Library::int64(value);
    } else if (key == "currentUserRef") {
      data.currentUserRef = Library::string(value);
    } else if (key == "schemaVersion") {
      data.schemaVersion = Library::template record<SchemaVersionRecord>(value);
    } else {
      std::apply(
          [&](const auto&... map) {
            (
                [&] {
                  if (key != map.first) {
                    return;
                  }
                  auto& target = data.*map.second;
                  using Record = typename std::decay_t<decltype(target)>::mapped_type;
                  Library::members(value, [&](std::string_view name, auto&& recordValue) {
                    std::string recordName(name);
                    target.insert_or_assign(std::move(recordName),
                                            Library::template record<Record>(recordValue));
                  });
                }(),
                ...);
          },
          GeneratedDataSet::maps());
    }
  });
  return data;
}

[[noreturn]] void wrongType(const char* expected) {
  throw std::runtime_error(std::string("expected ") + expected);
}

/// The production codec: the candidate that won is measured as it ships.
struct RapidJSONReader {
  using Value = rapidjson::Value;
  template <class Record> static Record record(const Value& value) { return decodeRecord<Record>(value); }
  template <class Visit> static void members(const Value& value, Visit&& visit) {
    if (!value.IsObject()) {
      wrongType("object");
    }
    for (const auto& member : value.GetObject()) {
      visit(std::string_view(member.name.GetString(), member.name.GetStringLength()), member.value);
    }
  }
  static bool isNull(const Value& value) { return value.IsNull(); }
  static std::string_view string(const Value& value) {
    return value.IsString() ? std::string_view(value.GetString(), value.GetStringLength())
                            : (wrongType("string"), "");
  }
  static std::int64_t int64(const Value& value) {
    return value.IsInt64() ? value.GetInt64() : (wrongType("int64"), 0);
  }
  static bool boolean(const Value& value) {
    return value.IsBool() ? value.GetBool() : (wrongType("bool"), false);
  }
  static double number(const Value& value) {
    return value.IsNumber() ? value.GetDouble() : (wrongType("number"), 0);
  }
};

struct NlohmannReader {
  using Value = nlohmann::json;
  template <class Record> static Record record(const Value& value) {
    return decodeRecordGeneric<NlohmannReader, Record>(value);
  }
  template <class Visit> static void members(const Value& value, Visit&& visit) {
    if (!value.is_object()) {
      wrongType("object");
    }
    for (auto it = value.begin(); it != value.end(); ++it) {
      visit(std::string_view(it.key()), it.value());
    }
  }
  static bool isNull(const Value& value) { return value.is_null(); }
  static std::string_view string(const Value& value) {
    return value.is_string() ? std::string_view(value.get_ref<const std::string&>())
                             : (wrongType("string"), "");
  }
  static std::int64_t int64(const Value& value) {
    return value.is_number_integer() ? value.get<std::int64_t>() : (wrongType("int64"), 0);
  }
  static bool boolean(const Value& value) {
    return value.is_boolean() ? value.get<bool>() : (wrongType("bool"), false);
  }
  static double number(const Value& value) {
    return value.is_number() ? value.get<double>() : (wrongType("number"), 0);
  }
};

struct SimdjsonDOMReader {
  using Value = simdjson::dom::element;
  template <class Record> static Record record(const Value& value) {
    return decodeRecordGeneric<SimdjsonDOMReader, Record>(value);
  }
  template <class Visit> static void members(const Value& value, Visit&& visit) {
    simdjson::dom::object object;
    if (value.get(object)) {
      wrongType("object");
    }
    for (const auto field : object) {
      visit(field.key, field.value);
    }
  }
  static bool isNull(const Value& value) { return value.is_null(); }
  static std::string_view string(const Value& value) {
    std::string_view text;
    return value.get(text) ? (wrongType("string"), "") : text;
  }
  static std::int64_t int64(const Value& value) {
    std::int64_t number = 0;
    return value.get(number) ? (wrongType("int64"), 0) : number;
  }
  static bool boolean(const Value& value) {
    bool flag = false;
    return value.get(flag) ? (wrongType("bool"), false) : flag;
  }
  static double number(const Value& value) {
    double number = 0;
    return value.get(number) ? (wrongType("number"), 0) : number;
  }
};

struct SimdjsonOnDemandReader {
  using Value = simdjson::ondemand::value;
  template <class Record> static Record record(Value& value) {
    return decodeRecordGeneric<SimdjsonOnDemandReader, Record>(value);
  }
  template <class Visit> static void members(Value& value, Visit&& visit) {
    simdjson::ondemand::object object;
    if (value.get_object().get(object)) {
      wrongType("object");
    }
    for (auto field : object) {
      std::string_view key;
      Value member;
      if (field.unescaped_key().get(key) || field.value().get(member)) {
        wrongType("member");
      }
      visit(key, member);
    }
  }
  template <class Visit> static void members(simdjson::ondemand::document& document, Visit&& visit) {
    Value root;
    if (document.get_value().get(root)) {
      wrongType("document");
    }
    members(root, visit);
  }
  static bool isNull(Value& value) {
    bool null = false;
    return !value.is_null().get(null) && null;
  }
  static std::string_view string(Value& value) {
    std::string_view text;
    return value.get_string().get(text) ? (wrongType("string"), "") : text;
  }
  static std::int64_t int64(Value& value) {
    std::int64_t number = 0;
    return value.get_int64().get(number) ? (wrongType("int64"), 0) : number;
  }
  static bool boolean(Value& value) {
    bool flag = false;
    return value.get_bool().get(flag) ? (wrongType("bool"), false) : flag;
  }
  static double number(Value& value) {
    double number = 0;
    return value.get_double().get(number) ? (wrongType("number"), 0) : number;
  }
};

// ---- The candidates, each as: encode, raw parse, parse into records.

/// The shipped snapshot codec.
struct RapidJSON {
  static std::string encode(const GeneratedDataSet& data) { return data.encodeJSON(); }
  static std::size_t parse(const std::string& text) {
    rapidjson::Document document;
    document.Parse<jsonParseFlags>(text.data(), text.size());
    if (document.HasParseError()) {
      throw std::runtime_error("RapidJSON parse failed");
    }
    return document.MemberCount();
  }
  static GeneratedDataSet decode(const std::string& text) { return GeneratedDataSet::decodeJSON(text); }
};

/// RapidJSON parsing in place: strings point into a private, writable copy of the text.
struct RapidJSONInSitu {
  static std::string encode(const GeneratedDataSet& data) { return data.encodeJSON(); }
  static std::size_t parse(const std::string& text) {
    std::string buffer = text;
    rapidjson::Document document;
    document.ParseInsitu<jsonParseFlags>(buffer.data());
    if (document.HasParseError()) {
      throw std::runtime_error("RapidJSON parse failed");
    }
    return document.MemberCount();
  }
  static GeneratedDataSet decode(const std::string& text) {
    std::string buffer = text;
    rapidjson::Document document;
    document.ParseInsitu<jsonParseFlags>(buffer.data());
    if (document.HasParseError()) {
      throw std::runtime_error("RapidJSON parse failed");
    }
    return decodeSnapshot<RapidJSONReader>(document);
  }
};

struct Nlohmann {
  static std::string encode(const GeneratedDataSet& data) {
    NlohmannWriter writer;
    encodeSnapshot(writer, data);
    return writer.text();
  }
  static std::size_t parse(const std::string& text) { return nlohmann::json::parse(text).size(); }
  static GeneratedDataSet decode(const std::string& text) {
    return decodeSnapshot<NlohmannReader>(nlohmann::json::parse(text));
  }
};

struct SimdjsonDOM {
  static std::string encode(const GeneratedDataSet& data) {
    HandWriter writer;
    encodeSnapshot(writer, data);
    return writer.text();
  }
  static std::size_t parse(const std::string& text) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(text).get(root)) {
      throw std::runtime_error("simdjson parse failed");
    }
    return root.get_object().size();
  }
  static GeneratedDataSet decode(const std::string& text) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(text).get(root)) {
      throw std::runtime_error("simdjson parse failed");
    }
    return decodeSnapshot<SimdjsonDOMReader>(root);
  }
};

/// On-Demand never builds a tree: it walks the text once, straight into the records.
struct SimdjsonOnDemand {
  static std::string encode(const GeneratedDataSet& data) { return SimdjsonDOM::encode(data); }
  static std::size_t parse(const std::string& text) { return decode(text).recordCount(); }
  static GeneratedDataSet decode(const std::string& text) {
    const simdjson::padded_string padded(text);
    simdjson::ondemand::parser parser;
    simdjson::ondemand::document document;
    if (parser.iterate(padded).get(document)) {
      throw std::runtime_error("simdjson parse failed");
    }
    return decodeSnapshot<SimdjsonOnDemandReader>(document);
  }
};

const GeneratedDataSet& dataSet() {
  static const GeneratedDataSet data = generateDataSet(100'000);
  return data;
}

const std::string& snapshotText() {
  static const std::string text = RapidJSON::encode(dataSet());
  return text;
}

template <class Candidate> std::string caseName(const char* operation) {
  return std::string(operation) + "/" + typeid(Candidate).name();
}

template <class Candidate> std::map<std::string, PeakMemoryCase> peakMemoryCases() {
  const auto loadData = [] { dataSet(); };
  const auto loadText = [] { snapshotText(); };
  return {{caseName<Candidate>("Encode"),
           {loadData, [] { benchmark::DoNotOptimize(Candidate::encode(dataSet())); }}},
          {caseName<Candidate>("Parse"),
           {loadText, [] { benchmark::DoNotOptimize(Candidate::parse(snapshotText())); }}},
          {caseName<Candidate>("Decode"),
           {loadText, [] { benchmark::DoNotOptimize(Candidate::decode(snapshotText())); }}}};
}

template <class Candidate> void BM_Encode(benchmark::State& state) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    const auto text = Candidate::encode(dataSet());
    bytes = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(std::int64_t(bytes) * state.iterations());
  state.counters["peak_MiB"] = peakResidentGrowthMiB(caseName<Candidate>("Encode"));
}

template <class Candidate> void BM_Parse(benchmark::State& state) {
  const auto& text = snapshotText();
  for (auto _ : state) {
    benchmark::DoNotOptimize(Candidate::parse(text));
  }
  state.SetBytesProcessed(std::int64_t(text.size()) * state.iterations());
  state.counters["peak_MiB"] = peakResidentGrowthMiB(caseName<Candidate>("Parse"));
}

template <class Candidate> void BM_Decode(benchmark::State& state) {
  const auto& text = snapshotText();
  if (Candidate::decode(text) != dataSet()) {
    state.SkipWithError("decoded records differ from the generated ones");
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(Candidate::decode(text).recordCount());
  }
  state.SetBytesProcessed(std::int64_t(text.size()) * state.iterations());
  state.counters["file_MiB"] = double(text.size()) / (1024.0 * 1024.0);
  state.counters["peak_MiB"] = peakResidentGrowthMiB(caseName<Candidate>("Decode"));
}

#define VANTREL_JSON_CANDIDATE(Candidate)                                                                    \
  BENCHMARK(BM_Encode<Candidate>)->Unit(benchmark::kMillisecond);                                            \
  BENCHMARK(BM_Parse<Candidate>)->Unit(benchmark::kMillisecond);                                             \
  BENCHMARK(BM_Decode<Candidate>)->Unit(benchmark::kMillisecond)

VANTREL_JSON_CANDIDATE(RapidJSON);
VANTREL_JSON_CANDIDATE(RapidJSONInSitu);
VANTREL_JSON_CANDIDATE(Nlohmann);
VANTREL_JSON_CANDIDATE(SimdjsonDOM);
VANTREL_JSON_CANDIDATE(SimdjsonOnDemand);

std::map<std::string, PeakMemoryCase> allPeakMemoryCases() {
  std::map<std::string, PeakMemoryCase> cases;
  for (auto&& more :
       {peakMemoryCases<RapidJSON>(), peakMemoryCases<RapidJSONInSitu>(), peakMemoryCases<Nlohmann>(),
        peakMemoryCases<SimdjsonDOM>(), peakMemoryCases<SimdjsonOnDemand>()}) {
    cases.insert(more.begin(), more.end());
  }
  return cases;
}

} // namespace
} // namespace vantrel::bench

int main(int argc, char** argv) {
  if (const auto code =
          vantrel::bench::runPeakMemoryCaseIfAsked(argc, argv, vantrel::bench::allPeakMemoryCases())) {
    return *code;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
