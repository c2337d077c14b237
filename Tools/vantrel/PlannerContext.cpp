#include "Tools/vantrel/PlannerContext.hpp"

#include "Tools/vantrel/StoreSession.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CloudError.hpp"

#include <stdexcept>

namespace vantrel::cli {
namespace {

/// A failure of the store's write path or of the cloud, as opposed to a refusal of what the user typed:
/// only these raise the banner that `status` shows until dismissed.
bool raisesBanner(const std::exception& error) {
  if (const auto* store = dynamic_cast<const CloudKitStoreError*>(&error)) {
    switch (store->kind()) {
    case CloudKitStoreError::Kind::recordNotFound:
    case CloudKitStoreError::Kind::areaNotEmpty:
    case CloudKitStoreError::Kind::projectNotShareable:
      return false;
    default:
      return true;
    }
  }
  return dynamic_cast<const CloudError*>(&error) != nullptr;
}

} // namespace

void PlannerContext::run(const Step& change, const Step& report) const {
  const auto environment = CommandEnvironment::make(options);
  Output& output = environment.output();
  StoreSession session(environment, offline);
  CloudKitStore& store = session.store();
  PlannerRun planner{.store = store,
                     .environment = environment,
                     .output = output,
                     .find = RecordLookup(store.cache()),
                     .today = environment.today()};
  output.hold();
  try {
    if (change) {
      store.performAtomically([&] { change(planner); });
    }
  } catch (const std::exception& error) {
    output.discard();
    // A refused change left nothing behind; what the run fetched is still saved.
    const bool banner = raisesBanner(error);
    if (banner) {
      store.reportUIWriteFailure(commandName(), error);
    }
    try {
      session.finish(false);
    } catch (const std::exception& failure) {
      output.warn(failure.what());
    }
    if (banner) {
      throw std::runtime_error(store.lastUIError()->summary);
    }
    throw;
  }
  const auto banner = session.finish();
  output.release();
  if (banner) {
    output.warn(*banner);
  }
  if (report) {
    report(planner);
  }
}

std::string PlannerContext::commandName() const {
  std::string name;
  for (const CLI::App* command = &app; !command->get_subcommands().empty();) {
    command = command->get_subcommands().front();
    name += (name.empty() ? "" : " ") + command->get_name();
  }
  return name;
}

std::string inQuotes(std::string_view title) {
  return "'" + std::string(title) + "'";
}

} // namespace vantrel::cli
