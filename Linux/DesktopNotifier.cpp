#include "Linux/DesktopNotifier.hpp"

#include <cstring>
#include <stdexcept>
#include <systemd/sd-bus.h>

namespace vantrel {
namespace {

void check(int result, const char* what) {
  if (result < 0) {
    throw std::runtime_error(std::string("desktop notification: ") + what + ": " + std::strerror(-result));
  }
}

} // namespace

DesktopNotifier::DesktopNotifier(const std::optional<std::string>& busAddress) {
  if (!busAddress) {
    check(sd_bus_open_user(&bus_), "cannot reach the session bus");
    return;
  }
  check(sd_bus_new(&bus_), "cannot make a bus connection");
  try {
    check(sd_bus_set_address(bus_, busAddress->c_str()), "bad bus address");
    check(sd_bus_set_bus_client(bus_, 1), "cannot register as a client");
    check(sd_bus_start(bus_), "cannot reach the session bus");
  } catch (...) {
    sd_bus_unref(bus_);
    throw;
  }
}

DesktopNotifier::~DesktopNotifier() {
  sd_bus_flush_close_unref(bus_);
}

std::uint32_t DesktopNotifier::show(std::string_view summary, const std::optional<std::string>& body,
                                    bool playsSound, std::optional<int> badgeCount) {
  sd_bus_message* call = nullptr;
  sd_bus_message* reply = nullptr;
  sd_bus_error error = SD_BUS_ERROR_NULL;
  const std::string summaryText(summary);
  const auto release = [&] {
    sd_bus_message_unref(call);
    sd_bus_message_unref(reply);
    sd_bus_error_free(&error);
  };
  try {
    check(sd_bus_message_new_method_call(bus_, &call, "org.freedesktop.Notifications",
                                         "/org/freedesktop/Notifications", "org.freedesktop.Notifications",
                                         "Notify"),
          "cannot make the call");
    check(sd_bus_message_append(call, "susss", "Vantrel", 0u, "", summaryText.c_str(),
                                body ? body->c_str() : ""),
          "cannot write the call");
    check(sd_bus_message_append(call, "as", 0), "cannot write the call");
    check(sd_bus_message_open_container(call, 'a', "{sv}"), "cannot write the call");
    if (playsSound) {
      check(sd_bus_message_append(call, "{sv}", "sound-name", "s", "message-new-instant"),
            "cannot write the call");
    }
    if (badgeCount) {
      check(sd_bus_message_append(call, "{sv}", badgeCountHint, "i", std::int32_t(*badgeCount)),
            "cannot write the call");
    }
    check(sd_bus_message_close_container(call), "cannot write the call");
    check(sd_bus_message_append(call, "i", -1), "cannot write the call");
    if (sd_bus_call(bus_, call, 0, &error, &reply) < 0) {
      throw std::runtime_error(std::string("desktop notification refused: ") + (error.message ? error.message
                                                                                : error.name  ? error.name
                                                                                              : "no answer"));
    }
    std::uint32_t id = 0;
    check(sd_bus_message_read(reply, "u", &id), "cannot read the answer");
    release();
    return id;
  } catch (...) {
    release();
    throw;
  }
}

} // namespace vantrel
