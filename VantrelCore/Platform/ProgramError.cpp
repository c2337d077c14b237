#include "VantrelCore/Platform/ProgramError.hpp"

#include <cstdio>
#include <cstdlib>

namespace vantrel {

void programError(std::string_view message) {
  std::fprintf(stderr, "vantrel: fatal error: %.*s\n", int(message.size()), message.data());
  std::abort();
}

} // namespace vantrel
