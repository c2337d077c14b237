#include "tests/Support/PrivateSessionBus.hpp"

#include <condition_variable>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace vantrel::testing {
namespace {

std::condition_variable serverReady;

} // namespace

PrivateSessionBus::PrivateSessionBus() {
  int pipeFds[2];
  if (::pipe(pipeFds) != 0) {
    throw std::runtime_error("pipe failed");
  }
  daemon_ = ::fork();
  if (daemon_ < 0) {
    throw std::runtime_error("fork failed");
  }
  if (daemon_ == 0) {
    ::close(pipeFds[0]);
    const std::string printAddress = "--print-address=" + std::to_string(pipeFds[1]);
    ::execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", printAddress.c_str(), nullptr);
    ::_exit(127);
  }
  ::close(pipeFds[1]);
  char buffer[512];
  std::string text;
  while (text.find('\n') == std::string::npos) {
    const auto read = ::read(pipeFds[0], buffer, sizeof buffer);
    if (read <= 0) {
      break;
    }
    text.append(buffer, std::size_t(read));
  }
  ::close(pipeFds[0]);
  if (text.find('\n') == std::string::npos) {
    throw std::runtime_error("dbus-daemon did not start (is the dbus-daemon package installed?)");
  }
  address_ = text.substr(0, text.find('\n'));
}

PrivateSessionBus::~PrivateSessionBus() {
  if (daemon_ > 0) {
    ::kill(daemon_, SIGTERM);
    ::waitpid(daemon_, nullptr, 0);
  }
}

RecordingNotificationServer::RecordingNotificationServer(const std::string& busAddress)
    : thread_([this, busAddress] { serve(busAddress); }) {
  std::unique_lock lock(mutex_);
  serverReady.wait(lock, [this] { return ready_ || failure_.has_value(); });
  if (failure_) {
    lock.unlock();
    {
      const std::lock_guard stop(mutex_);
      stopping_ = true;
    }
    thread_.join();
    throw std::runtime_error("notification server: " + *failure_);
  }
}

RecordingNotificationServer::~RecordingNotificationServer() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  thread_.join();
}

std::vector<RecordingNotificationServer::Shown> RecordingNotificationServer::shown() const {
  const std::lock_guard lock(mutex_);
  return shown_;
}

void RecordingNotificationServer::serve(const std::string& busAddress) {
  sd_bus* bus = nullptr;
  sd_bus_slot* slot = nullptr;
  const auto fail = [&](const char* what, int result) {
    const std::lock_guard lock(mutex_);
    failure_ = std::string(what) + ": " + std::strerror(-result);
    serverReady.notify_all();
  };
  static const sd_bus_vtable vtable[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD(
          "Notify", "susssasa{sv}i", "u",
          [](sd_bus_message* call, void* data, sd_bus_error*) -> int {
            auto* server = static_cast<RecordingNotificationServer*>(data);
            const char* appName = nullptr;
            std::uint32_t replaces = 0;
            const char* icon = nullptr;
            const char* summary = nullptr;
            const char* body = nullptr;
            sd_bus_message_read(call, "susss", &appName, &replaces, &icon, &summary, &body);
            sd_bus_message_skip(call, "as");
            bool withSound = false;
            std::optional<int> badgeCount;
            sd_bus_message_enter_container(call, 'a', "{sv}");
            while (sd_bus_message_enter_container(call, 'e', "sv") > 0) {
              const char* key = nullptr;
              sd_bus_message_read(call, "s", &key);
              withSound = withSound || std::strcmp(key, "sound-name") == 0;
              if (std::int32_t count = 0; std::strcmp(key, "x-vantrel-badge-count") == 0 &&
                                          sd_bus_message_read(call, "v", "i", &count) > 0) {
                badgeCount = count;
              } else {
                sd_bus_message_skip(call, "v");
              }
              sd_bus_message_exit_container(call);
            }
            sd_bus_message_exit_container(call);
            std::uint32_t id = 0;
            {
              const std::lock_guard lock(server->mutex_);
              server->shown_.push_back({appName, summary, body, withSound, badgeCount});
              id = std::uint32_t(server->shown_.size());
            }
            return sd_bus_reply_method_return(call, "u", id);
          },
          SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_VTABLE_END};
  if (int r = sd_bus_new(&bus); r < 0) {
    return fail("sd_bus_new", r);
  }
  int r = sd_bus_set_address(bus, busAddress.c_str());
  r = r < 0 ? r : sd_bus_set_bus_client(bus, 1);
  r = r < 0 ? r : sd_bus_start(bus);
  r = r < 0 ? r
            : sd_bus_add_object_vtable(bus, &slot, "/org/freedesktop/Notifications",
                                       "org.freedesktop.Notifications", vtable, this);
  r = r < 0 ? r : sd_bus_request_name(bus, "org.freedesktop.Notifications", 0);
  if (r < 0) {
    sd_bus_slot_unref(slot);
    sd_bus_flush_close_unref(bus);
    return fail("cannot serve on the bus", r);
  }
  {
    const std::lock_guard lock(mutex_);
    ready_ = true;
    serverReady.notify_all();
  }
  while (true) {
    {
      const std::lock_guard lock(mutex_);
      if (stopping_) {
        break;
      }
    }
    if (sd_bus_process(bus, nullptr) == 0) {
      sd_bus_wait(bus, 50'000);
    }
  }
  sd_bus_slot_unref(slot);
  sd_bus_flush_close_unref(bus);
}

} // namespace vantrel::testing
