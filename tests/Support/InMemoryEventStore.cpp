#include "tests/Support/InMemoryEventStore.hpp"

#include <algorithm>

namespace vantrel::testing {

class InMemoryEventStore::Handle final : public Observation {
public:
  Handle(std::weak_ptr<std::map<int, std::function<void()>>> handlers, int id)
      : handlers_(std::move(handlers)), id_(id) {}
  ~Handle() override {
    if (const auto handlers = handlers_.lock()) {
      handlers->erase(id_);
    }
  }

private:
  std::weak_ptr<std::map<int, std::function<void()>>> handlers_;
  int id_;
};

std::vector<EventStoreEvent> InMemoryEventStore::events(Date start, Date end,
                                                        std::span<const std::string> calendarIds) const {
  ++queryCount;
  std::vector<EventStoreEvent> found;
  for (const auto& event : occurrences) {
    const bool listed = std::ranges::find(calendarIds, event.calendarId) != calendarIds.end();
    const bool overlaps = event.start == event.end ? event.start >= start && event.start < end
                                                   : event.start < end && event.end > start;
    if (listed && overlaps) {
      found.push_back(event);
    }
  }
  return found;
}

std::unique_ptr<EventStore::Observation> InMemoryEventStore::observeChanges(std::function<void()> changed) {
  const int id = nextHandler_++;
  handlers_->emplace(id, std::move(changed));
  return std::make_unique<Handle>(handlers_, id);
}

void InMemoryEventStore::signalChange() {
  const auto handlers = *handlers_;
  for (const auto& [id, handler] : handlers) {
    handler();
  }
}

} // namespace vantrel::testing
