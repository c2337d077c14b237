#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "tests/Support/InMemoryCloudDatabase.hpp"
#include "tests/Sync/SyncTestDevice.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

using testing::InMemoryCloudDatabase;
using testing::SyncTestDevice;
using Kind = PendingRecordZoneChange::Kind;

const CloudRecordZoneID zone = SyncTestDevice::zone;

CloudRecordID id(const std::string& name) {
  return CloudRecordID{name, zone};
}

/// The events of one kind the device was told of, in order.
template <class Event> std::vector<Event> eventsOf(const SyncTestDevice& device) {
  std::vector<Event> found;
  for (const auto& event : device.events) {
    if (const auto* match = std::get_if<Event>(&event)) {
      found.push_back(*match);
    }
  }
  return found;
}

TEST(SyncEngineState, KeepsOneChangePerRecordInItsFirstPlaceAndSurvivesARoundTrip) {
  const auto save = [](const char* name) { return PendingRecordZoneChange::save(id(name)); };
  const auto remove = [](const char* name) { return PendingRecordZoneChange::remove(id(name)); };
  SyncEngineState state;
  state.add(std::vector{save("a"), save("b"), remove("a")});
  EXPECT_EQ(state.pendingRecordZoneChanges(), (std::vector{remove("a"), save("b")}));
  state.remove(std::vector{save("a")});
  EXPECT_EQ(state.pendingChange(id("a")), Kind::deleteRecord) << "only the change listed is taken out";
  state.add(std::vector{save("c"), save("d")});
  state.remove(std::vector{save("c")});
  EXPECT_EQ(state.pendingRecordZoneChanges(), (std::vector{remove("a"), save("b"), save("d")}));
  for (const char* name : {"a", "b", "d"}) {
    EXPECT_TRUE(state.pendingChange(id(name))) << name;
  }
  EXPECT_FALSE(state.pendingChange(id("c")));

  const PendingDatabaseChange zones[] = {{PendingDatabaseChange::Kind::saveZone, zone},
                                         {PendingDatabaseChange::Kind::deleteZone, zone}};
  state.add(zones);
  state.setUserRecordName("_me");
  state.setDatabaseChangeToken(CloudChangeToken{std::string("\0\xff", 2)});
  state.setZoneChangeToken(zone, CloudChangeToken{"z:1:2"});
  EXPECT_EQ(SyncEngineState::deserialize(state.serialized()), state);

  const struct {
    std::string text;
    std::string path;
  } damaged[] = {
      {R"({"version":2})", "version"},
      {R"({"version":1,"zoneChangeTokens":[{"zoneName":"z","ownerName":"o","token":"x"}])"
       R"(,"pendingDatabaseChanges":[],"pendingRecordZoneChanges":[]})",
       "zoneChangeTokens/0/token"},
      {R"({"version":1,"zoneChangeTokens":[],"pendingDatabaseChanges":[])"
       R"(,"pendingRecordZoneChanges":[{"kind":"move","recordName":"a","zoneName":"z","ownerName":"o"}]})",
       "pendingRecordZoneChanges/0/kind"}};
  for (const auto& [text, path] : damaged) {
    try {
      SyncEngineState::deserialize(text);
      ADD_FAILURE() << text;
    } catch (const DecodingError& error) {
      EXPECT_EQ(error.codingPath(), path);
    }
  }
}

class SyncEngineTest : public ::testing::Test {
protected:
  void SetUp() override { server_.saveRecordZone(CloudDatabaseScope::privateDatabase, zone); }

  /// Every record of the zone as the server holds it, by name and values.
  std::map<std::string, std::vector<std::pair<std::string, CloudValue>>> serverContents() {
    InMemoryCloudDatabase reader(server_, std::nullopt);
    auto device = SyncTestDevice::make(reader);
    device->engine->fetchChanges();
    return device->contents();
  }

  FixedClock clock_;
  InMemoryCloudDatabase server_{clock_};
  InMemoryCloudDatabase phone_{server_, std::nullopt};
  InMemoryCloudDatabase laptop_{server_, std::nullopt};
  std::shared_ptr<SyncTestDevice> onPhone_ = SyncTestDevice::make(phone_);
  std::shared_ptr<SyncTestDevice> onLaptop_ = SyncTestDevice::make(laptop_);
};

TEST_F(SyncEngineTest, EventsComeInThePlatformsOrderAndAnExpiredTokenStartsTheFetchOver) {
  onPhone_->edit("t-1", "title", std::string("one"));
  onPhone_->engine->sendChanges();
  EXPECT_EQ(onPhone_->eventNames,
            (std::vector<std::string>{"stateUpdate", "accountChange", "stateUpdate", "willSendChanges",
                                      "stateUpdate", "sentRecordZoneChanges", "didSendChanges"}));

  onLaptop_->engine->fetchChanges();
  EXPECT_EQ(
      onLaptop_->eventNames,
      (std::vector<std::string>{"accountChange", "stateUpdate", "willFetchChanges", "fetchedDatabaseChanges",
                                "willFetchRecordZoneChanges", "fetchedRecordZoneChanges", "stateUpdate",
                                "didFetchRecordZoneChanges", "stateUpdate", "didFetchChanges"}));
  EXPECT_EQ(onLaptop_->contents(), onPhone_->contents());
  const auto& signIn = std::get<AccountChangeEvent>(onLaptop_->events[0]);
  EXPECT_EQ(signIn.kind, AccountChangeEvent::Kind::signIn);
  EXPECT_EQ(signIn.currentUser, server_.userRecordName());

  onLaptop_->eventNames.clear();
  onLaptop_->engine->fetchChanges();
  EXPECT_EQ(onLaptop_->eventNames,
            (std::vector<std::string>{"willFetchChanges", "stateUpdate", "didFetchChanges"}))
      << "nothing new: no zone to fetch";

  server_.expireChangeTokens();
  onPhone_->edit("t-2", "title", std::string("two"));
  onPhone_->engine->sendChanges();
  onLaptop_->engine->fetchChanges();
  EXPECT_EQ(onLaptop_->contents(), serverContents()) << "an expired token means fetching everything again";
  EXPECT_EQ(onLaptop_->contents().size(), 2u);
}

TEST_F(SyncEngineTest, SendsManyChangesInBatchesOfAtMost400) {
  for (int index = 0; index < 1001; ++index) {
    onPhone_->edit("t-" + std::to_string(index), "title", std::string("x"));
  }
  onPhone_->engine->sendChanges();
  EXPECT_EQ(phone_.modifyCallCount(), 3);
  EXPECT_TRUE(onPhone_->engine->state().pendingRecordZoneChanges().empty());
  EXPECT_EQ(serverContents().size(), 1001u);
}

TEST_F(SyncEngineTest, AConflictBringsAllThreeRecordsAndMergesOnTheSpot) {
  onPhone_->edit("t-1", "title", std::string("first"));
  onPhone_->engine->sendChanges();
  onLaptop_->engine->fetchChanges();
  onPhone_->edit("t-1", "title", std::string("renamed on the phone"));
  onPhone_->engine->sendChanges();
  onLaptop_->edit("t-1", "done", true);
  onLaptop_->engine->sendChanges();

  ASSERT_EQ(onLaptop_->failedSaves, std::vector{CloudErrorCode::serverRecordChanged});
  const auto sent = eventsOf<SentRecordZoneChangesEvent>(*onLaptop_);
  const auto conflict =
      std::ranges::find_if(sent, [](const auto& event) { return !event.failedRecordSaves.empty(); });
  ASSERT_NE(conflict, sent.end());
  const auto& error = conflict->failedRecordSaves[0].error;
  ASSERT_TRUE(error.serverRecord() && error.clientRecord() && error.ancestorRecord());
  EXPECT_EQ(std::get<std::string>(*error.serverRecord()->value("title")), "renamed on the phone");
  EXPECT_EQ(std::get<bool>(*error.clientRecord()->value("done")), true);
  EXPECT_EQ(std::get<std::string>(*error.ancestorRecord()->value("title")), "first");

  const auto server = serverContents();
  EXPECT_EQ(server.at("t-1"), (std::vector<std::pair<std::string, CloudValue>>{
                                  {"title", std::string("renamed on the phone")}, {"done", true}}));
  EXPECT_TRUE(onLaptop_->engine->state().pendingRecordZoneChanges().empty());
}

// A passing failure keeps the change for a later send; any other takes it out and tells the delegate.
TEST_F(SyncEngineTest, PassingFailuresKeepTheChangeAndOthersDropIt) {
  const struct {
    const char* name;
    CloudErrorCode code;
    bool wholeCall;
    bool kept;
  } cases[] = {{"network", CloudErrorCode::networkUnavailable, true, true},
               {"rate", CloudErrorCode::requestRateLimited, true, true},
               {"busy", CloudErrorCode::zoneBusy, false, true},
               {"cancelled", CloudErrorCode::operationCancelled, false, true},
               {"quota", CloudErrorCode::quotaExceeded, false, false},
               {"permission", CloudErrorCode::permissionFailure, true, false},
               {"invalid", CloudErrorCode::invalidArguments, false, false}};
  onPhone_->engine->fetchChanges();
  for (const auto& [name, code, wholeCall, kept] : cases) {
    onPhone_->edit(name, "title", std::string(name));
    if (wholeCall) {
      phone_.failNextCalls(1, CloudError(code));
    } else {
      phone_.failItems(name, CloudError(code));
    }
    onPhone_->engine->sendChanges();
    EXPECT_EQ(onPhone_->engine->state().pendingChange(id(name)).has_value(), kept) << name;
    EXPECT_EQ(onPhone_->failedSaves.back(), code) << name;
    onPhone_->engine->sendChanges();
    EXPECT_EQ(serverContents().contains(name), kept) << name;
  }
}

// The token moves past an unreadable record, so the event must carry it, also on a page of nothing else.
TEST_F(SyncEngineTest, AnUnreadableRecordArrivesBesideTheOthersAndDoesNotStallTheZone) {
  const struct {
    std::vector<std::string> sent;
    std::string damaged;
    std::size_t arriving;
  } fetches[] = {{{"t-1", "t-2", "t-3"}, "t-2", 2}, {{"t-4"}, "t-4", 0}};
  for (const auto& [sent, damaged, arriving] : fetches) {
    SCOPED_TRACE(damaged);
    for (const auto& name : sent) {
      onPhone_->edit(name, "title", name);
    }
    onPhone_->engine->sendChanges();
    server_.replaceRecordData(id(damaged), "junk");
    onLaptop_->events.clear();
    onLaptop_->engine->fetchChanges();
    const auto fetched = eventsOf<FetchedRecordZoneChangesEvent>(*onLaptop_);
    ASSERT_EQ(fetched.size(), 1u);
    EXPECT_EQ(fetched[0].modifications.size(), arriving);
    ASSERT_EQ(fetched[0].unreadableRecords.size(), 1u);
    EXPECT_EQ(fetched[0].unreadableRecords[0].recordID, id(damaged));
    EXPECT_EQ(fetched[0].unreadableRecords[0].recordType, "Task");
    EXPECT_EQ(
        onLaptop_->engine->state().zoneChangeToken(zone),
        laptop_.fetchZoneChanges(CloudDatabaseScope::privateDatabase, zone, std::nullopt, 0).changeToken);
  }
  EXPECT_EQ(onLaptop_->records.size(), 2u);
}

TEST_F(SyncEngineTest, ZoneDeletionsCarryTheirReason) {
  onLaptop_->engine->fetchChanges();
  for (const auto reason : {CloudZoneDeletionReason::deleted, CloudZoneDeletionReason::purged,
                            CloudZoneDeletionReason::encryptedDataReset}) {
    server_.removeZone(zone, reason);
    onLaptop_->events.clear();
    onLaptop_->engine->fetchChanges();
    const auto fetched = eventsOf<FetchedDatabaseChangesEvent>(*onLaptop_);
    ASSERT_FALSE(fetched.empty());
    EXPECT_EQ(fetched[0].deletions, (std::vector<CloudZoneDeletion>{{zone, reason}}));
    EXPECT_EQ(onLaptop_->engine->state().zoneChangeToken(zone), std::nullopt);
    server_.saveRecordZone(CloudDatabaseScope::privateDatabase, zone);
  }
  server_.removeZone(zone, CloudZoneDeletionReason::purged);
  onLaptop_->edit("t-1", "title", std::string("into a purged zone"));
  onLaptop_->engine->sendChanges();
  EXPECT_EQ(onLaptop_->failedSaves, std::vector{CloudErrorCode::userDeletedZone});
  EXPECT_FALSE(onLaptop_->engine->state().pendingChange(id("t-1")));
}

TEST_F(SyncEngineTest, AnotherAccountStartsTheStateOver) {
  onPhone_->engine->fetchChanges();
  onPhone_->edit("t-1", "title", std::string("unsent"));
  const auto first = server_.userRecordName();

  phone_.signIn("_someoneElse");
  onPhone_->events.clear();
  onPhone_->engine->fetchChanges();
  const auto& switched = std::get<AccountChangeEvent>(onPhone_->events.at(0));
  EXPECT_EQ(switched.kind, AccountChangeEvent::Kind::switchAccounts);
  EXPECT_EQ(switched.previousUser, first);
  EXPECT_EQ(switched.currentUser, "_someoneElse");
  EXPECT_TRUE(onPhone_->engine->state().pendingRecordZoneChanges().empty());

  phone_.signOut();
  onPhone_->events.clear();
  EXPECT_THROW(onPhone_->engine->fetchChanges(), CloudError);
  EXPECT_EQ(std::get<AccountChangeEvent>(onPhone_->events.at(0)).kind, AccountChangeEvent::Kind::signOut);
  EXPECT_EQ(onPhone_->engine->state().userRecordName(), std::nullopt);
}

TEST_F(SyncEngineTest, ASaveWhoseAnswerWasLostIsSentAgainWithoutLoss) {
  onPhone_->edit("t-1", "title", std::string("before"));
  onPhone_->engine->sendChanges();
  onPhone_->edit("t-1", "title", std::string("after"));
  onPhone_->remove("t-0");
  phone_.loseNextResponses(1);
  onPhone_->engine->sendChanges();
  EXPECT_TRUE(onPhone_->engine->state().pendingChange(id("t-1")));
  EXPECT_EQ(std::get<std::string>(serverContents().at("t-1")[0].second), "after") << "the server applied it";

  onPhone_->engine->sendChanges();
  EXPECT_TRUE(onPhone_->engine->state().pendingRecordZoneChanges().empty());
  EXPECT_EQ(serverContents(), onPhone_->contents());
}

TEST_F(SyncEngineTest, AChangeAddedWhileItsSaveIsInFlightIsSentAfterIt) {
  onPhone_->engine->fetchChanges();
  onPhone_->edit("t-1", "title", std::string("first"));
  phone_.whileNextModifyIsInFlight([&] { onPhone_->edit("t-1", "title", std::string("second")); });
  onPhone_->engine->sendChanges();
  EXPECT_EQ(phone_.modifyCallCount(), 2) << "the newer change was not taken for the one that was sent";
  EXPECT_TRUE(onPhone_->engine->state().pendingRecordZoneChanges().empty());
}

TEST_F(SyncEngineTest, SyncsByItselfAndRetriesAfterTheDelay) {
  ManualExecutor owner;
  auto device = std::make_shared<SyncTestDevice>();
  device->engine = std::make_unique<SyncEngine>(SyncEngine::Configuration{
      .database = phone_, .delegate = device, .automaticallySync = true, .owner = &owner});
  phone_.failNextCalls(1, CloudError::retryable(CloudErrorCode::requestRateLimited, 30));
  device->edit("t-1", "title", std::string("one"));
  device->edit("t-2", "title", std::string("two"));
  EXPECT_EQ(owner.drain(), 1u) << "one send for both changes";
  EXPECT_EQ(device->engine->state().pendingRecordZoneChanges().size(), 2u);
  EXPECT_EQ(owner.nextDelay(), 30.0) << "the server's retry-after";
  owner.advance(30);
  owner.drain();
  EXPECT_TRUE(device->engine->state().pendingRecordZoneChanges().empty());
  EXPECT_EQ(serverContents().size(), 2u);
}

} // namespace
} // namespace vantrel
