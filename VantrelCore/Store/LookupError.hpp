#pragma once

#include <stdexcept>

namespace vantrel {

/// A name or title that picks no record, or more than one: "no project 'Wrok'". The text speaks of what
/// people see (titles, record names they were shown), never of record types.
class LookupError : public std::invalid_argument {
public:
  using std::invalid_argument::invalid_argument;
};

} // namespace vantrel
