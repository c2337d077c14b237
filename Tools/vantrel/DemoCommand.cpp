#include "Tools/vantrel/DemoCommand.hpp"

#include "Linux/JSONFilePreferences.hpp"
#include "Tools/vantrel/CalendarCommands.hpp"
#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace vantrel::cli {
namespace {

struct DemoCounts {
  int areas = 0;
  int projects = 0;
  int tasks = 0;
  int gaps = 0;
  int events = 0;
};

/// Monday is 0; 2026-01-05 was a Monday.
int weekdayOf(const CalendarDate& day) {
  return ((day.daysSince(CalendarDate{2026, 1, 5}) % 7) + 7) % 7;
}

bool isWeekend(const CalendarDate& day) {
  return weekdayOf(day) >= 5;
}

/// The day, or the Monday after it when it falls on a weekend: appointments keep to working days.
CalendarDate workingDayFrom(CalendarDate day) {
  while (isWeekend(day)) {
    day = day.adding(1);
  }
  return day;
}

struct DemoGap {
  const char* time;
  const char* label;
  bool reminder;
};

// The gaps open where the events below leave time: after the stand-up, after lunch (and the lunch with
// a friend), after work, and on weekend mornings before the market.
constexpr DemoGap workdayGaps[] = {
    {"09:45", "Deep work", true}, {"13:30", "Admin", false}, {"17:30", "Errands", false}};
constexpr DemoGap weekendGaps[] = {{"08:00", "Long run", true}, {"10:30", "House and garden", false}};

std::span<const DemoGap> gapsOf(const CalendarDate& day) {
  return isWeekend(day) ? std::span<const DemoGap>(weekendGaps) : std::span<const DemoGap>(workdayGaps);
}

// Record names are fixed where the store takes one, so the same clock and zone give the same week. They
// cannot meet the store's own names, whose suffixes are hexadecimal.
std::string gapName(const CalendarDate& day, std::string time) {
  std::erase(time, ':');
  return "g-demo-" + day.description() + "-" + time;
}

std::string icalendarTime(Date instant) {
  const auto unixTime = static_cast<std::time_t>(instant.unixSeconds());
  std::tm utc{};
  gmtime_r(&unixTime, &utc);
  char text[24];
  std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &utc);
  return text;
}

std::string icalendarDay(const CalendarDate& day) {
  char text[16];
  std::snprintf(text, sizeof text, "%04d%02d%02d", int(day.year), int(day.month), int(day.day));
  return text;
}

/// A vdir folder as calendar sync tools keep one: a folder per calendar with its name and colour, and a
/// file per event. The files are gathered, then saved together.
class DemoCalendars {
public:
  explicit DemoCalendars(std::filesystem::path folder) : folder_(std::move(folder)) {
    for (const auto& [id, name, color] :
         {std::tuple{"work", "Work", "#2E6FD8"}, {"personal", "Personal", "#D9822B"}}) {
      files_.emplace_back(folder_ / id / "displayname", std::string(name) + "\n");
      files_.emplace_back(folder_ / id / "color", std::string(color) + "\n");
    }
  }

  const std::filesystem::path& folder() const { return folder_; }
  int count() const { return count_; }

  /// Writes every file, private like the rest of the profile. A calendar that silently lacks its events
  /// would mislead more than a demo that stops, so a failure throws.
  void save(FileSystem& fileSystem) const {
    std::vector<AtomicFileWriter::File> files;
    for (const auto& [file, text] : files_) {
      fileSystem.createDirectories(file.parent_path());
      files.push_back({file, text});
    }
    AtomicFileWriter(fileSystem).writeFiles(files);
  }

  /// An event from `hour`:`minute` for `minutes` on the day's clock.
  void add(const std::string& calendar, const std::string& title, const CalendarDate& day, int hour,
           int minute, int minutes) {
    const auto start = day.localTime(hour, minute);
    if (!start) {
      return;
    }
    write(calendar, title,
          "DTSTART:" + icalendarTime(*start) + "\r\nDTEND:" + icalendarTime(start->adding(minutes * 60.0)));
  }
  void addAllDay(const std::string& calendar, const std::string& title, const CalendarDate& day) {
    write(calendar, title,
          "DTSTART;VALUE=DATE:" + icalendarDay(day) + "\r\nDTEND;VALUE=DATE:" + icalendarDay(day.adding(1)));
  }

private:
  void write(const std::string& calendar, const std::string& title, const std::string& times) {
    const auto uid = "demo-" + std::to_string(++count_);
    files_.emplace_back(
        folder_ / calendar / (uid + ".ics"),
        "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Vantrel//Demo//EN\r\nBEGIN:VEVENT\r\nUID:" + uid +
            "\r\nDTSTAMP:20260101T000000Z\r\nSUMMARY:" + title + "\r\n" + times +
            "\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
  }

  std::filesystem::path folder_;
  std::vector<std::pair<std::filesystem::path, std::string>> files_;
  int count_ = 0;
};

void addEvents(DemoCalendars& calendars, const CalendarDate& today) {
  for (int offset = 0; offset < 7; ++offset) {
    const auto day = today.adding(offset);
    const auto weekday = weekdayOf(day);
    if (weekday < 5) {
      calendars.add("work", "Stand-up", day, 9, 30, 15);
    }
    if (weekday == 0) {
      calendars.add("work", "Week planning", day, 11, 0, 60);
    }
    if (weekday == 3) {
      calendars.add("work", "Design review", day, 15, 0, 60);
    }
    if (weekday == 5) {
      calendars.add("personal", "Farmers' market", day, 12, 0, 60);
    }
  }
  calendars.add("personal", "Lunch with Sam", workingDayFrom(today.adding(2)), 12, 30, 60);
  calendars.add("personal", "Dentist", workingDayFrom(today.adding(3)), 16, 0, 45);
  calendars.addAllDay("personal", "Mum's birthday", today.adding(5));
}

void fill(CloudKitStore& store, const CalendarDate& today, DemoCounts& counts) {
  const auto area = [&](std::string_view name, const char* color, const char* icon) {
    ++counts.areas;
    return store.addArea(name, color, icon);
  };
  const auto project = [&](std::string_view name, const std::string& in,
                           std::optional<std::string> purpose = {}) {
    ++counts.projects;
    return store.addProject(name, in, std::move(purpose));
  };
  const auto task = [&](const std::string& in, const std::string& key, std::string_view title) {
    ++counts.tasks;
    return store.addTaskToProject(in, title, {.recordName = "t-demo-" + key});
  };
  const auto areaTask = [&](const std::string& in, const std::string& key, std::string_view title) {
    ++counts.tasks;
    return store.addTaskToArea(in, title, {.recordName = "t-demo-" + key});
  };
  const auto subtask = [&](const std::string& parent, const std::string& key, std::string_view title) {
    store.addSubtask(parent, title, parent + "-" + key);
  };
  const auto done = [&](const std::string& name) { store.setTaskDone(name, true); };
  const auto due = [&](const std::string& name, int inDays) {
    store.setTaskDueDate(name, today.adding(inDays).localNoon());
  };

  const auto work = area("Work", "blue", "briefcase");
  const auto home = area("Home", "green", "house");
  const auto health = area("Health", "orange", "heart");

  // Tasks are added in list order, so each lands under the header added just before it.
  const auto launch = project("Website relaunch", work, "Ship the new site before the spring campaign.");
  store.setProjectPinned(launch, true);
  store.setProjectDueDate(launch, today.adding(12).localNoon());
  store.addHeaderToProject(launch, "Design");
  const auto wireframes = task(launch, "wireframes", "Review the wireframes with Alex");
  done(task(launch, "palette", "Settle the colour palette"));
  task(launch, "photos", "Pick photos for the hero section");
  store.addHeaderToProject(launch, "Build");
  const auto landingPage = task(launch, "landing-page", "Build the landing page");
  subtask(landingPage, "hero", "Hero section");
  subtask(landingPage, "pricing", "Pricing table");
  subtask(landingPage, "sign-up", "Sign-up form");
  const auto redirects = task(launch, "redirects", "Set up redirects from the old URLs");
  due(redirects, 9);
  task(launch, "announcement", "Write the launch announcement");

  const auto report = project("Quarterly report", work);
  const auto numbers = task(report, "numbers", "Pull the numbers from the dashboard");
  const auto draft = task(report, "draft", "Draft the summary");
  due(draft, 4);
  const auto sendDraft = task(report, "send-draft", "Send the draft to Alex for comments");
  const auto hiring = project("Hire a designer", work);
  done(task(hiring, "job-ad", "Post the job ad"));
  const auto shortlist = task(hiring, "shortlist", "Shortlist five portfolios");
  task(hiring, "questions", "Write the interview questions");
  const auto quote = areaTask(work, "agency-quote", "Reply to the agency's quote");
  due(quote, 0);
  due(areaTask(work, "conference", "Renew the conference ticket"), 6);

  const auto garden = project("Spring garden", home);
  done(task(garden, "compost", "Order compost"));
  const auto seeds = task(garden, "seeds", "Buy tomato and basil seeds");
  const auto beds = task(garden, "raised-beds", "Dig over the raised beds");
  subtask(beds, "spade", "Find the spade");
  const auto trip = project("Plan the summer trip", home, "Two weeks by the sea in August.");
  task(trip, "ferry", "Compare train and ferry prices");
  task(trip, "dates", "Ask Sam about the dates");
  const auto passport = task(trip, "passport", "Renew my passport");
  due(passport, 21);
  subtask(passport, "photo", "Get a new passport photo");
  subtask(passport, "form", "Fill in the form");
  const auto bill = areaTask(home, "bill", "Pay the electricity bill");
  due(bill, 2);
  const auto plants = areaTask(home, "plants", "Water the plants");
  const auto door = areaTask(home, "door", "Fix the squeaky bedroom door");
  done(areaTask(home, "library", "Return the library books"));

  const auto run = project("Run 10k in June", health, "Run 10k without stopping by the first of June.");
  const auto intervals = task(run, "intervals", "Interval session: 6 × 400 m");
  const auto longRun = task(run, "long-run", "Long run: 8 km");
  const auto shoes = task(run, "shoes", "Buy new running shoes");
  task(run, "race", "Sign up for the June race");
  done(areaTask(health, "dentist", "Book the dentist check-up"));
  areaTask(health, "stretch", "Stretch for ten minutes");
  areaTask(health, "prescription", "Refill the prescription");

  int captured = 0;
  for (const auto& [key, title] : {std::pair{"newsletter", "Idea: a newsletter for the relaunch"},
                                   {"plumber", "Call the plumber about the tap"},
                                   {"concert", "Book tickets for Friday's concert"}}) {
    const auto at = today.localTime(8, 10 * captured++).value_or(today.localNoon());
    store.addInboxItem(title, std::nullopt, at, "i-demo-" + std::string(key));
  }

  for (int offset = 0; offset < 7; ++offset) {
    const auto day = today.adding(offset);
    for (const auto& gap : gapsOf(day)) {
      store.addGap(day, gap.time, std::string(gap.label), gap.reminder, gapName(day, gap.time));
      ++counts.gaps;
    }
  }

  // Today and tomorrow are planned into their gaps, each as the kind of day it is; no task twice.
  using Plan = std::vector<std::pair<std::string, std::vector<std::string>>>;
  const Plan workdayToday{
      {"09:45", {wireframes, landingPage}}, {"13:30", {quote, numbers}}, {"17:30", {seeds}}};
  const Plan workdayTomorrow{
      {"09:45", {redirects, draft}}, {"13:30", {shortlist, sendDraft}}, {"17:30", {bill}}};
  const Plan weekendToday{{"08:00", {longRun}}, {"10:30", {seeds, beds}}};
  const Plan weekendTomorrow{{"08:00", {intervals}}, {"10:30", {door, bill}}};
  const auto tomorrow = today.adding(1);
  for (const auto& [day, plan] : {std::pair{today, isWeekend(today) ? &weekendToday : &workdayToday},
                                  {tomorrow, isWeekend(tomorrow) ? &weekendTomorrow : &workdayTomorrow}}) {
    for (const auto& [gap, tasks] : *plan) {
      for (const auto& name : tasks) {
        store.setTaskSchedule(name, day, gap);
      }
    }
  }
  // Planned for a day but not for a time: the day view lists them apart from the gaps.
  store.setTaskSchedule(plants, today, std::nullopt);
  store.setTaskSchedule(shoes, today.adding(3), std::nullopt);
}

} // namespace

void addDemoCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  app.add_subcommand("demo", "Fill a fresh profile with a believable week of plans and calendar events")
      ->callback([context] {
        DemoCounts counts;
        context->run(
            [&](PlannerRun& run) {
              auto& store = run.store;
              const auto& environment = run.environment;
              const auto& cache = store.cache();
              if (!cache.areas().empty() || !cache.projects().empty() || !cache.tasks().empty() ||
                  !cache.gaps().empty() || !cache.inbox().empty()) {
                throw std::invalid_argument("the profile already holds data; vantrel demo fills only a fresh "
                                            "profile (use --profile DIR with a new folder)");
              }
              const auto today = run.today;
              fill(store, today, counts);
              DemoCalendars calendars(environment.paths().applicationSupportDirectory / "Vantrel" /
                                      "demo-calendars");
              addEvents(calendars, today);
              calendars.save(environment.fileSystem());
              counts.events = calendars.count();
              JSONFilePreferences::standard(environment.paths())
                  ->setValue(calendarFolderKey, calendars.folder().string());
            },
            [&](PlannerRun& run) {
              if (run.output.json()) {
                JSONWriter json;
                json.startObject();
                for (const auto& [key, value] : {std::pair{"areas", counts.areas},
                                                 {"projects", counts.projects},
                                                 {"tasks", counts.tasks},
                                                 {"gaps", counts.gaps},
                                                 {"events", counts.events}}) {
                  json.key(key);
                  json.int64(value);
                }
                json.endObject();
                return run.output.print(json);
              }
              run.output.changed("Filled the profile with " + std::to_string(counts.areas) + " areas, " +
                                 std::to_string(counts.projects) + " projects, " +
                                 std::to_string(counts.tasks) + " tasks, " + std::to_string(counts.gaps) +
                                 " gaps and " + std::to_string(counts.events) +
                                 " calendar events. Try: vantrel today, vantrel widget --waybar");
            });
      });
}

} // namespace vantrel::cli
