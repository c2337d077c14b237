#include "Tools/vantrel/PlannerContext.hpp"

#include "Tools/vantrel/InstantArgument.hpp"
#include "Tools/vantrel/StoreSession.hpp"
#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CloudError.hpp"

#include <sstream>
#include <stdexcept>

namespace vantrel::cli {
namespace {

/// Sends what is written to `stream` into `into` for as long as it lives.
class OutputCapture {
public:
  OutputCapture(std::ostream& stream, std::ostream& into)
      : stream_(stream), saved_(stream.rdbuf(into.rdbuf())) {}
  ~OutputCapture() { stream_.rdbuf(saved_); }
  OutputCapture(const OutputCapture&) = delete;
  OutputCapture& operator=(const OutputCapture&) = delete;

private:
  std::ostream& stream_;
  std::streambuf* saved_;
};

} // namespace

void PlannerContext::run(const Step& change, const Step& report) const {
  const auto environment = CommandEnvironment::make(options);
  StoreSession session(environment);
  CloudKitStore& store = session.store();
  // What the change prints waits until its change is on disk: printed before, a crash or a failed save
  // would leave a reported change that is not there.
  std::ostringstream printed;
  try {
    const OutputCapture capture(std::cout, printed);
    store.performAtomically([&] { change(store, environment); });
  } catch (const std::exception& error) {
    // A refused change left nothing behind; what the run fetched is still saved. Refusals of the store
    // and the cloud become the banner's message; a bad argument is only the command's error.
    const bool banner =
        dynamic_cast<const CloudKitStoreError*>(&error) || dynamic_cast<const CloudError*>(&error);
    if (banner) {
      store.reportUIWriteFailure(commandName(), error);
    }
    try {
      session.finish(true);
    } catch (const std::exception& failure) {
      std::cerr << "vantrel: " << terminalText(failure.what()) << "\n";
    }
    if (banner) {
      throw std::runtime_error(store.lastUIError()->summary);
    }
    throw;
  }
  const auto banner = session.finish(offline);
  std::cout << printed.str();
  if (banner) {
    std::cerr << "vantrel: " << terminalText(*banner) << "\n";
  }
  if (report) {
    report(store, environment);
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

CalendarDate parseDay(const std::string& text) {
  if (const auto day = CalendarDate::parse(text)) {
    return *day;
  }
  throw std::invalid_argument("invalid day '" + text + "': expected YYYY-MM-DD");
}

std::optional<CalendarDate> parseDayOrNone(const std::string& text) {
  return text == "none" ? std::nullopt : std::optional(parseDay(text));
}

std::optional<Date> parseDue(const std::string& text) {
  if (text == "none") {
    return std::nullopt;
  }
  if (text.find('T') == std::string::npos && text.find(' ') == std::string::npos) {
    return parseDay(text).localNoon();
  }
  return parseInstantArgument(text);
}

} // namespace vantrel::cli
