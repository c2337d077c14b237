#pragma once

#include <stdexcept>
#include <string>

namespace vantrel {

/// A value could not be decoded from its stored form (JSON, a record field).
///
/// `debugDescription()` is the exact text of the failure; `codingPath()` says where it happened
/// ("tasks/t-3f9a1c/title"); `what()` joins the two.
class DecodingError : public std::runtime_error {
public:
  enum class Kind { dataCorrupted, keyNotFound, typeMismatch };

  DecodingError(Kind kind, std::string codingPath, std::string debugDescription);

  Kind kind() const noexcept { return kind_; }
  const std::string& codingPath() const noexcept { return codingPath_; }
  const std::string& debugDescription() const noexcept { return debugDescription_; }

  /// The same error, seen from one level further out: `outer` is put in front of the coding path.
  DecodingError nestedIn(const std::string& outer) const;

  /// What `read()` returns; a DecodingError it throws comes out nested in `outer`.
  template <class Read> static decltype(auto) within(const std::string& outer, Read read) {
    try {
      return read();
    } catch (const DecodingError& error) {
      throw error.nestedIn(outer);
    }
  }

private:
  Kind kind_;
  std::string codingPath_;
  std::string debugDescription_;
};

} // namespace vantrel
