#include "Tools/vantrel/Output.hpp"

#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"

#include <cstdlib>
#include <iostream>
#include <string>
#include <unistd.h>

namespace vantrel::cli {
namespace {

std::string_view colorOf(TextTone tone) {
  switch (tone) {
  case TextTone::plain:
    return "";
  case TextTone::heading:
    return "\x1b[1m";
  case TextTone::dim:
    return "\x1b[2m";
  case TextTone::done:
    return "\x1b[32m";
  case TextTone::overdue:
    return "\x1b[31m";
  case TextTone::now:
    return "\x1b[1;36m";
  }
  return "";
}

} // namespace

Output::Output(std::ostream& out, std::ostream& err, OutputStyle style)
    : out_(out), err_(err), style_(style) {}

void Output::print(const JSONWriter& json) {
  text() << json.text() << "\n";
}

void Output::print(const TextTable& table) {
  text() << table.render([this](std::string_view shown, TextTone tone) { return colored(shown, tone); });
}

void Output::changed(std::string_view line) {
  if (style_.quiet) {
    return;
  }
  if (style_.json) {
    JSONWriter json;
    json.startObject();
    json.key("message");
    json.string(line);
    json.endObject();
    print(json);
    return;
  }
  text() << terminalText(line) << "\n";
}

void Output::warn(std::string_view message) {
  err_ << "vantrel: " << terminalText(message) << std::endl;
}

std::string Output::paint(std::string_view text, TextTone tone) const {
  return colored(terminalText(text), tone);
}

std::string Output::colored(std::string_view shown, TextTone tone) const {
  const auto color = colorOf(tone);
  if (!style_.color || color.empty()) {
    return std::string(shown);
  }
  return std::string(color) + std::string(shown) + "\x1b[0m";
}

std::optional<bool> Output::ask(std::string_view question) {
  if (::isatty(STDIN_FILENO) != 1 || !isTerminal(err_)) {
    return std::nullopt;
  }
  err_ << "vantrel: " << terminalText(question) << " [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes";
}

void Output::hold() {
  held_ = true;
}

void Output::release() {
  held_ = false;
  out_ << heldText_.str() << std::flush;
  heldText_.str({});
}

void Output::discard() {
  held_ = false;
  heldText_.str({});
}

bool Output::isTerminal(const std::ostream& stream) {
  if (stream.rdbuf() == std::cout.rdbuf()) {
    return ::isatty(STDOUT_FILENO) == 1;
  }
  if (stream.rdbuf() == std::cerr.rdbuf()) {
    return ::isatty(STDERR_FILENO) == 1;
  }
  return false;
}

bool Output::colorByDefault(const std::ostream& stream) {
  const char* noColor = std::getenv("NO_COLOR");
  const char* term = std::getenv("TERM");
  return isTerminal(stream) && !(noColor && *noColor) && !(term && std::string_view(term) == "dumb");
}

} // namespace vantrel::cli
