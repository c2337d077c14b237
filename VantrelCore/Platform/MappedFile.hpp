#pragma once

#include <functional>
#include <string_view>
#include <utility>

namespace vantrel {

/// A whole file's bytes, readable for as long as the object lives, also when a writer replaces the file
/// meanwhile (the replaced file's bytes stay). Lets a reader of a large file skip copying it.
class MappedFile {
public:
  /// `release` gives the bytes back; it runs once, when the object ends.
  MappedFile(std::string_view bytes, std::function<void()> release)
      : bytes_(bytes), release_(std::move(release)) {}
  ~MappedFile() {
    if (release_) {
      release_();
    }
  }
  MappedFile(MappedFile&& other) noexcept
      : bytes_(std::exchange(other.bytes_, {})), release_(std::exchange(other.release_, {})) {}
  MappedFile& operator=(MappedFile&&) = delete;
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::string_view bytes() const { return bytes_; }

private:
  std::string_view bytes_;
  std::function<void()> release_;
};

} // namespace vantrel
