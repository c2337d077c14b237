#include "Linux/FileChangeWaiter.hpp"

#include "VantrelCore/Platform/FileSystemError.hpp"

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace vantrel {
namespace {

constexpr double secondsFrom1970To2001 = 978307200.0;

} // namespace

FileChangeWaiter::FileChangeWaiter(const std::filesystem::path& folder, std::set<std::string> fileNames)
    : folder_(folder), fileNames_(std::move(fileNames)) {
  inotify_ = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  timer_ = timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK);
  if (inotify_ < 0 || timer_ < 0) {
    const int error = errno;
    closeAll();
    throw FileSystemError("inotify_init1", folder, error);
  }
  // Writers replace the files by rename, and a drain deletes the queue; a direct write closes it.
  if (inotify_add_watch(inotify_, folder.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE) <
      0) {
    const int error = errno;
    closeAll();
    throw FileSystemError("inotify_add_watch", folder, error);
  }
}

FileChangeWaiter::~FileChangeWaiter() {
  closeAll();
}

void FileChangeWaiter::closeAll() {
  if (inotify_ >= 0) {
    ::close(inotify_);
    inotify_ = -1;
  }
  if (timer_ >= 0) {
    ::close(timer_);
    timer_ = -1;
  }
}

bool FileChangeWaiter::readEvents() {
  alignas(inotify_event) std::array<char, 16384> buffer{};
  bool changed = false;
  for (;;) {
    const auto length = ::read(inotify_, buffer.data(), buffer.size());
    if (length <= 0) {
      return changed;
    }
    for (ssize_t offset = 0; offset < length;) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + offset);
      if ((event->mask & IN_Q_OVERFLOW) != 0 || (event->len > 0 && fileNames_.contains(event->name))) {
        changed = true;
      }
      offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
  }
}

FileChangeWaiter::Wake FileChangeWaiter::waitUntil(Date deadline) {
  const double unixTime = deadline.secondsSinceReferenceDate + secondsFrom1970To2001;
  itimerspec when{};
  when.it_value.tv_sec = static_cast<time_t>(std::floor(unixTime));
  when.it_value.tv_nsec = static_cast<long>((unixTime - std::floor(unixTime)) * 1e9);
  if (when.it_value.tv_sec <= 0 && when.it_value.tv_nsec == 0) {
    when.it_value.tv_nsec = 1;
  }
  if (timerfd_settime(timer_, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &when, nullptr) < 0) {
    throw FileSystemError("timerfd_settime", folder_, errno);
  }
  for (;;) {
    std::array<pollfd, 2> watched{pollfd{inotify_, POLLIN, 0}, pollfd{timer_, POLLIN, 0}};
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
      if (::read(timer_, &expirations, sizeof expirations) < 0 && errno == ECANCELED) {
        return Wake::clockChanged;
      }
      return Wake::deadline;
    }
  }
}

} // namespace vantrel
