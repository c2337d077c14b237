#include "Tools/vantrel/ReminderCommands.hpp"

#include "Linux/DesktopNotifier.hpp"
#include "Linux/FileNotificationCenter.hpp"
#include "Linux/JSONFilePreferences.hpp"
#include "Linux/UniqueFileDescriptor.hpp"
#include "Tools/vantrel/LocalFormat.hpp"
#include "Tools/vantrel/RecordReport.hpp"
#include "Tools/vantrel/ReminderSchedule.hpp"
#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/Planning/AppIconBadge.hpp"
#include "VantrelCore/Planning/NotificationsController.hpp"

#include <array>
#include <cerrno>
#include <poll.h>
#include <stdexcept>
#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace vantrel::cli {
namespace {

/// Shows the reminders whose time has come, each once; one that cannot be shown goes back to wait.
/// Answers how many could not be shown.
int showDue(FileNotificationCenter& center, DesktopNotifier& notifier, Date now, Output& output) {
  int failed = 0;
  for (const auto& request : center.takeDue(now)) {
    try {
      notifier.show(request.title, request.body, request.playsSound, AppIconBadge::count(center));
      output.text() << "shown " << terminalText(request.identifier) << "  " << terminalText(request.title)
                    << std::endl;
    } catch (const std::exception& error) {
      center.add(request);
      output.warn(request.identifier + " not shown: " + error.what());
      ++failed;
    }
  }
  return failed;
}

/// `fd` owned, or the error of the call `what` that failed to make it.
UniqueFileDescriptor checked(int fd, const char* what) {
  if (fd < 0) {
    throw std::runtime_error(std::string(what) + " failed: " + std::strerror(errno));
  }
  return UniqueFileDescriptor(fd);
}

/// Sleeps until the next reminder is due, the notification file changes (a new schedule), or the clock
/// is set (the wall-clock time the next one waits for moved).
[[noreturn]] void runAgent(FileNotificationCenter& center, DesktopNotifier& notifier, const Clock& clock,
                           FileSystem& fileSystem, Output& output) {
  fileSystem.createDirectories(center.file().parent_path());
  const auto changes = checked(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify_init1");
  if (::inotify_add_watch(changes.get(), center.file().parent_path().c_str(), IN_CLOSE_WRITE | IN_MOVED_TO) <
      0) {
    throw std::runtime_error("cannot watch " + center.file().parent_path().string());
  }
  const auto timer = checked(::timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create");
  while (true) {
    showDue(center, notifier, clock.now(), output);
    itimerspec wake{};
    if (const auto next = center.nextFireDate()) {
      const double seconds = std::max(next->unixSeconds(), 1.0);
      wake.it_value.tv_sec = time_t(seconds);
      wake.it_value.tv_nsec = long((seconds - double(wake.it_value.tv_sec)) * 1e9);
    } else {
      // Nothing waits: an hour's sleep still notices a set clock; the file's changes wake it sooner.
      wake.it_value.tv_sec = time_t(clock.now().unixSeconds()) + 3600;
    }
    if (::timerfd_settime(timer.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &wake, nullptr) != 0) {
      throw std::runtime_error(std::string("timerfd_settime failed: ") + std::strerror(errno));
    }
    std::array<pollfd, 2> waits{pollfd{timer.get(), POLLIN, 0}, pollfd{changes.get(), POLLIN, 0}};
    while (::poll(waits.data(), waits.size(), -1) < 0 && errno == EINTR) {
    }
    std::array<char, 4096> drained{};
    while (::read(changes.get(), drained.data(), drained.size()) > 0) {
    }
    std::uint64_t expirations = 0;
    // A set clock makes the read fail with ECANCELED; either way the loop looks again.
    [[maybe_unused]] const auto read = ::read(timer.get(), &expirations, sizeof expirations);
  }
}

} // namespace

void addReminderCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto* reminders =
      app.add_subcommand("reminders", "Gap reminders: on, off, list, run, agent")->require_subcommand(1);
  auto bus = std::make_shared<std::optional<std::string>>();
  for (const bool on : {true, false}) {
    reminders
        ->add_subcommand(on ? "on" : "off", on ? "Schedule reminders of the gaps that ask for one"
                                               : "Schedule no gap reminders; the gaps keep their bells")
        ->callback([=] {
          context->run([on](PlannerRun& run) {
            const auto& environment = run.environment;
            JSONFilePreferences::standard(environment.paths())
                ->setValue(NotificationsController::gapRemindersEnabledKey, on);
            FileNotificationCenter center(FileNotificationCenter::defaultFile(environment.paths()),
                                          environment.fileSystem());
            if (on && !center.requestAuthorization()) {
              throw std::runtime_error("Notifications are off. Open Settings to turn them on");
            }
            rescheduleGapReminders(run.cache(), environment);
            run.output.changed(on ? "Reminders are on: the gaps with a bell remind you at their start"
                                  : "Reminders are off; the gaps keep their bells");
          });
        });
  }
  reminders->add_subcommand("list", "List the reminders waiting for their time")->callback([=] {
    const auto environment = CommandEnvironment::make(context->options);
    FileNotificationCenter center(FileNotificationCenter::defaultFile(environment.paths()),
                                  environment.fileSystem());
    auto& output = environment.output();
    const auto requests = center.pendingRequests();
    if (output.json()) {
      JSONWriter json;
      json.startArray();
      for (const auto& request : requests) {
        json.startObject();
        json.key("identifier");
        json.string(request.identifier);
        json.key("fires");
        RecordReport::instant(json, FileNotificationCenter::fireDate(request));
        json.key("title");
        json.string(request.title);
        json.key("body");
        RecordReport::text(json, request.body);
        json.endObject();
      }
      json.endArray();
      return output.print(json);
    }
    if (!gapRemindersEnabled(environment)) {
      output.text() << "Reminders are off.\n";
      return;
    }
    if (const int shown = AppIconBadge::count(center); shown > 0) {
      output.text() << shown << (shown == 1 ? " reminder was" : " reminders were")
                    << " shown since you last looked at today.\n";
    }
    TextTable table;
    for (const auto& request : requests) {
      const auto fires = FileNotificationCenter::fireDate(request);
      table.row().cell(fires ? LocalFormat::instant(*fires) : "?").cell(request.title);
      table.cell(request.identifier, TextTone::dim);
    }
    if (table.empty()) {
      output.text() << "No reminders wait.\n";
    }
    output.print(table);
  });
  auto* run = reminders->add_subcommand("run", "Show the reminders that are due, once, and exit");
  run->add_option("--bus", *bus, "The session bus address (default: the user's session bus)");
  run->callback([=] {
    const auto environment = CommandEnvironment::make(context->options);
    FileNotificationCenter center(FileNotificationCenter::defaultFile(environment.paths()),
                                  environment.fileSystem());
    DesktopNotifier notifier(*bus);
    if (showDue(center, notifier, environment.clock().now(), environment.output()) > 0) {
      throw std::runtime_error("some reminders could not be shown; they wait for the next run");
    }
  });
  auto* agent = reminders->add_subcommand("agent", "Stay running and show each reminder when it is due");
  agent->add_option("--bus", *bus, "The session bus address (default: the user's session bus)");
  agent->callback([=] {
    const auto environment = CommandEnvironment::make(context->options);
    FileNotificationCenter center(FileNotificationCenter::defaultFile(environment.paths()),
                                  environment.fileSystem());
    DesktopNotifier notifier(*bus);
    runAgent(center, notifier, environment.clock(), environment.fileSystem(), environment.output());
  });
}

} // namespace vantrel::cli
