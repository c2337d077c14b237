#include "Linux/UniqueFileDescriptor.hpp"

#include <unistd.h>

namespace vantrel {

void UniqueFileDescriptor::reset(int descriptor) {
  // Linux releases a descriptor even when close reports an error, so there is nothing to retry.
  if (const int previous = std::exchange(descriptor_, descriptor); previous >= 0) {
    ::close(previous);
  }
}

} // namespace vantrel
