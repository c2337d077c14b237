#include "Linux/ICalendarEventStore.hpp"

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/Logger.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <libical/ical.h>
#include <map>
#include <poll.h>
#include <set>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace vantrel {
namespace {

namespace fs = std::filesystem;

constexpr double secondsPerDay = 86400;
/// More than any zone's distance from UTC, so that bounds taken on UTC's clock hold on every clock.
constexpr double zoneMargin = 2 * secondsPerDay;

struct ComponentFree {
  void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using ComponentPointer = std::unique_ptr<icalcomponent, ComponentFree>;

struct IteratorFree {
  void operator()(icalrecur_iterator* iterator) const { icalrecur_iterator_free(iterator); }
};
using IteratorPointer = std::unique_ptr<icalrecur_iterator, IteratorFree>;

class FileDescriptor {
public:
  FileDescriptor(int descriptor, const fs::path& watched) : descriptor_(descriptor) {
    if (descriptor_ < 0) {
      throw std::system_error(errno, std::generic_category(),
                              "cannot watch the calendars at " + watched.string());
    }
  }
  ~FileDescriptor() { ::close(descriptor_); }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int get() const { return descriptor_; }

private:
  int descriptor_;
};

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

std::optional<std::string> contentsOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    return std::nullopt;
  }
  std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  if (stream.bad()) {
    return std::nullopt;
  }
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

bool isUsable(const icaltimetype& time) {
  return !icaltime_is_null_time(time) && icaltime_is_valid_time(time);
}

/// The value with the zone its TZID names: the file's VTIMEZONE first, then libical's zone of that name.
/// A zone that neither knows leaves the time floating, on the device's clock, which is the best guess.
icaltimetype zoned(icaltimetype value, icalproperty* property, icalcomponent* root) {
  if (value.is_date) {
    value.zone = nullptr;
    return value;
  }
  if (icaltime_is_utc(value)) {
    return value;
  }
  value.zone = nullptr;
  icalparameter* parameter = icalproperty_get_first_parameter(property, ICAL_TZID_PARAMETER);
  const char* tzid = parameter != nullptr ? icalparameter_get_tzid(parameter) : nullptr;
  if (tzid == nullptr) {
    return value;
  }
  icaltimezone* zone = icalcomponent_get_timezone(root, tzid);
  if (zone == nullptr) {
    zone = icaltimezone_get_builtin_timezone(tzid);
  }
  if (zone == nullptr) {
    zone = icaltimezone_get_builtin_timezone_from_tzid(tzid);
  }
  value.zone = zone;
  return value;
}

/// Floating times and dates go through the device zone with ICU: libical's idea of local time is the
/// process's TZ, which is not the zone the planner shows.
std::optional<Date> instantOf(const icaltimetype& time) {
  const CalendarDate day{time.year, time.month, time.day};
  if (time.is_date) {
    return day.localTime(0);
  }
  if (time.zone == nullptr) {
    const auto minute = day.localTime(time.hour, time.minute);
    return minute ? std::optional(minute->adding(time.second)) : std::nullopt;
  }
  const icaltimetype utc = icaltime_convert_to_zone(time, icaltimezone_get_utc_timezone());
  return Date::fromUnixSeconds(double(icaltime_as_timet(utc)));
}

std::int64_t secondsKey(Date instant) {
  return std::llround(instant.unixSeconds());
}

using WallTime = std::array<int, 6>;

WallTime wallTimeOf(const icaltimetype& time) {
  if (time.is_date) {
    return {time.year, time.month, time.day, 0, 0, 0};
  }
  return {time.year, time.month, time.day, time.hour, time.minute, time.second};
}

/// `instant` on UTC's clock, shaped like `like` (same zone and kind) so libical can compare it.
icaltimetype wallTimeNear(Date instant, const icaltimetype& like) {
  icaltimetype time = icaltime_from_timet_with_zone(time_t(std::floor(instant.unixSeconds())), 0,
                                                    icaltimezone_get_utc_timezone());
  time.zone = like.zone;
  if (like.is_date) {
    time.is_date = 1;
    time.hour = time.minute = time.second = 0;
  }
  return time;
}

/// How an occurrence's end follows from its start: whole days on the clock, then exact seconds, the way
/// iCalendar reads a DURATION (P1D keeps the time of day across a clock change, PT24H does not).
struct Length {
  int days{};
  double seconds{};
};

std::optional<Date> endOf(icaltimetype start, Date startInstant, const Length& length) {
  Date base = startInstant;
  if (length.days != 0) {
    icaltime_adjust(&start, length.days, 0, 0, 0);
    const auto moved = instantOf(start);
    if (!moved) {
      return std::nullopt;
    }
    base = *moved;
  }
  return std::max(base.adding(length.seconds), startInstant);
}

Length lengthOf(icalcomponent* event, const icaltimetype& start, Date startInstant, icalcomponent* root) {
  if (icalproperty* property = icalcomponent_get_first_property(event, ICAL_DTEND_PROPERTY)) {
    const icaltimetype end = zoned(icalproperty_get_dtend(property), property, root);
    if (isUsable(end) && start.is_date && end.is_date) {
      const auto days = (icaltime_as_timet(end) - icaltime_as_timet(start)) / time_t(secondsPerDay);
      return Length{.days = int(std::max<time_t>(days, 1))};
    }
    if (isUsable(end) && !start.is_date) {
      if (const auto endInstant = instantOf(end)) {
        return Length{.seconds = std::max(endInstant->timeIntervalSince(startInstant), 0.0)};
      }
    }
  }
  if (icalproperty* property = icalcomponent_get_first_property(event, ICAL_DURATION_PROPERTY)) {
    const icaldurationtype duration = icalproperty_get_duration(property);
    if (!icaldurationtype_is_bad_duration(duration) && duration.is_neg == 0) {
      const int days = int(duration.weeks * 7 + duration.days);
      const double seconds = duration.hours * 3600.0 + duration.minutes * 60.0 + duration.seconds;
      if (start.is_date) {
        return Length{.days = std::max(1, days + int(std::ceil(seconds / secondsPerDay)))};
      }
      return Length{.days = days, .seconds = seconds};
    }
  }
  return start.is_date ? Length{.days = 1} : Length{};
}

struct Occurrence {
  Date start{};
  Date end{};
  bool isAllDay{};
};

bool overlaps(const Occurrence& occurrence, Date from, Date to) {
  if (occurrence.start == occurrence.end) {
    return from <= occurrence.start && occurrence.start < to;
  }
  return occurrence.start < to && occurrence.end > from;
}

std::optional<Occurrence> occurrenceAt(const icaltimetype& start, const Length& length) {
  const auto startInstant = instantOf(start);
  if (!startInstant) {
    return std::nullopt;
  }
  const auto end = endOf(start, *startInstant, length);
  if (!end) {
    return std::nullopt;
  }
  return Occurrence{.start = *startInstant, .end = *end, .isAllDay = start.is_date != 0};
}

/// A master event's recurrence set, kept as wall times and rules so a query expands only its interval.
struct Recurrence {
  icaltimetype start{};
  Length length{};
  std::vector<icalrecurrencetype> rules{};
  /// RDATE occurrences, resolved when the file is read.
  std::vector<Occurrence> extraOccurrences{};
  /// Unix seconds of the starts that EXDATE removes or an overridden instance replaces.
  std::set<std::int64_t> removedStarts{};
  /// EXDATE days of a timed event, which remove whatever starts on them.
  std::set<std::array<int, 3>> removedDays{};
};

struct Replacement {
  Occurrence occurrence{};
  std::optional<std::string> title{};
};

/// One UID of a file: its master, unless cancelled or missing, and the instances that override it.
struct Series {
  std::optional<std::string> uid{};
  std::optional<std::string> title{};
  std::optional<Recurrence> recurrence{};
  std::vector<Replacement> replacements{};
};

bool isDailyOrCoarser(icalrecurrencetype_frequency frequency) {
  return frequency == ICAL_DAILY_RECURRENCE || frequency == ICAL_WEEKLY_RECURRENCE ||
         frequency == ICAL_MONTHLY_RECURRENCE || frequency == ICAL_YEARLY_RECURRENCE;
}

std::optional<int> unitSeconds(icalrecurrencetype_frequency frequency) {
  switch (frequency) {
  case ICAL_SECONDLY_RECURRENCE:
    return 1;
  case ICAL_MINUTELY_RECURRENCE:
    return 60;
  case ICAL_HOURLY_RECURRENCE:
    return 3600;
  default:
    return std::nullopt;
  }
}

/// `rule` with its COUNT replaced by the last start it counts to, so that queries can begin expanding it
/// anywhere instead of counting from DTSTART every time; none when it counts to nothing. A count too large
/// to walk once stays as it is.
std::optional<icalrecurrencetype> boundedByDate(icalrecurrencetype rule, const icaltimetype& start) {
  constexpr int longestWalk = 100'000;
  if (rule.count > longestWalk) {
    return rule;
  }
  const IteratorPointer iterator(icalrecur_iterator_new(rule, start));
  if (!iterator) {
    return std::nullopt;
  }
  std::optional<icaltimetype> last;
  for (icaltimetype next = icalrecur_iterator_next(iterator.get()); !icaltime_is_null_time(next);
       next = icalrecur_iterator_next(iterator.get())) {
    last = next;
  }
  if (!last) {
    return std::nullopt;
  }
  rule.count = 0;
  rule.until = *last;
  rule.until.zone = start.zone;
  rule.until.is_date = start.is_date;
  return rule;
}

/// An iterator over `rule` that begins near `earliest` rather than at DTSTART, so that a query deep into
/// a long series does not walk all of it. libical's set_start is right only for daily and coarser rules
/// (and refuses COUNT, which boundedByDate removes where it can); a sub-daily rule instead starts from a
/// later DTSTART on the same grid.
IteratorPointer iteratorFrom(const icalrecurrencetype& rule, icaltimetype start,
                             const icaltimetype& earliest) {
  const bool startsEarlier = wallTimeOf(start) < wallTimeOf(earliest);
  const auto unit = unitSeconds(rule.freq);
  if (startsEarlier && rule.count == 0 && unit) {
    const double step = double(*unit) * std::max<short>(rule.interval, 1);
    const double gap = double(icaltime_as_timet(earliest) - icaltime_as_timet(start));
    const auto skipped = std::int64_t(std::floor(gap / step) * step);
    icaltime_adjust(&start, int(skipped / std::int64_t(secondsPerDay)), 0, 0,
                    int(skipped % std::int64_t(secondsPerDay)));
  }
  IteratorPointer iterator(icalrecur_iterator_new(rule, start));
  if (iterator && startsEarlier && rule.count == 0 && isDailyOrCoarser(rule.freq)) {
    icalrecur_iterator_set_start(iterator.get(), earliest);
  }
  return iterator;
}

std::vector<Occurrence> expand(const Recurrence& recurrence, Date from, Date to) {
  std::vector<Occurrence> found;
  std::set<std::int64_t> seen;
  const auto keep = [&](const Occurrence& occurrence) {
    const auto key = secondsKey(occurrence.start);
    if (!recurrence.removedStarts.contains(key) && seen.insert(key).second &&
        overlaps(occurrence, from, to)) {
      found.push_back(occurrence);
    }
  };
  const auto consider = [&](icaltimetype start) {
    start.zone = recurrence.start.zone;
    start.is_date = recurrence.start.is_date;
    if (recurrence.removedDays.contains({start.year, start.month, start.day})) {
      return;
    }
    if (const auto occurrence = occurrenceAt(start, recurrence.length)) {
      keep(*occurrence);
    }
  };

  // Wall times are compared field by field, which is cheap; the margins make up for the zones.
  const double reach = recurrence.length.days * secondsPerDay + recurrence.length.seconds + zoneMargin;
  const icaltimetype earliest = wallTimeNear(from.adding(-reach), recurrence.start);
  const WallTime earliestWall = wallTimeOf(earliest);
  const WallTime latestWall = wallTimeOf(wallTimeNear(to.adding(zoneMargin), recurrence.start));
  const auto inReach = [&](const icaltimetype& start) {
    const WallTime wall = wallTimeOf(start);
    return earliestWall <= wall && wall <= latestWall;
  };

  // DTSTART is always an occurrence, whether or not the rules produce it.
  if (inReach(recurrence.start)) {
    consider(recurrence.start);
  }
  for (const auto& rule : recurrence.rules) {
    const auto iterator = iteratorFrom(rule, recurrence.start, earliest);
    if (!iterator) {
      continue;
    }
    for (icaltimetype next = icalrecur_iterator_next(iterator.get()); !icaltime_is_null_time(next);
         next = icalrecur_iterator_next(iterator.get())) {
      if (latestWall < wallTimeOf(next)) {
        break;
      }
      if (inReach(next)) {
        consider(next);
      }
    }
  }
  for (const auto& occurrence : recurrence.extraOccurrences) {
    keep(occurrence);
  }
  return found;
}

std::optional<Occurrence> extraOccurrence(icalproperty* property, icalcomponent* root, const Length& length) {
  const icaldatetimeperiodtype value = icalproperty_get_rdate(property);
  if (isUsable(value.time)) {
    return occurrenceAt(zoned(value.time, property, root), length);
  }
  if (!isUsable(value.period.start)) {
    return std::nullopt;
  }
  const icaltimetype start = zoned(value.period.start, property, root);
  const auto startInstant = instantOf(start);
  if (!startInstant) {
    return std::nullopt;
  }
  std::optional<Date> end;
  if (isUsable(value.period.end)) {
    end = instantOf(zoned(value.period.end, property, root));
  } else if (!icaldurationtype_is_bad_duration(value.period.duration)) {
    end = startInstant->adding(icaldurationtype_as_int(value.period.duration));
  }
  return Occurrence{.start = *startInstant, .end = std::max(end.value_or(*startInstant), *startInstant)};
}

std::optional<Recurrence> recurrenceOf(icalcomponent* event, icalcomponent* root) {
  icalproperty* startProperty = icalcomponent_get_first_property(event, ICAL_DTSTART_PROPERTY);
  if (startProperty == nullptr) {
    return std::nullopt;
  }
  Recurrence recurrence{.start = zoned(icalproperty_get_dtstart(startProperty), startProperty, root)};
  const auto startInstant = isUsable(recurrence.start) ? instantOf(recurrence.start) : std::nullopt;
  if (!startInstant) {
    return std::nullopt;
  }
  recurrence.length = lengthOf(event, recurrence.start, *startInstant, root);
  for (icalproperty* property = icalcomponent_get_first_property(event, ICAL_RRULE_PROPERTY);
       property != nullptr; property = icalcomponent_get_next_property(event, ICAL_RRULE_PROPERTY)) {
    const icalrecurrencetype rule = icalproperty_get_rrule(property);
    if (rule.freq == ICAL_NO_RECURRENCE) {
      continue;
    }
    if (const auto bounded = rule.count > 0 ? boundedByDate(rule, recurrence.start) : rule) {
      recurrence.rules.push_back(*bounded);
    }
  }
  for (icalproperty* property = icalcomponent_get_first_property(event, ICAL_RDATE_PROPERTY);
       property != nullptr; property = icalcomponent_get_next_property(event, ICAL_RDATE_PROPERTY)) {
    if (const auto occurrence = extraOccurrence(property, root, recurrence.length)) {
      recurrence.extraOccurrences.push_back(*occurrence);
    }
  }
  for (icalproperty* property = icalcomponent_get_first_property(event, ICAL_EXDATE_PROPERTY);
       property != nullptr; property = icalcomponent_get_next_property(event, ICAL_EXDATE_PROPERTY)) {
    const icaltimetype removed = zoned(icalproperty_get_exdate(property), property, root);
    if (!isUsable(removed)) {
      continue;
    }
    if (removed.is_date && !recurrence.start.is_date) {
      recurrence.removedDays.insert({removed.year, removed.month, removed.day});
    } else if (const auto instant = instantOf(removed)) {
      recurrence.removedStarts.insert(secondsKey(*instant));
    }
  }
  return recurrence;
}

/// An overridden instance as it now stands: its own DTSTART, or the instance it replaces when it moves
/// nothing.
std::optional<Occurrence> replacementOccurrence(icalcomponent* event, icalcomponent* root,
                                                const icaltimetype& recurrenceId) {
  icaltimetype start = recurrenceId;
  if (icalproperty* property = icalcomponent_get_first_property(event, ICAL_DTSTART_PROPERTY)) {
    const icaltimetype own = zoned(icalproperty_get_dtstart(property), property, root);
    if (isUsable(own)) {
      start = own;
    }
  }
  const auto startInstant = instantOf(start);
  if (!startInstant) {
    return std::nullopt;
  }
  return occurrenceAt(start, lengthOf(event, start, *startInstant, root));
}

/// One file, read: its series resolved against the device zone of the moment it was read.
struct ParsedFile {
  FileStamp stamp{};
  /// Owns the VTIMEZONEs that the series' times point into.
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

void readSeries(ParsedFile& parsed) {
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
    auto recurrence = recurrenceOf(event, root);
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
    const icaltimetype recurrenceId = zoned(icalproperty_get_recurrenceid(property), property, root);
    if (!isUsable(recurrenceId)) {
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
    const auto replaced = instantOf(recurrenceId);
    if (series.recurrence && replaced) {
      series.recurrence->removedStarts.insert(secondsKey(*replaced));
    }
    if (isCancelled(event)) {
      continue;
    }
    if (const auto occurrence = replacementOccurrence(event, root, recurrenceId)) {
      auto title = textOf(icalcomponent_get_summary(event));
      series.replacements.push_back(
          Replacement{.occurrence = *occurrence, .title = title ? title : series.title});
    }
  }
}

} // namespace

/// What the store and the jobs its watcher posts share, on the owner's thread only.
struct ICalendarEventStore::State {
  std::map<fs::path, ParsedFile> files{};
  /// The device zone the cached files were resolved in.
  std::string zoneID{};
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

  /// The file as last read, read again when it changed; none when it cannot be read at all.
  const ParsedFile* load(const fs::path& file) {
    const auto stamp = stampOf(file);
    if (!stamp) {
      files.erase(file);
      return nullptr;
    }
    if (const auto cached = files.find(file); cached != files.end() && cached->second.stamp == *stamp) {
      return &cached->second;
    }
    ParsedFile parsed{.stamp = *stamp};
    if (const auto text = contentsOf(file)) {
      parsed.root.reset(icalparser_parse_string(text->c_str()));
    }
    if (parsed.root) {
      parsed.calendarName = calendarNameOf(parsed.root.get());
      readSeries(parsed);
    } else {
      logger.notice("Skipping calendar file %s: it holds no iCalendar data", file.string());
    }
    return &(files[file] = std::move(parsed));
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
        inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC), folder_),
        wake_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC), folder_) {
    rootWatch_ = ::inotify_add_watch(inotify_.get(), folder_.c_str(), mask | IN_ONLYDIR);
    if (rootWatch_ < 0) {
      throw std::system_error(errno, std::generic_category(),
                              "cannot watch the calendars at " + folder_.string());
    }
    folders_[rootWatch_] = folder_;
    if (!fileName_) {
      watchCalendarFolders();
    }
    thread_ = std::thread([this] { run(); });
  }

  ~Watcher() {
    const std::uint64_t stop = 1;
    [[maybe_unused]] const auto written = ::write(wake_.get(), &stop, sizeof stop);
    thread_.join();
  }

  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

private:
  static constexpr std::uint32_t mask =
      IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CREATE | IN_DELETE_SELF | IN_MOVE_SELF;
  /// Editors save through temporary files and renames; their steps arrive this close together.
  static constexpr std::chrono::milliseconds quietPeriod{100};
  /// A folder that never stops changing still gets reported this often.
  static constexpr std::chrono::milliseconds longestDelay{1000};

  struct Changes {
    std::set<fs::path> paths{};
    bool everything{};
  };

  void watchFolder(const fs::path& folder) {
    const int watch = ::inotify_add_watch(inotify_.get(), folder.c_str(), mask | IN_ONLYDIR);
    if (watch >= 0) {
      folders_[watch] = folder;
    }
  }

  void unwatchFolder(const fs::path& folder) {
    const auto found = std::find_if(folders_.begin(), folders_.end(),
                                    [&](const auto& entry) { return entry.second == folder; });
    if (found != folders_.end()) {
      ::inotify_rm_watch(inotify_.get(), found->first);
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
  bool note(const inotify_event& event, Changes& changes) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
      changes.everything = true;
      if (!fileName_) {
        watchCalendarFolders();
      }
      return true;
    }
    const auto found = folders_.find(event.wd);
    if (found == folders_.end()) {
      return false;
    }
    const fs::path folder = found->second;
    if ((event.mask & IN_IGNORED) != 0) {
      folders_.erase(found);
      return false;
    }
    if ((event.mask & (IN_DELETE_SELF | IN_MOVE_SELF)) != 0) {
      changes.paths.insert(folder);
      return true;
    }
    const std::string name = event.len > 0 ? std::string(event.name) : std::string();
    if (isHidden(name)) {
      return false;
    }
    if (fileName_) {
      if (name != *fileName_) {
        return false;
      }
    } else if (event.wd == rootWatch_) {
      if ((event.mask & IN_ISDIR) == 0) {
        return false;
      }
      if ((event.mask & (IN_CREATE | IN_MOVED_TO)) != 0) {
        watchFolder(folder / name);
      } else if ((event.mask & IN_MOVED_FROM) != 0) {
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
    alignas(inotify_event) char buffer[16 * 1024];
    bool relevant = false;
    while (true) {
      const ssize_t length = ::read(inotify_.get(), buffer, sizeof buffer);
      if (length < 0 && errno == EINTR) {
        continue;
      }
      if (length <= 0) {
        return relevant;
      }
      for (const char* at = buffer; at < buffer + length;) {
        const auto* event = reinterpret_cast<const inotify_event*>(at);
        relevant = note(*event, changes) || relevant;
        at += sizeof(inotify_event) + event->len;
      }
    }
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
      int timeout = -1;
      if (settling) {
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(reportAt - SteadyClock::now());
        timeout = int(std::max<std::int64_t>(wait.count(), 0));
      }
      std::array<pollfd, 2> descriptors{pollfd{.fd = inotify_.get(), .events = POLLIN, .revents = 0},
                                        pollfd{.fd = wake_.get(), .events = POLLIN, .revents = 0}};
      if (::poll(descriptors.data(), descriptors.size(), timeout) < 0) {
        if (errno == EINTR) {
          continue;
        }
        return;
      }
      if (descriptors[1].revents != 0) {
        return;
      }
      if ((descriptors[0].revents & POLLIN) != 0 && readEvents(changes)) {
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
  FileDescriptor inotify_;
  FileDescriptor wake_;
  int rootWatch_ = -1;
  /// Watched folders by watch descriptor; only the thread touches it once it runs.
  std::map<int, fs::path> folders_;
  std::thread thread_;
};

ICalendarEventStore::ICalendarEventStore(std::optional<std::filesystem::path> location, Executor& owner)
    : location_(std::move(location)), owner_(owner), state_(std::make_shared<State>()) {}

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
    const ParsedFile* parsed = state_->load(*location_);
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
    const auto displayName = contentsOf(entry->path() / "displayname");
    const std::string title = displayName ? trimmed(*displayName) : std::string();
    const auto color = contentsOf(entry->path() / "color");
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
  state_->followDeviceZone();
  std::error_code error;
  const bool singleFile = fs::is_regular_file(*location_, error);
  std::vector<EventStoreEvent> found;
  const std::set<std::string> wanted(calendarIds.begin(), calendarIds.end());
  for (const auto& calendarId : wanted) {
    std::vector<fs::path> files;
    if (singleFile) {
      if (calendarId == location_->filename().string()) {
        files.push_back(*location_);
      }
    } else if (!isHidden(calendarId) && calendarId.find('/') == std::string::npos) {
      const fs::path folder = *location_ / calendarId;
      for (fs::directory_iterator entry(folder, error), last; !error && entry != last;
           entry.increment(error)) {
        if (!isHidden(entry->path().filename().string()) &&
            hasCalendarExtension(entry->path().filename().string())) {
          files.push_back(entry->path());
        }
      }
      error.clear();
      state_->prune(folder, std::set<fs::path>(files.begin(), files.end()));
    }
    for (const auto& file : files) {
      const ParsedFile* parsed = state_->load(file);
      if (parsed == nullptr) {
        continue;
      }
      for (const auto& series : parsed->series) {
        const auto add = [&](const Occurrence& occurrence, const std::optional<std::string>& title) {
          if (overlaps(occurrence, start, end)) {
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
          for (const auto& occurrence : expand(*series.recurrence, start, end)) {
            add(occurrence, series.title);
          }
        }
      }
    }
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
