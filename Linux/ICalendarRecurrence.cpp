#include "Linux/ICalendarRecurrence.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <strings.h>

namespace vantrel {
namespace {

constexpr std::int64_t secondsPerDay = 86400;
/// A clock change moves a zone against UTC by two hours at most (double summer time), so the wall-time
/// bounds of a query, taken from the offsets at its two ends, widen by this much on either side.
constexpr std::int64_t clockChangeMargin = 3 * 3600;
/// Wall-second sums saturate here; wallTimeAt holds them to libical's years.
constexpr std::int64_t farFuture = std::numeric_limits<std::int64_t>::max() / 4;

struct IteratorFree {
  void operator()(icalrecur_iterator* iterator) const { icalrecur_iterator_free(iterator); }
};
using IteratorPointer = std::unique_ptr<icalrecur_iterator, IteratorFree>;

std::int64_t secondsKey(Date instant) {
  return std::llround(instant.unixSeconds());
}

/// `base + count * step`, or farFuture when that does not fit.
std::int64_t advanced(std::int64_t base, std::int64_t count, std::int64_t step) {
  if (count > 0 && step > 0 && count > (farFuture - std::max<std::int64_t>(base, 0)) / step) {
    return farFuture;
  }
  return base + count * step;
}

bool overlaps(const ICalendarOccurrence& occurrence, Date from, Date to) {
  if (occurrence.start == occurrence.end) {
    return from <= occurrence.start && occurrence.start < to;
  }
  return occurrence.start < to && occurrence.end > from;
}

bool isSubDaily(icalrecurrencetype_frequency frequency) {
  return frequency == ICAL_SECONDLY_RECURRENCE || frequency == ICAL_MINUTELY_RECURRENCE ||
         frequency == ICAL_HOURLY_RECURRENCE;
}

/// One step of the rule on the clock: exact up to a week, the longest month or year beyond, so that a
/// number of steps from a start never falls short of where the rule gets in that many steps.
std::int64_t stepSeconds(const icalrecurrencetype& rule) {
  const std::int64_t interval = std::max<std::int64_t>(rule.interval, 1);
  switch (rule.freq) {
  case ICAL_SECONDLY_RECURRENCE:
    return interval;
  case ICAL_MINUTELY_RECURRENCE:
    return 60 * interval;
  case ICAL_HOURLY_RECURRENCE:
    return 3600 * interval;
  case ICAL_DAILY_RECURRENCE:
    return secondsPerDay * interval;
  case ICAL_WEEKLY_RECURRENCE:
    return 7 * secondsPerDay * interval;
  case ICAL_MONTHLY_RECURRENCE:
    return 31 * secondsPerDay * interval;
  default:
    return 366 * secondsPerDay * interval;
  }
}

bool hasByParts(const icalrecurrencetype& rule) {
  const auto used = [](const short* values) { return values[0] != ICAL_RECURRENCE_ARRAY_MAX; };
  return used(rule.by_second) || used(rule.by_minute) || used(rule.by_hour) || used(rule.by_day) ||
         used(rule.by_month_day) || used(rule.by_year_day) || used(rule.by_week_no) || used(rule.by_month) ||
         used(rule.by_set_pos);
}

/// The wall seconds of the last start that the rule's COUNT reaches, for rules whose starts lie evenly on
/// the clock: no BY parts, the Gregorian calendar, and a day of the month that every month (or year) has.
/// Then the n-th start is DTSTART plus n steps, and even a COUNT of two billion needs no walk.
std::optional<std::int64_t> countedEnd(const icalrecurrencetype& rule, const icaltimetype& start) {
  if (hasByParts(rule) || (rule.rscale != nullptr && ::strcasecmp(rule.rscale, "GREGORIAN") != 0)) {
    return std::nullopt;
  }
  const std::int64_t steps = std::int64_t(rule.count) - 1;
  const std::int64_t interval = std::max<std::int64_t>(rule.interval, 1);
  std::int64_t months = 0;
  switch (rule.freq) {
  case ICAL_MONTHLY_RECURRENCE:
    if (start.day > 28) {
      return std::nullopt;
    }
    months = steps * interval;
    break;
  case ICAL_YEARLY_RECURRENCE:
    if (start.month == 2 && start.day == 29) {
      return std::nullopt;
    }
    months = steps * interval * 12;
    break;
  default:
    return advanced(wallSecondsOf(start), steps, stepSeconds(rule));
  }
  const std::int64_t month = std::int64_t(start.month - 1) + months;
  if (start.year + month / 12 > lastUsableYear) {
    return farFuture;
  }
  icaltimetype last = start;
  last.year = int(start.year + month / 12);
  last.month = int(month % 12) + 1;
  return wallSecondsOf(last);
}

/// Walks a COUNT rule once from DTSTART, at most `mostSteps` starts and as far on the clock as that many
/// steps go. The wall seconds of its last start when the count ends inside that (a second before DTSTART
/// when it yields nothing); none when it does not.
std::optional<std::int64_t> walkedEnd(icalrecurrencetype rule, const icaltimetype& start,
                                      std::size_t mostSteps) {
  const std::int64_t reachable = advanced(wallSecondsOf(start), std::int64_t(mostSteps), stepSeconds(rule));
  rule.until = wallTimeAt(reachable, start);
  const IteratorPointer iterator(icalrecur_iterator_new(rule, start));
  if (!iterator) {
    return std::nullopt;
  }
  std::size_t steps = 0;
  std::optional<std::int64_t> last;
  for (icaltimetype next = icalrecur_iterator_next(iterator.get()); !icaltime_is_null_time(next);
       next = icalrecur_iterator_next(iterator.get())) {
    if (++steps > mostSteps) {
      return std::nullopt;
    }
    next.zone = start.zone;
    next.is_date = start.is_date;
    last = wallSecondsOf(next);
  }
  if (steps < std::size_t(rule.count) && rule.until.year < lastUsableYear) {
    // Stopped by the end of the walk, not by the count.
    return std::nullopt;
  }
  return last.value_or(wallSecondsOf(start) - 1);
}

/// `rule` as queries expand it; none when it adds nothing to DTSTART.
std::optional<icalrecurrencetype> prepared(icalrecurrencetype rule, const icaltimetype& start,
                                           std::size_t mostSteps) {
  // libical looks as far as the year 20000 for the first instance of a rule that has none, which takes
  // it up to a second: such a rule is found once here rather than on every query.
  if (!IteratorPointer(icalrecur_iterator_new(rule, start))) {
    return std::nullopt;
  }
  if (rule.count <= 0) {
    rule.count = 0;
    return rule;
  }
  auto end = countedEnd(rule, start);
  if (!end) {
    end = walkedEnd(rule, start, mostSteps);
  }
  if (!end) {
    // Too long to count once: queries walk it from DTSTART, as far as their limit allows.
    return rule;
  }
  if (*end < wallSecondsOf(start)) {
    return std::nullopt;
  }
  rule.count = 0;
  // An end past libical's years lands on the last of them, which its iterator never reaches.
  rule.until = wallTimeAt(*end, start);
  return rule;
}

/// The rule's UNTIL as wall seconds on DTSTART's clock, counting a date as its whole day.
std::optional<std::int64_t> untilOf(const icalrecurrencetype& rule, const icaltimetype& start,
                                    ICalendarClock& clock) {
  if (icaltime_is_null_time(rule.until)) {
    return std::nullopt;
  }
  const icaltimetype& until = rule.until;
  if (until.is_date != 0) {
    return wallSecondsOf(until) + secondsPerDay - 1;
  }
  if (start.is_date == 0 && start.zone != nullptr && until.zone != nullptr && until.zone != start.zone) {
    return clock.wallSecondsOn(until, start);
  }
  return wallSecondsOf(until);
}

std::optional<Date> endOf(const icaltimetype& start, Date startInstant,
                          const ICalendarRecurrence::Length& length, ICalendarClock& clock) {
  Date base = startInstant;
  if (length.days != 0) {
    // Whole days on the clock; libical's icaltime_adjust walks month by month, far too slowly for the
    // lengths a hostile DURATION can give.
    const auto moved =
        clock.instantOf(wallTimeAt(wallSecondsOf(start) + std::int64_t(length.days) * secondsPerDay, start));
    if (!moved) {
      return std::nullopt;
    }
    base = *moved;
  }
  return std::max(base.adding(length.seconds), startInstant);
}

std::optional<ICalendarOccurrence>
occurrenceAt(const icaltimetype& start, const ICalendarRecurrence::Length& length, ICalendarClock& clock) {
  const auto startInstant = clock.instantOf(start);
  if (!startInstant) {
    return std::nullopt;
  }
  const auto end = endOf(start, *startInstant, length, clock);
  if (!end) {
    return std::nullopt;
  }
  return ICalendarOccurrence{.start = *startInstant, .end = *end, .isAllDay = start.is_date != 0};
}

std::optional<ICalendarOccurrence> extraOccurrence(icalproperty* property, icalcomponent* root,
                                                   const ICalendarRecurrence::Length& length,
                                                   ICalendarClock& clock) {
  const icaldatetimeperiodtype value = icalproperty_get_rdate(property);
  if (isUsableTime(value.time)) {
    return occurrenceAt(zonedTime(value.time, property, root), length, clock);
  }
  if (!isUsableTime(value.period.start)) {
    return std::nullopt;
  }
  const auto startInstant = clock.instantOf(zonedTime(value.period.start, property, root));
  if (!startInstant) {
    return std::nullopt;
  }
  std::optional<Date> end;
  if (isUsableTime(value.period.end)) {
    end = clock.instantOf(zonedTime(value.period.end, property, root));
  } else if (!icaldurationtype_is_bad_duration(value.period.duration)) {
    end = startInstant->adding(icaldurationtype_as_int(value.period.duration));
  }
  return ICalendarOccurrence{.start = *startInstant,
                             .end = std::max(end.value_or(*startInstant), *startInstant)};
}

ICalendarRecurrence::Length lengthOf(icalcomponent* event, const icaltimetype& start, Date startInstant,
                                     icalcomponent* root, ICalendarClock& clock) {
  if (icalproperty* property = icalcomponent_get_first_property(event, ICAL_DTEND_PROPERTY)) {
    const icaltimetype end = zonedTime(icalproperty_get_dtend(property), property, root);
    if (isUsableTime(end) && start.is_date != 0 && end.is_date != 0) {
      const auto days = (wallSecondsOf(end) - wallSecondsOf(start)) / secondsPerDay;
      return {.days = int(std::max<std::int64_t>(days, 1))};
    }
    if (isUsableTime(end) && start.is_date == 0) {
      if (const auto endInstant = clock.instantOf(end)) {
        return {.seconds = std::max(endInstant->timeIntervalSince(startInstant), 0.0)};
      }
    }
  }
  if (icalproperty* property = icalcomponent_get_first_property(event, ICAL_DURATION_PROPERTY)) {
    const icaldurationtype duration = icalproperty_get_duration(property);
    if (!icaldurationtype_is_bad_duration(duration) && duration.is_neg == 0) {
      const std::int64_t days = std::int64_t(duration.weeks) * 7 + std::int64_t(duration.days);
      const double seconds = duration.hours * 3600.0 + duration.minutes * 60.0 + duration.seconds;
      // More days than libical's years hold end on the last of them all the same.
      const int heldDays = int(std::min<std::int64_t>(days, std::int64_t(lastUsableYear + 1) * 366));
      if (start.is_date != 0) {
        return {.days = std::max(1, heldDays + int(std::ceil(seconds / double(secondsPerDay))))};
      }
      return {.days = heldDays, .seconds = seconds};
    }
  }
  return start.is_date != 0 ? ICalendarRecurrence::Length{.days = 1} : ICalendarRecurrence::Length{};
}

} // namespace

/// One query's expansion: the wall-time bounds of the starts that can meet [from, to), the starts
/// already kept, and what was found.
class ICalendarRecurrence::Query {
public:
  Query(const ICalendarRecurrence& recurrence, Date from, Date to, ICalendarClock& clock,
        std::size_t mostSteps)
      : recurrence_(recurrence), from_(from), to_(to), clock_(clock), mostSteps_(mostSteps) {
    // The bounds are taken on DTSTART's clock from the offsets at both ends of the query, so a series
    // that steps by the second costs what the interval holds plus the margins, not whole days of them.
    const double reach = recurrence.length_.days * double(secondsPerDay) + recurrence.length_.seconds;
    const Date earliest = from.adding(-reach);
    const std::int64_t earliestOffset = clock.offsetAt(earliest, recurrence.start_);
    const std::int64_t latestOffset = clock.offsetAt(to, recurrence.start_);
    earliest_ = boundedUnixSeconds(earliest) + std::min(earliestOffset, latestOffset) - clockChangeMargin;
    latest_ = boundedUnixSeconds(to) + std::max(earliestOffset, latestOffset) + clockChangeMargin;
  }

  Expansion run() {
    const ICalendarRecurrence& recurrence = recurrence_;
    if (recurrence.first_ && !isRemovedDay(recurrence.start_)) {
      keep(*recurrence.first_);
    }
    for (const auto& occurrence : recurrence.extraOccurrences_) {
      keep(occurrence);
    }
    if (latest_ >= wallSecondsOf(recurrence.start_)) {
      for (const auto& rule : recurrence.rules_) {
        expand(rule);
      }
    }
    return std::move(expansion_);
  }

private:
  bool isRemovedDay(const icaltimetype& start) const {
    return recurrence_.removedDays_.contains({start.year, start.month, start.day});
  }

  void keep(const ICalendarOccurrence& occurrence) {
    const auto key = secondsKey(occurrence.start);
    if (!recurrence_.removedStarts_.contains(key) && overlaps(occurrence, from_, to_) &&
        seen_.insert(key).second) {
      expansion_.occurrences.push_back(occurrence);
    }
  }

  void consider(icaltimetype start) {
    if (isRemovedDay(start)) {
      return;
    }
    if (const auto occurrence = occurrenceAt(start, recurrence_.length_, clock_)) {
      keep(*occurrence);
    }
  }

  void expand(const icalrecurrencetype& rule) {
    const icaltimetype& start = recurrence_.start_;
    const std::int64_t startWall = wallSecondsOf(start);
    const std::int64_t step = stepSeconds(rule);
    const auto until = untilOf(rule, start, clock_);
    if (until && *until < earliest_) {
      return;
    }

    // Where the walk begins. A COUNT must be counted from DTSTART. A sub-daily rule steps evenly through
    // the clock, so a later DTSTART on the same grid gives the same starts from there on (libical's
    // set_start would leave the grid). Daily and coarser rules keep their grid through set_start. What
    // comes before the bounds is skipped below.
    icaltimetype walkStart = start;
    std::optional<icaltimetype> setStart;
    std::int64_t walkFrom = startWall;
    if (rule.count == 0 && earliest_ > startWall) {
      if (isSubDaily(rule.freq)) {
        walkFrom = startWall + (earliest_ - startWall - 1) / step * step;
        walkStart = wallTimeAt(walkFrom, start);
      } else {
        walkFrom = earliest_;
        setStart = wallTimeAt(earliest_, start);
      }
    }

    // libical searches for the next start inside a single call, past any number of times that its BY
    // parts reject (a rule by the second limited to February looks through a year of seconds). An UNTIL
    // at the end of the bounds, or of the steps allowed, is what stops that search.
    const std::int64_t reachable = advanced(walkFrom, std::int64_t(mostSteps_), step);
    if (reachable < earliest_) {
      expansion_.stopped = true;
      return;
    }
    const std::int64_t end = std::min(latest_, reachable);
    icalrecurrencetype bounded = rule;
    // An UNTIL of the rule's own within a day of that end bounds the search as well, and is safer to
    // keep than to compare across zones.
    const bool endsHere = !until || end < *until - secondsPerDay;
    if (endsHere) {
      bounded.until = wallTimeAt(end, start);
    } else if (ICalendarClock::isSystemZone(start.zone) && bounded.until.is_date == 0) {
      // libical would compare a UTC UNTIL with the stand-in's wall times as if both were UTC.
      bounded.until = wallTimeAt(*until, start);
    }

    const IteratorPointer iterator(icalrecur_iterator_new(bounded, walkStart));
    if (!iterator) {
      return;
    }
    if (setStart) {
      icalrecur_iterator_set_start(iterator.get(), *setStart);
    }
    std::size_t steps = 0;
    for (icaltimetype next = icalrecur_iterator_next(iterator.get()); !icaltime_is_null_time(next);
         next = icalrecur_iterator_next(iterator.get())) {
      if (++steps > mostSteps_) {
        expansion_.stopped = true;
        return;
      }
      next.zone = start.zone;
      next.is_date = start.is_date;
      const std::int64_t wall = wallSecondsOf(next);
      if (wall > latest_) {
        return;
      }
      if (wall >= earliest_) {
        consider(next);
      }
    }
    const bool counted = rule.count > 0 && steps >= std::size_t(rule.count);
    if (endsHere && reachable < latest_ && !counted) {
      expansion_.stopped = true;
    }
  }

  const ICalendarRecurrence& recurrence_;
  Date from_;
  Date to_;
  ICalendarClock& clock_;
  std::size_t mostSteps_;
  std::int64_t earliest_{};
  std::int64_t latest_{};
  std::set<std::int64_t> seen_{};
  Expansion expansion_{};
};

std::optional<ICalendarRecurrence> ICalendarRecurrence::read(icalcomponent* event, icalcomponent* root,
                                                             ICalendarClock& clock, std::size_t mostSteps) {
  icalproperty* startProperty = icalcomponent_get_first_property(event, ICAL_DTSTART_PROPERTY);
  if (startProperty == nullptr) {
    return std::nullopt;
  }
  ICalendarRecurrence recurrence;
  recurrence.start_ = zonedTime(icalproperty_get_dtstart(startProperty), startProperty, root);
  const auto startInstant =
      isUsableTime(recurrence.start_) ? clock.instantOf(recurrence.start_) : std::nullopt;
  if (!startInstant) {
    return std::nullopt;
  }
  recurrence.length_ = lengthOf(event, recurrence.start_, *startInstant, root, clock);
  recurrence.first_ = occurrenceAt(recurrence.start_, recurrence.length_, clock);
  for (icalproperty* property = icalcomponent_get_first_property(event, ICAL_RRULE_PROPERTY);
       property != nullptr; property = icalcomponent_get_next_property(event, ICAL_RRULE_PROPERTY)) {
    const icalrecurrencetype rule = icalproperty_get_rrule(property);
    if (rule.freq == ICAL_NO_RECURRENCE ||
        (!icaltime_is_null_time(rule.until) && !isUsableTime(rule.until))) {
      continue;
    }
    if (const auto ready = prepared(rule, recurrence.start_, mostSteps)) {
      recurrence.rules_.push_back(*ready);
    }
  }
  for (icalproperty* property = icalcomponent_get_first_property(event, ICAL_RDATE_PROPERTY);
       property != nullptr; property = icalcomponent_get_next_property(event, ICAL_RDATE_PROPERTY)) {
    if (const auto occurrence = extraOccurrence(property, root, recurrence.length_, clock)) {
      recurrence.extraOccurrences_.push_back(*occurrence);
    }
  }
  for (icalproperty* property = icalcomponent_get_first_property(event, ICAL_EXDATE_PROPERTY);
       property != nullptr; property = icalcomponent_get_next_property(event, ICAL_EXDATE_PROPERTY)) {
    const icaltimetype removed = zonedTime(icalproperty_get_exdate(property), property, root);
    if (!isUsableTime(removed)) {
      continue;
    }
    if (removed.is_date != 0 && recurrence.start_.is_date == 0) {
      recurrence.removedDays_.insert({removed.year, removed.month, removed.day});
    } else if (const auto instant = clock.instantOf(removed)) {
      recurrence.removedStarts_.insert(secondsKey(*instant));
    }
  }
  return recurrence;
}

std::optional<ICalendarOccurrence> ICalendarRecurrence::occurrenceOf(icalcomponent* event,
                                                                     const icaltimetype& start,
                                                                     icalcomponent* root,
                                                                     ICalendarClock& clock) {
  const auto startInstant = clock.instantOf(start);
  if (!startInstant) {
    return std::nullopt;
  }
  return occurrenceAt(start, lengthOf(event, start, *startInstant, root, clock), clock);
}

void ICalendarRecurrence::exclude(Date start) {
  removedStarts_.insert(secondsKey(start));
}

ICalendarRecurrence::Expansion ICalendarRecurrence::expand(Date from, Date to, ICalendarClock& clock,
                                                           std::size_t mostSteps) const {
  return Query(*this, from, to, clock, mostSteps).run();
}

} // namespace vantrel
