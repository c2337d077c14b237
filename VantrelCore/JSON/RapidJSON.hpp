#pragma once

// The one way the code base includes RapidJSON, so that every translation unit sees the same settings.

#include <stdexcept>

// RapidJSON's default assertion aborts the process on a wrong-type getter. Readers check kinds before they
// read, so a failed assertion is a program error; throwing keeps bad input from ever killing a reader.
#ifndef RAPIDJSON_ASSERT
#define RAPIDJSON_ASSERT(condition)                                                                          \
  ((condition) ? static_cast<void>(0) : throw std::logic_error("RapidJSON assertion failed: " #condition))
#endif
#define RAPIDJSON_HAS_STDSTRING 1

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace vantrel {

/// Strict RFC 8259 input, exact doubles, UTF-8 that is checked rather than trusted, and a parser that keeps
/// its nesting on the heap, so that deep input cannot overflow the call stack.
inline constexpr unsigned jsonParseFlags = rapidjson::kParseFullPrecisionFlag |
                                           rapidjson::kParseValidateEncodingFlag |
                                           rapidjson::kParseIterativeFlag;

} // namespace vantrel
