#include "Linux/CommandWidgetCenter.hpp"

#include "VantrelCore/Platform/Logger.hpp"

#include <cerrno>
#include <cstring>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace vantrel {

void CommandWidgetCenter::reloadAllTimelines() {
  if (!command_ || command_->empty()) {
    return;
  }
  const Logger logger("com.vantrel.vantrel", "Widget");
  std::string shell = "sh";
  std::string flag = "-c";
  char* arguments[] = {shell.data(), flag.data(), command_->data(), nullptr};
  pid_t child = 0;
  if (const int error = posix_spawn(&child, "/bin/sh", nullptr, nullptr, arguments, environ); error != 0) {
    logger.error("Widget reload command could not start: %@", std::strerror(error));
    return;
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    logger.error("Widget reload command failed with status %{public}ld: %@",
                 std::int64_t(WIFEXITED(status) ? WEXITSTATUS(status) : -1), *command_);
  }
}

} // namespace vantrel
