#pragma once

#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "tests/Support/InMemoryCloudDatabase.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace vantrel::testing {

/// One device: its folder, its loop, and a store on the shared server.
class StoreDevice {
public:
  StoreDevice(const std::filesystem::path& folder, InMemoryCloudDatabase& server, FixedClock& clock)
      : folder_(folder), server_(server), clock_(clock) {
    open();
  }

  /// A store made afresh from the device's folder, as after a relaunch.
  void open() {
    store_.reset();
    store_ = std::make_unique<CloudKitStore>(
        CloudKitPersistence(CloudKitPersistence::Location::directory(folder_), PosixFileSystem::shared()),
        CloudKitStore::Environment{.clock = clock_,
                                   .owner = owner_,
                                   .snapshotQueue = snapshots_,
                                   .openContainer =
                                       [this](std::string_view) {
                                         auto database =
                                             std::make_unique<InMemoryCloudDatabase>(server_, std::nullopt);
                                         database_ = database.get();
                                         if (onOpen) {
                                           onOpen();
                                         }
                                         return database;
                                       },
                                   .automaticallySync = false});
  }
  /// Starts, writes the schema when the zone has none, and settles the fetches start-up schedules.
  void start() {
    store_->start();
    store_->runFirstLaunchFlow();
    settle();
  }
  /// Runs what the store scheduled until nothing is left: its work, save points, and what they report.
  void settle() {
    while (owner_.drain() + snapshots_.drain() > 0) {
    }
  }
  void wait(double seconds) {
    owner_.advance(seconds);
    settle();
  }
  void send() {
    store_->syncEngine()->sendChanges();
    settle();
  }
  void fetch() {
    store_->fetchChangesNow();
    settle();
  }
  std::string titleOf(const std::string& name) const {
    const auto& tasks = store_->cache().tasks();
    const auto found = tasks.find(name);
    return found == tasks.end() ? "none" : found->second.title;
  }

  CloudKitStore& store() { return *store_; }
  /// Runs while the store opens its container, in the middle of start().
  std::function<void()> onOpen;
  InMemoryCloudDatabase& database() { return *database_; }
  const std::filesystem::path& folder() const { return folder_; }

private:
  std::filesystem::path folder_;
  InMemoryCloudDatabase& server_;
  FixedClock& clock_;
  ManualExecutor owner_;
  ManualExecutor snapshots_;
  InMemoryCloudDatabase* database_ = nullptr;
  std::unique_ptr<CloudKitStore> store_;
};

} // namespace vantrel::testing
