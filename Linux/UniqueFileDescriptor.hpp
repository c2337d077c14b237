#pragma once

#include <utility>

namespace vantrel {

/// The one owner of a descriptor: closes it when it ends, moves but never copies, so a descriptor is
/// closed exactly once. Empty (-1) when nothing is held.
class UniqueFileDescriptor {
public:
  UniqueFileDescriptor() = default;
  explicit UniqueFileDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~UniqueFileDescriptor() { reset(); }
  UniqueFileDescriptor(UniqueFileDescriptor&& other) noexcept : descriptor_(other.release()) {}
  UniqueFileDescriptor& operator=(UniqueFileDescriptor&& other) noexcept {
    if (this != &other) {
      reset(other.release());
    }
    return *this;
  }
  UniqueFileDescriptor(const UniqueFileDescriptor&) = delete;
  UniqueFileDescriptor& operator=(const UniqueFileDescriptor&) = delete;

  int get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }
  /// Gives the descriptor up without closing it, for a caller that must see close's own result.
  int release() { return std::exchange(descriptor_, -1); }
  /// Closes what is held, ignoring close's result, and holds `descriptor` instead.
  void reset(int descriptor = -1);

private:
  int descriptor_ = -1;
};

} // namespace vantrel
