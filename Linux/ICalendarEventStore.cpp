#include "Linux/ICalendarEventStore.hpp"

#include "Linux/ICalendarClock.hpp"
#include "Linux/ICalendarRecurrence.hpp"
#include "Linux/InotifyWatcher.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/TimeZoneError.hpp"
#include "VantrelCore/Platform/UTF8.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <libical/ical.h>
#include <map>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace vantrel {
namespace {

namespace fs = std::filesystem;
using Limits = ICalendarEventStore::Limits;

/// `displayname` and `color` hold a line each; more is not read.
constexpr std::size_t largestMetadataFile = 4096;

struct ComponentFree {
  void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using ComponentPointer = std::unique_ptr<icalcomponent, ComponentFree>;

/// Runs `step`, naming the calendars' location in its error.
template <class Step> auto watchingTheCalendars(const fs::path& location, Step step) {
  try {
    return step();
  } catch (const std::system_error& error) {
    throw std::system_error(error.code(), "cannot watch the calendars at " + location.string());
  }
}

/// What tells one version of a file from the next without reading it.
struct FileStamp {
  std::int64_t modified{};
  std::int64_t size{};
  ino_t inode{};

  friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

std::optional<FileStamp> stampOf(const fs::path& file) {
  struct stat info {};
  if (::stat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
    return std::nullopt;
  }
  return FileStamp{.modified = std::int64_t(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec,
                   .size = std::int64_t(info.st_size),
                   .inode = info.st_ino};
}

/// The first `limit` bytes of the file and one more, so that a caller can tell a file that grew past the
/// limit since it was measured.
std::optional<std::string> contentsOf(const fs::path& file, std::uintmax_t limit) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    return std::nullopt;
  }
  std::string text(std::size_t(std::min<std::uintmax_t>(limit + 1, 64 * 1024)), '\0');
  std::size_t length = 0;
  while (stream && length <= limit) {
    if (length == text.size()) {
      text.resize(std::size_t(std::min<std::uintmax_t>(limit + 1, std::uintmax_t(text.size()) * 2)));
    }
    stream.read(text.data() + length, std::streamsize(text.size() - length));
    length += std::size_t(stream.gcount());
  }
  if (stream.bad()) {
    return std::nullopt;
  }
  text.resize(length);
  return text;
}

bool isHidden(const std::string& name) {
  return name.empty() || name.front() == '.';
}

bool hasCalendarExtension(const std::string& name) {
  constexpr std::string_view extension = ".ics";
  return name.size() > extension.size() &&
         std::equal(extension.begin(), extension.end(), name.end() - std::ptrdiff_t(extension.size()),
                    [](char wanted, char actual) { return wanted == std::tolower((unsigned char)actual); });
}

std::string trimmed(std::string_view text) {
  constexpr std::string_view space = " \t\r\n\f\v";
  const auto first = text.find_first_not_of(space);
  if (first == std::string_view::npos) {
    return {};
  }
  return std::string(text.substr(first, text.find_last_not_of(space) - first + 1));
}

/// "#RRGGBB" or "#RRGGBBAA"; the alpha has no place in the calendar's colour.
std::optional<RGBColor> colorFrom(std::string_view text) {
  const std::string value = trimmed(text);
  if ((value.size() != 7 && value.size() != 9) || value.front() != '#' ||
      !std::all_of(value.begin() + 1, value.end(), [](char c) { return std::isxdigit((unsigned char)c); })) {
    return std::nullopt;
  }
  const auto channel = [&](std::size_t offset) {
    return double(std::stoi(value.substr(offset, 2), nullptr, 16)) / 255;
  };
  return RGBColor{.r = channel(1), .g = channel(3), .b = channel(5)};
}

std::optional<std::string> textOf(const char* value) {
  if (value == nullptr || *value == '\0') {
    return std::nullopt;
  }
  return std::string(value);
}

/// The offset of the first byte that is not text: ill-formed UTF-8, or a NUL, which would end libical's
/// reading of the file without a word.
std::optional<std::size_t> firstNonTextByte(std::string_view text) {
  const auto invalid = firstInvalidUTF8Byte(text);
  const auto nul = text.find('\0');
  if (nul != std::string_view::npos && (!invalid || nul < *invalid)) {
    return nul;
  }
  return invalid;
}

/// Hands libical the text a line at a time, in the pieces its parser asks for. libical's own string
/// reader looks for the end of the line in all the rest of the text for every 80-byte piece, which is
/// quadratic in the length of a line: a 20 MB SUMMARY on one line took 35 s. Looking no further than
/// the piece keeps reading linear.
class LineSource {
public:
  explicit LineSource(std::string_view text) : rest_(text) {}

  static char* next(char* buffer, std::size_t size, void* source) {
    auto& self = *static_cast<LineSource*>(source);
    if (self.rest_.empty() || size < 2) {
      return nullptr;
    }
    const std::string_view piece = self.rest_.substr(0, size - 1);
    const auto newline = piece.find('\n');
    const std::size_t length = newline == std::string_view::npos ? piece.size() : newline + 1;
    std::memcpy(buffer, piece.data(), length);
    buffer[length] = '\0';
    self.rest_.remove_prefix(length);
    return buffer;
  }

private:
  std::string_view rest_;
};

/// The calendar in `text`, which holds no NUL; none when it holds no iCalendar data.
ComponentPointer parseCalendar(std::string_view text) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(byteOrderMark)) {
    text.remove_prefix(byteOrderMark.size());
  }
  LineSource source(text);
  icalparser* parser = icalparser_new();
  icalparser_set_gen_data(parser, &source);
  // As icalparser_parse_string does: bad data becomes X-LIC-ERROR properties rather than an abort.
  const icalerrorstate previous = icalerror_get_error_state(ICAL_MALFORMEDDATA_ERROR);
  icalerror_set_error_state(ICAL_MALFORMEDDATA_ERROR, ICAL_ERROR_NONFATAL);
  ComponentPointer root(icalparser_parse(parser, &LineSource::next));
  icalerror_set_error_state(ICAL_MALFORMEDDATA_ERROR, previous);
  icalparser_free(parser);
  return root;
}

/// When a call must stop working on calendars. The time grows with the bytes the call reads, so that a
/// big calendar gets its due while no file, however it is written, holds the planner up for longer.
class Deadline {
public:
  Deadline(const Limits& limits, std::uintmax_t bytes)
      : allowed_(limits.leastTime + std::chrono::duration_cast<std::chrono::milliseconds>(
                                        limits.timePerMegabyte * (double(bytes) / (1024.0 * 1024.0)))),
        end_(std::chrono::steady_clock::now() + allowed_) {}

  bool passed() const { return std::chrono::steady_clock::now() >= end_; }
  std::int64_t allowedMilliseconds() const { return std::int64_t(allowed_.count()); }

private:
  std::chrono::milliseconds allowed_;
  std::chrono::steady_clock::time_point end_;
};

struct Replacement {
  ICalendarOccurrence occurrence{};
  std::optional<std::string> title{};
};

/// One UID of a file: its master, unless cancelled or missing, and the instances that override it.
struct Series {
  std::optional<std::string> uid{};
  std::optional<std::string> title{};
  std::optional<ICalendarRecurrence> recurrence{};
  std::vector<Replacement> replacements{};
  /// Whether a query already logged that expanding it stopped at the limit; once per version of the file.
  bool reportedStop{};
};

/// One file, read: its series resolved against the device zone of the moment it was read.
struct ParsedFile {
  FileStamp stamp{};
  /// Owns the VTIMEZONEs and rules that the series point into.
  ComponentPointer root{};
  std::optional<std::string> calendarName{};
  std::vector<Series> series{};
};

std::optional<std::string> calendarNameOf(icalcomponent* root) {
  for (icalproperty* property = icalcomponent_get_first_property(root, ICAL_X_PROPERTY); property != nullptr;
       property = icalcomponent_get_next_property(root, ICAL_X_PROPERTY)) {
    const char* name = icalproperty_get_x_name(property);
    if (name != nullptr && std::string_view(name) == "X-WR-CALNAME") {
      if (const auto title = textOf(icalproperty_get_x(property))) {
        return trimmed(*title);
      }
    }
  }
  return std::nullopt;
}

/// Reads the events of `parsed`'s calendar into series; answers false when the deadline passed first,
/// leaving the events after that point out.
bool readSeries(ParsedFile& parsed, ICalendarClock& clock, const Limits& limits, const Deadline& deadline) {
  icalcomponent* root = parsed.root.get();
  std::vector<icalcomponent*> events;
  if (icalcomponent_isa(root) == ICAL_VEVENT_COMPONENT) {
    events.push_back(root);
  }
  for (icalcomponent* event = icalcomponent_get_first_component(root, ICAL_VEVENT_COMPONENT);
       event != nullptr; event = icalcomponent_get_next_component(root, ICAL_VEVENT_COMPONENT)) {
    events.push_back(event);
  }
  const auto isOverride = [](icalcomponent* event) {
    return icalcomponent_get_first_property(event, ICAL_RECURRENCEID_PROPERTY) != nullptr;
  };
  const auto isCancelled = [](icalcomponent* event) {
    return icalcomponent_get_status(event) == ICAL_STATUS_CANCELLED;
  };

  // Masters first, so that overrides find their series wherever they stand in the file.
  std::map<std::string, std::size_t> seriesByUid;
  for (icalcomponent* event : events) {
    if (isOverride(event)) {
      continue;
    }
    if (deadline.passed()) {
      return false;
    }
    auto recurrence = ICalendarRecurrence::read(event, root, clock, limits.mostStepsPerRule);
    if (!recurrence) {
      continue;
    }
    Series series{.uid = textOf(icalcomponent_get_uid(event)),
                  .title = textOf(icalcomponent_get_summary(event))};
    if (!isCancelled(event)) {
      series.recurrence = std::move(recurrence);
    }
    if (series.uid) {
      seriesByUid.emplace(*series.uid, parsed.series.size());
    }
    parsed.series.push_back(std::move(series));
  }
  for (icalcomponent* event : events) {
    icalproperty* property = icalcomponent_get_first_property(event, ICAL_RECURRENCEID_PROPERTY);
    if (property == nullptr) {
      continue;
    }
    if (deadline.passed()) {
      return false;
    }
    const icaltimetype recurrenceId = zonedTime(icalproperty_get_recurrenceid(property), property, root);
    if (!isUsableTime(recurrenceId)) {
      continue;
    }
    const auto uid = textOf(icalcomponent_get_uid(event));
    const auto master = uid ? seriesByUid.find(*uid) : seriesByUid.end();
    std::size_t index = parsed.series.size();
    if (master != seriesByUid.end()) {
      index = master->second;
    } else {
      // An instance without its master, as an invitation to one meeting of a series arrives.
      parsed.series.push_back(Series{.uid = uid});
      if (uid) {
        seriesByUid.emplace(*uid, index);
      }
    }
    Series& series = parsed.series[index];
    const auto replaced = clock.instantOf(recurrenceId);
    if (series.recurrence && replaced) {
      series.recurrence->exclude(*replaced);
    }
    if (isCancelled(event)) {
      continue;
    }
    icaltimetype start = recurrenceId;
    if (icalproperty* startProperty = icalcomponent_get_first_property(event, ICAL_DTSTART_PROPERTY)) {
      // Its own DTSTART, or the instance it replaces when it moves nothing.
      const icaltimetype own = zonedTime(icalproperty_get_dtstart(startProperty), startProperty, root);
      if (isUsableTime(own)) {
        start = own;
      }
    }
    if (const auto occurrence = ICalendarRecurrence::occurrenceOf(event, start, root, clock)) {
      auto title = textOf(icalcomponent_get_summary(event));
      series.replacements.push_back(
          Replacement{.occurrence = *occurrence, .title = title ? title : series.title});
    }
  }
  return true;
}

} // namespace

/// What the store and the jobs its watcher posts share, on the owner's thread only.
struct ICalendarEventStore::State {
  explicit State(const Limits& chosen) : limits(chosen) {}

  Limits limits;
  std::map<fs::path, ParsedFile> files{};
  /// The device zone the cached files were resolved in.
  std::string zoneID{};
  /// How many files each over-full calendar folder had when that was last logged.
  std::map<fs::path, std::size_t> reportedFolders{};
  std::map<int, std::function<void()>> handlers{};
  int nextHandler{};
  Logger logger{"com.vantrel.vantrel", "ICalendarEventStore"};

  /// Drops what was resolved in another zone when the device zone has changed since.
  void followDeviceZone() {
    auto current = DeviceSettings::timeZoneID();
    if (current != zoneID) {
      files.clear();
      zoneID = std::move(current);
    }
  }

  /// The calendar files of `folder`, at most the limit of them.
  std::vector<fs::path> calendarFiles(const fs::path& folder) {
    std::vector<fs::path> found;
    std::size_t count = 0;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), last; !error && entry != last; entry.increment(error)) {
      const std::string name = entry->path().filename().string();
      if (!isHidden(name) && hasCalendarExtension(name) && ++count <= limits.mostFilesPerCalendar) {
        found.push_back(entry->path());
      }
    }
    if (count > limits.mostFilesPerCalendar) {
      if (reportedFolders[folder] != count) {
        reportedFolders[folder] = count;
        logger.error("Skipping %llu of the %llu calendar files in %s: a calendar is read up to %llu files",
                     count - found.size(), count, folder.string(), limits.mostFilesPerCalendar);
      }
    } else {
      reportedFolders.erase(folder);
    }
    prune(folder, std::set<fs::path>(found.begin(), found.end()));
    return found;
  }

  /// The file as last read, read again when it changed; none when it cannot be read at all.
  ParsedFile* load(const fs::path& file, ICalendarClock& clock, const Deadline& deadline) {
    const auto stamp = stampOf(file);
    if (!stamp) {
      files.erase(file);
      return nullptr;
    }
    if (const auto cached = files.find(file); cached != files.end() && cached->second.stamp == *stamp) {
      return &cached->second;
    }
    ParsedFile parsed{.stamp = *stamp};
    read(file, parsed, clock, deadline);
    return &(files[file] = std::move(parsed));
  }

  /// Reads `file` into `parsed`; what is skipped is logged once for this version of the file, which
  /// stays cached as it was read.
  void read(const fs::path& file, ParsedFile& parsed, ICalendarClock& clock, const Deadline& deadline) {
    const auto tooLarge = [&](std::uintmax_t size) {
      logger.error(
          "Skipping calendar file %s: it has %llu bytes, more than the %llu a calendar file may have",
          file.string(), size, limits.largestFile);
    };
    if (std::uintmax_t(parsed.stamp.size) > limits.largestFile) {
      tooLarge(std::uintmax_t(parsed.stamp.size));
      return;
    }
    if (const auto text = contentsOf(file, limits.largestFile)) {
      if (text->size() > limits.largestFile) {
        tooLarge(text->size());
        return;
      }
      if (const auto bad = firstNonTextByte(*text)) {
        logger.error("Skipping calendar file %s: it is not UTF-8 text (byte %llu)", file.string(), *bad);
        return;
      }
      parsed.root = parseCalendar(*text);
    }
    if (!parsed.root) {
      logger.notice("Skipping calendar file %s: it holds no iCalendar data", file.string());
      return;
    }
    parsed.calendarName = calendarNameOf(parsed.root.get());
    try {
      if (!readSeries(parsed, clock, limits, deadline)) {
        logger.error("Read calendar file %s only in part: it took longer than the %lld ms allowed",
                     file.string(), deadline.allowedMilliseconds());
      }
    } catch (const TimeZoneError& error) {
      // Its times cannot be placed without the zone they name, so none of them is shown.
      parsed.series.clear();
      logger.error("Skipping calendar file %s: %s", file.string(), std::string(error.what()));
    }
  }

  /// Forgets the files of `folder` that are no longer in `present`.
  void prune(const fs::path& folder, const std::set<fs::path>& present) {
    std::erase_if(files, [&](const auto& entry) {
      return entry.first.parent_path() == folder && !present.contains(entry.first);
    });
  }

  /// Forgets `paths` and everything below them.
  void forget(const std::set<fs::path>& paths, bool everything) {
    if (everything) {
      files.clear();
      return;
    }
    std::erase_if(files, [&](const auto& entry) {
      return std::any_of(paths.begin(), paths.end(), [&](const fs::path& changed) {
        return std::mismatch(changed.begin(), changed.end(), entry.first.begin(), entry.first.end()).first ==
               changed.end();
      });
    });
  }

  void changed(const std::set<fs::path>& paths, bool everything) {
    forget(paths, everything);
    // A handler may end its own observation, or another's, while this runs.
    std::vector<int> ids;
    for (const auto& [id, handler] : handlers) {
      ids.push_back(id);
    }
    for (const int id : ids) {
      if (const auto found = handlers.find(id); found != handlers.end()) {
        const auto handler = found->second;
        handler();
      }
    }
  }
};

class ICalendarEventStore::Handle final : public Observation {
public:
  Handle(std::weak_ptr<State> state, int id) : state_(std::move(state)), id_(id) {}
  ~Handle() override {
    if (const auto state = state_.lock()) {
      state->handlers.erase(id_);
    }
  }

private:
  std::weak_ptr<State> state_;
  int id_;
};

/// Watches the location with inotify on a thread of its own and, once a burst of changes has settled,
/// posts one job to the owner. It never calls libical.
class ICalendarEventStore::Watcher {
public:
  /// None when there is nothing at `location` to watch.
  static std::unique_ptr<Watcher> start(const fs::path& location, Executor& owner,
                                        std::weak_ptr<State> state) {
    std::error_code error;
    const auto status = fs::status(location, error);
    if (fs::is_directory(status)) {
      return std::make_unique<Watcher>(location, std::nullopt, owner, std::move(state));
    }
    if (fs::is_regular_file(status)) {
      const auto folder = location.parent_path();
      return std::make_unique<Watcher>(folder.empty() ? fs::path(".") : folder, location.filename().string(),
                                       owner, std::move(state));
    }
    return nullptr;
  }

  Watcher(fs::path folder, std::optional<std::string> fileName, Executor& owner, std::weak_ptr<State> state)
      : folder_(std::move(folder)), fileName_(std::move(fileName)), owner_(owner), state_(std::move(state)),
        inotify_(watchingTheCalendars(folder_, [] { return InotifyWatcher(); })) {
    rootWatch_ = watchingTheCalendars(folder_, [this] { return inotify_.watch(folder_); });
    folders_[rootWatch_] = folder_;
    if (!fileName_) {
      watchCalendarFolders();
    }
    thread_ = std::thread([this] { run(); });
  }

  ~Watcher() {
    inotify_.wake();
    thread_.join();
  }

  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

private:
  using Kind = InotifyWatcher::Kind;
  /// Editors save through temporary files and renames; their steps arrive this close together.
  static constexpr std::chrono::milliseconds quietPeriod{100};
  /// A folder that never stops changing still gets reported this often.
  static constexpr std::chrono::milliseconds longestDelay{1000};

  struct Changes {
    std::set<fs::path> paths{};
    bool everything{};
  };

  void watchFolder(const fs::path& folder) {
    // A folder that went away meanwhile holds no calendar to watch.
    try {
      folders_[inotify_.watch(folder)] = folder;
    } catch (const std::system_error&) {
    }
  }

  void unwatchFolder(const fs::path& folder) {
    const auto found = std::find_if(folders_.begin(), folders_.end(),
                                    [&](const auto& entry) { return entry.second == folder; });
    if (found != folders_.end()) {
      inotify_.unwatch(found->first);
      folders_.erase(found);
    }
  }

  void watchCalendarFolders() {
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end; entry.increment(error)) {
      std::error_code typeError;
      if (!isHidden(entry->path().filename().string()) && entry->is_directory(typeError)) {
        watchFolder(entry->path());
      }
    }
  }

  /// Notes what `event` changed; answers whether it matters to the calendars.
  bool note(const InotifyWatcher::Event& event, Changes& changes) {
    if (event.kind == Kind::overflow) {
      changes.everything = true;
      if (!fileName_) {
        watchCalendarFolders();
      }
      return true;
    }
    const auto found = folders_.find(event.watch);
    if (found == folders_.end()) {
      return false;
    }
    const fs::path folder = found->second;
    if (event.kind == Kind::unwatched) {
      folders_.erase(found);
      return false;
    }
    if (event.kind == Kind::folderDeleted || event.kind == Kind::folderMoved) {
      changes.paths.insert(folder);
      return true;
    }
    const std::string& name = event.name;
    if (isHidden(name)) {
      return false;
    }
    if (fileName_) {
      if (name != *fileName_) {
        return false;
      }
    } else if (event.watch == rootWatch_) {
      if (!event.isFolder) {
        return false;
      }
      if (event.kind == Kind::created || event.kind == Kind::movedIn) {
        watchFolder(folder / name);
      } else if (event.kind == Kind::movedOut) {
        unwatchFolder(folder / name);
      }
    } else if (!hasCalendarExtension(name) && name != "displayname" && name != "color") {
      return false;
    }
    changes.paths.insert(folder / name);
    return true;
  }

  /// Reads every waiting event; answers whether any mattered.
  bool readEvents(Changes& changes) {
    bool relevant = false;
    for (const auto& event : inotify_.readEvents()) {
      relevant = note(event, changes) || relevant;
    }
    return relevant;
  }

  void post(Changes changes) {
    owner_.post([state = state_, changes = std::move(changes)] {
      if (const auto alive = state.lock()) {
        alive->changed(changes.paths, changes.everything);
      }
    });
  }

  void run() {
    using SteadyClock = std::chrono::steady_clock;
    Changes changes;
    bool settling = false;
    SteadyClock::time_point reportAt{};
    SteadyClock::time_point reportAtLatest{};
    while (true) {
      std::optional<std::chrono::milliseconds> timeout;
      if (settling) {
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(reportAt - SteadyClock::now());
        timeout = std::max(wait, std::chrono::milliseconds(0));
      }
      InotifyWatcher::Ready ready{};
      try {
        ready = inotify_.wait(timeout);
      } catch (const std::system_error&) {
        return;
      }
      if (ready == InotifyWatcher::Ready::woken) {
        return;
      }
      if (ready == InotifyWatcher::Ready::events && readEvents(changes)) {
        const auto now = SteadyClock::now();
        if (!settling) {
          settling = true;
          reportAtLatest = now + longestDelay;
        }
        reportAt = std::min(now + quietPeriod, reportAtLatest);
      }
      if (settling && SteadyClock::now() >= reportAt) {
        post(std::exchange(changes, Changes{}));
        settling = false;
      }
    }
  }

  fs::path folder_;
  /// The one file to report, when the location is a single calendar file.
  std::optional<std::string> fileName_;
  Executor& owner_;
  std::weak_ptr<State> state_;
  InotifyWatcher inotify_;
  int rootWatch_ = -1;
  /// Watched folders by watch descriptor; only the thread touches it once it runs.
  std::map<int, fs::path> folders_;
  std::thread thread_;
};

ICalendarEventStore::ICalendarEventStore(std::optional<std::filesystem::path> location, Executor& owner)
    : ICalendarEventStore(std::move(location), owner, Limits{}) {}

ICalendarEventStore::ICalendarEventStore(std::optional<std::filesystem::path> location, Executor& owner,
                                         const Limits& limits)
    : location_(std::move(location)), owner_(owner), state_(std::make_shared<State>(limits)) {}

ICalendarEventStore::~ICalendarEventStore() = default;

EventStoreAuthorization ICalendarEventStore::authorizationStatus() const {
  if (!location_) {
    return EventStoreAuthorization::notDetermined;
  }
  std::error_code error;
  const auto status = fs::status(*location_, error);
  if (fs::is_directory(status)) {
    return ::access(location_->c_str(), R_OK | X_OK) == 0 ? EventStoreAuthorization::fullAccess
                                                          : EventStoreAuthorization::denied;
  }
  if (fs::is_regular_file(status)) {
    return ::access(location_->c_str(), R_OK) == 0 ? EventStoreAuthorization::fullAccess
                                                   : EventStoreAuthorization::denied;
  }
  return EventStoreAuthorization::denied;
}

EventStoreAuthorization ICalendarEventStore::requestFullAccess() {
  return authorizationStatus();
}

std::vector<EventStoreCalendar> ICalendarEventStore::calendars() const {
  if (!location_) {
    return {};
  }
  std::error_code error;
  if (fs::is_regular_file(*location_, error)) {
    state_->followDeviceZone();
    const auto stamp = stampOf(*location_);
    ICalendarClock clock;
    const Deadline deadline(state_->limits, stamp ? std::uintmax_t(stamp->size) : 0);
    const ParsedFile* parsed = state_->load(*location_, clock, deadline);
    const std::string id = location_->filename().string();
    std::string title = hasCalendarExtension(id) ? id.substr(0, id.size() - 4) : id;
    if (parsed != nullptr && parsed->calendarName && !parsed->calendarName->empty()) {
      title = *parsed->calendarName;
    }
    return {EventStoreCalendar{.id = id, .title = std::move(title)}};
  }
  std::vector<EventStoreCalendar> found;
  for (fs::directory_iterator entry(*location_, error), end; !error && entry != end; entry.increment(error)) {
    const std::string id = entry->path().filename().string();
    std::error_code typeError;
    if (isHidden(id) || !entry->is_directory(typeError)) {
      continue;
    }
    const auto displayName = contentsOf(entry->path() / "displayname", largestMetadataFile);
    const std::string title = displayName ? trimmed(*displayName) : std::string();
    const auto color = contentsOf(entry->path() / "color", largestMetadataFile);
    found.push_back(EventStoreCalendar{
        .id = id, .title = title.empty() ? id : title, .color = color ? colorFrom(*color) : std::nullopt});
  }
  std::ranges::sort(found, {}, &EventStoreCalendar::id);
  return found;
}

std::vector<EventStoreEvent> ICalendarEventStore::events(Date start, Date end,
                                                         std::span<const std::string> calendarIds) const {
  if (!location_ || !(start < end)) {
    return {};
  }
  State& state = *state_;
  state.followDeviceZone();
  std::error_code error;
  const bool singleFile = fs::is_regular_file(*location_, error);
  const std::set<std::string> wanted(calendarIds.begin(), calendarIds.end());

  // Every file first, so that the time allowed follows the bytes the call reads.
  std::vector<std::pair<std::string, fs::path>> sources;
  std::uintmax_t bytes = 0;
  for (const auto& calendarId : wanted) {
    std::vector<fs::path> files;
    if (singleFile) {
      if (calendarId == location_->filename().string()) {
        files.push_back(*location_);
      }
    } else if (!isHidden(calendarId) && calendarId.find('/') == std::string::npos) {
      files = state.calendarFiles(*location_ / calendarId);
    }
    for (auto& file : files) {
      if (const auto stamp = stampOf(file)) {
        bytes += std::min(std::uintmax_t(stamp->size), state.limits.largestFile);
      }
      sources.emplace_back(calendarId, std::move(file));
    }
  }

  ICalendarClock clock;
  const Deadline deadline(state.limits, bytes);
  bool cutShort = false;
  std::vector<EventStoreEvent> found;
  for (const auto& [calendarId, file] : sources) {
    if (deadline.passed()) {
      cutShort = true;
      break;
    }
    ParsedFile* parsed = state.load(file, clock, deadline);
    if (parsed == nullptr) {
      continue;
    }
    for (auto& series : parsed->series) {
      if (deadline.passed()) {
        cutShort = true;
        break;
      }
      const auto add = [&](const ICalendarOccurrence& occurrence, const std::optional<std::string>& title) {
        const bool touches = occurrence.start == occurrence.end
                                 ? start <= occurrence.start && occurrence.start < end
                                 : occurrence.start < end && occurrence.end > start;
        if (touches) {
          found.push_back(EventStoreEvent{.id = series.uid,
                                          .title = title,
                                          .start = occurrence.start,
                                          .end = occurrence.end,
                                          .isAllDay = occurrence.isAllDay,
                                          .calendarId = calendarId});
        }
      };
      for (const auto& replacement : series.replacements) {
        add(replacement.occurrence, replacement.title);
      }
      if (series.recurrence) {
        const auto expansion = series.recurrence->expand(start, end, clock, state.limits.mostStepsPerRule);
        for (const auto& occurrence : expansion.occurrences) {
          add(occurrence, series.title);
        }
        if (expansion.stopped && !series.reportedStop) {
          series.reportedStop = true;
          state.logger.notice("Stopped expanding event %s in calendar file %s at %llu steps: some of its "
                              "occurrences are left out",
                              series.uid.value_or("without a UID"), file.string(),
                              state.limits.mostStepsPerRule);
        }
      }
    }
  }
  if (cutShort) {
    state.logger.error("Left part of the calendars out: reading them took longer than the %lld ms allowed "
                       "for %llu bytes",
                       deadline.allowedMilliseconds(), bytes);
  }
  return found;
}

std::unique_ptr<EventStore::Observation> ICalendarEventStore::observeChanges(std::function<void()> changed) {
  if (!watcher_ && location_) {
    watcher_ = Watcher::start(*location_, owner_, state_);
  }
  const int id = state_->nextHandler++;
  state_->handlers.emplace(id, std::move(changed));
  return std::make_unique<Handle>(state_, id);
}

} // namespace vantrel
