#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Platform/WeakReference.hpp"

#include <gtest/gtest.h>
#include <memory>

namespace vantrel {
namespace {

/// An object whose queued jobs may outlive it, as the store's and the sync engine's do.
struct Counter {
  int calls = 0;
  ReferenceAnchor<Counter> self{*this};

  void postIncrement(ManualExecutor& owner) {
    owner.post([self = self.reference()] {
      if (auto* counter = self.get()) {
        ++counter->calls;
      }
    });
  }
};

TEST(WeakReference, AJobFindsItsObjectOnlyWhileTheObjectLives) {
  ManualExecutor owner;
  auto counter = std::make_unique<Counter>();
  counter->postIncrement(owner);
  owner.drain();
  EXPECT_EQ(counter->calls, 1);

  counter->postIncrement(owner);
  const WeakReference<Counter> kept = counter->self.reference();
  counter.reset();
  owner.drain();
  EXPECT_EQ(kept.get(), nullptr);
  EXPECT_EQ(WeakReference<Counter>().get(), nullptr);
}

} // namespace
} // namespace vantrel
