#include "Linux/FileChangeWaiter.hpp"

#include "VantrelCore/Platform/FileSystemError.hpp"

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <poll.h>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>

namespace vantrel {
namespace {

constexpr double secondsFrom1970To2001 = 978307200.0;

/// A watcher, or the error that names the folder it was for.
InotifyWatcher watcherFor(const std::filesystem::path& folder) {
  try {
    return InotifyWatcher();
  } catch (const std::system_error& error) {
    throw FileSystemError("inotify_init1", folder, error.code().value());
  }
}

} // namespace

FileChangeWaiter::FileChangeWaiter(const std::filesystem::path& folder, std::set<std::string> fileNames)
    : folder_(folder), fileNames_(std::move(fileNames)), watcher_(watcherFor(folder)),
      timer_(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)) {
  if (!timer_) {
    throw FileSystemError("inotify_init1", folder, errno);
  }
  using Kind = InotifyWatcher::Kind;
  // Writers replace the files by rename, and a drain deletes the queue; a direct write closes it.
  watcher_.watch(folder, std::array{Kind::written, Kind::movedIn, Kind::movedOut, Kind::deleted});
}

bool FileChangeWaiter::readEvents() {
  bool changed = false;
  for (const auto& event : watcher_.readEvents()) {
    if (event.kind == InotifyWatcher::Kind::overflow || fileNames_.contains(event.name)) {
      changed = true;
    }
  }
  return changed;
}

FileChangeWaiter::Wake FileChangeWaiter::waitUntil(Date deadline) {
  const double unixTime = deadline.secondsSinceReferenceDate + secondsFrom1970To2001;
  itimerspec when{};
  when.it_value.tv_sec = static_cast<time_t>(std::floor(unixTime));
  when.it_value.tv_nsec = static_cast<long>((unixTime - std::floor(unixTime)) * 1e9);
  if (when.it_value.tv_sec <= 0 && when.it_value.tv_nsec == 0) {
    when.it_value.tv_nsec = 1;
  }
  if (timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &when, nullptr) < 0) {
    throw FileSystemError("timerfd_settime", folder_, errno);
  }
  for (;;) {
    std::array<pollfd, 2> watched{pollfd{watcher_.descriptor(), POLLIN, 0}, pollfd{timer_.get(), POLLIN, 0}};
    if (::poll(watched.data(), watched.size(), -1) < 0) {
      if (errno == EINTR) {
        continue;
      }
      throw FileSystemError("poll", folder_, errno);
    }
    if ((watched[0].revents & POLLIN) != 0 && readEvents()) {
      return Wake::fileChanged;
    }
    if ((watched[1].revents & POLLIN) != 0) {
      std::uint64_t expirations = 0;
      if (::read(timer_.get(), &expirations, sizeof expirations) < 0 && errno == ECANCELED) {
        return Wake::clockChanged;
      }
      return Wake::deadline;
    }
  }
}

} // namespace vantrel
