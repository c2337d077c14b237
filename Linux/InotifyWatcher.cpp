#include "Linux/InotifyWatcher.hpp"

#include "VantrelCore/Platform/FileSystemError.hpp"

#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <system_error>
#include <unistd.h>

namespace vantrel {
namespace {

std::uint32_t maskOf(InotifyWatcher::Kind kind) {
  using Kind = InotifyWatcher::Kind;
  switch (kind) {
  case Kind::created:
    return IN_CREATE;
  case Kind::written:
    return IN_CLOSE_WRITE;
  case Kind::movedIn:
    return IN_MOVED_TO;
  case Kind::movedOut:
    return IN_MOVED_FROM;
  case Kind::deleted:
    return IN_DELETE;
  case Kind::folderDeleted:
    return IN_DELETE_SELF;
  case Kind::folderMoved:
    return IN_MOVE_SELF;
  case Kind::unwatched:
  case Kind::overflow:
    break;
  }
  // The system reports these to every watch; asking for them is asking for nothing more.
  return 0;
}

/// The kind of a record; none for one no watch asks for (the system sends nothing else).
std::optional<InotifyWatcher::Kind> kindOf(std::uint32_t mask) {
  using Kind = InotifyWatcher::Kind;
  for (const auto kind : {Kind::created, Kind::written, Kind::movedIn, Kind::movedOut, Kind::deleted,
                          Kind::folderDeleted, Kind::folderMoved}) {
    if ((mask & maskOf(kind)) != 0) {
      return kind;
    }
  }
  if ((mask & IN_Q_OVERFLOW) != 0) {
    return Kind::overflow;
  }
  if ((mask & IN_IGNORED) != 0) {
    return Kind::unwatched;
  }
  return std::nullopt;
}

UniqueFileDescriptor opened(int fd, const char* call) {
  if (fd < 0) {
    throw std::system_error(errno, std::generic_category(), call);
  }
  return UniqueFileDescriptor(fd);
}

} // namespace

InotifyWatcher::InotifyWatcher()
    : inotify_(opened(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC), "inotify_init1")),
      wake_(opened(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC), "eventfd")) {}

int InotifyWatcher::watch(const std::filesystem::path& folder, std::span<const Kind> kinds) {
  std::uint32_t mask = IN_ONLYDIR;
  for (const auto kind : kinds) {
    mask |= maskOf(kind);
  }
  const int watch = ::inotify_add_watch(inotify_.get(), folder.c_str(), mask);
  if (watch < 0) {
    throw FileSystemError("inotify_add_watch", folder, errno);
  }
  return watch;
}

void InotifyWatcher::unwatch(int watch) {
  ::inotify_rm_watch(inotify_.get(), watch);
}

std::vector<InotifyWatcher::Event> InotifyWatcher::readEvents() {
  std::vector<Event> events;
  alignas(inotify_event) char buffer[16 * 1024];
  while (true) {
    const ssize_t length = ::read(inotify_.get(), buffer, sizeof buffer);
    if (length < 0 && errno == EINTR) {
      continue;
    }
    if (length <= 0) {
      return events;
    }
    for (const char* at = buffer; at < buffer + length;) {
      const auto* record = reinterpret_cast<const inotify_event*>(at);
      if (const auto kind = kindOf(record->mask)) {
        // The name is padded with NULs up to the record's length.
        events.push_back({.kind = *kind,
                          .watch = record->wd,
                          .name = record->len > 0 ? std::string(record->name) : std::string(),
                          .isFolder = (record->mask & IN_ISDIR) != 0});
      }
      at += sizeof(inotify_event) + record->len;
    }
  }
}

InotifyWatcher::Ready InotifyWatcher::wait(std::optional<std::chrono::milliseconds> timeout) {
  std::array<pollfd, 2> descriptors{pollfd{.fd = inotify_.get(), .events = POLLIN, .revents = 0},
                                    pollfd{.fd = wake_.get(), .events = POLLIN, .revents = 0}};
  if (::poll(descriptors.data(), descriptors.size(), timeout ? int(timeout->count()) : -1) < 0) {
    if (errno == EINTR) {
      return Ready::none;
    }
    throw std::system_error(errno, std::generic_category(), "poll");
  }
  if (descriptors[1].revents != 0) {
    return Ready::woken;
  }
  return (descriptors[0].revents & POLLIN) != 0 ? Ready::events : Ready::none;
}

void InotifyWatcher::wake() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(wake_.get(), &one, sizeof one);
}

} // namespace vantrel
