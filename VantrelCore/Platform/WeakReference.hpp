#pragma once

#include <memory>

namespace vantrel {

template <class T> class ReferenceAnchor;

/// What a queued job, a timer or a delegate holds instead of `this` when it may run after its object is
/// gone: it finds the object only while the object's ReferenceAnchor lives. A reference may be copied to
/// another thread; get() belongs on the owner's thread, where the object cannot be destroyed under it.
template <class T> class WeakReference {
public:
  WeakReference() = default;

  /// The object, or null once it is gone.
  T* get() const {
    const auto object = object_.lock();
    return object ? *object : nullptr;
  }

private:
  friend class ReferenceAnchor<T>;
  explicit WeakReference(std::weak_ptr<T*> object) : object_(std::move(object)) {}

  std::weak_ptr<T*> object_;
};

/// A member of the object that hands out WeakReferences to it; destroying the anchor with the object is
/// what makes every reference answer null.
template <class T> class ReferenceAnchor {
public:
  explicit ReferenceAnchor(T& object) : object_(std::make_shared<T*>(&object)) {}
  ReferenceAnchor(const ReferenceAnchor&) = delete;
  ReferenceAnchor& operator=(const ReferenceAnchor&) = delete;

  WeakReference<T> reference() const { return WeakReference<T>(object_); }

private:
  std::shared_ptr<T*> object_;
};

} // namespace vantrel
