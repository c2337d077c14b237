#include "tests/Support/ScopedLogCapture.hpp"

#include "VantrelCore/Platform/Logger.hpp"

namespace vantrel::testing {

ScopedLogCapture::ScopedLogCapture()
    : sink_(std::make_shared<CapturingLogSink>()), previous_(Logger::setSink(sink_)) {}

ScopedLogCapture::~ScopedLogCapture() {
  Logger::setSink(std::move(previous_));
}

} // namespace vantrel::testing
