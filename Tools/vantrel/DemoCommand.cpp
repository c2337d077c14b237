#include "Tools/vantrel/DemoCommand.hpp"

#include "Linux/JSONFilePreferences.hpp"
#include "Tools/vantrel/CalendarCommands.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

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

std::string icalendarTime(Date instant) {
  const auto unixTime = static_cast<std::time_t>(instant.secondsSinceReferenceDate + 978307200.0);
  char text[24];
  std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", std::gmtime(&unixTime));
  return text;
}

std::string icalendarDay(const CalendarDate& day) {
  char text[16];
  std::snprintf(text, sizeof text, "%04d%02d%02d", int(day.year), int(day.month), int(day.day));
  return text;
}

/// A vdir folder as calendar sync tools keep one: a folder per calendar with its name and colour, and a
/// file per event.
class DemoCalendars {
public:
  explicit DemoCalendars(std::filesystem::path folder) : folder_(std::move(folder)) {
    for (const auto& [id, name, color] :
         {std::tuple{"work", "Work", "#2E6FD8"}, {"personal", "Personal", "#D9822B"}}) {
      std::filesystem::create_directories(folder_ / id);
      std::ofstream(folder_ / id / "displayname") << name << "\n";
      std::ofstream(folder_ / id / "color") << color << "\n";
    }
  }

  const std::filesystem::path& folder() const { return folder_; }
  int count() const { return count_; }

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
    std::ofstream(folder_ / calendar / (uid + ".ics"))
        << "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Vantrel//Demo//EN\r\nBEGIN:VEVENT\r\nUID:" << uid
        << "\r\nDTSTAMP:20260101T000000Z\r\nSUMMARY:" << title << "\r\n"
        << times << "\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
  }

  std::filesystem::path folder_;
  int count_ = 0;
};

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
  const auto task = [&](const std::string& home, std::string_view title, bool inProject = true) {
    ++counts.tasks;
    return inProject ? store.addTaskToProject(home, title) : store.addTaskToArea(home, title);
  };

  const auto work = area("Work", "blue", "briefcase");
  const auto home = area("Home", "green", "house");
  const auto health = area("Health", "orange", "heart");

  const auto launch = project("Website relaunch", work, "Ship the new site before the spring campaign.");
  store.setProjectPinned(launch, true);
  store.setProjectDueDate(launch, today.adding(12).localNoon());
  store.addHeaderToProject(launch, "Design");
  const auto wireframes = task(launch, "Review the wireframes with Alex");
  const auto palette = task(launch, "Settle the colour palette");
  store.setTaskDone(palette, true);
  store.addHeaderToProject(launch, "Build");
  const auto pages = task(launch, "Build the landing page");
  for (const auto* step : {"Hero section", "Pricing table", "Sign-up form"}) {
    store.addSubtask(pages, step);
  }
  const auto redirects = task(launch, "Set up redirects from the old URLs");
  store.setTaskDueDate(redirects, today.adding(9).localNoon());

  const auto report = project("Quarterly report", work);
  const auto numbers = task(report, "Pull the numbers from the dashboard");
  const auto draft = task(report, "Draft the summary");
  store.setTaskDueDate(draft, today.adding(4).localNoon());
  const auto hiring = project("Hire a designer", work);
  const auto shortlist = task(hiring, "Shortlist five portfolios");
  task(hiring, "Write the interview questions");

  const auto garden = project("Spring garden", home);
  const auto seeds = task(garden, "Buy tomato and basil seeds");
  const auto beds = task(garden, "Dig over the raised beds");
  store.addSubtask(beds, "Find the spade");
  const auto trip = project("Plan the summer trip", home, "Two weeks by the sea in August.");
  task(trip, "Compare train and ferry prices");
  task(trip, "Ask Sam about the dates");
  const auto bill = task(home, "Pay the electricity bill", false);
  store.setTaskDueDate(bill, today.adding(2).localNoon());
  const auto plants = task(home, "Water the plants", false);

  const auto run = project("Run 10k in June", health, "Run 10k without stopping by the first of June.");
  const auto interval = task(run, "Interval session: 6 × 400 m");
  task(run, "Buy new running shoes");
  const auto dentist = task(health, "Book the dentist check-up", false);
  store.setTaskDone(dentist, true);
  task(health, "Stretch for ten minutes", false);

  for (const auto* item : {"Idea: a newsletter for the relaunch", "Call the plumber about the tap",
                           "Book tickets for Friday's concert"}) {
    store.addInboxItem(item, std::nullopt, today.localTime(8).value_or(today.localNoon()));
  }

  // A week of gaps in the open time around the calendar's events below.
  for (int offset = 0; offset < 7; ++offset) {
    const auto day = today.adding(offset);
    const bool weekend = weekdayOf(day) >= 5;
    const std::vector<std::tuple<const char*, const char*, bool>> gaps =
        weekend ? std::vector<std::tuple<const char*, const char*, bool>>{{"08:00", "Long run", true},
                                                                          {"10:30", "Garden", false}}
                : std::vector<std::tuple<const char*, const char*, bool>>{
                      {"09:45", "Deep work", true}, {"13:30", "Admin", false}, {"17:30", "Errands", false}};
    for (const auto& [time, label, reminder] : gaps) {
      store.addGap(day, time, std::string(label), reminder);
      ++counts.gaps;
    }
  }
  const bool weekendToday = weekdayOf(today) >= 5;
  const auto plan = [&](const CalendarDate& day, std::initializer_list<std::string> tasks, const char* gap) {
    for (const auto& name : tasks) {
      store.setTaskSchedule(name, day, gap ? std::optional<std::string>(gap) : std::nullopt);
    }
  };
  if (weekendToday) {
    plan(today, {interval}, "08:00");
    plan(today, {seeds, beds}, "10:30");
  } else {
    plan(today, {wireframes, pages}, "09:45");
    plan(today, {numbers, shortlist}, "13:30");
    plan(today, {seeds}, "17:30");
  }
  plan(today, {plants}, nullptr);
  const auto tomorrow = today.adding(1);
  const bool weekendTomorrow = weekdayOf(tomorrow) >= 5;
  plan(tomorrow, {redirects, draft}, weekendTomorrow ? "10:30" : "09:45");
  plan(tomorrow, {bill}, weekendTomorrow ? "10:30" : "17:30");
}

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
  calendars.add("personal", "Lunch with Sam", today.adding(2), 12, 30, 60);
  calendars.add("personal", "Dentist", today.adding(3), 16, 0, 45);
  calendars.addAllDay("personal", "Mum's birthday", today.adding(5));
}

} // namespace

void addDemoCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  app.add_subcommand("demo", "Fill a fresh profile with a believable week of plans and calendar events")
      ->callback([context] {
        DemoCounts counts;
        context->run(
            [&](CloudKitStore& store, const CommandEnvironment& environment) {
              const auto& cache = store.cache();
              if (!cache.areas().empty() || !cache.projects().empty() || !cache.tasks().empty() ||
                  !cache.gaps().empty() || !cache.inbox().empty()) {
                throw std::invalid_argument("the profile already holds data; vantrel demo fills only a fresh "
                                            "profile (use --profile DIR with a new folder)");
              }
              const auto today = CalendarDate::today(*DeviceSettings::timeZone(), environment.clock());
              fill(store, today, counts);
              DemoCalendars calendars(environment.paths().applicationSupportDirectory / "Vantrel" /
                                      "demo-calendars");
              addEvents(calendars, today);
              counts.events = calendars.count();
              JSONFilePreferences::standard(environment.paths())
                  ->setValue(calendarFolderKey, calendars.folder().string());
            },
            [&](CloudKitStore&, const CommandEnvironment& environment) {
              if (environment.json()) {
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
                std::cout << json.text() << "\n";
                return;
              }
              std::cout << "Filled the profile with " << counts.areas << " areas, " << counts.projects
                        << " projects, " << counts.tasks << " tasks, " << counts.gaps << " gaps and "
                        << counts.events << " calendar events. Try: vantrel today, vantrel widget --waybar\n";
            });
      });
}

} // namespace vantrel::cli
